// Conversions as a whole: known values, exact round trips, every depth of a DIB.

#include <array>

#include "pixels/dib_expand.h"
#include "pixels/frame_buffer.h"
#include "pixels/rgb_row.h"
#include "pixels/rgb_yuy2_row.h"
#include "pixels/yc48_709_row.h"
#include "pixels/yuy2_709_row.h"
#include "pixels/yuy2_row.h"
#include "support/kernel_test.h"

namespace {

using BYTES = std::vector<uint8_t>;
BYTES random_bytes(size_t n, RNG& rng) {
    BYTES bytes(n);
    for (uint8_t& byte : bytes) byte = uint8_t(rng.next() >> 40);
    return bytes;
}

TEST(FrameBuffer, Geometry) {
    const FRAME_GEOMETRY g = frame_geometry_make(1281, 719, 6);
    EXPECT_EQ((std::array{g.max_width, g.max_height, int(g.stride)}), (std::array{1288, 720, 1296 * 6}));
    EXPECT_EQ(g.block_size, size_t{1296} * 728 * 6 + 16);
    EXPECT_EQ(g.origin, size_t{1297} * 4 * 6 + 8);
    for (int width = 1; width < 400; width += 3)
        for (const int size : {6, 2}) {
            const FRAME_GEOMETRY each = frame_geometry_make(width, 1, size);
            EXPECT_TRUE(each.max_width >= 320 && each.max_height == 240);
            EXPECT_EQ(each.origin % 16 + size_t(each.stride % 16), 0U) << width;
        }
}

/// A few values of each conversion, worked out by hand: what the formulas are meant to give.
template <typename OUT, typename IN>
std::vector<int> row_of(void (*kernel)(OUT*, const IN*, int), const std::vector<int>& in, int n, size_t out_size) {
    std::vector<std::conditional_t<std::is_same_v<IN, YC48_PIXEL>, int16_t, uint8_t>> from(in.begin(), in.end());
    std::vector<std::conditional_t<std::is_same_v<OUT, YC48_PIXEL>, int16_t, uint8_t>> to(out_size);
    kernel(reinterpret_cast<OUT*>(to.data()), reinterpret_cast<const IN*>(from.data()), n);
    return {to.begin(), to.end()};
}

TEST(Convert, KnownValues) {
    using V = std::vector<int>;
    EXPECT_EQ(row_of(rgb_row_to_yc48, {0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255}, 4, 12),
              (V{0, 0, 0, 4096, 0, 0, 467, 2048, -333, 1225, -691, 2048}));
    const V pairs = {16, 16, 235, 240, 128, 128, 255, 128, 0, 240, 0, 16, 16, 128, 16, 128};
    const V wide = row_of(yuy2_row_to_yc48, pairs, 4, 24);
    EXPECT_EQ(V(wide.begin(), wide.begin() + 12),
              (V{0, -2048, 2048, 4096, -1024, 1024, 2095, 0, 0, 4470, 1024, -1024}));
    EXPECT_EQ(row_of(yc48_row_to_yuy2, wide, 4, 16), pairs);
    // y' = Y * 64 - 1022, mulhi 19152; u' = -2432, v' = 7168 in the second pair.
    const V pairs_709 = {16, 128, 235, 128, 81, 90, 81, 240}, wide_709 = row_of(yuy2_709_row_to_yc48, pairs_709, 2, 12);
    EXPECT_EQ(wide_709, (V{0, 0, 0, 4096, -458, 1031, 1546, -916, 2063, 1546, -916, 2063}));
    EXPECT_EQ(row_of(yc48_row_to_yuy2_709, wide_709, 2, 8), pairs_709);
    // 6 * 32767 + 3 stops at 32767. White: 24579 gives 8192 + 1 - 1 - 1, and the 3 of a neutral chroma 1 + 1 + 0.
    EXPECT_EQ(row_of(yc48_row_to_yc48_709, {32767, 32767, -32768, 4096, 0, 0}, 2, 6),
              (V{(10922 + 1 - 1290 + 2321) >> 1, (1 + 11125 - 1251) >> 1, (1 + 819 - 11199) >> 1, 4095, 1, 1}));
    EXPECT_EQ(row_of(yc48_709_row_to_yc48, {4096, 0, 0}, 1, 3), (V{4096, 0, 0}));
    // White luma (399 + 2056 + 1047 + 264) >> 4; blue chroma (1791 + 2056) >> 4 and (-292 + 2056) >> 4.
    EXPECT_EQ(row_of(rgb_row_to_yuy2, {0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255}, 4, 8),
              (V{16, 128, 235, 128, 41, 240, 81, 110}));
    // u = 0 and v = 8 at 128, y = 20 at 16 and 7028 at 235.
    EXPECT_EQ(row_of(yuy2_row_to_rgb, {16, 128, 235, 128}, 2, 6), (V{0, 0, 0, 255, 255, 255}));
}

TEST(Convert, EveryRgbTripleSurvivesOnEveryTarget) {
    constexpr int N = 65536;  // all greens and reds of one blue
    BYTES bgr(size_t{N} * 3), back(bgr.size());
    std::vector<YC48_PIXEL> middle(N);
    for (size_t i = 0; i < N; ++i) bgr[i * 3 + 1] = uint8_t(i >> 8), bgr[i * 3 + 2] = uint8_t(i);
    kernel_for_each_target([&](RNG&) {
        for (int b = 0; b < 256; ++b) {
            for (size_t i = 0; i < N; ++i) bgr[i * 3] = uint8_t(b);
            rgb_row_to_yc48(middle.data(), bgr.data(), N);
            yc48_row_to_rgb(back.data(), middle.data(), N);
            ASSERT_TRUE(back == bgr) << "blue " << b;
        }
    });
}

TEST(Convert, VideoRangeSurvivesYuy2) {
    BYTES in;  // every luma with every chroma
    for (int y = 16; y <= 235; ++y)
        for (int c = 16; c <= 240; ++c)
            in.insert(in.end(), {uint8_t(y), uint8_t(c), uint8_t(251 - y), uint8_t(256 - c)});
    BYTES out(in.size());
    std::vector<YC48_PIXEL> middle(in.size() / 2);
    const int pairs = int(in.size() / 4);
    kernel_for_each_target([&](RNG&) {
        yuy2_row_to_yc48(middle.data(), in.data(), pairs);
        yc48_row_to_yuy2(out.data(), middle.data(), pairs);
        ASSERT_TRUE(in == out);
    });
}

/// Packs indices the slow way, bit by bit.
BYTES packed_rows(const std::vector<uint32_t>& pixels, int w, int h, int bits) {
    const size_t stride = (size_t(w) * size_t(bits) + 31) / 32 * 4;
    BYTES rows(stride * size_t(h));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int k = 0; k < bits; ++k) {
                const uint32_t value = pixels[size_t(y) * size_t(w) + size_t(x)];
                const int at = x * bits + k;  // bits of whole bytes are stored lowest byte first
                const int source = bits <= 8 ? bits - 1 - k : k / 8 * 8 + 7 - k % 8;
                if (value >> source & 1) rows[size_t(y) * stride + size_t(at / 8)] |= uint8_t(0x80 >> at % 8);
            }
    return rows;
}

