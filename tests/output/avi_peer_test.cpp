#include "avi_sample.h"
#include "riff_dump.h"

/// Other programs must read what we write: ffmpeg decodes the files here, frame for frame.

static constexpr char VIDEO[] = " -map 0:v -fps_mode passthrough -f rawvideo -pix_fmt bgr24 -";

static BYTES decode(const std::string& arguments) {
    const COMMAND_OUTPUT output = ffmpeg_run(arguments);
    EXPECT_EQ(output.error, "");
    return {output.text.begin(), output.text.end()};
}

/// 24-bit pictures lie bottom-up in the file.
static void append_top_down(BYTES& out, const BYTES& frame) {
    const size_t row = size_t{SAMPLE_WIDTH} * 3;
    for (size_t y = SAMPLE_HEIGHT; y-- > 0;) out.insert(out.end(), &frame[y * row], &frame[y * row] + row);
}

struct AviPeer : SAMPLE_TEST {};

TEST_F(AviPeer, FfmpegReadsPlainAndSplitFiles) {
    for (const uint32_t limit : {0x7E000000u, 20000u}) {
        SCOPED_TRACE(limit);
        avi_writer_settings.part_limit = limit;
        const SAMPLE_FILE file("peer.avi");
        ASSERT_EQ(AVI_OK, sample_open(context.get(), file, SAVE_VIDEO | SAVE_AUDIO));
        BYTES video, audio;
        for (uint32_t i = 0; i < 200; ++i) {
            const BYTES sound = bytes_pattern(i % 3 == 0 ? 534 : 0, i), frame = bytes_pattern(288, i + 1000);
            EXPECT_EQ(AVI_OK, avi_put_audio(context.get(), sound.data(), sound.size()));
            EXPECT_EQ(AVI_OK, avi_put_frame(context.get(), frame.data(), nullptr));
            audio.insert(audio.end(), sound.begin(), sound.end());
            append_top_down(video, frame);
        }
        EXPECT_EQ(1, avi_close(context.get()));
        EXPECT_TRUE(video == decode("-i " + file.path + VIDEO));
        EXPECT_TRUE(audio == decode("-i " + file.path + " -map 0:a -f s16le -"));
        // behind a seek, which goes by the indexes
        const BYTES tail = decode("-i " + file.path + " -ss 5" + VIDEO);
        EXPECT_TRUE(!tail.empty() && tail == decode("-ss 5 -i " + file.path + VIDEO));
    }
}

TEST_F(AviPeer, FfmpegReadsFilesOfAFullDisk) {
    avi_writer_settings.part_limit = 20000;
    for (const size_t limit : {10000u, 20200u, 22000u, 40000u}) {
        SCOPED_TRACE(limit);
        const SAMPLE_FILE file("full.avi");
        BYTES video;
        {
            const SIZE_LIMIT size_limit(limit);
            ASSERT_EQ(AVI_OK, sample_open(context.get(), file, SAVE_VIDEO));
            for (uint32_t i = 0;; ++i) {
                const BYTES frame = bytes_pattern(288, i);
                append_top_down(video, frame);
                if (avi_put_frame(context.get(), frame.data(), nullptr) != AVI_OK) break;
            }
            EXPECT_EQ(0, avi_close(context.get()));
        }
        video.resize(288 * riff_u32(file.load(), 48));  // avih.dwTotalFrames
        EXPECT_LT(limit - 9000, video.size());
        EXPECT_TRUE(video == decode("-i " + file.path + VIDEO));
    }
}
