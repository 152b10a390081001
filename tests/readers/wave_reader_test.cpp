#include "readers/wave_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "core/ui_hooks.h"
#include "readers/riff.h"
#include "support/avi_builder.h"

struct WAVE_CLOSE {
    void operator()(void* handle) const { wave_reader_close(handle); }
};
using WAVE_PTR = std::unique_ptr<void, WAVE_CLOSE>;

static WAVE_PTR wave_open(const BYTES& bytes) {
    const TEMP_FILE file(bytes, ".wav");
    return WAVE_PTR(wave_reader_open(file.name()));
}

static INPUT_MEDIA_INFO info_of(const WAVE_PTR& wave) {
    INPUT_MEDIA_INFO info = {};
    wave_reader_info(wave.get(), &info);
    return info;
}

TEST(WaveReader, HalfASecondIsFifteenBlackPictures) {
    wave_reader_set_size(6, 3);
    const BYTES samples = bytes_pattern(8000 * 4 / 2, 1);
    const WAVE_PTR wave = wave_open(wave_build(avi_sound_format(1, 2, 8000, 16), samples));
    wave_reader_set_size(640, 480);
    ASSERT_TRUE(wave);
    const INPUT_MEDIA_INFO info = info_of(wave);
    EXPECT_EQ(info.flags, uint32_t(INPUT_MEDIA_VIDEO | INPUT_MEDIA_AUDIO));
    EXPECT_EQ(info.rate, 30);
    EXPECT_EQ(info.scale, 1);
    EXPECT_EQ(info.frames, 15);
    EXPECT_EQ(info.audio_samples, 4000);
    EXPECT_EQ(info.audio_format_size, 18);
    const BYTES header = avi_picture_format(6, 3, 16, VANTEL_FOURCC('Y', 'U', 'Y', '2'));
    ASSERT_EQ(info.video_format_size, 40);
    EXPECT_EQ(std::memcmp(info.video_format, header.data(), 40), 0);

    BYTES picture(40, 0xEE);
    bool damaged = true;
    EXPECT_EQ(wave_reader_read_video_bounded(wave.get(), 3, picture.data(), picture.size(), &damaged), 36);
    EXPECT_FALSE(damaged);
    for (size_t i = 0; i < 36; ++i) ASSERT_EQ(picture[i], i % 2 ? 0x80 : 0);
    EXPECT_EQ(picture[36], 0xEE);
    EXPECT_EQ(wave_reader_read_video_bounded(wave.get(), 3, picture.data(), 10, &damaged), 10);
    EXPECT_TRUE(damaged);

    BYTES sound(16000, 0xEE);
    EXPECT_EQ(wave_reader_read_audio(wave.get(), 1000, 500, sound.data()), 500);
    EXPECT_EQ(std::memcmp(sound.data(), samples.data() + 4000, 2000), 0);
    EXPECT_EQ(sound[2000], 0xEE);
    EXPECT_EQ(wave_reader_read_audio(wave.get(), 3990, INT32_MAX, sound.data()), 10);
    for (const int32_t start : {-1, 4000, INT32_MAX})
        EXPECT_EQ(wave_reader_read_audio(wave.get(), start, 1, nullptr), 0);
    EXPECT_EQ(wave_reader_read_audio(wave.get(), 0, -1, nullptr), 0);
}

TEST(WaveReader, LyingSizesAreHeldAgainstTheFile) {
    const BYTES format = avi_sound_format(1, 1, 8000, 16), good = wave_build(format, bytes_pattern(100, 1));
    const size_t data = bytes_find(good, "data");
    for (const uint32_t size : {UINT32_MAX, 0x80000000u, 104u}) {  // as written into a pipe, or cut off
        BYTES bytes = good;
        bytes_put_u32(bytes, data + 4, size);
        const WAVE_PTR wave = wave_open(bytes);
        ASSERT_TRUE(wave);
        EXPECT_EQ(info_of(wave).audio_samples, 50);
    }
    for (size_t n = 0; n < good.size(); ++n) {
        const WAVE_PTR wave = wave_open(BYTES(good.begin(), good.begin() + ptrdiff_t(n)));
        ASSERT_EQ(wave != nullptr, n >= data + 8) << n;
        if (!wave) continue;
        ASSERT_EQ(size_t(info_of(wave).audio_samples), (n - data - 8) / 2);
    }
    // 6 GiB of sound of one byte a block: more than the record can tell.
    BYTES head = wave_build(avi_sound_format(1, 1, 8000, 8), {});
    bytes_put_u32(head, data + 4, UINT32_MAX);
    const TEMP_FILE file(AVI_IMAGE{{{0, head}}, uint64_t{6} << 30}, ".wav");
    const WAVE_PTR wave(wave_reader_open(file.name()));
    ASSERT_TRUE(wave);
    EXPECT_EQ(info_of(wave).audio_samples, INT32_MAX);
    uint8_t sample[5] = {1, 1, 1, 1, 1};
    EXPECT_EQ(wave_reader_read_audio(wave.get(), INT32_MAX - 1, 5, sample), 5);
    EXPECT_EQ(sample[4], 0);
}

