#pragma once

#include <cstdint>

/// One row between 24-bit RGB (bytes B, G, R) and packed YUY2 (Y0 U Y1 V), used when frames are stored in 2 bytes a
/// pixel. width pixels, any alignment, no overlap; width may be 0. A YUY2 row holds (width + 1) / 2 whole pairs.
/// The _ref forms are the definition.

/// With v' = v * 128 for each byte, each sum shifted right by 4 and clamped to 8 bits:
///   Y = mulhi(b',  802) + mulhi(g',  4130) + mulhi(r',  2104) +  264
///   U = mulhi(b', 3598) + mulhi(g', -2384) + mulhi(r', -1214) + 2056
///   V = mulhi(b', -585) + mulhi(g', -3013) + mulhi(r',  3598) + 2056
/// U and V come from the pair's even pixel. The pair that an odd width leaves incomplete repeats its luma.
void rgb_row_to_yuy2(uint8_t* yuy2, const uint8_t* bgr, int width);
void rgb_row_to_yuy2_ref(uint8_t* yuy2, const uint8_t* bgr, int width);

/// With y = 2 * (Y * 16 - 246), u = 2 * (U * 16 - 2048), v = 2 * (V * 16 - 2044), each sum shifted right by 2 and
/// clamped to 8 bits (the two chroma offsets do differ):
///   b = mulhi(u, 16525) + mulhi(y, 9539)
///   g = mulhi(u, -3209) + mulhi(v, -6660) + mulhi(y, 9539)
///   r = mulhi(v, 13075) + mulhi(y, 9539)
/// Writes exactly width * 3 bytes.
void yuy2_row_to_rgb(uint8_t* bgr, const uint8_t* yuy2, int width);
void yuy2_row_to_rgb_ref(uint8_t* bgr, const uint8_t* yuy2, int width);
