#include "readers/platform_reader.h"

#include "readers/fourcc.h"
#include "readers/input_table.h"
#include "readers/reader_test.h"
#include "support/command.h"

static constexpr char NAME[] = "AVI File Reader ( Video For Windows )";

struct PlatformReader : testing::Test {
    TEMP_FOLDER_PATH folder;

    void SetUp() override {
        setenv("VANTEL_HOME", folder.path.c_str(), 1);
        input_table_init();
    }
    void TearDown() override { input_table_exit(); }
    std::string make(const char* name, const std::string& options) {
        ffmpeg_make(
            "-f lavfi -i testsrc2=size=64x48:rate=30000/1001:duration=1 -f lavfi -i "
            "sine=sample_rate=44100:duration=1 " +
            options + " " + (folder / name));
        return folder / name;
    }
};

TEST_F(PlatformReader, GivesPicturesAndSoundAsIfTheyWereStoredPlain) {
    INPUT_HANDLE* file =
        opened(input_open(make("clip.mp4", "-c:v libx264 -pix_fmt yuv420p -c:a aac").c_str(), -1, nullptr));
    EXPECT_STREQ(input_reader_name(file), NAME);
    INPUT_MEDIA_INFO info = {};
    input_info(file, &info);
    EXPECT_EQ(info.flags, uint32_t{INPUT_MEDIA_VIDEO | INPUT_MEDIA_AUDIO});
    EXPECT_EQ(info.rate * 1001, info.scale * 30000);
    EXPECT_EQ(info.frames, 30);
    EXPECT_EQ(info.video_handler, fourcc("YUY2"));
    EXPECT_EQ(info.audio_samples, 44100);
    EXPECT_EQ(info.audio_format->nBlockAlign, 2);
    std::string whole(64 * 48 * 2, 'x'), part(1000, 'x');
    bool damaged = true;
    EXPECT_EQ(input_read_video(file, 29, whole.data(), whole.size(), 64, 48, 16, &damaged), 64 * 48 * 2);
    EXPECT_FALSE(damaged);
    EXPECT_EQ(input_read_video(file, 29, part.data(), part.size(), 64, 48, 16, &damaged), 1000);
    EXPECT_TRUE(damaged);
    EXPECT_TRUE(part == whole.substr(0, 1000));
    for (const int none : {30, -1}) EXPECT_EQ(input_read_video(file, none, nullptr, 6144, 64, 48, 16), 0);
    EXPECT_EQ(input_read_audio(file, 43600, 1000, whole.data()), 500);
    EXPECT_EQ(input_read_audio(file, 44100, 1000, whole.data()), 0);
}

TEST_F(PlatformReader, LeavesPlainAviToTheBuiltInReader) {
    const std::string plain =
        make("plain.avi", "-vf crop=50:38 -c:v rawvideo -pix_fmt bgr24 -flipped_raw_rgb 1 -c:a pcm_s16le");
    INPUT_HANDLE* file = opened(input_open(plain.c_str(), -1, nullptr));
    EXPECT_EQ(input_index(file), 0);
    const std::string pictures = ffmpeg_run("-i " + plain + " -f rawvideo -pix_fmt bgr24 -").text;
    for (int i = 0; i < 30; ++i) {
        std::string got(152 * 38, 'x'), want;
        EXPECT_EQ(input_read_video(file, i, got.data(), got.size(), 50, 38, 24), 152 * 38);
        for (size_t y = 38; y-- > 0;) want.append(pictures, (size_t(i) * 38 + y) * 150, 150).append(2, '\0');
        EXPECT_TRUE(got == want) << i;
    }
    std::string sound(88200, 'x');
    EXPECT_EQ(input_read_audio(file, 0, 44100, sound.data()), 44100);
    EXPECT_TRUE(sound == ffmpeg_run("-i " + plain + " -f s16le -").text);
    file = opened(input_open(make("palette.avi", "-c:v rawvideo -pix_fmt pal8").c_str(), -1, nullptr));
    EXPECT_STREQ(input_reader_name(file), NAME);
    const std::string text = folder / "words.txt";
    file_put_bytes(text, std::string(3000, 'a'));
    EXPECT_EQ(input_open(text.c_str(), -1, nullptr), nullptr);
    EXPECT_EQ(input_open_error(), INPUT_FAIL_NO_READER);
}
