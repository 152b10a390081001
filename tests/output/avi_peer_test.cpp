#include <cstdlib>

#include "avi_sample.h"
#include "riff_dump.h"

/// Other programs must read what we write: ffmpeg decodes the files here, frame for frame.

static BYTES command_output(const std::string& command) {
    BYTES bytes;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return bytes;
    for (int c = getc(pipe); c != EOF; c = getc(pipe)) bytes.push_back(uint8_t(c));
    if (pclose(pipe) != 0) bytes.clear();
    return bytes;
}

static BYTES decode(const SAMPLE_FILE& file, const char* what) {
    return command_output("ffmpeg -nostdin -v error -i " + file.path + " " + what + " - 2>&1");
}

/// 24-bit pictures lie bottom-up in the file.
static void append_top_down(BYTES& out, const BYTES& frame) {
    const size_t row = size_t{SAMPLE_WIDTH} * 3;
    for (size_t y = SAMPLE_HEIGHT; y-- > 0;) out.insert(out.end(), &frame[y * row], &frame[y * row] + row);
}

static BYTES random_bytes(uint32_t seed, size_t n) {
    BYTES bytes(n);
    for (uint8_t& byte : bytes) byte = uint8_t((seed = seed * 1664525 + 1013904223) >> 24);
    return bytes;
}

TEST(AviPeer, FfmpegReadsPlainAndSplitFiles) {
    if (system("ffmpeg -version >/dev/null 2>&1") != 0) GTEST_SKIP() << "no ffmpeg";
    const SAMPLE_SETTINGS settings;
    for (const uint32_t limit : {0x7E000000u, 20000u}) {
        SCOPED_TRACE(limit);
        avi_writer_settings.part_limit = limit;
        const SAMPLE_FILE file("peer.avi");
        const auto context = sample_context();
        const uint32_t both = SAVE_VIDEO | SAVE_AUDIO;
        ASSERT_EQ(AVI_OK, avi_open(context.get(), file.path.c_str(), both, nullptr, 0));
        BYTES video, audio;
        for (uint32_t i = 0; i < 200; ++i) {
            const BYTES sound = random_bytes(i, i % 3 == 0 ? 534 : 0), frame = random_bytes(i + 1000, 288);
            EXPECT_EQ(AVI_OK, avi_put_audio(context.get(), sound.data(), sound.size()));
            EXPECT_EQ(AVI_OK, avi_put_frame(context.get(), frame.data(), nullptr));
            audio.insert(audio.end(), sound.begin(), sound.end());
            append_top_down(video, frame);
        }
        EXPECT_EQ(1, avi_close(context.get()));
        EXPECT_TRUE(video == decode(file, "-map 0:v -fps_mode passthrough -f rawvideo -pix_fmt bgr24"));
        EXPECT_TRUE(audio == decode(file, "-map 0:a -f s16le"));
        // behind a seek, which goes by the indexes
        const BYTES tail = decode(file, "-map 0:v -ss 5 -fps_mode passthrough -f rawvideo -pix_fmt bgr24");
        const BYTES seek = command_output("ffmpeg -nostdin -v error -ss 5 -i " + file.path +
                                          " -map 0:v -fps_mode passthrough -f rawvideo -pix_fmt bgr24 - 2>&1");
        EXPECT_TRUE(!tail.empty() && tail == seek);
        const BYTES probe = command_output(
            "ffprobe -v error -select_streams v -show_entries stream=nb_frames,r_frame_rate -of csv=p=0 " + file.path);
        EXPECT_EQ("30000/1001,200\n", std::string(probe.begin(), probe.end()));
    }
}

TEST(AviPeer, FfmpegReadsFilesOfAFullDisk) {
    if (system("ffmpeg -version >/dev/null 2>&1") != 0) GTEST_SKIP() << "no ffmpeg";
    const SAMPLE_SETTINGS settings;
    avi_writer_settings.part_limit = 20000;
    for (const size_t limit : {10000u, 20200u, 22000u, 30000u, 40000u}) {
        SCOPED_TRACE(limit);
        const SAMPLE_FILE file("full.avi");
        const auto context = sample_context();
        BYTES video;
        {
            const SIZE_LIMIT size_limit(limit);
            ASSERT_EQ(AVI_OK, avi_open(context.get(), file.path.c_str(), SAVE_VIDEO, nullptr, 0));
            for (uint32_t i = 0;; ++i) {
                const BYTES frame = random_bytes(i, 288);
                append_top_down(video, frame);
                if (avi_put_frame(context.get(), frame.data(), nullptr) != AVI_OK) break;
            }
            EXPECT_EQ(0, avi_close(context.get()));
        }
        video.resize(288 * riff_u32(file.load(), 48));  // avih.dwTotalFrames
        EXPECT_LT(limit - 9000, video.size());
        EXPECT_TRUE(video == decode(file, "-fps_mode passthrough -f rawvideo -pix_fmt bgr24"));
    }
}

TEST(AviPeer, FfmpegReadsWav) {
    if (system("ffmpeg -version >/dev/null 2>&1") != 0) GTEST_SKIP() << "no ffmpeg";
    const SAMPLE_FILE file("peer.wav");
    const auto context = sample_context();
    ASSERT_EQ(AVI_OK, avi_open(context.get(), file.path.c_str(), SAVE_WAV_FILE | SAVE_AUDIO, nullptr, 0));
    const BYTES sound = random_bytes(3, 100000);
    EXPECT_EQ(AVI_OK, avi_put_audio(context.get(), sound.data(), sound.size()));
    EXPECT_EQ(1, avi_close(context.get()));
    EXPECT_TRUE(sound == decode(file, "-f s16le"));
}
