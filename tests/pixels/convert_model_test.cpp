// The formulas of the conversions once more, by other means than the kernels' (wide integers, floor in floating point),
// against the scalar definitions on random input.

#include <array>
#include <cmath>

#include "pixels/rgb_row.h"
#include "pixels/rgb_yuy2_row.h"
#include "pixels/yc48_709_row.h"
#include "pixels/yuy2_709_row.h"
#include "pixels/yuy2_row.h"
#include "support/kernel_test.h"

static int model_mulhi(int a, int b) { return int(std::floor(double(a) * double(b) / 65536.0)); }
static int model_word(int v) { return v < -32768 ? -32768 : v > 32767 ? 32767 : v; }
static int model_shift(int v, int bits) { return int(std::floor(double(v) / (1 << bits))); }
static uint8_t model_byte(int v) { return uint8_t(v < 0 ? 0 : v > 255 ? 255 : v); }

static bool operator==(const YC48_PIXEL& a, const YC48_PIXEL& b) { return a.y == b.y && a.cb == b.cb && a.cr == b.cr; }
static void PrintTo(const YC48_PIXEL& p, std::ostream* out) { *out << p.y << ", " << p.cb << ", " << p.cr; }

/// Pixels of all words, and of those near the nominal range.
static std::vector<YC48_PIXEL> random_pixels(size_t n, RNG& rng) {
    std::vector<YC48_PIXEL> row(n);
    for (YC48_PIXEL& p : row) {
        const int reach = rng.below(2) ? 32767 : 6000;
        for (int16_t* v : {&p.y, &p.cb, &p.cr}) *v = int16_t(rng.between(-reach - 1, reach));
    }
    return row;
}

struct ConvertModel : testing::Test {
    RNG rng{kernel_seed()};
    testing::ScopedTrace trace{__FILE__, __LINE__, "VANTEL_TEST_SEED=" + std::to_string(kernel_seed())};
};

struct BGR {
    uint8_t b, g, r;
    bool operator==(const BGR&) const = default;
};
static void PrintTo(const BGR& p, std::ostream* out) { *out << int(p.b) << ", " << int(p.g) << ", " << int(p.r); }

TEST_F(ConvertModel, Rgb) {
    for (int i = 0; i < 20000; ++i) {
        const BGR c{uint8_t(rng.below(256)), uint8_t(rng.below(256)), uint8_t(rng.below(256))};
        const int b = c.b * 64 + 18, g = c.g * 64 + 18, r = c.r * 64 + 18;
        const YC48_PIXEL want{int16_t(model_mulhi(b, 1875) + model_mulhi(g, 9655) + model_mulhi(r, 4918) - 3),
                              int16_t(model_mulhi(b, 8224) + model_mulhi(g, -5449) + model_mulhi(r, -2775) + 1),
                              int16_t(model_mulhi(b, -1337) + model_mulhi(g, -6887) + model_mulhi(r, 8224) + 1)};
        YC48_PIXEL p;
        rgb_row_to_yc48_ref(&p, &c.b, 1);
        ASSERT_EQ(p, want) << testing::PrintToString(c);
        p = random_pixels(1, rng)[0];
        const int t = model_mulhi(p.y, 16320) + 3;
        const int g4 = t + model_mulhi(p.cb, -5616) + model_mulhi(p.cr, -11655);
        const BGR bytes{model_byte(model_shift(t + model_mulhi(p.cb, 28919), 2)), model_byte(model_shift(g4, 2)),
                        model_byte(model_shift(t + model_mulhi(p.cr, 22881), 2))};
        BGR got;
        yc48_row_to_rgb_ref(&got.b, &p, 1);
        ASSERT_EQ(got, bytes) << testing::PrintToString(p);
    }
}

static uint8_t yuy2_sample(BGR c, int b, int g, int r, int add) {
    return model_byte(
        model_shift(model_mulhi(c.b * 128, b) + model_mulhi(c.g * 128, g) + model_mulhi(c.r * 128, r) + add, 4));
}

TEST_F(ConvertModel, RgbInTwoByteMode) {
    for (int i = 0; i < 20000; ++i) {
        uint8_t in[6], yuy2[4], out[6];
        rng_fill(std::span<uint8_t>(in), rng);
        rgb_row_to_yuy2_ref(yuy2, in, 2);
        const BGR even{in[0], in[1], in[2]}, odd{in[3], in[4], in[5]};
        ASSERT_EQ(std::to_array(yuy2),
                  (std::array{yuy2_sample(even, 802, 4130, 2104, 264), yuy2_sample(even, 3598, -2384, -1214, 2056),
                              yuy2_sample(odd, 802, 4130, 2104, 264), yuy2_sample(even, -585, -3013, 3598, 2056)}));
        rng_fill(std::span<uint8_t>(yuy2), rng);
        yuy2_row_to_rgb_ref(out, yuy2, 2);
        const int u = 2 * (yuy2[1] * 16 - 2048), v = 2 * (yuy2[3] * 16 - 2044);
        for (int k = 0; k < 2; ++k) {
            const int luma = model_mulhi(2 * (yuy2[2 * k] * 16 - 246), 9539);
            const BGR want{model_byte(model_shift(model_mulhi(u, 16525) + luma, 2)),
                           model_byte(model_shift(model_mulhi(u, -3209) + model_mulhi(v, -6660) + luma, 2)),
                           model_byte(model_shift(model_mulhi(v, 13075) + luma, 2))};
            ASSERT_EQ((BGR{out[3 * k], out[3 * k + 1], out[3 * k + 2]}), want) << "pixel " << k;
        }
    }
}

