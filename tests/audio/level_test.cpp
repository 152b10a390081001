#include "audio/level.h"

#include "support/kernel_test.h"

TEST(Level, ScaledByHand) {
    const struct {
        std::vector<int16_t> samples;
        int peak, level;
        std::vector<int16_t> want;
    } rows[] = {{{16000, 20000, -16384, -16385, -1}, -1, 512, {32000, 32767, -32768, -32768, -2}},
                {{1000, -1000, 3, -3}, -1, 128, {500, -500, 1, -2}},  // rounds down
                {{-32768, 5, 32767}, 32767, 256, {-32768, 5, 32767}},
                {{100, -7}, 0, 256, {100, -7}},
                {{12345, -32768}, 20000, 0, {0, 0}},
                // Peak 100: 8 doublings, 25600; the factor is 536854528 / 25600 = 20970, and 100 * 256 * 20970 / 16384
                // = 32765.6.
                {{100, -101, 50, 1, 0}, 100, 256, {32765, -32768, 16382, 327, 0}},
                // Half of full scale: the factor is 10485. Levels outside 0 .. 256 are held to it.
                {{100}, 100, 128, {16382}},
                {{100, 50}, 100, 999, {32765, 16382}},
                {{100}, 100, -5, {0}},
                {{-32768, 32767}, 40000, 128, {-16384, 16383}},  // a peak above full scale is full scale
                {{200}, 100, 256, {-18349}}};  // above the told peak: runs over in 16 bits, before the saturation
    for (auto [samples, peak, level, want] : rows) {
        audio_scale(samples.data(), samples.size(), peak, level);
        EXPECT_EQ(samples, want) << "peak " << peak << " level " << level;
    }
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
        const auto compare = [&](size_t n, int peak, int level) {
            GUARDED_ROW<int16_t> want(n, rng), got(n, rng.below(16));
            for (size_t i = 0; i < n && n == 65536; ++i) want[i] = int16_t(i);  // all there are
            std::copy_n(want.data(), n, got.data());
            ASSERT_EQ(audio_peak_ref(want.data(), n), audio_peak(got.data(), n)) << "n " << n;
            audio_scale_ref(want.data(), n, peak, level);
            audio_scale(got.data(), n, peak, level);
            ASSERT_TRUE(rows_equal(want, got)) << "n " << n << " peak " << peak << " level " << level;
        };
        for (size_t n = 0; n <= 150; ++n)
            for (const int peak : {-1, 0, rng.between(1, 40000), rng.between(1, 200)})
                ASSERT_NO_FATAL_FAILURE(compare(n, peak, rng.below(4) == 0 ? 512 : rng.between(-300, 700)));
        // Factors around the corners of the word products.
        for (const int level : {1, 255, 257, 511, 512, 513, -512, -511, rng.between(2, 510)})
            ASSERT_NO_FATAL_FAILURE(compare(65536, -1, level));
    });
}
