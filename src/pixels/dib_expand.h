#pragma once

#include <cstdint>

/// Expands a device-independent bitmap to 24 bits a pixel, in the row order of the source. Output rows are
/// dib24_stride(w) bytes apart; their padding is left alone, except by the block copy of 24 bits.
///   bits  source row                      pixel
///   32    w * 4                           B, G, R, and a byte that is dropped
///   16    w * 2 up to a multiple of 4     5-5-5, each component shifted up, its low bits 0
///   8     w up to a multiple of 4         index into 256 palette entries
///   4     (w + 1) / 2, likewise           16 entries, high nibble first
///   1     (w + 7) / 8, likewise           2 entries, highest bit first
/// A palette stands before the rows: 4 bytes an entry, B, G, R and one unused. 24 and any other number of bits is one
/// block copy. dib holds palette and rows in full (the caller has checked), rgb dib24_stride(w) * h bytes; no overlap.
/// A size below 1 does nothing. Any thread.
void dib_to_rgb24(uint8_t* rgb, const uint8_t* dib, int w, int h, int bits);

/// One row of 32 bits: drops each fourth byte. Writes exactly width * 3 bytes; width may be 0.
void dib32_row_to_rgb(uint8_t* bgr, const uint8_t* bgrx, int width);
void dib32_row_to_rgb_ref(uint8_t* bgr, const uint8_t* bgrx, int width);
