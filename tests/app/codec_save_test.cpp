#include <cmath>

#include "app/save_fixture.h"
#include "platform/video_codec.h"
#include "readers/codec.h"

/// Saves through compressors and copies of stored frames, with ffmpeg as the judge of what came out.
struct CodecSave : SAVE_FIXTURE {
    static constexpr size_t FRAME = size_t{128} * 96 * 3;

    /// Opens a clip; `via` is a container in between, whose form of the codec the AVI file takes over.
    std::string source(const std::vector<std::string>& codec, int frames, const char* via = nullptr) {
        const std::string made = pattern(codec, frames, "128x96", "source." + std::string(via ? via : "avi"));
        EXPECT_TRUE(!via || ffmpeg({"-i", made, "-c", "copy", "-r", "25", folder / "source.avi"}));
        open(folder / "source.avi");
        return folder / "source.avi";
    }
    static double psnr(const char* a, const char* b) {
        double sum = 0;
        for (size_t i = 0; i < FRAME; ++i) {
            const int d = int(uint8_t(a[i])) - int(uint8_t(b[i]));
            sum += d * d;
        }
        return sum == 0 ? 99 : 10 * std::log10(255.0 * 255 * double(FRAME) / sum);
    }
    /// The worst frame of `got` against `wanted`.
    static double worst(const std::string& got, const std::string& wanted) {
        double least = 99;
        for (size_t at = 0; at + FRAME <= got.size(); at += FRAME)
            least = std::min(least, psnr(got.data() + at, wanted.data() + at));
        return least;
    }
    static std::unique_ptr<MEDIA_RECORD> record_of(const std::string& path) {
        auto record = std::make_unique<MEDIA_RECORD>();
        EXPECT_EQ(media_open(record.get(), text_from_utf8(path).c_str(), LOAD_READ_ONLY), 1);
        return record;
    }
    static std::vector<int> keys(const std::string& path) {
        const auto record = record_of(path);
        std::vector<int> found;
        for (int f = 0; f < record->media_frames; ++f)
            if (media_is_key(record.get(), f)) found.push_back(f);
        media_close(record.get());
        return found;
    }
    static std::string stored(const std::string& path, int frame) {
        const auto record = record_of(path);
        std::string bytes(1 << 20, 0);
        int key = 0;
        bytes.resize(size_t(media_read_frame_raw(record.get(), frame, bytes.data(), bytes.size(), &key)));
        media_close(record.get());
        return bytes;
    }
};

TEST_F(CodecSave, EachCompressorMakesFilesThatPlay) {
    const std::string wanted = decoded_frames(folder, source(RAW_VIDEO, 20));
    for (int i = 0; i < codec_count(); ++i) {
        const CODEC_ENTRY* entry = codec_entry(i);
        if (!(entry->flags & CODEC_CAN_RGB)) continue;
        codec_reset_setting(&edit->video_setting, entry->handler);
        edit->video_setting.quality = 9500;
        edit->video_setting.key_rate = 8;
        edit->video_setting.data_rate = 0;
        ASSERT_EQ(save(), 1) << entry->display_name;
        const std::string got = decoded_frames(folder, out);
        ASSERT_EQ(got.size(), wanted.size()) << entry->display_name;
        const bool exact = !(entry->flags & (CODEC_HAS_QUALITY | CODEC_CAN_YUY2));
        EXPECT_GT(worst(got, wanted), exact ? 98 : 18) << entry->display_name;
        const bool counts_itself = entry->handler == VANTEL_FOURCC('c', 'v', 'i', 'd');
        if (!(entry->flags & CODEC_HAS_KEY_RATE) || counts_itself) continue;
        EXPECT_EQ(keys(out), (std::vector<int>{0, 8, 16})) << entry->display_name;
    }
}

TEST_F(CodecSave, MarksAndSettingsOfFramesReachTheCompressor) {
    source(RAW_VIDEO, 30);
    codec_reset_setting(&edit->video_setting, VANTEL_FOURCC('X', 'V', 'I', 'D'));
    edit->video_setting.key_rate = 0;
    edit->video_setting.data_rate = 0;
    edit->frame_video_setting[3] = edit->video_setting;
    edit->frame_video_setting[3].quality = 500;
    edit->frame_video_setting[5] = edit->video_setting;
    edit->frame_video_setting[5].handler = VANTEL_FOURCC('M', 'J', 'P', 'G');  // another handler: not followed
    frame_table.frame_flag[7] |= FRAME_KEY;
    for (int f = 12; f < 20; ++f) frame_table.frame_compress[f] = 3;
    frame_table.frame_compress[25] = 5;
    frame_table.frame_flag[22] |= FRAME_COPY;
    edit->edit_flag |= EDIT_SAVE_LOG;
    ASSERT_EQ(save(), 1);
    EXPECT_EQ(keys(out), (std::vector<int>{0, 7, 12, 20, 26}));  // 26: back from what was not followed
    EXPECT_LT(stored(out, 12).size() * 2, stored(out, 20).size());
    EXPECT_EQ(stored(out, 22).size(), 0u);
    EXPECT_EQ(decoded_frames(folder, out).size(), 29 * FRAME);  // ffmpeg passes over an empty one
    EXPECT_EQ(file_bytes(folder / "out.txt"), "") << "a copy mark is no drop";
}