TEST(WaveReader, TheSearchForChunksHasABudget) {
    for (const uint32_t empty : {1000u, RIFF_STEPS_MAX}) {
        BYTES bytes = wave_build(avi_sound_format(1, 1, 8000, 16), BYTES(100));
        const size_t data = bytes_find(bytes, "data");
        bytes.insert(bytes.begin() + ptrdiff_t(data), size_t{empty} * 8, uint8_t{0});
        bytes_put_u32(bytes, 4, uint32_t(bytes.size()) - 8);
        EXPECT_EQ(wave_open(bytes) != nullptr, empty == 1000) << empty;
    }
}

TEST(WaveReader, UnusableFormatsAreRefused) {
    const BYTES good = avi_sound_format(1, 2, 44100, 16);
    struct CASE {
        const char* what;
        size_t at;
        uint16_t value;
        bool opens;
    };
    const CASE cases[] = {{"no block size", 12, 0, true},
                          {"no channels", 2, 0, false},
                          {"extra bytes that are not there", 16, 999, true}};
    for (const CASE& c : cases) {
        BYTES format = good;
        bytes_put_u16(format, c.at, c.value);
        const WAVE_PTR wave = wave_open(wave_build(format, BYTES(400)));
        ASSERT_EQ(wave != nullptr, c.opens) << c.what;
        if (!wave) continue;
        EXPECT_EQ(info_of(wave).audio_samples, 100) << c.what;
        EXPECT_EQ(info_of(wave).audio_format->nBlockAlign, 4) << c.what;
        EXPECT_EQ(info_of(wave).audio_format->cbSize, 0) << c.what;
    }
    for (const uint32_t rate : {0u, 0x80000000u}) {
        BYTES format = good;
        bytes_put_u32(format, 4, rate);
        EXPECT_FALSE(wave_open(wave_build(format, BYTES(400)))) << rate;
    }
    BYTES no_block = good;
    bytes_put_u32(no_block, 12, 0);
    EXPECT_FALSE(wave_open(wave_build(no_block, BYTES(400))));
    for (const size_t size : {0u, 15u, 8193u}) {
        BYTES format = good;
        format.resize(size);
        EXPECT_FALSE(wave_open(wave_build(format, BYTES(400)))) << size;
    }
    BYTES plain = good;
    plain.resize(16);
    EXPECT_TRUE(wave_open(wave_build(plain, BYTES(400))));
    BYTES other = wave_build(good, BYTES(400));
    std::memcpy(&other[8], "AVI ", 4);
    EXPECT_FALSE(wave_open(other));
}

TEST(WaveReader, ConfigAsksForThePictureSizeAndKeepsIt) {
    int width, height;
    wave_reader_size(&width, &height);
    ui_hooks.ask_size = [](SIZE_DIALOG* dialog) { return *dialog = {320, 99999}, true; };
    EXPECT_EQ(wave_reader_config(nullptr, nullptr), 1);
    wave_reader_set_size(1, 1);
    wave_reader_init();
    int kept[2];
    wave_reader_size(&kept[0], &kept[1]);
    EXPECT_EQ(kept[0], 320);
    EXPECT_EQ(kept[1], 16384);
    ui_hooks.ask_size = [](SIZE_DIALOG*) { return false; };
    EXPECT_EQ(wave_reader_config(nullptr, nullptr), 0);
    ui_hooks.ask_size = [](SIZE_DIALOG* dialog) { return *dialog = {640, 480}, true; };
    wave_reader_config(nullptr, nullptr);
    ui_hooks.ask_size = nullptr;
    wave_reader_set_size(width, height);
}
