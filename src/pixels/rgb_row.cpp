#include "pixels/rgb_row.h"

#include "pixels/word_math.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixels/rgb_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixels/blocks-inl.h"

#ifndef VANTEL_RGB_ROW_TABLES
#define VANTEL_RGB_ROW_TABLES
struct RGB_TERM {
    int b, g, r, add;
};
static constexpr RGB_TERM TO_Y = {1875, 9655, 4918, -3};
static constexpr RGB_TERM TO_CB = {8224, -5449, -2775, 1};
static constexpr RGB_TERM TO_CR = {-1337, -6887, 8224, 1};
static constexpr int Y_TO_RGB = 16320, CB_TO_B = 28919, CB_TO_G = -5616, CR_TO_G = -11655, CR_TO_R = 22881;
#endif

HWY_BEFORE_NAMESPACE();
namespace pixels {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static void rgb_to_yc48(YC48_PIXEL* yc48, const uint8_t* bgr, int width) { rgb_row_to_yc48_ref(yc48, bgr, width); }
static void yc48_to_rgb(uint8_t* bgr, const YC48_PIXEL* yc48, int width) { yc48_row_to_rgb_ref(bgr, yc48, width); }
#else
struct TERM_TABLES {
    WORD_TABLE b, g, r, add;
};
struct TO_YC48_TABLES {
    WORD_TABLE low;
    TERM_TABLES y, cb, cr;
};
static constexpr TERM_TABLES term_tables(const RGB_TERM& m) {
    return {word_table(m.b), word_table(m.g), word_table(m.r), word_table(m.add)};
}
// (v * 256 + 72) >> 2 is v * 64 + 18.
static constexpr TO_YC48_TABLES TO_YC48 = {word_table(72 << 8 | 72), term_tables(TO_Y), term_tables(TO_CB),
                                           term_tables(TO_CR)};

// No sum here can reach the limits of a word (bytes are at most 16338 once scaled), so the order does not matter.
static void rgb_to_yc48(YC48_PIXEL* yc48, const uint8_t* bgr, int width) {
    int16_t* out = &yc48->y;
    const TO_YC48_TABLES* t = opaque(&TO_YC48);
    const hn::RebindToUnsigned<D16> du;
    const auto scale = [&](V16 v) HWY_ATTR { return hn::BitCast(D16(), hn::ShiftRight<2>(hn::BitCast(du, v))); };
    const auto body = [&](size_t i) HWY_ATTR {
        V16 b, g, r;
        load_bgr(bgr + i * 3, hn::BitCast(D8(), words(t->low)), b, g, r);
        b = scale(b);
        g = scale(g);
        r = scale(r);
        const auto term = [&](const TERM_TABLES& m) HWY_ATTR {
            const V16 part = hn::Add(hn::MulHigh(b, words(m.b)), words(m.add));
            return hn::Add(part, hn::Add(hn::MulHigh(g, words(m.g)), hn::MulHigh(r, words(m.r))));
        };
        store_yc48(term(t->y), term(t->cb), term(t->cr), out + i * 3);
    };
    const int done = int(for_each_step(size_t(width), STEP, body));
    rgb_row_to_yc48_ref(yc48 + done, bgr + done * 3, width - done);
}

struct TO_RGB_TABLES {
    WORD_TABLE y, add, cb_b, cb_g, cr_g, cr_r;
};
static constexpr TO_RGB_TABLES TO_RGB = {word_table(Y_TO_RGB), word_table(3),       word_table(CB_TO_B),
                                         word_table(CB_TO_G),  word_table(CR_TO_G), word_table(CR_TO_R)};

static void yc48_to_rgb(uint8_t* bgr, const YC48_PIXEL* yc48, int width) {
    const int16_t* in = &yc48->y;
    const TO_RGB_TABLES* t = opaque(&TO_RGB);
    const auto body = [&](size_t i) HWY_ATTR {
        V16 y, cb, cr;
        load_yc48(in + i * 3, y, cb, cr);
        // |luma| <= 8163 and the other terms stay under 14461 in sum: no saturation.
        const V16 luma = hn::Add(hn::MulHigh(y, words(t->y)), words(t->add));
        const V16 b = hn::Add(luma, hn::MulHigh(cb, words(t->cb_b)));
        const V16 g = hn::Add(luma, hn::Add(hn::MulHigh(cb, words(t->cb_g)), hn::MulHigh(cr, words(t->cr_g))));
        const V16 r = hn::Add(luma, hn::MulHigh(cr, words(t->cr_r)));
        store_bgr(hn::ShiftRight<2>(b), hn::ShiftRight<2>(g), hn::ShiftRight<2>(r), bgr + i * 3);
    };
    const int done = int(for_each_step(size_t(width), STEP, body));
    yc48_row_to_rgb_ref(bgr + done * 3, yc48 + done, width - done);
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace pixels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixels {
HWY_EXPORT(rgb_to_yc48);
HWY_EXPORT(yc48_to_rgb);
}  // namespace pixels

static int16_t rgb_term_ref(const RGB_TERM& m, int b, int g, int r) {
    return word_add(word_add(word_add(word_mulhi(b, m.b), m.add), word_mulhi(g, m.g)), word_mulhi(r, m.r));
}

void rgb_row_to_yc48_ref(YC48_PIXEL* yc48, const uint8_t* bgr, int width) {
    for (int i = 0; i < width; ++i, bgr += 3) {
        const int b = bgr[0] * 64 + 18, g = bgr[1] * 64 + 18, r = bgr[2] * 64 + 18;
        yc48[i] = {rgb_term_ref(TO_Y, b, g, r), rgb_term_ref(TO_CB, b, g, r), rgb_term_ref(TO_CR, b, g, r)};
    }
}

void yc48_row_to_rgb_ref(uint8_t* bgr, const YC48_PIXEL* yc48, int width) {
    for (int i = 0; i < width; ++i, bgr += 3) {
        const YC48_PIXEL p = yc48[i];
        const int t = word_add(word_mulhi(p.y, Y_TO_RGB), 3);
        bgr[0] = word_to8(word_add(t, word_mulhi(p.cb, CB_TO_B)) >> 2);
        bgr[1] = word_to8(word_add(word_add(t, word_mulhi(p.cb, CB_TO_G)), word_mulhi(p.cr, CR_TO_G)) >> 2);
        bgr[2] = word_to8(word_add(t, word_mulhi(p.cr, CR_TO_R)) >> 2);
    }
}

void rgb_row_to_yc48(YC48_PIXEL* yc48, const uint8_t* bgr, int width) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::rgb_to_yc48)(yc48, bgr, width);
    else
        rgb_row_to_yc48_ref(yc48, bgr, width);
}

void yc48_row_to_rgb(uint8_t* bgr, const YC48_PIXEL* yc48, int width) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::yc48_to_rgb)(bgr, yc48, width);
    else
        yc48_row_to_rgb_ref(bgr, yc48, width);
}
#endif
