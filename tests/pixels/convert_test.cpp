// Whole pictures between frames and outside formats: known values, exact round trips, layouts, threads.

#include "pixels/convert.h"

#include <gtest/gtest.h>
#include <hwy/highway.h>

#include <array>
#include <numeric>
#include <vector>

#include "pixels/frame_buffer.h"
#include "pixels/rgb_row.h"
#include "pixels/yuy2_row.h"
#include "platform/parallel.h"
#include "platform/simd.h"
#include "support/kernel_test.h"

namespace {

using BYTES = std::vector<uint8_t>;
using TRIPLE = std::array<int, 3>;

/// A frame of the given pixel size; sets the geometry for the test's life and puts everything back.
struct TEST_FRAME {
    explicit TEST_FRAME(int pixel_size) {
        frame_geometry = frame_geometry_make(640, 480, pixel_size);
        image = frame_buffer_new();
    }
    TEST_FRAME(const TEST_FRAME&) = delete;
    TEST_FRAME& operator=(const TEST_FRAME&) = delete;
    ~TEST_FRAME() {
        frame_buffer_free(image);
        frame_geometry = before;
        yuy2_limit = false;
    }
    uint8_t* row(int y) { return image + ptrdiff_t{y} * frame_geometry.stride; }
    YC48_PIXEL* pixels(int y) { return reinterpret_cast<YC48_PIXEL*>(row(y)); }
    TRIPLE at(int x, int y) {
        const YC48_PIXEL p = pixels(y)[x];
        return {p.y, p.cb, p.cr};
    }

    FRAME_GEOMETRY before = frame_geometry;
    uint8_t* image;
};

BYTES random_bytes(size_t n, RNG& rng) {
    BYTES bytes(n);
    for (uint8_t& byte : bytes) byte = uint8_t(rng.next() >> 40);
    return bytes;
}

TEST(FrameBuffer, Geometry) {
    const FRAME_GEOMETRY g = frame_geometry_make(1281, 719, 6);
    EXPECT_EQ(g.max_width, 1288);
    EXPECT_EQ(g.max_height, 720);
    EXPECT_EQ(g.stride, 1296 * 6);
    EXPECT_EQ(g.block_size, size_t{1296} * 728 * 6 + 16);
    EXPECT_EQ(g.origin, size_t{1297} * 4 * 6 + 8);
    const FRAME_GEOMETRY least = frame_geometry_make(1, 1, 2);
    EXPECT_EQ(least.max_width, 320);
    EXPECT_EQ(least.max_height, 240);
    for (int width = 320; width < 400; width += 8)
        for (const int size : {6, 2}) {
            const FRAME_GEOMETRY each = frame_geometry_make(width, 240, size);
            EXPECT_EQ(each.origin % 16, 0U) << width;
            EXPECT_EQ(each.stride % 16, 0) << width;
        }
}

TEST(Convert, KnownRgbValues) {
    TEST_FRAME frame(6);
    const uint8_t colours[6][3] = {{0, 0, 0}, {255, 255, 255}, {255, 0, 0}, {0, 0, 255}, {128, 128, 128}, {1, 2, 3}};
    const TRIPLE want[5] = {{0, 0, 0}, {4096, 0, 0}, {467, 2048, -333}, {1225, -691, 2048}, {2056, 0, 0}};
    row_rgb_to_frame(frame.row(0), colours[0], 6);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(frame.at(i, 0), want[i]) << i;
    const YC48_PIXEL wide[5] = {{2048, 0, 0}, {32767, 0, 0}, {-32768, 0, 0}, {4096, 32767, 32767}, {0, -32768, -32768}};
    std::copy_n(wide, 5, frame.pixels(1));
    uint8_t rgb[15];
    row_frame_to_rgb(rgb, frame.row(1), 5);
    const uint8_t clamped[15] = {128, 128, 128, 255, 255, 255, 0, 0, 0, 255, 0, 255, 0, 255, 0};
    for (int i = 0; i < 15; ++i) EXPECT_EQ(rgb[i], clamped[i]) << i;
    row_rgb_to_frame(nullptr, nullptr, 0);
    row_frame_to_rgb(nullptr, nullptr, -1);
}

TEST(Convert, EveryRgbTripleSurvivesOnEveryTarget) {
    constexpr int N = 65536;  // all greens and reds of one blue
    BYTES bgr(size_t{N} * 3), back(bgr.size());
    std::vector<YC48_PIXEL> want(N), got(N);
    for (int b = 0; b < 256; ++b) {
        for (size_t i = 0; i < N; ++i) {
            bgr[i * 3] = uint8_t(b);
            bgr[i * 3 + 1] = uint8_t(i >> 8);
            bgr[i * 3 + 2] = uint8_t(i);
        }
        rgb_row_to_yc48_ref(want.data(), bgr.data(), N);
        yc48_row_to_rgb_ref(back.data(), want.data(), N);
        ASSERT_TRUE(back == bgr) << "blue " << b;
        kernel_for_each_target([&](RNG&) {
            if (hwy::SupportedTargets() == HWY_SCALAR) return;  // the definition again
            rgb_row_to_yc48(got.data(), bgr.data(), N);
            ASSERT_EQ(0, std::memcmp(want.data(), got.data(), N * sizeof(YC48_PIXEL))) << "blue " << b;
            yc48_row_to_rgb(back.data(), got.data(), N);
            ASSERT_TRUE(back == bgr) << "blue " << b;
        });
        if (HasFatalFailure()) return;
    }
}

TEST(Convert, KnownYuy2Values) {
    TEST_FRAME frame(6);
    const uint8_t in[16] = {16, 16, 235, 240, 128, 128, 255, 128, 0, 240, 0, 16, 16, 128, 16, 128};
    yuy2_to_frame(frame.image, in, 8, 1);
    EXPECT_EQ(frame.at(0, 0), (TRIPLE{0, -2048, 2048}));
    EXPECT_EQ(frame.at(1, 0), (TRIPLE{4096, -1024, 1024}));
    EXPECT_EQ(frame.at(2, 0), (TRIPLE{2095, 0, 0}));
    EXPECT_EQ(frame.at(3, 0), (TRIPLE{4470, 1024, -1024}));
    EXPECT_EQ(frame.at(4, 0), (TRIPLE{-299, 2048, -2048}));
    EXPECT_EQ(frame.at(7, 0), (TRIPLE{0, 0, 0}));
    // Of a lone pair both pixels have the same chroma, whatever stands behind it.
    yuy2_to_frame(frame.image, in, 2, 1);
    EXPECT_EQ(frame.at(1, 0), (TRIPLE{4096, -2048, 2048}));
    uint8_t out[16];
    yuy2_to_frame(frame.image, in, 8, 1);
    frame_to_yuy2(out, frame.image, 8, 1);
    EXPECT_TRUE(std::equal(in, in + 16, out));
    yuy2_limit = true;
    const uint8_t limited[16] = {16, 16, 235, 240, 128, 128, 235, 128, 16, 240, 16, 16, 16, 128, 16, 128};
    frame_to_yuy2(out, frame.image, 8, 1);
    EXPECT_TRUE(std::equal(limited, limited + 16, out));
    uint8_t all[512];
    for (int i = 0; i < 512; ++i) all[i] = uint8_t(i / 2);
    yuy2_clamp_limit(all, 256, 1);
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(all[2 * i], std::clamp(i, 16, 235));
        EXPECT_EQ(all[2 * i + 1], std::clamp(i, 16, 240));
    }
}

