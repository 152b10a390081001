#pragma once

#include <cstdint>

#include "filters/color_params.h"

/// Row kernels of the colour filters. Only color_frame.cpp and the tests of the kernels need this header. Safe on any
/// thread.
///
/// A unit is a pixel of YC48 or a pair of YUY2; n units are read and exactly n written, n may be 0. Any alignment,
/// words at even addresses. All words saturate: sums, differences and products by a power of two.
///
///   scale(v, gain) = mulhi(v * 4, gain)
///   bend(p, pivot) = mulhi(t, t) - 16384, t = (p - pivot) * 16: -16384 at the pivot, 0 or -1 from 2048 beside it on
///   parabola(p, pivot, k) = p + mulhi(bend(p, pivot), -k): k / 4 more at the pivot
///
/// Words are taken as they are. A byte x of YUY2 is taken in as v = x * 16 - base and out as (v + base) >> 4, cut to
/// 8 bits; base is 256 for luma and 2048 for chroma.
///
///   COLOR_BRIGHTEN  luma + brighten; for bytes without the scale above
///   COLOR_SCALE     scale(v, gain) + offset, for each component
///   COLOR_GAMMA     COLOR_SCALE, then luma becomes parabola(luma, pivot, gamma)
///   COLOR_RGB       COLOR_SCALE, and from there for words, with the sums of rgb_matrix.h:
///                     b, g, r = yc48_to_rgb_words(y * 4, cb * 4, cr * 4)                      black 3, white 4083
///                     p = parabola(scale(r, rgb_gain) + rgb_offset, 2048, rgb_gamma)          of each
///                     rgb_term(.., b * 4, g * 4, r * 4)
///                   For bytes, with >> 16 on whole products (not of words) and the terms of rgb_matrix.h:
///                     l = y * 8 * 9539 >> 16                                                  black 0, white 4080
///                     b = l + (u * 8 * 16525 >> 16), r = l + (v * 8 * 13075 >> 16)
///                     g = l + (u * 8 * -3209 >> 16) + (v * 8 * -6660 >> 16)
///                     p = scale(r, rgb_gain) + rgb_offset                                     of each
///                     q = p * 4 + mulhi(bend(p, 2048), rgb_gamma * -4)                        white 16320
///                     (the sum of the q * 2 * factor >> 16, + 264 or 2056) >> 4, cut to 8 bits
///                   q * 2 is a byte times 128, the scale of RGB to YUY2; U and V come from the even pixel.
///
/// Widths of the bytes' way through RGB, nothing of which is cut but scale's v * 4 and bend's t: y -4313 .. 11384, u
/// and v +-7694, b, g and r -20565 .. 28776, p +-20480 fit words; q +-86016 has 18 bits, its products have 31.
using COLOR_ROW = void (*)(uint8_t* dst, const uint8_t* src, int n, const COLOR_PARAMS* params);

struct COLOR_KERNELS {
    /// By COLOR_CASE, which is params->kind. dst is src, or the two do not overlap; COLOR_RGB wants them apart.
    COLOR_ROW row[COLOR_NOTHING];
};

/// The kernels for a pixel size, 6 or 2: the vector forms with simd_enabled, else the definitions.
const COLOR_KERNELS* color_kernels(int pixel_size);
/// The definitions. The vector forms give the same bytes.
const COLOR_KERNELS* color_kernels_ref(int pixel_size);
