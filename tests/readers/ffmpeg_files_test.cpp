#include <gtest/gtest.h>

#include <cstring>

#include "readers/input_table.h"
#include "support/command.h"

/// Files of another program, against what that program itself makes of them.

static std::string ffmpeg(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"ffmpeg", "-v", "error", "-y", "-nostdin"});
    const COMMAND_OUTPUT output = command_run(arguments);
    return output.status == 0 ? "" : "ffmpeg: " + output.error;
}

struct FFMPEG_CASE {
    const char* name;
    std::vector<std::string> options;
    const char* pixels;
    int width, row;  // row: bytes of a row as ffmpeg gives it
    bool bottom_up;
};

/// The stored form of one picture that ffmpeg gave top-down without gaps.
static std::string stored_form(const FFMPEG_CASE& c, const char* picture, int height) {
    const size_t row = size_t(c.row), stride = (row + 3) / 4 * 4;
    std::string bytes;
    for (int y = 0; y < height; ++y) {
        bytes.append(picture + row * size_t(c.bottom_up ? height - 1 - y : y), row);
        bytes.append(stride - row, '\0');
    }
    return bytes;
}

static void expect_video(const INPUT_HANDLE* file, const INPUT_MEDIA_INFO& info, const FFMPEG_CASE& c,
                         const std::string& raw) {
    const int height = 38;
    const size_t picture = size_t(c.row) * size_t{height};
    ASSERT_EQ(raw.size(), picture * 25);
    ASSERT_EQ(info.frames, 25);
    EXPECT_EQ(int64_t(info.rate) * 1, int64_t(info.scale) * 25);
    EXPECT_EQ(info.video_format->biWidth, c.width);
    EXPECT_EQ(std::abs(info.video_format->biHeight), height);
    for (int i = 0; i < 25; ++i) {
        const std::string want = stored_form(c, raw.data() + picture * size_t(i), height);
        std::string got(want.size(), 'x');
        ASSERT_EQ(size_t(input_read_video(file, i, got.data(), got.size(), c.width, height, 24)), want.size());
        ASSERT_TRUE(got == want) << "frame " << i;
    }
}

static void expect_sound(const INPUT_HANDLE* file, const INPUT_MEDIA_INFO& info, const std::string& raw) {
    ASSERT_EQ(size_t(info.audio_samples) * 4, raw.size());
    std::string got(raw.size(), 'x');
    for (int start = 0; start < info.audio_samples; start += 1001) {
        const int n = std::min(1001, info.audio_samples - start);
        ASSERT_EQ(input_read_audio(file, start, 1001, got.data() + start * 4), n);
    }
    EXPECT_TRUE(got == raw);
}

TEST(FfmpegFiles, FramesAndSamplesAreThoseOfFfmpeg) {
    if (command_run({"ffmpeg", "-version"}).status != 0) GTEST_SKIP() << "ffmpeg is not installed";
    const FFMPEG_CASE cases[] = {
        {"bgr24.avi", {"-pix_fmt", "bgr24", "-c:v", "rawvideo"}, "bgr24", 50, 150, false},
        {"flipped.avi", {"-pix_fmt", "bgr24", "-c:v", "rawvideo", "-flipped_raw_rgb", "1"}, "bgr24", 50, 150, true},
        {"yuy2.avi", {"-pix_fmt", "yuyv422", "-c:v", "rawvideo", "-vtag", "YUY2"}, "yuyv422", 50, 100, false},
    };
    input_table_init();
    const TEMP_FOLDER_PATH folder;
    for (const FFMPEG_CASE& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string avi = folder / c.name, video = folder / "video.raw", sound = folder / "sound.raw";
        const std::string size = "testsrc2=size=" + std::to_string(c.width) + "x38:rate=25:duration=1";
        std::vector<std::string> make = {"-f", "lavfi", "-i", size,
                                         "-f", "lavfi", "-i", "sine=frequency=441:duration=1"};
        make.insert(make.end(), c.options.begin(), c.options.end());
        make.insert(make.end(), {"-c:a", "pcm_s16le", "-ac", "2", avi});
        ASSERT_EQ(ffmpeg(make), "");
        ASSERT_EQ(ffmpeg({"-i", avi, "-f", "rawvideo", "-pix_fmt", c.pixels, video}), "");
        ASSERT_EQ(ffmpeg({"-i", avi, "-f", "s16le", sound}), "");
        INPUT_HANDLE* file = input_open(avi.c_str(), -1, nullptr);
        ASSERT_TRUE(file);
        INPUT_MEDIA_INFO info = {};
        input_info(file, &info);
        expect_video(file, info, c, file_bytes(video));
        expect_sound(file, info, file_bytes(sound));
    }
    const std::string wav = folder / "sound.wav", sound = folder / "sound.raw";
    ASSERT_EQ(ffmpeg({"-f", "lavfi", "-i", "sine=frequency=441:duration=1", "-ac", "2", "-c:a", "pcm_s16le", wav}), "");
    ASSERT_EQ(ffmpeg({"-i", wav, "-f", "s16le", sound}), "");
    INPUT_HANDLE* file = input_open(wav.c_str(), -1, nullptr);
    ASSERT_TRUE(file);
    INPUT_MEDIA_INFO info = {};
    input_info(file, &info);
    expect_sound(file, info, file_bytes(sound));
    input_table_exit();
}
