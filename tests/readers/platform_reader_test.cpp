#include "readers/platform_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "core/edit_state.h"
#include "core/media.h"
#include "readers/fourcc.h"
#include "readers/input_table.h"
#include "support/command.h"

static constexpr char NAME[] = "AVI File Reader ( Video For Windows )";

static bool ffmpeg(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"ffmpeg", "-nostdin", "-loglevel", "error", "-y"});
    return command_run(arguments).status == 0;
}

struct PlatformReader : testing::Test {
    TEMP_FOLDER_PATH folder;
    std::unique_ptr<MEDIA_RECORD> record = std::make_unique<MEDIA_RECORD>();

    void SetUp() override {
        setenv("VANTEL_HOME", folder.path.c_str(), 1);
        input_table_init();
    }
    void TearDown() override { input_table_exit(); }
    std::string make(const char* name, std::vector<std::string> options) {
        std::vector<std::string> all = {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=30000/1001:duration=1",
                                        "-f", "lavfi", "-i", "sine=frequency=440:sample_rate=44100:duration=1"};
        all.insert(all.end(), options.begin(), options.end());
        all.push_back(folder / name);
        EXPECT_TRUE(ffmpeg(all)) << name;
        return folder / name;
    }
};

TEST_F(PlatformReader, GivesPicturesAndSoundAsIfTheyWereStoredPlain) {
    const std::string path = make("clip.mp4", {"-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a", "aac"});
    INPUT_HANDLE* file = input_open(path.c_str(), -1, nullptr);
    ASSERT_TRUE(file);
    EXPECT_STREQ(input_reader_name(file), NAME);
    INPUT_MEDIA_INFO info = {};
    input_info(file, &info);
    EXPECT_EQ(info.flags, uint32_t{INPUT_MEDIA_VIDEO | INPUT_MEDIA_AUDIO});
    EXPECT_EQ(info.rate * 1001, info.scale * 30000);
    EXPECT_EQ(info.frames, 30);
    EXPECT_EQ(info.video_handler, fourcc("YUY2"));
    EXPECT_EQ(info.video_format->biBitCount, 16);
    EXPECT_EQ(info.video_format->biSizeImage, 64u * 48 * 2);
    EXPECT_EQ(info.audio_samples, 44100);
    EXPECT_EQ(info.audio_format->nBlockAlign, 2);
    std::string whole(64 * 48 * 2, 'x'), part(1000, 'x');
    bool damaged = true;
    EXPECT_EQ(input_read_video(file, 29, whole.data(), whole.size(), 64, 48, 16, &damaged), 64 * 48 * 2);
    EXPECT_FALSE(damaged);
    EXPECT_EQ(input_read_video(file, 29, part.data(), part.size(), 64, 48, 16, &damaged), 1000);
    EXPECT_TRUE(damaged);
    EXPECT_TRUE(part == whole.substr(0, 1000));
    EXPECT_EQ(input_read_video(file, 30, whole.data(), whole.size(), 64, 48, 16), 0);
    EXPECT_EQ(input_read_video(file, -1, whole.data(), whole.size(), 64, 48, 16), 0);
    std::string sound(2000, 'x');
    EXPECT_EQ(input_read_audio(file, 43600, 1000, sound.data()), 500);
    EXPECT_EQ(input_read_audio(file, 44100, 1000, sound.data()), 0);
}

TEST_F(PlatformReader, OpensClipsAndSoundFilesThroughTheMediaLayer) {
    const std::string clip = make("clip.webm", {"-c:v", "libvpx", "-c:a", "libopus"});
    ASSERT_EQ(media_open(record.get(), clip.c_str(), 0), 1);
    EXPECT_EQ(record->media_frames, 30);
    EXPECT_TRUE(media_read_frame(record.get(), 12));
    media_close(record.get());
    const std::string sound = make("sound.mp3", {"-map", "1:a"});
    ASSERT_EQ(media_open(record.get(), sound.c_str(), LOAD_NO_VIDEO), 1);
    EXPECT_TRUE(record->media_flag & MEDIA_HAS_AUDIO);
    EXPECT_EQ(record->audio_stream.dwLength, 44100u);
    media_close(record.get());
    EXPECT_EQ(media_open(record.get(), sound.c_str(), 0), -1);
}

TEST_F(PlatformReader, LeavesPlainAviToTheBuiltInReader) {
    const std::string plain = make("plain.avi", {"-c:v", "rawvideo", "-pix_fmt", "bgr24", "-c:a", "pcm_s16le"});
    INPUT_HANDLE* file = input_open(plain.c_str(), -1, nullptr);
    ASSERT_TRUE(file);
    EXPECT_EQ(input_index(file), 0);
    const std::string palette = make("palette.avi", {"-c:v", "rawvideo", "-pix_fmt", "pal8", "-c:a", "pcm_s16le"});
    file = input_open(palette.c_str(), -1, nullptr);
    ASSERT_TRUE(file);
    EXPECT_STREQ(input_reader_name(file), NAME);
    const std::string text = folder / "words.txt";
    file_put_bytes(text, std::string(3000, 'a'));
    EXPECT_EQ(input_open(text.c_str(), -1, nullptr), nullptr);
    EXPECT_EQ(input_open_error(), INPUT_FAIL_NO_READER);
}
