#include "readers/avi_reader.h"

#include "readers/reader_test.h"
#include "support/kernel_test.h"

static constexpr uint32_t CODEC = VANTEL_FOURCC('T', 'E', 'S', 'T');

using AVI_PTR = READER_PTR<avi_reader_close, avi_reader_info>;

static AVI_PTR avi_open(const BYTES& bytes) {
    const TEMP_FILE file(bytes, ".avi");
    return AVI_PTR(avi_reader_open(file.name()));
}

static BYTES frame_of(const AVI_PTR& avi, int32_t frame) {
    BYTES bytes(4096, 0xEE);
    bytes.resize(size_t(avi_reader_read_video_bounded(avi.get(), frame, bytes.data(), bytes.size(), nullptr)));
    return bytes;
}

/// Compressed video of 20 frames, every fourth a key frame, and sound in uneven chunks between them, two empty
/// ones in a row.
static AVI_BUILD mixed_build(AVI_BUILD_INDEX index, uint16_t bits = 16) {
    AVI_BUILD build;
    build.index = index;
    build.streams = {avi_video_stream(64, 48, 24, CODEC), avi_sound_stream(1, 1, 8000, bits)};
    for (uint32_t i = 0; i < 20; ++i) {
        const bool key = i % 4 == 0;
        build.chunks.push_back({0, key ? "db" : "dc", bytes_pattern(30 + i * 7, i), key});
        build.chunks.push_back({1, "wb", bytes_pattern(i / 2 == 4 ? 0 : i * 37 % 101, 100 + i)});
    }
    return build;
}

static void expect_frames(const AVI_PTR& avi, const AVI_BUILD& build) {
    int frame = 0;
    for (const AVI_BUILD_CHUNK& chunk : build.chunks) {
        if (chunk.stream != 0) continue;
        ASSERT_EQ(frame_of(avi, frame), chunk.data) << "frame " << frame;
        ASSERT_EQ(avi_reader_is_keyframe(avi.get(), frame), chunk.key) << "frame " << frame;
        ++frame;
    }
    EXPECT_EQ(info_of(avi).frames, frame);
}

/// Random runs against all chunks put together.
static void expect_sound(const AVI_PTR& avi, const AVI_BUILD& build, int block) {
    BYTES sound;
    for (const AVI_BUILD_CHUNK& chunk : build.chunks)
        if (chunk.stream == 1) sound.insert(sound.end(), chunk.data.begin(), chunk.data.end());
    RNG rng(kernel_seed());
    SCOPED_TRACE(kernel_seed());
    const int samples = int(sound.size()) / block;
    ASSERT_EQ(info_of(avi).audio_samples, samples);
    for (int i = 0; i < 300; ++i) {
        const int start = int(rng.below(uint32_t(samples))), count = 1 + int(rng.below(uint32_t(samples)));
        ASSERT_NO_FATAL_FAILURE(expect_samples<avi_reader_read_audio>(avi, sound, size_t(block), start, count));
    }
}

TEST(AviReader, EveryIndexGivesTheSameFramesAndSound) {
    for (const AVI_BUILD_INDEX index :
         {AVI_BUILD_IDX1_RELATIVE, AVI_BUILD_IDX1_ABSOLUTE, AVI_BUILD_NO_INDEX, AVI_BUILD_ODML}) {
        SCOPED_TRACE(index);
        // Blocks of 3 bytes lie across the borders of chunks
        for (const uint16_t bits : {uint16_t{16}, uint16_t{24}}) {
            AVI_BUILD build = mixed_build(index, bits);
            if (bits == 24) build.chunks_per_list = 7;
            const AVI_PTR avi = opened(avi_open(avi_build(build)));
            expect_frames(avi, build);
            expect_sound(avi, build, bits / 8);
            EXPECT_EQ(info_of(avi).rate, 25);
            EXPECT_EQ(info_of(avi).video_format_size, 40);
        }
    }
}

