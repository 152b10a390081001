#include "output/avi_writer.h"

#include <chrono>

#include "avi_sample.h"
#include "output/avi_header.h"
#include "riff_dump.h"

static std::string expected_dump(const char* name) {
    return file_bytes(VANTEL_SOURCE_DIR "/tests/output/data/" + std::string(name));
}

static BYTES sample_info() {
    BYTES info(64);
    memcpy(info.data(), "INFO", 4);
    uint8_t* end = avi_info_add(info.data() + 4, VANTEL_FOURCC('I', 'S', 'B', 'J'), "abc");
    end = avi_info_add(end, VANTEL_FOURCC('I', 'C', 'M', 'T'), "four");
    info.resize(size_t(end - info.data()));
    return info;
}

static BYTES write_chunks(const std::vector<SAMPLE_CHUNK>& chunks, const BYTES& info = {}) {
    const SAMPLE_FILE file("chunks.avi");
    const auto context = sample_context();
    EXPECT_EQ(AVI_OK, sample_open(context.get(), file, SAVE_VIDEO | SAVE_AUDIO, info));
    for (const SAMPLE_CHUNK& chunk : chunks) EXPECT_EQ(1, sample_put(context.get(), chunk));
    EXPECT_EQ(1, avi_close(context.get()));
    EXPECT_EQ(0u, context->media_flag);
    return file.load();
}

struct AviWriter : SAMPLE_TEST {};

TEST_F(AviWriter, MatchesTheDumps) {
    for (const int unit : {0, 1, 4096}) {
        SCOPED_TRACE(unit);
        avi_writer_set_unit(unit);
        avi_writer_settings.part_limit = settings.before.part_limit;
        EXPECT_EQ(expected_dump("plain.txt"), riff_dump(write_chunks(sample_chunks(16, 5), sample_info())));
        EXPECT_EQ(expected_dump("empty.txt"), riff_dump(write_chunks({})));
        avi_writer_settings.part_limit = 8192;
        EXPECT_EQ(expected_dump("split.txt"), riff_dump(write_chunks(sample_chunks(26, 60), sample_info())));
    }
}

TEST_F(AviWriter, RawFramesAndWavMatchTheDumps) {
    const SAMPLE_FILE file("raw");
    ASSERT_EQ(AVI_OK, sample_open(context.get(), file, SAVE_VIDEO));
    EXPECT_EQ(WRITER_AVI | WRITER_VIDEO, context->media_flag);
    EXPECT_EQ(0, avi_data_rate(context.get()));
    for (uint32_t i = 0; i < 3; ++i) {
        uint32_t size = 0;
        EXPECT_EQ(AVI_OK, avi_put_frame(context.get(), sample_bytes(i, 288).data(), &size));
        EXPECT_EQ(288u, size);
        EXPECT_EQ(AVI_OK, avi_put_audio(context.get(), "no stream", 9));
        EXPECT_EQ(AVI_OK, avi_restart_compressor(context.get(), &context->decoder));
    }
    EXPECT_EQ(int64_t((4096 + 3 * 296) * 30000.0 / 1001 / 3 * 8), avi_data_rate(context.get()));
    EXPECT_EQ(AVI_NO_FILE, avi_open(sample_context().get(), "/tmp/other", SAVE_VIDEO, nullptr, 0));
    EXPECT_EQ(1, avi_close(context.get()));
    EXPECT_EQ(expected_dump("video_only.txt"), riff_dump(file.load()));

    ASSERT_EQ(AVI_OK, sample_open(context.get(), file, SAVE_WAV_FILE | SAVE_AUDIO));
    EXPECT_EQ(WRITER_WAV | WRITER_AUDIO, context->media_flag);
    EXPECT_EQ(AVI_OK, avi_put_audio(context.get(), sample_bytes(1, 20).data(), 20));
    EXPECT_EQ(AVI_OK, avi_put_audio(context.get(), nullptr, 0));
    EXPECT_EQ(AVI_OK, avi_put_stored_audio(context.get(), sample_bytes(2, 33).data(), 33));
    EXPECT_EQ(AVI_OK, avi_put_frame(context.get(), nullptr, nullptr));
    EXPECT_EQ(0, avi_data_rate(context.get()));
    EXPECT_EQ(1, avi_close(context.get()));
    EXPECT_EQ(expected_dump("wav.txt"), riff_dump(file.load()));
}

