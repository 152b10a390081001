#include <gtest/gtest.h>

#include <algorithm>

#include "app/app.h"
#include "audio/pcm_model.h"

/// Sound that is not stored as 16-bit PCM, saved by the finished program.

struct SOUND_SOURCE {
    const char* codec;   // ffmpeg's name
    const char* format;  // of the raw bytes
    int rate, channels, bits;
};

class SaveSoundOf : public testing::TestWithParam<SOUND_SOURCE> {};

TEST_P(SaveSoundOf, GivesTheModelsBytes) {
    const TEMP_FOLDER_PATH folder;
    const SOUND_SOURCE& s = GetParam();
    const std::string source = folder / "source.avi", raw = folder / "sound.raw";
    ASSERT_TRUE(ffmpeg({"-f", "lavfi", "-i", "testsrc2=rate=25:size=64x48", "-f", "lavfi", "-i",
                        "anoisesrc=seed=5:sample_rate=" + std::to_string(s.rate), "-t", "2", "-ac",
                        std::to_string(s.channels), "-c:v", "rawvideo", "-pix_fmt", "bgr24", "-c:a", s.codec, source}));
    ASSERT_TRUE(ffmpeg({"-i", source, "-vn", "-f", s.format, "-c:a", s.codec, raw}));
    const std::string stored = file_bytes(raw);
    const std::vector<uint8_t> bytes =
        pcm_model({stored.begin(), stored.end()}, pcm_format(uint32_t(s.rate), s.channels, s.bits),
                  pcm_format(uint32_t(s.rate), s.channels, 16));
    std::string want(bytes.begin(), bytes.end());
    want.resize(size_t(s.rate) * 2 * size_t(s.channels) * 2);
    ASSERT_EQ(vantel(folder, {source, "-ow" + (folder / "out.wav"), "-q"}).status, 0);
    EXPECT_TRUE(decoded_sound(folder, folder / "out.wav") == want);
    ASSERT_EQ(vantel(folder, {source, "-o", folder / "out.avi", "-q"}).status, 0);
    EXPECT_TRUE(decoded_sound(folder, folder / "out.avi") == want);
}

INSTANTIATE_TEST_SUITE_P(Pcm, SaveSoundOf,
                         testing::Values(SOUND_SOURCE{"pcm_u8", "u8", 22050, 1, 8},
                                         SOUND_SOURCE{"pcm_s24le", "s24le", 48000, 2, 24},
                                         SOUND_SOURCE{"pcm_s32le", "s32le", 22050, 1, 32},
                                         SOUND_SOURCE{"pcm_s16le", "s16le", 22050, 1, 16}),
                         [](const auto& info) { return std::string(info.param.codec); });
