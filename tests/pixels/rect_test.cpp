#include "pixels/rect.h"

#include <cmath>
#include <cstring>
#include <vector>

#include "pixels/frame_buffer.h"
#include "support/frame_test.h"
#include "support/kernel_test.h"

/// Both pixel sizes, with several workers. Buffers are whole blocks, so that stray writes show in a comparison.
struct RectTest : testing::TestWithParam<int> {
    RNG rng{kernel_seed()};
    void SetUp() override {
        frame_geometry = frame_geometry_make(320, 240, GetParam());
        parallel_set_dispatch(fake_dispatch);
        fake_threads = 3;
    }
    void TearDown() override { parallel_set_dispatch(nullptr); }

    std::vector<uint8_t> block() {
        std::vector<uint8_t> bytes(frame_geometry.block_size);
        for (uint8_t& byte : bytes) byte = uint8_t(rng.next() >> 24);
        return bytes;
    }
    static uint8_t* image(std::vector<uint8_t>& bytes) { return bytes.data() + frame_geometry.origin; }
    static size_t place(int row, int byte) {
        return size_t(ptrdiff_t(frame_geometry.origin) + ptrdiff_t{row} * frame_geometry.stride + byte);
    }
    static int unit() { return GetParam() == 2 ? 4 : 6; }
    static int units(int pixels) { return GetParam() == 2 ? (pixels + 1) / 2 : pixels; }
    static int width_bytes(int w) { return units(w) * unit(); }
};
INSTANTIATE_TEST_SUITE_P(PixelSizes, RectTest, testing::Values(6, 2));

TEST_P(RectTest, CopyRowsStepsAndTakesTurns) {
    for (int round = 0; round < 60; ++round) {
        const int w = rng.between(1, 60);
        const int h = rng.between(1, 90);
        const int step = rng.between(1, 5);
        const bool second = rng.below(3) != 0;
        std::vector<uint8_t> dst = block();
        std::vector<uint8_t> a = block();
        std::vector<uint8_t> b = block();
        std::vector<uint8_t> want = dst;
        int written = 0;
        for (int row = 0; row < h; row += step, ++written) {
            const auto& from = second && step % 2 == 1 && written % 2 == 1 ? b : a;
            for (int i = 0; i < width_bytes(w); ++i) want[place(row, i)] = from[place(row, i)];
        }
        frame_copy_rows(image(dst), image(a), second ? image(b) : nullptr, w, h, step);
        ASSERT_EQ(want, dst) << w << " x " << h << " step " << step;
        ASSERT_EQ((h + step - 1) / step, written);
    }
}

TEST_P(RectTest, CopyRowsDoublesAField) {
    std::vector<uint8_t> frame = block();
    std::vector<uint8_t> want = frame;
    for (int row = 0; row < 40; row += 2)
        for (int i = 0; i < width_bytes(33); ++i) want[place(row + 1, i)] = want[place(row, i)];
    frame_copy_rows(image(frame) + frame_geometry.stride, image(frame), nullptr, 33, 39, 2);
    EXPECT_EQ(want, frame);
}

TEST_P(RectTest, PadEdges) {
    for (int round = 0; round < 80; ++round) {
        const int w = round == 0 ? 1 : rng.between(1, 40);
        const int h = round == 0 ? 1 : rng.between(1, 40);
        const int n = round == 0 ? 2 : rng.between(0, 4);
        std::vector<uint8_t> frame = block();
        std::vector<uint8_t> want = frame;
        const int side = n == 0 ? 0 : units(n);
        for (int row = -n; row < h + n; ++row)
            for (int u = -side; u < units(w) + side; ++u)
                for (int i = 0; i < unit(); ++i)
                    want[place(row, u * unit() + i)] =
                        frame[place(std::clamp(row, 0, h - 1), std::clamp(u, 0, units(w) - 1) * unit() + i)];
        frame_pad_edges(image(frame), w, h, n);
        ASSERT_EQ(want, frame) << w << " x " << h << " margin " << n;
    }
}