TEST_F(AviWriter, RingSizesGiveTheSameFile) {
    avi_writer_settings.part_limit = 300000;
    std::mt19937 random(7);
    std::vector<SAMPLE_CHUNK> chunks;
    for (int i = 0; i < 400; ++i) {
        // around the unit, the ring, and tiny
        const size_t sizes[] = {random() % 6000, random() % 40, 1024 - random() % 20, 4096 - random() % 20};
        BYTES bytes = bytes_pattern(sizes[random() % 4], uint32_t(i));
        chunks.push_back({random() % 3 == 0 && !bytes.empty() ? FCC_01WB : FCC_00DB, std::move(bytes)});
    }
    avi_writer_set_unit(0);
    const BYTES direct = write_chunks(chunks);
    for (const int unit : {1, 3, 64, 4096}) {
        avi_writer_set_unit(unit);
        EXPECT_TRUE(direct == write_chunks(chunks)) << unit;
    }
}

TEST_F(AviWriter, RefusesWhatCannotBeWritten) {
    const SAMPLE_FILE file("refused.avi");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(AVI_NO_FILE, avi_open(context.get(), "/tmp", SAVE_VIDEO, nullptr, 0));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900));
    EXPECT_EQ(AVI_NO_FILE, avi_open(context.get(), "/nowhere/at/all.avi", SAVE_VIDEO, nullptr, 0));
    EXPECT_GT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900));
    EXPECT_EQ(AVI_NO_FILE, sample_open(context.get(), file, SAVE_AUDIO));
    for (const uint32_t flags : {uint32_t{SAVE_VIDEO | SAVE_VIDEO_COMPRESS}, 1u | 32u | 128u})
        EXPECT_EQ(AVI_NO_VIDEO_CODEC, sample_open(context.get(), file, flags));
    EXPECT_EQ(AVI_NO_AUDIO_CODEC, sample_open(context.get(), file, SAVE_VIDEO | SAVE_AUDIO | 8));
    EXPECT_EQ(0u, context->media_flag);
    EXPECT_EQ(1, avi_close(context.get()));

    avi_writer_settings.frame_limit = 1;
    ASSERT_EQ(AVI_OK, sample_open(context.get(), file, SAVE_VIDEO));
    EXPECT_EQ(AVI_LOST, avi_put_stored_frame(context.get(), nullptr, size_t{AVI_WORD_SIZE} + 1, 0));
    for (const int result : {AVI_OK, AVI_OK, AVI_LOST})
        EXPECT_EQ(result, avi_put_stored_frame(context.get(), "a", 1, 0));
    EXPECT_EQ(0, avi_close(context.get()));
    EXPECT_EQ(2u, riff_u32(file.load(), 48));  // avih.dwTotalFrames
}

TEST_F(AviWriter, StopsBeforeThe127thList) {
    avi_writer_settings.part_limit = 6146;  // one chunk in each list
    const SAMPLE_FILE file("lists.avi");
    ASSERT_EQ(AVI_OK, sample_open(context.get(), file, SAVE_VIDEO | SAVE_AUDIO));
    const BYTES frame = sample_bytes(1, 6201);
    for (int i = 0; i < 127; ++i)
        ASSERT_EQ(i < 126 ? AVI_OK : AVI_LOST, avi_put_stored_frame(context.get(), frame.data(), frame.size(), 16));
    EXPECT_EQ(AVI_LOST, avi_put_stored_audio(context.get(), "ab", 2));
    EXPECT_EQ(0, avi_close(context.get()));
    const BYTES bytes = file.load();
    size_t lists = 0;
    for (size_t at = 0; at + 8 < bytes.size(); at += riff_u32(bytes, at + 4) + 8)
        lists += riff_code(bytes, at) == "RIFF";
    EXPECT_EQ(126u, lists);
    EXPECT_EQ(126u, riff_u32(bytes, 48));
    EXPECT_EQ("indx", riff_code(bytes, 0xD4));
    EXPECT_EQ(126u, riff_u32(bytes, 0xD4 + 12));
    const size_t last = 0xD4 + 32 + 125 * 16;
    EXPECT_EQ("ix00", riff_code(bytes, riff_u32(bytes, last)));
    EXPECT_EQ(40u, riff_u32(bytes, last + 8));
    EXPECT_EQ("JUNK", riff_code(bytes, 0x93A));  // no list holds sound
}