TEST(Convert, VideoRangeSurvivesYuy2) {
    // Every luma with every chroma, on every target; and the definition for each single value.
    BYTES in, out;
    for (int y = 16; y <= 235; ++y)
        for (int c = 16; c <= 240; ++c)
            in.insert(in.end(), {uint8_t(y), uint8_t(c), uint8_t(251 - y), uint8_t(256 - c)});
    std::vector<YC48_PIXEL> middle(in.size() / 2);
    const int pairs = int(in.size() / 4);
    out.resize(in.size());
    kernel_for_each_target([&](RNG&) {
        yuy2_row_to_yc48(middle.data(), in.data(), pairs);
        yc48_row_to_yuy2(out.data(), middle.data(), pairs);
        ASSERT_TRUE(in == out);
    });
    yuy2_row_to_yc48_ref(middle.data(), in.data(), pairs);
    yc48_row_to_yuy2_ref(out.data(), middle.data(), pairs);
    EXPECT_TRUE(in == out);
}

TEST(Convert, Bt709KnownValues) {
    TEST_FRAME frame(6);
    const uint8_t in[8] = {16, 128, 235, 128, 81, 90, 81, 240};
    yuy2_709_to_frame(frame.image, in, 4, 1);
    // By hand: y' = Y * 64 - 1022, mulhi 19152; u' = -2432, v' = 7168 in the second pair.
    EXPECT_EQ(frame.at(0, 0), (TRIPLE{0, 0, 0}));
    EXPECT_EQ(frame.at(1, 0), (TRIPLE{4096, -458, 1031}));
    EXPECT_EQ(frame.at(2, 0), (TRIPLE{1216 - 71 + 401, -688 - 228, 49 + 2014}));
    EXPECT_EQ(frame.at(3, 0), (TRIPLE{1216 - 71 + 401, -688 - 228, 49 + 2014}));
    uint8_t out[8];
    frame_to_yuy2_709(out, frame.image, 4, 1);
    EXPECT_TRUE(std::equal(in, in + 8, out));
    const YC48_PIXEL extreme[2] = {{32767, 32767, -32768}, {4096, 0, 0}};
    frame_to_yc48_709(frame.image, reinterpret_cast<const uint8_t*>(extreme), 2, 1);
    // 6 * 32767 + 3 stops at 32767. White: 24579 gives 8192 + 1 - 1 - 1, and the 3 of a neutral chroma 1 + 1 + 0.
    EXPECT_EQ(frame.at(0, 0),
              (TRIPLE{(10922 + 1 - 1290 + 2321) >> 1, (1 + 11125 - 1251) >> 1, (1 + 819 - 11199) >> 1}));
    EXPECT_EQ(frame.at(1, 0), (TRIPLE{4095, 1, 1}));
    const YC48_PIXEL white = {4096, 0, 0};
    yc48_709_to_frame(frame.image, reinterpret_cast<const uint8_t*>(&white), 1, 1);
    EXPECT_EQ(frame.at(0, 0), (TRIPLE{4096, 0, 0}));
}

