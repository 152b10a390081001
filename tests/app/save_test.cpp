#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>

#include "app/app.h"
#include "demo/clip.h"
#include "platform/text.h"

/// A source that ffmpeg makes: raw pictures of a moving test pattern and 16-bit sound.
struct RAW_SOURCE {
    const char* name;
    const char* size;
    const char* pixels;  // ffmpeg's name of the stored format
    int frames;
};

static std::string make_source(const TEMP_FOLDER_PATH& folder, const RAW_SOURCE& source) {
    const std::string path = folder / "source.avi";
    const std::string seconds = std::to_string(source.frames / 25.0);
    EXPECT_TRUE(ffmpeg({"-f", "lavfi", "-i", std::string("testsrc2=rate=25:size=") + source.size, "-f", "lavfi", "-i",
                        "sine=frequency=440:sample_rate=44100", "-t", seconds, "-ac", "2", "-c:v", "rawvideo",
                        "-pix_fmt", source.pixels, "-c:a", "pcm_s16le", path}));
    return path;
}

// ffmpeg fills the low bits of 5-5-5 pictures with the high ones; here they are zero.
static std::string kept_bits(std::string frames, const RAW_SOURCE& source) {
    if (std::string(source.pixels) == "rgb555le")
        for (char& c : frames) c = char(c & 0xF8);
    return frames;
}

class SaveOf : public testing::TestWithParam<RAW_SOURCE> {};

// What comes out of the 48-bit pipeline without a filter is what went in: every byte of RGB and every sample.
TEST_P(SaveOf, KeepsFramesAndSound) {
    const TEMP_FOLDER_PATH folder;
    const std::string source = make_source(folder, GetParam()), out = folder / "out.avi";
    const COMMAND_OUTPUT run = vantel(folder, {source, "-r11,40", "-o", out, "-q"});
    ASSERT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(run.error, "");
    EXPECT_EQ(probe(out, "v", "stream=nb_frames"), "30");
    EXPECT_EQ(probe(out, "v", "stream=r_frame_rate"), "25/1");
    const std::string want = decoded_frames(folder, source), got = decoded_frames(folder, out);
    ASSERT_GT(got.size(), 0u);
    const size_t frame = got.size() / 30;
    EXPECT_TRUE(kept_bits(want.substr(10 * frame, 30 * frame), GetParam()) == got);
    const std::string sound = decoded_sound(folder, source), kept = decoded_sound(folder, out);
    const size_t samples_of_a_frame = 44100 / 25 * 4;
    EXPECT_TRUE(sound.substr(10 * samples_of_a_frame, 30 * samples_of_a_frame) == kept);
}

INSTANTIATE_TEST_SUITE_P(Raw, SaveOf,
                         testing::Values(RAW_SOURCE{"Rgb24", "320x240", "bgr24", 50},
                                         RAW_SOURCE{"Rgb24Odd", "351x33", "bgr24", 50},
                                         RAW_SOURCE{"Rgb32", "318x62", "bgr0", 50},
                                         RAW_SOURCE{"Rgb16", "322x50", "rgb555le", 50}),
                         [](const auto& info) { return std::string(info.param.name); });

static int psnr_hundredths(const TEMP_FOLDER_PATH&, const std::string& a, const std::string& b) {
    const COMMAND_OUTPUT run =
        command_run({"ffmpeg", "-nostdin", "-i", a, "-i", b, "-lavfi",
                     "[0:v]format=yuv444p[x];[1:v]format=yuv444p[y];[x][y]psnr", "-f", "null", "-"});
    const size_t at = run.error.find("average:");
    return at == std::string::npos ? 0 : int(std::stod(run.error.substr(at + 8)) * 100);
}

// YUY2 goes out as RGB: ffmpeg's own conversion of the same file is the peer, which samples chroma differently.
TEST(Save, Yuy2BecomesTheSamePicture) {
    const TEMP_FOLDER_PATH folder;
    const std::string source = make_source(folder, {"", "320x240", "yuyv422", 30}), out = folder / "out.avi";
    const COMMAND_OUTPUT run = vantel(folder, {source, "-o", out, "-q"});
    ASSERT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(probe(out, "v", "stream=nb_frames"), "30");
    EXPECT_GT(psnr_hundredths(folder, source, out), 3000);
}