TEST_F(AviWriter, ListsOfTheUsualSizeBeyondFourGiB) {
    const SAMPLE_FILE file("large.avi");
    ASSERT_EQ(AVI_OK, sample_open(context.get(), file, SAVE_VIDEO));
    ASSERT_TRUE(avi_file_flush(&avi_writer));
    // holes stand for the bytes before
    for (const uint32_t lists : {1u, 2u}) {
        avi_ring_stop(avi_writer.ring);
        avi_writer.pos = 0x7E000000 - 10;
        avi_writer.ring = avi_ring_start(avi_writer.file, avi_file_position(&avi_writer), 4096);
        EXPECT_EQ(AVI_OK, avi_put_stored_frame(context.get(), "a", 1, 16));  // the list is now full
        EXPECT_EQ(lists - 1, avi_writer.riff_part);
        EXPECT_EQ(AVI_OK, avi_put_stored_frame(context.get(), "b", 1, 16));
        EXPECT_EQ(lists, avi_writer.riff_part);
        ASSERT_TRUE(avi_file_flush(&avi_writer));
    }
    EXPECT_LT(0xFC000000u, avi_writer.base);
    EXPECT_EQ(1, avi_close(context.get()));
}

TEST_F(AviWriter, WavEndsBelowFourGiB) {
    avi_writer_set_unit(0);
    const SAMPLE_FILE file("large.wav");
    ASSERT_EQ(AVI_OK, sample_open(context.get(), file, SAVE_WAV_FILE | SAVE_AUDIO));
    avi_writer.pos = 0xFFFFFFF0;  // a hole in the file stands for the bytes before
    for (const auto& [size, result] : {std::pair{16u, AVI_LOST}, {15u, AVI_OK}, {1u, AVI_LOST}})
        EXPECT_EQ(result, avi_put_audio(context.get(), sample_bytes(1, size).data(), size));
    EXPECT_EQ(0, avi_close(context.get()));
    EXPECT_EQ(0x100000000u, std::filesystem::file_size(file.path));
    BYTES head(46);
    std::ifstream(file.path, std::ios::binary).read(reinterpret_cast<char*>(head.data()), 46);
    EXPECT_EQ(0xFFFFFFF8u, riff_u32(head, 4));
    EXPECT_EQ(0xFFFFFFFFu - 46, riff_u32(head, 42));
}

TEST_F(AviWriter, HeadersFollowTheModeAndAreHeldToTheirRoom) {
    context->video_stream.fccHandler = 0x11;
    context->decoder.handler = 0x22;
    context->video_header.biCompression = 0x33;
    for (const auto& [flags, handler] :
         {std::pair<uint32_t, uint32_t>{0, 0x33}, {SAVE_VIDEO_COPY, 0x11}, {SAVE_VIDEO_COMPRESS, 0x22}})
        EXPECT_EQ(handler, avi_header_video(context.get(), SAVE_VIDEO | flags).fccHandler);
    context->video_format_size = FORMAT_SIZE_MAX + 1;
    EXPECT_EQ(size_t{FORMAT_SIZE_MAX}, avi_format_video(context.get(), SAVE_VIDEO_COPY).size());
    context->audio_format[0] = 0x50;  // cut off behind the tag
    context->audio_format_size = 2;
    const AVI_STREAM_HEADER audio = avi_header_audio(context.get(), SAVE_AUDIO_COPY);
    EXPECT_TRUE(audio.fccHandler == 0x50 && audio.dwSampleSize == 0);
    context->video_stream.dwRate = 0;
    EXPECT_EQ(0u, avi_header_main(context.get(), 1).dwMicroSecPerFrame);
}