TEST_P(RectTest, BlendRowsMixesInsideOnlyAndKeepsTheEnds) {
    std::vector<uint8_t> src = block();
    if (GetParam() == 6)  // levels that four times still fit a word
        for (size_t i = 0; i + 1 < src.size(); i += 2) src[i + 1] = uint8_t(int8_t(src[i + 1]) / 8);
    std::vector<uint8_t> dst = src;
    for (size_t i = 0; i + 1 < dst.size(); i += 2) std::swap(dst[i], dst[dst.size() - 2 - i]);
    const std::vector<uint8_t> before = dst;
    frame_blend_rows(image(dst), image(src), 35, 50, 4096);
    EXPECT_EQ(before, dst);
    std::vector<uint8_t> copied = before;
    frame_copy_rows(image(copied), image(src), nullptr, 35, 50, 1);
    frame_blend_rows(image(dst), image(src), 35, 50, -5);
    EXPECT_EQ(copied, dst);
    std::vector<uint8_t> mixed = before;
    std::vector<uint8_t> want = before;
    const auto mix = [](int a, int b) { return int(std::floor(a * 12288 / 16384.0) + std::floor(b * 4096 / 16384.0)); };
    for (int row = 0; row < 50; ++row)
        for (int i = 0; i < width_bytes(35); i += GetParam() == 2 ? 1 : 2) {
            const size_t at = place(row, i);
            if (GetParam() == 2) {
                want[at] = uint8_t(mix(src[at], before[at]));
                continue;
            }
            const auto word = [at](const std::vector<uint8_t>& bytes) {
                return int16_t(bytes[at] | bytes[at + 1] << 8);
            };
            const int value = mix(word(src), word(before));
            want[at] = uint8_t(value);
            want[at + 1] = uint8_t(value >> 8);
        }
    frame_blend_rows(image(mixed), image(src), 35, 50, 1024);
    EXPECT_EQ(want, mixed);
}

TEST(RectBlend, MatchesReferenceOnEveryTarget) {
    kernel_for_each_target([](RNG& rng) {
        for (size_t n = 0; n <= 100; ++n) {
            const int t = rng.below(4) ? rng.between(0, 4096) : rng.between(0, 1) * 4096;
            GUARDED_ROW<int16_t> src(n, rng);
            GUARDED_ROW<int16_t> want(n, rng);
            GUARDED_ROW<int16_t> got(n, rng.below(16));
            std::copy_n(want.data(), n, got.data());
            rect_blend_row_yc48_ref(want.data(), src.data(), n, t);
            rect_blend_row_yc48(got.data(), src.data(), n, t);
            ASSERT_TRUE(rows_equal(want, got)) << "yc48 n " << n << " t " << t;
            GUARDED_ROW<uint8_t> src8(n, rng);
            GUARDED_ROW<uint8_t> want8(n, rng);
            GUARDED_ROW<uint8_t> got8(n, rng.below(16));
            std::copy_n(want8.data(), n, got8.data());
            rect_blend_row_yuy2_ref(want8.data(), src8.data(), n, t);
            rect_blend_row_yuy2(got8.data(), src8.data(), n, t);
            ASSERT_TRUE(rows_equal(want8, got8)) << "yuy2 n " << n << " t " << t;
        }
    });
}

TEST(RectCopy, StridesOfEitherSign) {
    std::vector<uint8_t> src(40 * 10);
    for (size_t i = 0; i < src.size(); ++i) src[i] = uint8_t(i * 7 / 3);
    std::vector<uint8_t> dst(50 * 10, 0xEE);
    std::vector<uint8_t> want = dst;
    for (size_t row = 0; row < 10; ++row)
        std::copy_n(src.begin() + ptrdiff_t(40 * (9 - row)), 37, want.begin() + ptrdiff_t(50 * row));
    rect_copy_strided(dst.data(), src.data() + 40 * 9, 37, 10, 50, -40);
    EXPECT_EQ(want, dst);
}
