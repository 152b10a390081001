#include "pixels/rgb_row.h"

#include "pixels/rgb_matrix.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixels/rgb_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixels/blocks-inl.h"
#include "pixels/rgb_matrix-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixels {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static void rgb_to_yc48(YC48_PIXEL* yc48, const uint8_t* bgr, int width) { rgb_row_to_yc48_ref(yc48, bgr, width); }
static void yc48_to_rgb(uint8_t* bgr, const YC48_PIXEL* yc48, int width) { yc48_row_to_rgb_ref(bgr, yc48, width); }
#else
// (v * 256 + 72) >> 2 is v * 64 + 18.
static constexpr WORD_TABLE LOW_BYTES = word_table(72 << 8 | 72);

static void rgb_to_yc48(YC48_PIXEL* yc48, const uint8_t* bgr, int width) {
    int16_t* out = &yc48->y;
    const RGB_TO_YC48_TABLES* t = opaque(&RGB_TO_YC48);
    const WORD_TABLE* low = opaque(&LOW_BYTES);
    const hn::RebindToUnsigned<D16> du;
    const auto scale = [&](V16 v) HWY_ATTR { return hn::BitCast(D16(), hn::ShiftRight<2>(hn::BitCast(du, v))); };
    const auto body = [&](size_t i) HWY_ATTR {
        V16 b, g, r;
        load_bgr(bgr + i * 3, hn::BitCast(D8(), words(*low)), b, g, r);
        b = scale(b);
        g = scale(g);
        r = scale(r);
        store_yc48(rgb_term(b, g, r, t->y), rgb_term(b, g, r, t->cb), rgb_term(b, g, r, t->cr), out + i * 3);
    };
    const int done = int(for_each_step(size_t(width), STEP, body));
    rgb_row_to_yc48_ref(yc48 + done, bgr + done * 3, width - done);
}

static void yc48_to_rgb(uint8_t* bgr, const YC48_PIXEL* yc48, int width) {
    const int16_t* in = &yc48->y;
    const YC48_TO_RGB_TABLES* t = opaque(&YC48_TO_RGB);
    const auto body = [&](size_t i) HWY_ATTR {
        V16 y, cb, cr, b, g, r;
        load_yc48(in + i * 3, y, cb, cr);
        yc48_to_rgb_words(y, cb, cr, *t, b, g, r);
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

void rgb_row_to_yc48_ref(YC48_PIXEL* yc48, const uint8_t* bgr, int width) {
    for (int i = 0; i < width; ++i, bgr += 3) {
        const int b = bgr[0] * 64 + 18, g = bgr[1] * 64 + 18, r = bgr[2] * 64 + 18;
        yc48[i] = {rgb_term(RGB_TO_Y, b, g, r), rgb_term(RGB_TO_CB, b, g, r), rgb_term(RGB_TO_CR, b, g, r)};
    }
}

void yc48_row_to_rgb_ref(uint8_t* bgr, const YC48_PIXEL* yc48, int width) {
    for (int i = 0; i < width; ++i, bgr += 3) {
        const RGB_WORDS words = yc48_to_rgb_words(yc48[i].y, yc48[i].cb, yc48[i].cr);
        bgr[0] = word_to8(words.b >> 2);
        bgr[1] = word_to8(words.g >> 2);
        bgr[2] = word_to8(words.r >> 2);
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