TEST(DibExpand, AllDepthsAndOddWidths) {
    RNG rng(kernel_seed());
    for (const int bits : {1, 4, 8, 16, 32})
        for (const int w : {1, 2, 3, 7, 8, 9, 33, 70}) {
            constexpr int h = 3;
            std::vector<uint32_t> pixels(size_t(w * h));
            for (uint32_t& p : pixels) p = uint32_t(rng.next() >> 20) & (bits == 32 ? ~0U : (1U << bits) - 1);
            BYTES dib = bits <= 8 ? random_bytes(size_t{4} << bits, rng) : BYTES{};
            const BYTES palette = dib;
            std::ranges::copy(packed_rows(pixels, w, h, bits), std::back_inserter(dib));
            GUARDED_ROW<uint8_t> rgb(size_t(dib24_stride(w) * h));
            dib_to_rgb24(rgb.data(), dib.data(), w, h, bits);
            EXPECT_TRUE(rgb.guards_intact());
            for (int i = 0; i < w * h; ++i)
                for (size_t k = 0; k < 3; ++k) {
                    const uint32_t p = pixels[size_t(i)];
                    const uint32_t want = bits == 16   ? (p >> 5 * k & 31) * 8
                                          : bits == 32 ? p >> 8 * k & 255
                                                       : palette[p * 4 + k];
                    ASSERT_EQ(rgb[size_t(i / w * dib24_stride(w) + i % w * 3) + k], want)
                        << bits << " bits, width " << w << ", pixel " << i << ", seed " << kernel_seed();
                }
        }
    const BYTES whole = random_bytes(size_t(dib24_stride(5)) * 4, rng);
    for (const int bits : {24, 0, 15}) {
        BYTES copy(whole.size());
        dib_to_rgb24(copy.data(), whole.data(), 5, 4, bits);
        EXPECT_TRUE(copy == whole);
    }
}

}  // namespace
