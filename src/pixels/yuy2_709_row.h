#pragma once

#include <cstdint>

#include "pixels/frame_buffer.h"

/// One row between packed YUY2 of matrix BT.709 and YC48 (BT.601 inside). `pairs` counts pairs of pixels, any
/// alignment, no overlap; pairs may be 0. Exactly 2 * pairs pixels are read and written. The _ref forms are the
/// definition.

/// With y' = Y * 64 - 1022 and u', v' = U, V * 64 - 8192:
///   y  = mulhi(y', 19152) + mulhi(u', 1902) + mulhi(v', 3672)
///   cb = mulhi(u', 18534) + mulhi(v', -2082)
///   cr = mulhi(u', -1345) + mulhi(v', 18416)
/// The odd pixel's chroma is the mean with the next pair's, floored; in the last pair it repeats the pair's own.
void yuy2_709_row_to_yc48(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs);
void yuy2_709_row_to_yc48_ref(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs);

/// With cb, cr of the pair's even pixel, each shifted right by 2 and clamped to 8 bits:
///   Y = mulhi(y, 14016) + mulhi(cb, -1655) + mulhi(cr, -2980) + 67
///   U = mulhi(cb, 14602) + mulhi(cr, 1642) + 514
///   V = mulhi(cb, 1076) + mulhi(cr, 14699) + 514
void yc48_row_to_yuy2_709(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs);
void yc48_row_to_yuy2_709_ref(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs);
