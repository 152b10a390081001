#include <cmath>

#include "app/app.h"
#include "core/edit_fixture.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "platform/video_codec.h"
#include "readers/codec.h"

/// Saves through compressors and copies of stored frames, with ffmpeg as the judge of what came out.
struct CodecSave : EDIT_FIXTURE {
    static constexpr int WIDTH = 128, HEIGHT = 96;
    static constexpr size_t FRAME = size_t{WIDTH} * HEIGHT * 3;

    void SetUp() override {
        EDIT_FIXTURE::SetUp();
        system_settings.compprofile = 0;  // the settings of the edit count
    }

    std::string source(const std::vector<std::string>& codec, int frames) {
        const std::string path = folder / "source.avi";
        std::vector<std::string> arguments = {
            "-f", "lavfi", "-i", "testsrc2=rate=25:size=128x96", "-frames:v", std::to_string(frames), "-c:v"};
        arguments.insert(arguments.end(), codec.begin(), codec.end());
        arguments.push_back(path);
        EXPECT_TRUE(ffmpeg(arguments));
        EXPECT_EQ(open_file(edit, text_from_utf8(path).c_str(), 0), 1);
        return path;
    }
    int save() {
        text_copy(edit->save_name, PATH_SIZE, text_from_utf8(folder / "out.avi"));
        return save_run(edit, SAVE_REQ_QUIET);
    }
    static double psnr(const char* a, const char* b) {
        double sum = 0;
        for (size_t i = 0; i < FRAME; ++i) {
            const int d = int(uint8_t(a[i])) - int(uint8_t(b[i]));
            sum += d * d;
        }
        return sum == 0 ? 99 : 10 * std::log10(255.0 * 255 * double(FRAME) / sum);
    }
    /// The worst frame of `got` against `wanted`, which begins at frame `first` of it.
    static double worst(const std::string& got, const std::string& wanted, int first) {
        double least = 99;
        for (size_t at = 0; at + FRAME <= got.size(); at += FRAME)
            least = std::min(least, psnr(got.data() + at, wanted.data() + size_t(first) * FRAME + at));
        return least;
    }
    std::vector<int> keys(const std::string& path) {
        const auto record = std::make_unique<MEDIA_RECORD>();
        EXPECT_EQ(media_open(record.get(), text_from_utf8(path).c_str(), LOAD_READ_ONLY), 1);
        std::vector<int> found;
        for (int f = 0; f < record->media_frames; ++f)
            if (media_is_key(record.get(), f)) found.push_back(f);
        media_close(record.get());
        return found;
    }
    std::string stored(const std::string& path, int frame) {
        const auto record = std::make_unique<MEDIA_RECORD>();
        EXPECT_EQ(media_open(record.get(), text_from_utf8(path).c_str(), LOAD_READ_ONLY), 1);
        std::string bytes(1 << 20, 0);
        int key = 0;
        bytes.resize(size_t(media_read_frame_raw(record.get(), frame, bytes.data(), bytes.size(), &key)));
        media_close(record.get());
        return bytes;
    }
};

TEST_F(CodecSave, EachCompressorMakesFilesThatPlay) {
    const std::string path = source({"rawvideo", "-pix_fmt", "bgr24"}, 20);
    const std::string wanted = decoded_frames(folder, path);
    for (int i = 0; i < codec_count(); ++i) {
        const CODEC_ENTRY* entry = codec_entry(i);
        if (!(entry->flags & CODEC_CAN_RGB)) continue;
        codec_reset_setting(&edit->video_setting, entry->handler);
        edit->video_setting.quality = 9500;
        edit->video_setting.key_rate = 8;
        edit->video_setting.data_rate = 0;
        ASSERT_EQ(save(), 1) << entry->display_name;
        const std::string got = decoded_frames(folder, folder / "out.avi");
        ASSERT_EQ(got.size(), wanted.size()) << entry->display_name;
        const bool exact = !(entry->flags & (CODEC_HAS_QUALITY | CODEC_CAN_YUY2));
        EXPECT_GT(worst(got, wanted, 0), exact ? 98 : 18) << entry->display_name;
        const bool counts_itself = entry->handler == VANTEL_FOURCC('c', 'v', 'i', 'd');
        if (!(entry->flags & CODEC_HAS_KEY_RATE) || counts_itself) continue;
        EXPECT_EQ(keys(folder / "out.avi"), (std::vector<int>{0, 8, 16})) << entry->display_name;
    }
}

TEST_F(CodecSave, MarksAndSettingsOfFramesReachTheCompressor) {
    source({"rawvideo", "-pix_fmt", "bgr24"}, 30);
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
    EXPECT_EQ(keys(folder / "out.avi"), (std::vector<int>{0, 7, 12, 20, 26}));  // 26: back from what was not followed
    EXPECT_LT(stored(folder / "out.avi", 12).size() * 2, stored(folder / "out.avi", 20).size());
    EXPECT_EQ(stored(folder / "out.avi", 22).size(), 0u);
    EXPECT_EQ(decoded_frames(folder, folder / "out.avi").size(), 29 * FRAME);  // ffmpeg passes over an empty one
    EXPECT_EQ(file_bytes(folder / "out.txt"), "") << "a copy mark is no drop";
}

/// A long-GOP file cut at any frame: untouched frames are the source's bytes, the others are compressed anew, and all
/// of it decodes in order.
TEST_F(CodecSave, CopyOrRecompressCutsAnywhere) {
    static const struct {
        std::vector<std::string> codec;
        int gop;
    } CASES[] = {{{"mpeg4", "-vtag", "XVID", "-g", "24", "-bf", "0", "-q:v", "3"}, 24},
                 {{"libx264", "-g", "24", "-bf", "0", "-crf", "18", "-sc_threshold", "0"}, 24},
                 {{"mjpeg", "-q:v", "3"}, 1}};
    for (const auto& [codec, gop] : CASES) {
        const std::string path = source(codec, 100);
        const std::string wanted = decoded_frames(folder, path);
        edit->video_setting.setting_flags |= VIDEO_SETTING_COPY;
        edit->select_start = 13;
        edit->select_end = 77;
        ASSERT_EQ(save(), 1) << codec[0];
        const std::string got = decoded_frames(folder, folder / "out.avi");
        ASSERT_EQ(got.size(), 65 * FRAME) << codec[0];
        EXPECT_GT(worst(got, wanted, 13), 22) << codec[0];
        const int first_copied = gop == 1 ? 13 : 24;
        for (int f = first_copied; f <= 77; ++f)
            ASSERT_TRUE(stored(folder / "out.avi", f - 13) == stored(path, f)) << codec[0] << " frame " << f;
        edit->video_setting = {};
    }
}
