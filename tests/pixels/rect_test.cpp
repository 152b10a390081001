#include "pixels/rect.h"

#include <cmath>

#include "pixels/frame_buffer.h"
#include "support/frame_test.h"
#include "support/kernel_test.h"

using BYTES = std::vector<uint8_t>;

/// Both pixel sizes, with several workers. Buffers are whole blocks, so that stray writes show in a comparison.
struct RectTest : testing::TestWithParam<int> {
    RNG rng{kernel_seed()};
    void SetUp() override {
        frame_geometry = frame_geometry_make(320, 240, GetParam());
        parallel_set_dispatch(fake_dispatch);
        fake_threads = 3;
    }
    void TearDown() override { parallel_set_dispatch(nullptr); }
    BYTES block() {
        BYTES bytes(frame_geometry.block_size);
        for (uint8_t& byte : bytes) byte = uint8_t(rng.next() >> 24);
        return bytes;
    }
    static uint8_t* image(BYTES& bytes) { return bytes.data() + frame_geometry.origin; }
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
        const int w = rng.between(1, 60), h = rng.between(1, 90), step = rng.between(1, 5);
        const bool second = rng.below(3) != 0;
        BYTES dst = block(), a = block(), b = block(), want = dst;
        int written = 0;
        for (int row = 0; row < h; row += step, ++written) {
            const auto& from = second && step % 2 == 1 && written % 2 == 1 ? b : a;
            for (int i = 0; i < width_bytes(w); ++i) want[place(row, i)] = from[place(row, i)];
        }
        frame_copy_rows(image(dst), image(a), second ? image(b) : nullptr, w, h, step);
        ASSERT_EQ(want, dst) << w << " x " << h << " step " << step;
    }
}

TEST_P(RectTest, CopyRowsDoublesAField) {
    BYTES frame = block(), want = frame;
    for (int row = 0; row < 40; row += 2)
        for (int i = 0; i < width_bytes(33); ++i) want[place(row + 1, i)] = want[place(row, i)];
    frame_copy_rows(image(frame) + frame_geometry.stride, image(frame), nullptr, 33, 39, 2);
    EXPECT_EQ(want, frame);
}

TEST_P(RectTest, PadEdges) {
    for (int round = 0; round < 80; ++round) {
        const int most = round == 0 ? 1 : 40, w = rng.between(1, most), h = rng.between(1, most);
        const int n = round == 0 ? 2 : rng.between(0, 4), side = units(n);
        BYTES frame = block(), want = frame;
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
    BYTES src = block();
    if (GetParam() == 6)  // levels that four times still fit a word
        for (size_t i = 0; i + 1 < src.size(); i += 2) src[i + 1] = uint8_t(int8_t(src[i + 1]) / 8);
    BYTES dst = src;
    for (size_t i = 0; i + 1 < dst.size(); i += 2) std::swap(dst[i], dst[dst.size() - 2 - i]);
    const BYTES before = dst;
    frame_blend_rows(image(dst), image(src), 35, 50, 4096);
    EXPECT_EQ(before, dst);
    BYTES copied = before, mixed = before, want = before;
    frame_copy_rows(image(copied), image(src), nullptr, 35, 50, 1);
    frame_blend_rows(image(dst), image(src), 35, 50, -5);
    EXPECT_EQ(copied, dst);
    const auto mix = [](int a, int b) { return int(std::floor(a * 12288 / 16384.0) + std::floor(b * 4096 / 16384.0)); };
    for (int row = 0; row < 50; ++row)
        for (int i = 0; i < width_bytes(35); i += GetParam() == 2 ? 1 : 2) {
            const size_t at = place(row, i);
            const auto sample = [at](const BYTES& bytes) {
                return GetParam() == 2 ? bytes[at] : int16_t(bytes[at] | bytes[at + 1] << 8);
            };
            const int value = mix(sample(src), sample(before));
            want[at] = uint8_t(value);
            if (GetParam() == 6) want[at + 1] = uint8_t(value >> 8);
        }
    frame_blend_rows(image(mixed), image(src), 35, 50, 1024);
    EXPECT_EQ(want, mixed);
}

template <typename T>
static void blend_compare(void (*ref)(T*, const T*, size_t, int), void (*fast)(T*, const T*, size_t, int), size_t n,
                          RNG& rng) {
    const int t = rng.below(4) ? rng.between(0, 4096) : rng.between(0, 1) * 4096;
    GUARDED_ROW<T> src(n, rng), want(n, rng), got(n, rng.below(16));
    std::copy_n(want.data(), n, got.data());
    ref(want.data(), src.data(), n, t);
    fast(got.data(), src.data(), n, t);
    ASSERT_TRUE(rows_equal(want, got)) << "element size " << sizeof(T) << " n " << n << " t " << t;
}

TEST(RectBlend, MatchesReferenceOnEveryTarget) {
    kernel_for_each_target([](RNG& rng) {
        for (size_t n = 0; n <= 100; ++n) {
            ASSERT_NO_FATAL_FAILURE(blend_compare(rect_blend_row_yc48_ref, rect_blend_row_yc48, n, rng));
            ASSERT_NO_FATAL_FAILURE(blend_compare(rect_blend_row_yuy2_ref, rect_blend_row_yuy2, n, rng));
        }
    });
}

TEST(RectCopy, StridesOfEitherSign) {
    BYTES src(40 * 10), dst(50 * 10, 0xEE), want = dst;
    for (size_t i = 0; i < src.size(); ++i) src[i] = uint8_t(i * 7 / 3);
    for (size_t row = 0; row < 10; ++row)
        std::copy_n(src.begin() + ptrdiff_t(40 * (9 - row)), 37, want.begin() + ptrdiff_t(50 * row));
    rect_copy_strided(dst.data(), src.data() + 40 * 9, 37, 10, 50, -40);
    EXPECT_EQ(want, dst);
}