static std::vector<std::string> xvid(const char* tag, int gop, const char* flags = "-global_header") {
    return {"mpeg4", "-vtag", tag, "-g", std::to_string(gop), "-bf", "0", "-q:v", "3", "-flags", flags};
}
static std::vector<std::string> x264(const char* flags, const char* profile = "high") {
    return {"libx264", "-g",         "24",    "-bf",      "0",       "-crf",   "18", "-sc_threshold",
            "0",       "-profile:v", profile, "-pix_fmt", "yuv420p", "-flags", flags};
}

/// Long-GOP files, with codec headers in their key frames or in the format block alone.
static const struct COPY_CASE {
    const char* name;
    std::vector<std::string> codec;
    int gop;
    bool headers_in_block;
    const char* via = nullptr;
} COPY_CASES[] = {
    {"ASP", xvid("XVID", 24), 24, false},
    {"ASP, block, other name", xvid("mp4v", 24, "+global_header"), 24, true},
    {"H.264", x264("-global_header"), 24, false},
    {"H.264, block", x264("+global_header"), 24, true},
    {"H.264 of MP4", x264("+global_header"), 24, true, "mp4"},
    {"JPEG", {"mjpeg", "-q:v", "3"}, 1, false},
};

/// Cut at any frames: untouched frames are the source's bytes, behind its codec headers where a decoder needs them
/// again; the others are compressed anew, and all of it decodes in order.
TEST_F(CodecSave, CopyOrRecompressCutsAnywhere) {
    for (const COPY_CASE& c : COPY_CASES) {
        SCOPED_TRACE(c.name);
        const std::string path = source(c.codec, 100, c.via), pictures = decoded_frames(folder, path);
        edit->video_setting.setting_flags |= VIDEO_SETTING_COPY;
        std::vector<int> order(80);  // 13 .. 29, 41 .. 77, 50 .. 75
        for (int f = 0; f < 80; ++f) order[size_t(f)] = f < 17 ? 13 + f : f < 54 ? 24 + f : f - 4;
        const std::vector<uint32_t> refs(frame_table.frame_video, frame_table.frame_video + 100);
        for (int f = 0; f < 80; ++f) frame_table.frame_video[f + 2] = refs[size_t(order[size_t(f)])];
        edit->select_start = 2;
        edit->select_end = 81;
        ASSERT_EQ(save(), 1);
        const std::string got = decoded_frames(folder, out);
        ASSERT_EQ(got.size(), 80 * FRAME);
        if (c.via) {  // units of all frames stand behind their lengths, which ffmpeg itself is not strict about
            const std::string units = folder / "units.h264";
            ASSERT_TRUE(ffmpeg({"-i", out, "-c", "copy", "-bsf:v", "h264_mp4toannexb", units}));
            EXPECT_TRUE(decoded_frames(folder, units) == got);
        }
        bool copying = c.gop == 1;
        for (int f = 0; f < 80; ++f) {
            const int from = order[size_t(f)];
            const bool follows = f > 0 && order[size_t(f) - 1] + 1 == from, was_copying = copying;
            copying = from % c.gop == 0 || (copying && follows);
            ASSERT_GT(psnr(&got[size_t(f) * FRAME], &pictures[size_t(from) * FRAME]), copying ? 98 : 22) << f;
            if (!copying) continue;
            const std::string bytes = stored(out, f), own = stored(path, from);
            ASSERT_TRUE(bytes.ends_with(own)) << f;
            EXPECT_EQ(bytes.size() > own.size(), c.headers_in_block && !was_copying) << f;
        }
        edit->video_setting = {};
    }
}

/// Two files of one codec whose headers differ, joined: each is read by its own. The first cannot lend the second its
/// format block, so where only that has the headers all frames are compressed anew.
TEST_F(CodecSave, JoinedFilesKeepTheirOwnHeaders) {
    static const struct {
        const char* name;
        std::vector<std::string> first, second;
        bool copied;
    } CASES[] = {
        {"ASP", xvid("FMP4", 10, "+global_header"), xvid("FMP4", 10, "+global_header+qpel"), true},
        {"H.264", x264("+global_header"), x264("+global_header", "baseline"), true},
        {"Huffyuv",
         {"huffyuv", "-pred", "median", "-pix_fmt", "yuv422p"},
         {"huffyuv", "-pred", "plane", "-pix_fmt", "yuv422p"},
         false},
    };
    for (const auto& c : CASES) {
        SCOPED_TRACE(c.name);
        const std::string b = source(c.second, 30), second = decoded_frames(folder, b), kept = folder / "second.avi";
        std::filesystem::rename(b, kept);
        const std::string a = source(c.first, 30), first = decoded_frames(folder, a);
        open(kept, OPEN_APPEND);
        ASSERT_EQ(edit->frame_n, 60);
        select_all();
        edit->video_setting.setting_flags |= VIDEO_SETTING_COPY;
        ASSERT_EQ(save(), 1);
        EXPECT_GT(worst(decoded_frames(folder, out), first + second), c.copied ? 98 : 40);
        EXPECT_EQ(stored(out, 29) == stored(a, 29), c.copied);
        EXPECT_EQ(stored(out, 59) == stored(kept, 29), c.copied);
        edit->video_setting = {};
    }
}