// One pixel of a pair, and a pair of two pixels, by each of the two matrices.
using FROM_YUY2 = YC48_PIXEL (*)(int s, int u, int v);
using TO_YUY2 = std::array<uint8_t, 4> (*)(YC48_PIXEL even, YC48_PIXEL odd);

static YC48_PIXEL from_601(int s, int u, int v) {
    const auto chroma = [](int c) { return int16_t(model_mulhi(c * 64, 18725) - 2340); };
    return {int16_t(model_mulhi(s * 64, 19152) - 299), chroma(u), chroma(v)};
}
static std::array<uint8_t, 4> to_601(YC48_PIXEL even, YC48_PIXEL odd) {
    const auto byte = [](int v, int scale) { return model_byte(model_shift(model_mulhi(model_word(v), scale), 2)); };
    return {byte(even.y + 301, 14016), byte(even.cb + 2350, 14336), byte(odd.y + 301, 14016),
            byte(even.cr + 2350, 14336)};
}
static YC48_PIXEL from_709(int s, int u, int v) {
    const int y = s * 64 - 1022, uc = u * 64 - 8192, vc = v * 64 - 8192;
    return {int16_t(model_mulhi(y, 19152) + model_mulhi(uc, 1902) + model_mulhi(vc, 3672)),
            int16_t(model_mulhi(uc, 18534) + model_mulhi(vc, -2082)),
            int16_t(model_mulhi(uc, -1345) + model_mulhi(vc, 18416))};
}
static std::array<uint8_t, 4> to_709(YC48_PIXEL even, YC48_PIXEL odd) {
    const int colour = model_mulhi(even.cb, -1655) + model_mulhi(even.cr, -2980) + 67;
    const auto byte = [](int sum) { return model_byte(model_shift(sum, 2)); };
    return {
        byte(model_mulhi(even.y, 14016) + colour), byte(model_mulhi(even.cb, 14602) + model_mulhi(even.cr, 1642) + 514),
        byte(model_mulhi(odd.y, 14016) + colour), byte(model_mulhi(even.cb, 1076) + model_mulhi(even.cr, 14699) + 514)};
}

template <typename TO, typename FROM>
static void expect_yuy2(TO to_yc48, FROM to_yuy2, FROM_YUY2 from_model, TO_YUY2 to_model, RNG& rng) {
    constexpr size_t PAIRS = 5000;
    std::vector<uint8_t> in(PAIRS * 4), bytes(PAIRS * 4);
    for (uint8_t& byte : in) byte = uint8_t(rng.below(256));
    std::vector<YC48_PIXEL> row(PAIRS * 2);
    to_yc48(row.data(), in.data(), int(PAIRS));
    for (size_t i = 0; i < PAIRS; ++i) {
        const uint8_t* p = &in[i * 4];
        const uint8_t* n = i + 1 < PAIRS ? p + 4 : p;
        const YC48_PIXEL even = from_model(p[0], p[1], p[3]), next = from_model(n[0], n[1], n[3]);
        const YC48_PIXEL odd{from_model(p[2], p[1], p[3]).y, int16_t(model_shift(even.cb + next.cb, 1)),
                             int16_t(model_shift(even.cr + next.cr, 1))};
        ASSERT_EQ(row[i * 2], even) << i;
        ASSERT_EQ(row[i * 2 + 1], odd) << i;
    }
    row = random_pixels(row.size(), rng);
    to_yuy2(bytes.data(), row.data(), int(PAIRS));
    for (size_t i = 0; i < PAIRS * 4; ++i)
        ASSERT_EQ(bytes[i], to_model(row[i / 4 * 2], row[i / 4 * 2 + 1])[i % 4]) << i;
}

TEST_F(ConvertModel, Yuy2OfBothMatrices) {
    ASSERT_NO_FATAL_FAILURE(expect_yuy2(yuy2_row_to_yc48_ref, yc48_row_to_yuy2_ref, from_601, to_601, rng));
    expect_yuy2(yuy2_709_row_to_yc48_ref, yc48_row_to_yuy2_709_ref, from_709, to_709, rng);
}

/// Rows y, cb, cr of a matrix; columns likewise.
using MATRIX = const int[3][3];
static MATRIX INWARDS = {{21845, 2219, 4283}, {0, 21622, -2429}, {0, -1569, 21485}};
static MATRIX OUTWARDS = {{21845, -2579, -4644}, {0, 22251, 2501}, {0, 1640, 22397}};

static YC48_PIXEL matrix_model(YC48_PIXEL p, MATRIX& m) {
    const auto scale = [](int c) {
        const int twice = model_word(2 * c);
        return model_word(model_word(2 * twice) + model_word(twice + 3));
    };
    const int c[] = {scale(p.y), scale(p.cb), scale(p.cr)};
    const auto out = [&](const int(&k)[3]) {
        return int16_t(model_shift(model_mulhi(c[0], k[0]) + 1 + model_mulhi(c[1], k[1]) + model_mulhi(c[2], k[2]), 1));
    };
    return {out(m[0]), out(m[1]), out(m[2])};
}

TEST_F(ConvertModel, Yc48Of709) {
    const std::vector<YC48_PIXEL> in = random_pixels(10000, rng);
    std::vector<YC48_PIXEL> inside(in.size()), outside(in.size());
    yc48_709_row_to_yc48_ref(inside.data(), in.data(), int(in.size()));
    yc48_row_to_yc48_709_ref(outside.data(), in.data(), int(in.size()));
    for (size_t i = 0; i < in.size(); ++i) {
        ASSERT_EQ(inside[i], matrix_model(in[i], INWARDS)) << testing::PrintToString(in[i]);
        ASSERT_EQ(outside[i], matrix_model(in[i], OUTWARDS)) << testing::PrintToString(in[i]);
    }
}