TEST(Convert, DibIsBottomUpAndYc48RowsArePadded) {
    TEST_FRAME frame(6);
    const uint8_t dib[2][4] = {{255, 255, 255, 9}, {0, 0, 0, 9}};
    rgb24_to_frame(frame.image, dib[0], 1, 2);
    EXPECT_EQ(frame.at(0, 0), (TRIPLE{0, 0, 0}));
    EXPECT_EQ(frame.at(0, 1), (TRIPLE{4096, 0, 0}));
    const int16_t yc48[8] = {1, 2, 3, 99, 4, 5, 6, 99};  // rows of 6 bytes, 8 apart
    yc48_to_frame(frame.image, reinterpret_cast<const uint8_t*>(yc48), 1, 2);
    EXPECT_EQ(frame.at(0, 1), (TRIPLE{4, 5, 6}));
}

TEST(Convert, OddWidthUsesTheRightMargin) {
    TEST_FRAME frame(6);
    const uint8_t in[8] = {16, 128, 16, 128, 235, 128, 235, 128};
    yuy2_to_frame(frame.image, in, 3, 1);
    EXPECT_EQ(frame.at(3, 0), (TRIPLE{4096, 0, 0}));
    frame.pixels(0)[3].y = 0;
    uint8_t out[8];
    frame_to_yuy2(out, frame.image, 3, 1);
    EXPECT_EQ(out[6], 16);
}

TEST(Convert, TwoByteModeKnownValues) {
    TEST_FRAME frame(2);
    const uint8_t bgr[12] = {0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255};
    row_rgb_to_frame(frame.row(0), bgr, 4);
    // By hand: white luma (399 + 2056 + 1047 + 264) >> 4; blue chroma (1791 + 2056) >> 4 and (-292 + 2056) >> 4.
    const uint8_t want[8] = {16, 128, 235, 128, 41, 240, 81, 110};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(frame.row(0)[i], want[i]) << i;
    uint8_t out[6];
    const uint8_t pair[4] = {16, 128, 235, 128};
    row_frame_to_rgb(out, pair, 2);
    // u = 0 and v = 8 at 128, y = 20 at 16 and 7028 at 235.
    const uint8_t back[6] = {0, 0, 1 >> 2, 255, 255, 255};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(out[i], back[i]) << i;
    row_rgb_to_frame(frame.row(0), bgr + 3, 1);  // an incomplete pair repeats its luma
    EXPECT_EQ(frame.row(0)[2], 235);
    EXPECT_EQ(frame.row(0)[4], 41) << "wrote past the pair";
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
            const int h = 3;
            std::vector<uint32_t> pixels(size_t(w * h));
            for (uint32_t& p : pixels) p = uint32_t(rng.next() >> 20) & (bits == 32 ? ~0U : (1U << bits) - 1);
            BYTES dib = bits <= 8 ? random_bytes(size_t{4} << bits, rng) : BYTES{};
            const BYTES palette = dib;
            const BYTES rows = packed_rows(pixels, w, h, bits);
            dib.insert(dib.end(), rows.begin(), rows.end());
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
