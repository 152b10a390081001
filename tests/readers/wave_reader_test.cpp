#include "readers/wave_reader.h"

#include "readers/reader_test.h"
#include "readers/riff.h"

using WAVE_PTR = READER_PTR<wave_reader_close, wave_reader_info>;

static WAVE_PTR wave_open(const BYTES& bytes) {
    const TEMP_FILE file(bytes, ".wav");
    return WAVE_PTR(wave_reader_open(file.name()));
}

TEST(WaveReader, HalfASecondIsFifteenBlackPictures) {
    wave_reader_set_size(6, 3);
    const BYTES samples = bytes_pattern(8000 * 4 / 2, 1);
    const WAVE_PTR wave = opened(wave_open(wave_build(avi_sound_format(1, 2, 8000, 16), samples)));
    wave_reader_set_size(640, 480);
    const INPUT_MEDIA_INFO info = info_of(wave);
    EXPECT_EQ(info.flags, uint32_t(INPUT_MEDIA_VIDEO | INPUT_MEDIA_AUDIO));
    EXPECT_EQ(info.rate, info.scale * 30);
    EXPECT_EQ(info.frames, 15);
    EXPECT_EQ(info.audio_samples, 4000);
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

    for (const auto& [start, count] : {std::pair{1000, 500}, {3990, INT32_MAX}})
        expect_samples<wave_reader_read_audio>(wave, samples, 4, start, count);
    for (const int32_t start : {-1, 4000, INT32_MAX})
        EXPECT_EQ(wave_reader_read_audio(wave.get(), start, 1, nullptr), 0);
    EXPECT_EQ(wave_reader_read_audio(wave.get(), 0, -1, picture.data()), 0);
}

TEST(WaveReader, LyingSizesAreHeldAgainstTheFile) {
    const BYTES format = avi_sound_format(1, 1, 8000, 16), good = wave_build(format, bytes_pattern(100, 1));
    const size_t data = bytes_find(good, "data");
    for (const uint32_t size : {UINT32_MAX, 0x80000000u, 104u}) {  // as written into a pipe, or cut off
        BYTES bytes = good;
        bytes_put_u32(bytes, data + 4, size);
        EXPECT_EQ(info_of(opened(wave_open(bytes))).audio_samples, 50);
    }
    for (size_t n = 0; n < good.size(); ++n) {
        const WAVE_PTR wave = wave_open(BYTES(good.begin(), good.begin() + ptrdiff_t(n)));
        ASSERT_EQ(wave != nullptr, n >= data + 8) << n;
        EXPECT_EQ(wave ? size_t(info_of(wave).audio_samples) : 0, wave ? (n - data - 8) / 2 : 0);
    }
    // 6 GiB of sound of one byte a block: more than the record can tell.
    BYTES head = wave_build(avi_sound_format(1, 1, 8000, 8), {});
    bytes_put_u32(head, data + 4, UINT32_MAX);
    const TEMP_FILE file(AVI_IMAGE{{{0, head}}, uint64_t{6} << 30}, ".wav");
    const WAVE_PTR wave = opened(WAVE_PTR(wave_reader_open(file.name())));
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

TEST(WaveReader, UnusableFormatsAreRepairedOrRefused) {
    const struct {
        const char* what;
        void (*change)(BYTES& format);
        bool opens;
    } cases[] = {
        {"16 bytes", [](BYTES& f) { f.resize(16); }, true},
        {"no block size", [](BYTES& f) { bytes_put_u16(f, 12, 0); }, true},
        {"extra bytes that are not there", [](BYTES& f) { bytes_put_u16(f, 16, 999); }, true},
        {"no block size, no bits", [](BYTES& f) { bytes_put_u32(f, 12, 0); }, false},
        {"no channels", [](BYTES& f) { bytes_put_u16(f, 2, 0); }, false},
        {"no rate", [](BYTES& f) { bytes_put_u32(f, 4, 0); }, false},
        {"rate of 2^31", [](BYTES& f) { bytes_put_u32(f, 4, 0x80000000); }, false},
        {"none", [](BYTES& f) { f.clear(); }, false},
        {"short", [](BYTES& f) { f.resize(15); }, false},
        {"huge", [](BYTES& f) { f.resize(8193); }, false},
    };
    for (const auto& c : cases) {
        BYTES format = avi_sound_format(1, 2, 44100, 16);
        c.change(format);
        const WAVE_PTR wave = wave_open(wave_build(format, BYTES(400)));
        ASSERT_EQ(wave != nullptr, c.opens) << c.what;
        if (!wave) continue;
        EXPECT_EQ(info_of(wave).audio_samples, 100) << c.what;
        EXPECT_EQ(info_of(wave).audio_format->nBlockAlign, 4) << c.what;
        EXPECT_EQ(info_of(wave).audio_format->cbSize, 0) << c.what;
    }
}