TEST(AviReader, DamagedChunksNeverPassTheBuffer) {
    AVI_BUILD build;
    build.streams = {avi_video_stream(4, 2, 24, 0), avi_sound_stream(1, 1, 8000, 16)};
    // The second frame was dropped, the third is more than the picture has.
    build.chunks = {{0, "db", bytes_pattern(24, 1)}, {0, "db", {}},
                    {0, "db", bytes_pattern(40, 2)}, {1, "wb", bytes_pattern(50, 3)},
                    {0, "db", bytes_pattern(24, 4)}, {1, "wb", bytes_pattern(20, 5)}};
    build.index = AVI_BUILD_IDX1_ABSOLUTE;
    BYTES bytes = avi_build(build);
    const size_t idx1 = bytes_find(bytes, "idx1") + 8;
    bytes_put_u32(bytes, idx1 + 4 * 16 + 8, uint32_t(bytes.size()) - 8 - 23);  // the last frame: one byte is missing
    bytes_put_u32(bytes, idx1 + 5 * 16 + 8, uint32_t(bytes.size()) - 8 - 10);  // the last sound: half is missing
    const AVI_PTR avi = opened(avi_open(bytes));
    BYTES buffer(64, 0xEE);
    bool damaged = true;
    EXPECT_EQ(avi_reader_read_video_bounded(avi.get(), 0, buffer.data(), 64, &damaged), 24);
    EXPECT_FALSE(damaged);
    EXPECT_EQ(avi_reader_read_video_bounded(avi.get(), 2, buffer.data(), 64, &damaged), 24);
    EXPECT_TRUE(damaged);
    EXPECT_EQ(avi_reader_read_video(avi.get(), 2, buffer.data()), 24);
    EXPECT_EQ(buffer[24], 0xEE);
    EXPECT_EQ(avi_reader_read_video_bounded(avi.get(), 2, buffer.data(), 10, &damaged), 10);
    EXPECT_TRUE(damaged);
    std::fill(buffer.begin(), buffer.end(), uint8_t{0xEE});
    for (const int32_t frame : {1, 3, 4, -1, INT32_MIN, INT32_MAX})
        EXPECT_EQ(avi_reader_read_video_bounded(avi.get(), frame, buffer.data(), 64, &damaged), 0) << frame;
    for (const auto& [start, count] : {std::pair{-1, 1}, {23, 4}, {35, 1}, {INT32_MAX, 1}})
        EXPECT_EQ(avi_reader_read_audio(avi.get(), start, count, buffer.data()), 0) << start;
    EXPECT_EQ(buffer, BYTES(64, 0xEE));
    EXPECT_EQ(avi_reader_read_audio(avi.get(), 0, 25, buffer.data()), 25);
}

TEST(AviReader, ACutFileKeepsWhatItHolds) {
    AVI_BUILD build = mixed_build(AVI_BUILD_ODML);
    build.chunks_per_list = 8;
    BYTES bytes = avi_build(build);
    const size_t second = bytes_find(bytes, "AVIX") - 8;
    AVI_PTR avi = opened(avi_open({bytes.begin(), bytes.begin() + ptrdiff_t(second)}));
    EXPECT_EQ(info_of(avi).frames, 4);
    EXPECT_EQ(info_of(avi).audio_samples, (0 + 37 + 74 + 10) / 2);
    // Not even the first index is there: the chunks themselves are.
    avi = opened(avi_open({bytes.begin(), bytes.begin() + ptrdiff_t(bytes_find(bytes, "ix00"))}));
    EXPECT_EQ(info_of(avi).frames, 4);
    EXPECT_EQ(frame_of(avi, 3), build.chunks[6].data);
    // A recording that was never finished has sizes of 0.
    BYTES unfinished = avi_build(mixed_build(AVI_BUILD_NO_INDEX));
    bytes_put_u32(unfinished, 4, 0);
    bytes_put_u32(unfinished, bytes_find(unfinished, "movi") - 4, 0);
    expect_frames(opened(avi_open(unfinished)), mixed_build(AVI_BUILD_NO_INDEX));
}

TEST(AviReader, VariableSoundCountsInBytes) {
    AVI_BUILD build = mixed_build(AVI_BUILD_IDX1_RELATIVE);
    build.streams[1] = avi_sound_stream(0x55, 2, 44100, 0);
    build.streams[1].rate = 44100;
    build.streams[1].scale = 1152;
    build.streams[1].sample_size = 0;
    const AVI_PTR avi = opened(avi_open(avi_build(build)));
    expect_sound(avi, build, 1);
    const INPUT_MEDIA_INFO info = info_of(avi);
    EXPECT_TRUE(info.flags & INPUT_MEDIA_VARIABLE_AUDIO);
    EXPECT_EQ(info.audio_format->nBlockAlign, 1);
    for (const auto& [sample, position] : {std::pair{-5, 0},
                                           {1152, 0},  // the first chunk is empty
                                           {1152 * 4 - 1, 37 + 74},
                                           {1152 * 4, 37 + 74 + 10},
                                           {INT32_MAX, info.audio_samples}})
        EXPECT_EQ(avi_reader_audio_position(avi.get(), sample), position) << sample;
}

