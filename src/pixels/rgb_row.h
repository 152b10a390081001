#pragma once

#include <cstdint>

#include "pixels/frame_buffer.h"

/// One row between 24-bit RGB (bytes B, G, R) and YC48. width pixels, any alignment, no overlap; width may be 0.
/// Exactly width pixels are written. Going there and back gives every RGB triple as it was. The _ref forms are the
/// definition.

/// With v' = v * 64 + 18 for each byte:
///   y  = mulhi(b',  1875) - 3 + mulhi(g',  9655) + mulhi(r',  4918)
///   cb = mulhi(b',  8224) + 1 + mulhi(g', -5449) + mulhi(r', -2775)
///   cr = mulhi(b', -1337) + 1 + mulhi(g', -6887) + mulhi(r',  8224)
/// Black gives (0, 0, 0), white (4096, 0, 0).
void rgb_row_to_yc48(YC48_PIXEL* yc48, const uint8_t* bgr, int width);
void rgb_row_to_yc48_ref(YC48_PIXEL* yc48, const uint8_t* bgr, int width);

/// With t = mulhi(y, 16320) + 3, each sum shifted right by 2 and clamped to 8 bits:
///   b = t + mulhi(cb, 28919)
///   g = t + mulhi(cb, -5616) + mulhi(cr, -11655)
///   r = t + mulhi(cr, 22881)
void yc48_row_to_rgb(uint8_t* bgr, const YC48_PIXEL* yc48, int width);
void yc48_row_to_rgb_ref(uint8_t* bgr, const YC48_PIXEL* yc48, int width);
