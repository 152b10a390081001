// The matrices of rgb_matrix.h between RGB and YC48 for vectors of one component each. Included once for each Highway
// target, behind pixels/blocks-inl.h; has nothing for HWY_SCALAR.

#if defined(VANTEL_PIXELS_RGB_MATRIX_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VANTEL_PIXELS_RGB_MATRIX_INL_H
#undef VANTEL_PIXELS_RGB_MATRIX_INL_H
#else
#define VANTEL_PIXELS_RGB_MATRIX_INL_H
#endif

#include "pixels/rgb_matrix.h"

HWY_BEFORE_NAMESPACE();
namespace pixels {
namespace HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR
struct TERM_TABLES {
    WORD_TABLE b, g, r, add;
};
constexpr TERM_TABLES term_tables(const RGB_TERM& m) {
    return {word_table(m.b), word_table(m.g), word_table(m.r), word_table(m.add)};
}

struct RGB_TO_YC48_TABLES {
    TERM_TABLES y, cb, cr;
};
inline constexpr RGB_TO_YC48_TABLES RGB_TO_YC48 = {term_tables(RGB_TO_Y), term_tables(RGB_TO_CB),
                                                   term_tables(RGB_TO_CR)};

/// rgb_term. No sum of these matrices can reach the limits of a word, whatever b, g and r, so the order does not
/// matter.
HWY_INLINE V16 rgb_term(V16 b, V16 g, V16 r, const TERM_TABLES& m) {
    const V16 part = hn::Add(hn::MulHigh(b, words(m.b)), words(m.add));
    return hn::Add(part, hn::Add(hn::MulHigh(g, words(m.g)), hn::MulHigh(r, words(m.r))));
}

struct YC48_TO_RGB_TABLES {
    WORD_TABLE y, add, cb_b, cb_g, cr_g, cr_r;
};
inline constexpr YC48_TO_RGB_TABLES YC48_TO_RGB = {word_table(Y_TO_RGB), word_table(YC48_TO_RGB_ADD),
                                                   word_table(CB_TO_B),  word_table(CB_TO_G),
                                                   word_table(CR_TO_G),  word_table(CR_TO_R)};

/// yc48_to_rgb_words. |luma| <= 8163 and the other terms stay under 14461 in sum: no saturation.
HWY_INLINE void yc48_to_rgb_words(V16 y, V16 cb, V16 cr, const YC48_TO_RGB_TABLES& t, V16& b, V16& g, V16& r) {
    const V16 luma = hn::Add(hn::MulHigh(y, words(t.y)), words(t.add));
    b = hn::Add(luma, hn::MulHigh(cb, words(t.cb_b)));
    g = hn::Add(luma, hn::Add(hn::MulHigh(cb, words(t.cb_g)), hn::MulHigh(cr, words(t.cr_g))));
    r = hn::Add(luma, hn::MulHigh(cr, words(t.cr_r)));
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace pixels
HWY_AFTER_NAMESPACE();

#endif
