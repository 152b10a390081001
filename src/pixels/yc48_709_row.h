#pragma once

#include "pixels/frame_buffer.h"

/// One row between YC48 of matrix BT.709 (outside) and of BT.601 (inside). width pixels, any alignment, no overlap;
/// width may be 0. With c' = 6 * c + 3 of each component, computed as (4 * c) + (2 * c + 3), every step saturating,
/// each output is the sum (mulhi(y', ky) + 1 + mulhi(cb', kb) + mulhi(cr', kr)) >> 1. The _ref forms are the
/// definition.

///         ky     kb     kr
///   y   21845   2219   4283
///   cb      0  21622  -2429
///   cr      0  -1569  21485
void yc48_709_row_to_yc48(YC48_PIXEL* inside, const YC48_PIXEL* outside, int width);
void yc48_709_row_to_yc48_ref(YC48_PIXEL* inside, const YC48_PIXEL* outside, int width);

///         ky     kb     kr
///   y   21845  -2579  -4644
///   cb      0  22251   2501
///   cr      0   1640  22397
void yc48_row_to_yc48_709(YC48_PIXEL* outside, const YC48_PIXEL* inside, int width);
void yc48_row_to_yc48_709_ref(YC48_PIXEL* outside, const YC48_PIXEL* inside, int width);
