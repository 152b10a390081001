#include "pixels/rgb_yuy2_row.h"

#include "pixels/rgb_matrix.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixels/rgb_yuy2_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixels/blocks-inl.h"
#include "pixels/rgb_matrix-inl.h"

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

struct TO_YUY2_TABLES {
    TERM_TABLES luma, chroma;
};
// Chroma lanes are U V U V ..
static constexpr TO_YUY2_TABLES TO_YUY2 = {term_tables(RGB_TO_LUMA),
                                           {word_table(RGB_TO_U.b, RGB_TO_V.b), word_table(RGB_TO_U.g, RGB_TO_V.g),
                                            word_table(RGB_TO_U.r, RGB_TO_V.r), word_table(RGB_TO_U.add)}};
static_assert(RGB_TO_U.add == RGB_TO_V.add);

static void rgb_to_yuy2(uint8_t* yuy2, const uint8_t* bgr, int width) {
    const TO_YUY2_TABLES* t = opaque(&TO_YUY2);
    const hn::RebindToUnsigned<D16> du;
    const auto scale = [&](V16 v) HWY_ATTR { return hn::BitCast(D16(), hn::ShiftRight<1>(hn::BitCast(du, v))); };
    const auto body = [&](size_t i) HWY_ATTR {
        V16 b, g, r;
        load_bgr(bgr + i * 6, hn::Zero(D8()), b, g, r);
        b = scale(b);
        g = scale(g);
        r = scale(r);
        const V16 luma = hn::ShiftRight<4>(rgb_term(b, g, r, t->luma));
        const V16 chroma = hn::ShiftRight<4>(rgb_term(shuffle(b, EVEN), shuffle(g, EVEN), shuffle(r, EVEN), t->chroma));
        store_blocks(shuffle(pack_blocks(luma, chroma), ZIP), yuy2 + i * 4, 16);
    };
    const int done = 2 * int(for_each_step(size_t(width / 2), STEP / 2, body));
    rgb_row_to_yuy2_ref(yuy2 + done * 2, bgr + done * 3, width - done);
}

struct TO_RGB_TABLES {
    WORD_TABLE mask, black, neutral, luma, uv_to_br, uv_to_g;
};
static constexpr TO_RGB_TABLES TO_RGB = {word_table(0x3FC0),         word_table(492),
                                         word_table(4096, 4088),     word_table(LUMA_TO_RGB),
                                         word_table(U_TO_B, V_TO_R), word_table(U_TO_G, V_TO_G)};

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

// No sum reaches the limits of a word.
static uint8_t sample_ref(const RGB_TERM& m, const uint8_t* bgr) {
    return word_to8(rgb_term(m, bgr[0] * 128, bgr[1] * 128, bgr[2] * 128) >> 4);
}

void rgb_row_to_yuy2_ref(uint8_t* yuy2, const uint8_t* bgr, int width) {
    for (int i = 0; i < width; i += 2, yuy2 += 4) {
        const uint8_t* even = bgr + i * 3;
        const uint8_t* odd = i + 1 < width ? even + 3 : even;
        yuy2[0] = sample_ref(RGB_TO_LUMA, even);
        yuy2[1] = sample_ref(RGB_TO_U, even);
        yuy2[2] = sample_ref(RGB_TO_LUMA, odd);
        yuy2[3] = sample_ref(RGB_TO_V, even);
    }
}

void yuy2_row_to_rgb_ref(uint8_t* bgr, const uint8_t* yuy2, int width) {
    for (int i = 0; i < width; ++i, bgr += 3) {
        const uint8_t* pair = yuy2 + i / 2 * 4;
        const int u = 2 * (pair[1] * 16 - 2048), v = 2 * (pair[3] * 16 - 2044), y = 2 * (pair[i % 2 * 2] * 16 - 246);
        const int luma = word_mulhi(y, LUMA_TO_RGB);
        bgr[0] = word_to8((word_mulhi(u, U_TO_B) + luma) >> 2);
        bgr[1] = word_to8((word_mulhi(u, U_TO_G) + word_mulhi(v, V_TO_G) + luma) >> 2);
        bgr[2] = word_to8((word_mulhi(v, V_TO_R) + luma) >> 2);
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