TEST(AviReader, FormatsAreRepairedOrRefused) {
    using S = AVI_BUILD_STREAM&;
    const struct {
        const char* what;
        void (*change)(S video, S sound);
        bool video, audio;
    } cases[] = {
        {"lengths too large", [](S v, S a) { v.length = a.length = UINT32_MAX; }, true, true},
        {"PCM without a sample size", [](S, S a) { a.sample_size = 0; }, true, true},
        {"no block size", [](S, S a) { bytes_put_u16(a.format, 12, 0); }, true, true},
        {"no block size, no bits", [](S, S a) { bytes_put_u32(a.format, 12, 0); }, true, false},
        {"no sound rate", [](S, S a) { bytes_put_u32(a.format, 4, 0); }, true, false},
        {"short sound format", [](S, S a) { a.format.resize(14); }, true, false},
        {"variable without a rate", [](S, S a) { a.format[0] = 0x55, a.sample_size = a.scale = 0; }, true, false},
        {"no rate", [](S v, S) { v.rate = 0; }, false, true},
        {"no scale", [](S v, S) { v.scale = 0; }, false, true},
        {"rate of 2^31", [](S v, S) { v.rate = 0x80000000; }, false, true},
        {"huge format", [](S v, S) { v.format.resize(8193); }, false, true},
        {"largest format", [](S v, S) { v.format.resize(8192); }, true, true},
        {"short format", [](S v, S) { v.format.resize(39); }, false, true},
        {"other type", [](S v, S) { v.type = "txts"; }, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        AVI_BUILD build = mixed_build(AVI_BUILD_IDX1_RELATIVE);
        c.change(build.streams[0], build.streams[1]);
        const AVI_PTR avi = opened(avi_open(avi_build(build)));
        const INPUT_MEDIA_INFO info = info_of(avi);
        EXPECT_EQ(info.flags, uint32_t(c.video * INPUT_MEDIA_VIDEO | c.audio * INPUT_MEDIA_AUDIO));
        if (c.video) expect_frames(avi, build);
        if (!c.audio) continue;
        EXPECT_EQ(info.audio_format->nBlockAlign, 2);
        expect_sound(avi, build, 2);
    }
}

TEST(AviReader, PaletteAndHandlers) {
    const uint32_t dib = VANTEL_FOURCC('D', 'I', 'B', ' '), small = VANTEL_FOURCC('d', 'i', 'b', 0);
    const struct {
        uint32_t handler, compression;
        uint16_t bits;
        bool opens;
        uint32_t told;
    } cases[] = {{0, 0, 8, false, 0},        {dib, 0, 8, false, 0},      {small, 0, 15, false, 0},
                 {0, small, 8, false, 0},    {0, 0, 16, true, 0},        {dib, 0, 24, true, dib},
                 {0, CODEC, 8, true, CODEC}, {CODEC, 0, 8, true, CODEC}, {0, dib, 32, true, 0}};
    for (const auto& c : cases) {
        AVI_BUILD build = mixed_build(AVI_BUILD_IDX1_RELATIVE);
        build.streams[0] = avi_video_stream(64, 48, c.bits, c.compression);
        build.streams[0].handler = c.handler;
        const AVI_PTR avi = avi_open(avi_build(build));
        ASSERT_EQ(avi != nullptr, c.opens) << c.bits;
        EXPECT_EQ(avi ? info_of(avi).video_handler : 0, c.told);
    }
}

TEST(AviReader, SuperIndexesAreBounded) {
    AVI_BUILD build = mixed_build(AVI_BUILD_ODML);
    build.super_repeat = 1100;  // each byte of the file gives one entry only, and the second stream finds no slot
    AVI_PTR avi = opened(avi_open(avi_build(build)));
    EXPECT_EQ(info_of(avi).frames, 20);
    EXPECT_FALSE(info_of(avi).flags & INPUT_MEDIA_AUDIO);

    build.super_repeat = 1;
    const BYTES good = avi_build(build);
    const size_t index = bytes_find(good, "ix00", 0);
    const struct {
        const char* what;
        size_t at;
        uint32_t value;
        int frames;
    } cases[] = {{"counts in the billions", index + 12, UINT32_MAX, 21},  // the closing entry lies in the chunk
                 {"a chunk of 10 entries", index + 4, 24 + 80, 10},
                 {"a chunk without room", index + 4, 23, 0},
                 {"an index of fields", index + 8, 0x01010003, 0},
                 {"a count of 5", index + 12, 5, 5}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        BYTES bytes = good;
        bytes_put_u32(bytes, c.at, c.value);
        avi = opened(avi_open(bytes));
        EXPECT_EQ(info_of(avi).frames, c.frames);
        expect_sound(avi, build, 2);
    }
}

TEST(AviReader, EmptySuperIndexFallsBackToTheOldIndex) {
    AVI_BUILD build = mixed_build(AVI_BUILD_IDX1_RELATIVE);
    BYTES bytes = avi_build(build);
    const BYTES list = {'L', 'I', 'S', 'T', 4, 0, 0, 0, 'o', 'd', 'm', 'l'};
    bytes.insert(bytes.begin() + 24, list.begin(), list.end());
    bytes_put_u32(bytes, 4, uint32_t(bytes.size()) - 8);
    bytes_put_u32(bytes, 16, uint32_t(bytes_find(bytes, "movi")) - 28);
    expect_frames(opened(avi_open(bytes)), build);
}

TEST(AviReader, ReadsBehindFourGigabytes) {
    AVI_BUILD build = mixed_build(AVI_BUILD_ODML);
    build.chunks_per_list = 8;
    for (size_t i = 6; i < build.chunks.size(); i += 8) build.chunks[i].gap_before = 0x60000000;
    const AVI_IMAGE image = avi_build_image(build);
    ASSERT_GT(image.size, uint64_t{7} << 30);
    const TEMP_FILE file(image, ".avi");
    const AVI_PTR avi = opened(AVI_PTR(avi_reader_open(file.name())));
    expect_frames(avi, build);
    expect_sound(avi, build, 2);
}

static void touch(const BYTES& bytes) {
    const AVI_PTR avi = avi_open(bytes);
    if (!avi) return;
    const INPUT_MEDIA_INFO info = info_of(avi);
    for (int32_t i = 0; i < std::min(info.frames, 8); ++i) frame_of(avi, i);
    BYTES sound(65536);
    if (info.flags & INPUT_MEDIA_AUDIO && info.audio_format->nBlockAlign <= 65536 / 16)
        avi_reader_read_audio(avi.get(), info.audio_samples / 2, 16, sound.data());
}

TEST(AviReader, CutAnywhereOrChangedAnywhereItStaysInBounds) {
    RNG rng(kernel_seed());
    SCOPED_TRACE(kernel_seed());
    for (const AVI_BUILD_INDEX index : {AVI_BUILD_IDX1_RELATIVE, AVI_BUILD_NO_INDEX}) {
        AVI_BUILD build = mixed_build(index);
        build.chunks.resize(6);
        const BYTES whole = avi_build(build);
        for (size_t at = 0; at + 4 <= whole.size(); ++at) {
            touch(BYTES(whole.begin(), whole.begin() + ptrdiff_t(at)));
            BYTES changed = whole;
            bytes_put_u32(changed, at, std::array{0u, 1u, UINT32_MAX, 0x80000000u, uint32_t(rng.next())}[rng.below(5)]);
            touch(changed);
        }
    }
}

TEST(AviReader, WorkIsBoundedWhateverTheFileClaims) {
    // 4 GiB of chunks without data, once as the header list and once as the data.
    for (const char* const list : {"hdrl", "movi"}) {
        BYTES head = avi_build(mixed_build(AVI_BUILD_NO_INDEX));
        const size_t at = bytes_find(head, list);
        head.resize(list[0] == 'h' ? bytes_find(head, "movi") - 8 : at + 4);
        bytes_put_u32(head, 4, UINT32_MAX);
        bytes_put_u32(head, at - 4, UINT32_MAX);
        const TEMP_FILE file(AVI_IMAGE{{{0, head}}, uint64_t{1} << 32}, ".avi");
        EXPECT_EQ(avi_reader_open(file.name()), nullptr) << list;
    }
}
