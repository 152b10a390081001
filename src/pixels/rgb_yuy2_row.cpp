#include "pixels/rgb_yuy2_row.h"

#include "pixels/word_math.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixels/rgb_yuy2_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixels/blocks-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixels {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static void rgb_to_yuy2(uint8_t* yuy2, const uint8_t* bgr, int width) { rgb_row_to_yuy2_ref(yuy2, bgr, width); }
static void yuy2_to_rgb(uint8_t* bgr, const uint8_t* yuy2, int width) { yuy2_row_to_rgb_ref(bgr, yuy2, width); }
#else
static constexpr BYTE_TABLE EVEN = shuffle_table({0, 0, 2, 2, 4, 4, 6, 6});
static constexpr BYTE_TABLE ODD = shuffle_table({1, 1, 3, 3, 5, 5, 7, 7});
static constexpr BYTE_TABLE SWAP = shuffle_table({1, 0, 3, 2, 5, 4, 7, 6});
static constexpr BYTE_TABLE ZIP = shuffle_table({0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15});

// Chroma lanes are U V U V ..
struct TERM_TABLES {
    WORD_TABLE b, g, r, add;
};
struct TO_YUY2_TABLES {
    TERM_TABLES luma, chroma;
};
static constexpr TO_YUY2_TABLES TO_YUY2 = {
    {word_table(802), word_table(4130), word_table(2104), word_table(264)},
    {word_table(3598, -585), word_table(-2384, -3013), word_table(-1214, 3598), word_table(2056)}};

static void rgb_to_yuy2(uint8_t* yuy2, const uint8_t* bgr, int width) {
    const TO_YUY2_TABLES* t = opaque(&TO_YUY2);
    const hn::RebindToUnsigned<D16> du;
    const auto scale = [&](V16 v) HWY_ATTR { return hn::BitCast(D16(), hn::ShiftRight<1>(hn::BitCast(du, v))); };
    const auto weigh = [](V16 b, V16 g, V16 r, const TERM_TABLES& m) HWY_ATTR {
        const V16 bg = hn::Add(hn::MulHigh(b, words(m.b)), hn::MulHigh(g, words(m.g)));
        return hn::ShiftRight<4>(hn::Add(bg, hn::Add(hn::MulHigh(r, words(m.r)), words(m.add))));
    };
    const auto body = [&](size_t i) HWY_ATTR {
        V16 b, g, r;
        load_bgr(bgr + i * 6, hn::Zero(D8()), b, g, r);
        b = scale(b);
        g = scale(g);
        r = scale(r);
        const V16 luma = weigh(b, g, r, t->luma);
        const V16 chroma = weigh(shuffle(b, EVEN), shuffle(g, EVEN), shuffle(r, EVEN), t->chroma);
        store_blocks(shuffle(pack_blocks(luma, chroma), ZIP), yuy2 + i * 4, 16);
    };
    const int done = 2 * int(for_each_step(size_t(width / 2), STEP / 2, body));
    rgb_row_to_yuy2_ref(yuy2 + done * 2, bgr + done * 3, width - done);
}

struct TO_RGB_TABLES {
    WORD_TABLE mask, black, neutral, luma, uv_to_br, uv_to_g;
};
static constexpr TO_RGB_TABLES TO_RGB = {word_table(0x3FC0), word_table(492),          word_table(4096, 4088),
                                         word_table(9539),   word_table(16525, 13075), word_table(-3209, -6660)};

static void yuy2_to_rgb(uint8_t* bgr, const uint8_t* yuy2, int width) {
    const TO_RGB_TABLES* t = opaque(&TO_RGB);
    const auto body = [&](size_t i) HWY_ATTR {
        const V16 v = hn::BitCast(D16(), load_blocks(yuy2 + i * 4, 16));
        const V16 y = hn::Sub(hn::ShiftRight<1>(low_byte_64(v)), words(t->black));
        const V16 uv = hn::Sub(hn::ShiftRight<1>(high_byte_64(v, t->mask)), words(t->neutral));
        const V16 luma = hn::MulHigh(y, words(t->luma));
        const V16 br = hn::MulHigh(uv, words(t->uv_to_br)), half_g = hn::MulHigh(uv, words(t->uv_to_g));
        const V16 b = hn::Add(shuffle(br, EVEN), luma), r = hn::Add(shuffle(br, ODD), luma);
        const V16 g = hn::Add(hn::Add(half_g, shuffle(half_g, SWAP)), luma);
        store_bgr(hn::ShiftRight<2>(b), hn::ShiftRight<2>(g), hn::ShiftRight<2>(r), bgr + i * 6);
    };
    const int done = 2 * int(for_each_step(size_t(width / 2), STEP / 2, body));
    yuy2_row_to_rgb_ref(bgr + done * 3, yuy2 + done * 2, width - done);
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace pixels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixels {
HWY_EXPORT(rgb_to_yuy2);
HWY_EXPORT(yuy2_to_rgb);
}  // namespace pixels

static uint8_t weigh_ref(const uint8_t* bgr, int b_scale, int g_scale, int r_scale, int add) {
    const int sum =
        word_mulhi(bgr[0] * 128, b_scale) + word_mulhi(bgr[1] * 128, g_scale) + word_mulhi(bgr[2] * 128, r_scale) + add;
    return word_to8(sum >> 4);
}

void rgb_row_to_yuy2_ref(uint8_t* yuy2, const uint8_t* bgr, int width) {
    for (int i = 0; i < width; i += 2, yuy2 += 4) {
        const uint8_t* even = bgr + i * 3;
        const uint8_t* odd = i + 1 < width ? even + 3 : even;
        yuy2[0] = weigh_ref(even, 802, 4130, 2104, 264);
        yuy2[1] = weigh_ref(even, 3598, -2384, -1214, 2056);
        yuy2[2] = weigh_ref(odd, 802, 4130, 2104, 264);
        yuy2[3] = weigh_ref(even, -585, -3013, 3598, 2056);
    }
}

void yuy2_row_to_rgb_ref(uint8_t* bgr, const uint8_t* yuy2, int width) {
    for (int i = 0; i < width; ++i, bgr += 3) {
        const uint8_t* pair = yuy2 + i / 2 * 4;
        const int u = 2 * (pair[1] * 16 - 2048), v = 2 * (pair[3] * 16 - 2044), y = 2 * (pair[i % 2 * 2] * 16 - 246);
        const int luma = word_mulhi(y, 9539);
        bgr[0] = word_to8((word_mulhi(u, 16525) + luma) >> 2);
        bgr[1] = word_to8((word_mulhi(u, -3209) + word_mulhi(v, -6660) + luma) >> 2);
        bgr[2] = word_to8((word_mulhi(v, 13075) + luma) >> 2);
    }
}

void rgb_row_to_yuy2(uint8_t* yuy2, const uint8_t* bgr, int width) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::rgb_to_yuy2)(yuy2, bgr, width);
    else
        rgb_row_to_yuy2_ref(yuy2, bgr, width);
}

void yuy2_row_to_rgb(uint8_t* bgr, const uint8_t* yuy2, int width) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::yuy2_to_rgb)(bgr, yuy2, width);
    else
        yuy2_row_to_rgb_ref(bgr, yuy2, width);
}
#endif
