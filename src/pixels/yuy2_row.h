#pragma once

#include <cstdint>

#include "pixels/frame_buffer.h"

/// One row between packed YUY2 (pairs Y0 U Y1 V) and YC48, matrix BT.601 on both sides. `pairs` counts pairs of pixels,
/// any alignment, no overlap; pairs may be 0. Exactly 2 * pairs pixels (4 * pairs bytes) are written and no others are
/// read. Going to YC48 and back gives every value of the video range as it was. The _ref forms are the definition.

/// Luma s: mulhi(s * 64, 19152) - 299. Chroma: mulhi(s * 64, 18725) - 2340. The even pixel of a pair takes the pair's
/// chroma, the odd one the mean with the next pair's, floored; in the last pair it repeats the pair's own.
void yuy2_row_to_yc48(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs);
void yuy2_row_to_yc48_ref(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs);

/// Luma: mulhi(y + 301, 14016) >> 2, chroma: mulhi(c + 2350, 14336) >> 2, the additions saturating, clamped to 8 bits.
/// Chroma is taken from the even pixel alone.
void yc48_row_to_yuy2(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs);
void yc48_row_to_yuy2_ref(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs);

/// Clamps luma to 16 .. 235 and chroma to 16 .. 240, in place.
void yuy2_row_clamp_limit(uint8_t* yuy2, int pairs);
void yuy2_row_clamp_limit_ref(uint8_t* yuy2, int pairs);