TEST(Save, SettingsOfSpeedDoNotChangeABit) {
    const TEMP_FOLDER_PATH folder;
    const CLIP clip = {370, 242, 30000, 1001, 40, 0, 48000, 0};
    ASSERT_TRUE(clip_write(clip, text_from_utf8(folder / "clip.avi")));
    std::string first;
    for (const char* settings : {"", "multithread=1\n", "multithread=7\n", "sse=0\n", "sse2=0\nmultithread=3\n",
                                 "saveunitsize=0\n", "saveunitsize=1\n", "cache=2\n"}) {
        std::filesystem::create_directories(folder / "home");
        file_put_bytes(folder / "home/vantel.ini", std::string("[system]\n") + settings);
        const COMMAND_OUTPUT run = vantel(folder, {folder / "clip.avi", "-o", folder / "out.avi", "-q"});
        ASSERT_EQ(run.status, 0) << run.error;
        const std::string bytes = file_bytes(folder / "out.avi");
        if (first.empty()) first = bytes;
        EXPECT_TRUE(bytes == first) << settings;
    }
}

TEST(Save, OpenDmlSourceOfSeveralLists) {
    const TEMP_FOLDER_PATH folder;
    const CLIP clip = {64, 48, 25, 1, 400, 24, 44100, 500000};
    ASSERT_TRUE(clip_write(clip, text_from_utf8(folder / "clip.avi")));
    ASSERT_EQ(probe(folder / "clip.avi", "v", "stream=nb_frames"), "400");
    const COMMAND_OUTPUT run = vantel(folder, {folder / "clip.avi", "-o", folder / "out.avi", "-q"});
    ASSERT_EQ(run.status, 0) << run.error;
    EXPECT_TRUE(decoded_frames(folder, folder / "clip.avi") == decoded_frames(folder, folder / "out.avi"));
    EXPECT_TRUE(decoded_sound(folder, folder / "clip.avi") == decoded_sound(folder, folder / "out.avi"));
}

TEST(Save, WavOfASelection) {
    const TEMP_FOLDER_PATH folder;
    ASSERT_TRUE(clip_write({64, 48, 25, 1, 100, 24, 48000, 0}, text_from_utf8(folder / "clip.avi")));
    ASSERT_EQ(vantel(folder, {folder / "clip.avi", "-r26,50", "-ow" + (folder / "out.wav"), "-q"}).status, 0);
    const std::string sound = decoded_sound(folder, folder / "clip.avi");
    EXPECT_TRUE(sound.substr(48000 * 4, 48000 * 4) == decoded_sound(folder, folder / "out.wav"));
}

TEST(Save, InterruptLeavesAShorterFile) {
    const TEMP_FOLDER_PATH folder;
    ASSERT_TRUE(clip_write({640, 480, 25, 1, 400, 24, 44100, 0}, text_from_utf8(folder / "clip.avi")));
    for (const int number : {SIGINT, SIGTERM}) {
        COMMAND_OPTIONS options;
        options.signal = number;
        options.signal_ms = 50;
        options.signal_file = folder / "out.avi";
        std::filesystem::remove(options.signal_file);
        const COMMAND_OUTPUT run = vantel(folder, {folder / "clip.avi", "-o", folder / "out.avi", "-q"}, options);
        if (run.status == 0) GTEST_SKIP() << "the save was faster than the signal";
        ASSERT_EQ(run.status, 1) << run.error;
        EXPECT_NE(run.error.find("out.avi"), std::string::npos);
        const std::string frames = probe(folder / "out.avi", "v", "stream=nb_frames");
        EXPECT_GT(std::stoi("0" + frames), 0);
        EXPECT_EQ(decoded_frames(folder, folder / "out.avi").size(), size_t(std::stoi("0" + frames)) * 640 * 480 * 3);
    }
}

TEST(Save, FileSizeLimitLeavesWhatFits) {
    const TEMP_FOLDER_PATH folder;
    ASSERT_TRUE(clip_write({64, 48, 25, 1, 200, 24, 44100, 0}, text_from_utf8(folder / "clip.avi")));
    for (const long limit : {200000L, 777777L, 1500001L}) {
        COMMAND_OPTIONS options;
        options.file_size_limit = limit;
        const COMMAND_OUTPUT run = vantel(folder, {folder / "clip.avi", "-o", folder / "out.avi", "-q"}, options);
        ASSERT_EQ(run.status, 1) << run.error;
        EXPECT_NE(run.error.find("out.avi"), std::string::npos) << run.error;
        const size_t frames = decoded_frames(folder, folder / "out.avi").size() / (64 * 48 * 3);
        EXPECT_GT(frames, size_t(limit) / (64 * 48 * 3 + 7100) * 8 / 10) << limit;
        EXPECT_EQ(vantel(folder, {folder / "out.avi", "-o", folder / "again.avi", "-q"}).status, 0);
    }
}
