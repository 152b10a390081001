#include <signal.h>

#include "app/save_fixture.h"

/// Files that the finished program saves, with ffmpeg as the peer.

struct Save : SAVE_FIXTURE {
    std::string input = folder / "source.avi";
};

// What comes out of the 48-bit pipeline without a filter is what went in: every byte of RGB and every sample.
TEST_F(Save, KeepsFramesAndSound) {
    static const struct {
        const char *size, *pixels;
    } SOURCES[] = {{"351x33", "bgr24"}, {"318x62", "bgr0"}, {"322x50", "rgb555le"}};
    for (const auto& s : SOURCES) {
        SCOPED_TRACE(s.pixels);
        pattern({"rawvideo", "-pix_fmt", s.pixels}, 50, s.size, "source.avi",
                {"-f", "lavfi", "-i", "sine=frequency=440:sample_rate=44100", "-ac", "2", "-c:a", "pcm_s16le"});
        run_program({input, "-r11,40", "-o", out, "-q"});
        EXPECT_EQ(probe(out, "v", "stream=nb_frames"), "30");
        EXPECT_EQ(probe(out, "v", "stream=r_frame_rate"), "25/1");
        const std::string got = decoded_frames(folder, out);
        ASSERT_GT(got.size(), 0u);
        const size_t frame = got.size() / 30, sound_frame = 44100 / 25 * 4;
        std::string want = decoded_frames(folder, input).substr(10 * frame, 30 * frame);
        // ffmpeg fills the low bits of 5-5-5 pictures with the high ones; here they are zero.
        if (std::string(s.pixels) == "rgb555le")
            for (char& c : want) c = char(c & 0xF8);
        EXPECT_TRUE(want == got);
        const std::string sound = decoded_sound(folder, input).substr(10 * sound_frame, 30 * sound_frame);
        EXPECT_TRUE(sound == decoded_sound(folder, out));
    }
}

// YUY2 goes out as RGB: ffmpeg's own conversion of the same file is the peer, which samples chroma differently.
TEST_F(Save, Yuy2BecomesTheSamePicture) {
    pattern({"rawvideo", "-pix_fmt", "yuyv422"}, 30, "320x240");
    run_program({input, "-o", out, "-q"});
    const COMMAND_OUTPUT run =
        command_run({"ffmpeg", "-nostdin", "-i", input, "-i", out, "-lavfi",
                     "[0:v]format=yuv444p[x];[1:v]format=yuv444p[y];[x][y]psnr", "-f", "null", "-"});
    const size_t at = run.error.find("average:");
    ASSERT_NE(at, std::string::npos);
    EXPECT_GT(std::stod(run.error.substr(at + 8)), 30);
}

TEST_F(Save, OpenDmlSourceOfSeveralLists) {
    clip("source.avi", {64, 48, 25, 1, 400, 24, 44100, 500000});
    run_program({input, "-o", out, "-q"});
    EXPECT_EQ(probe(out, "v", "stream=nb_frames"), "400");
    EXPECT_TRUE(decoded_frames(folder, input) == decoded_frames(folder, out));
    EXPECT_TRUE(decoded_sound(folder, input) == decoded_sound(folder, out));
}

TEST_F(Save, InterruptLeavesAShorterFile) {
    clip("source.avi", {640, 480, 25, 1, 400, 24, 44100, 0});
    for (const int number : {SIGINT, SIGTERM}) {
        std::filesystem::remove(out);
        const COMMAND_OUTPUT run =
            vantel(folder, {input, "-o", out, "-q"}, {.signal = number, .signal_ms = 50, .signal_file = out});
        if (run.status == 0) GTEST_SKIP() << "the save was faster than the signal";
        ASSERT_EQ(run.status, 1) << run.error;
        EXPECT_NE(run.error.find("out.avi"), std::string::npos);
        const size_t frames = std::stoul("0" + probe(out, "v", "stream=nb_frames"));
        EXPECT_GT(frames, 0u);
        EXPECT_EQ(decoded_frames(folder, out).size(), frames * 640 * 480 * 3);
    }
}
