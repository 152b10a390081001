#include "audio/level.h"

#include "support/kernel_test.h"

static std::vector<int> scaled(std::vector<int16_t> samples, int peak, int level) {
    audio_scale(samples.data(), samples.size(), peak, level);
    return {samples.begin(), samples.end()};
}

using VALUES = std::vector<int>;

TEST(Level, VolumeByHand) {
    EXPECT_EQ(scaled({16000, 20000, -16384, -16385, -1}, -1, 512), (VALUES{32000, 32767, -32768, -32768, -2}));
    EXPECT_EQ(scaled({1000, -1000, 3, -3}, -1, 128), (VALUES{500, -500, 1, -2}));  // rounds down
}

TEST(Level, NormaliseByHand) {
    EXPECT_EQ(scaled({-32768, 5, 32767}, 32767, 256), (VALUES{-32768, 5, 32767}));
    EXPECT_EQ(scaled({100, -7}, 0, 256), (VALUES{100, -7}));
    EXPECT_EQ(scaled({12345, -32768}, 20000, 0), (VALUES{0, 0}));
    // Peak 100: 8 doublings, 25600; the factor is 536854528 / 25600 = 20970, and 100 * 256 * 20970 / 16384 = 32765.6.
    EXPECT_EQ(scaled({100, -101, 50, 1, 0}, 100, 256), (VALUES{32765, -32768, 16382, 327, 0}));
    // Half of full scale: the factor is 10485. Levels outside 0 .. 256 are held to it.
    EXPECT_EQ(scaled({100}, 100, 128), (VALUES{16382}));
    EXPECT_EQ(scaled({100, 50}, 100, 999), (VALUES{32765, 16382}));
    EXPECT_EQ(scaled({100}, 100, -5), (VALUES{0}));
    // A peak above full scale is full scale.
    EXPECT_EQ(scaled({-32768, 32767}, 40000, 128), (VALUES{-16384, 16383}));
    // Values above the told peak run over in 16 bits, before the saturation.
    EXPECT_EQ(scaled({200}, 100, 256), (VALUES{-18349}));
}

TEST(Level, PeakByHand) {
    const auto peak = [](std::vector<int16_t> v) { return audio_peak(v.data(), v.size()); };
    EXPECT_EQ(peak({}), 0);
    EXPECT_EQ(peak({-1, -1, -1}), 0);
    EXPECT_EQ(peak(std::vector<int16_t>(40, -32768)), 32767);
    EXPECT_EQ(peak({3, -9, 7}), 8);
}

TEST(Level, MatchesReferenceOnEveryTarget) {
    kernel_for_each_target([](RNG& rng) {
        for (size_t n = 0; n <= 150; ++n) {
            for (const int peak : {-1, 0, rng.between(1, 40000), rng.between(1, 200)}) {
                const int level = rng.below(4) == 0 ? 512 : rng.between(-300, 700);
                GUARDED_ROW<int16_t> want(n, rng), got(n, rng.below(16));
                std::copy_n(want.data(), n, got.data());
                ASSERT_EQ(audio_peak_ref(want.data(), n), audio_peak(got.data(), n)) << "n " << n;
                audio_scale_ref(want.data(), n, peak, level);
                audio_scale(got.data(), n, peak, level);
                ASSERT_TRUE(rows_equal(want, got)) << "n " << n << " peak " << peak << " level " << level;
            }
        }
    });
}

// All samples at factors around the corners of the word products.
TEST(Level, EverySampleMatchesReference) {
    kernel_for_each_target([](RNG& rng) {
        const int levels[] = {1, 255, 257, 511, 512, 513, -512, -511, rng.between(2, 510)};
        for (const int level : levels) {
            GUARDED_ROW<int16_t> want(65536), got(65536);
            for (size_t i = 0; i < want.size; ++i) want[i] = got[i] = int16_t(i);
            audio_scale_ref(want.data(), want.size, -1, level);
            audio_scale(got.data(), got.size, -1, level);
            ASSERT_TRUE(rows_equal(want, got)) << "level " << level;
        }
    });
}
