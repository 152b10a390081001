#include "pixels/yc48_709_row.h"

#include "pixels/word_math.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixels/yc48_709_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixels/blocks-inl.h"

#ifndef VANTEL_YC48_709_ROW_TABLES
#define VANTEL_YC48_709_ROW_TABLES
// Factors of cb' and cr' for each output; y' counts 21845 in y and nothing in the others.
struct MATRIX_709 {
    int16_t y_cb, y_cr, cb_cb, cb_cr, cr_cb, cr_cr;
};
static constexpr int16_t Y_Y = 21845;
static constexpr MATRIX_709 FROM_709 = {2219, 4283, 21622, -2429, -1569, 21485};
static constexpr MATRIX_709 TO_709 = {-2579, -4644, 22251, 2501, 1640, 22397};

static void matrix_row_ref(YC48_PIXEL* out, const YC48_PIXEL* in, int width, const MATRIX_709& m) {
    const auto scale = [](int c) {
        const int twice = word_add(c, c);
        return word_add(word_add(twice, twice), word_add(twice, 3));
    };
    const auto sum = [](int y, int cb, int cr) { return int16_t(word_add(word_add(word_add(y, 1), cb), cr) >> 1); };
    for (int i = 0; i < width; ++i) {
        const int y = scale(in[i].y), cb = scale(in[i].cb), cr = scale(in[i].cr);
        out[i] = {sum(word_mulhi(y, Y_Y), word_mulhi(cb, m.y_cb), word_mulhi(cr, m.y_cr)),
                  sum(0, word_mulhi(cb, m.cb_cb), word_mulhi(cr, m.cb_cr)),
                  sum(0, word_mulhi(cb, m.cr_cb), word_mulhi(cr, m.cr_cr))};
    }
}
#endif

HWY_BEFORE_NAMESPACE();
namespace pixels {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static void matrix_row(YC48_PIXEL* out, const YC48_PIXEL* in, int width, const MATRIX_709& m) {
    matrix_row_ref(out, in, width, m);
}
#else
// Products are at most 32768 * 22397 / 65536 and sums stay under 14600: only the scaling of the inputs can saturate.
static void matrix_row(YC48_PIXEL* out, const YC48_PIXEL* in, int width, const MATRIX_709& m) {
    const D16 d;
    const V16 one = hn::Set(d, 1), three = hn::Set(d, 3), y_y = hn::Set(d, Y_Y);
    const V16 y_cb = hn::Set(d, m.y_cb), y_cr = hn::Set(d, m.y_cr), cb_cb = hn::Set(d, m.cb_cb);
    const V16 cb_cr = hn::Set(d, m.cb_cr), cr_cb = hn::Set(d, m.cr_cb), cr_cr = hn::Set(d, m.cr_cr);
    const auto scale = [&](V16 c) HWY_ATTR {
        const V16 twice = hn::SaturatedAdd(c, c);
        return hn::SaturatedAdd(hn::SaturatedAdd(twice, twice), hn::SaturatedAdd(twice, three));
    };
    const auto body = [&](size_t i) HWY_ATTR {
        V16 y, cb, cr;
        load_yc48(&in[i].y, y, cb, cr);
        y = scale(y);
        cb = scale(cb);
        cr = scale(cr);
        const V16 luma = hn::Add(hn::MulHigh(y, y_y), one);
        const V16 out_y = hn::Add(luma, hn::Add(hn::MulHigh(cb, y_cb), hn::MulHigh(cr, y_cr)));
        const V16 out_cb = hn::Add(one, hn::Add(hn::MulHigh(cb, cb_cb), hn::MulHigh(cr, cb_cr)));
        const V16 out_cr = hn::Add(one, hn::Add(hn::MulHigh(cb, cr_cb), hn::MulHigh(cr, cr_cr)));
        store_yc48(hn::ShiftRight<1>(out_y), hn::ShiftRight<1>(out_cb), hn::ShiftRight<1>(out_cr), &out[i].y);
    };
    const int done = int(for_each_step(size_t(width), STEP, body));
    matrix_row_ref(out + done, in + done, width - done, m);
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace pixels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixels {
HWY_EXPORT(matrix_row);
}  // namespace pixels

static void matrix_row_front(YC48_PIXEL* out, const YC48_PIXEL* in, int width, const MATRIX_709& m) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::matrix_row)(out, in, width, m);
    else
        matrix_row_ref(out, in, width, m);
}

void yc48_709_row_to_yc48(YC48_PIXEL* inside, const YC48_PIXEL* outside, int width) {
    matrix_row_front(inside, outside, width, FROM_709);
}

void yc48_709_row_to_yc48_ref(YC48_PIXEL* inside, const YC48_PIXEL* outside, int width) {
    matrix_row_ref(inside, outside, width, FROM_709);
}

void yc48_row_to_yc48_709(YC48_PIXEL* outside, const YC48_PIXEL* inside, int width) {
    matrix_row_front(outside, inside, width, TO_709);
}

void yc48_row_to_yc48_709_ref(YC48_PIXEL* outside, const YC48_PIXEL* inside, int width) {
    matrix_row_ref(outside, inside, width, TO_709);
}
#endif
