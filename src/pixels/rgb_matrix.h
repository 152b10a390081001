#pragma once

#include "pixels/word_math.h"

/// The matrices between RGB and luma with colour differences (BT.601), shared by the row conversions and by filters
/// that work on RGB. Factors are those of mulhi, so a scale of 65536 is 1. Vector twins are in rgb_matrix-inl.h.

struct RGB_TERM {
    int b, g, r, add;
};

// RGB to YC48. Bytes are multiplied by 64 first.
inline constexpr RGB_TERM RGB_TO_Y = {1875, 9655, 4918, -3};
inline constexpr RGB_TERM RGB_TO_CB = {8224, -5449, -2775, 1};
inline constexpr RGB_TERM RGB_TO_CR = {-1337, -6887, 8224, 1};
// YC48 to RGB. A quarter of the sums are bytes.
inline constexpr int Y_TO_RGB = 16320, CB_TO_B = 28919, CB_TO_G = -5616, CR_TO_G = -11655, CR_TO_R = 22881;
inline constexpr int YC48_TO_RGB_ADD = 3;

// RGB to the samples of YUY2. Bytes are multiplied by 128 first, and a sixteenth of the sums are samples.
inline constexpr RGB_TERM RGB_TO_LUMA = {802, 4130, 2104, 264};
inline constexpr RGB_TERM RGB_TO_U = {3598, -2384, -1214, 2056};
inline constexpr RGB_TERM RGB_TO_V = {-585, -3013, 3598, 2056};
// Samples of YUY2 to RGB.
inline constexpr int LUMA_TO_RGB = 9539, U_TO_B = 16525, U_TO_G = -3209, V_TO_G = -6660, V_TO_R = 13075;

/// One component of YC48: mulhi(b, m.b) + m.add + mulhi(g, m.g) + mulhi(r, m.r), saturating in this order.
constexpr int16_t rgb_term(const RGB_TERM& m, int b, int g, int r) {
    return word_add(word_add(word_add(word_mulhi(b, m.b), m.add), word_mulhi(g, m.g)), word_mulhi(r, m.r));
}

struct RGB_WORDS {
    int16_t b, g, r;
};
/// The sums of YC48 to RGB: mulhi(y, ..) + 3 + mulhi(cb, ..) + mulhi(cr, ..), saturating in this order.
constexpr RGB_WORDS yc48_to_rgb_words(int y, int cb, int cr) {
    const int t = word_add(word_mulhi(y, Y_TO_RGB), YC48_TO_RGB_ADD);
    return {word_add(t, word_mulhi(cb, CB_TO_B)),
            word_add(word_add(t, word_mulhi(cb, CB_TO_G)), word_mulhi(cr, CR_TO_G)),
            word_add(t, word_mulhi(cr, CR_TO_R))};
}
