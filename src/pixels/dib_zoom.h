#pragma once

#include <cstdint>

/// Whole-number zooms of a part of a 24-bit DIB (bottom-up rows, dib24_stride(width) bytes apart), without any
/// filtering. The part is w x h pixels at (x, y), all inside the source; rows count as they lie in memory, so y = 0 is
/// the bottom row. Padding at the end of the destination's rows is left alone. A size below 1 does nothing. No overlap.
/// Any thread.

/// Each pixel becomes factor x factor (1 .. 4) pixels. dst: h * factor rows, dib24_stride(w * factor) bytes apart.
void dib_zoom_up(uint8_t* dst, const uint8_t* src, int x, int y, int w, int h, int src_width, int factor);

/// Keeps the first pixel (in memory) of every whole step x step block. dst: h / step rows, dib24_stride(w / step) bytes
/// apart.
void dib_zoom_down(uint8_t* dst, const uint8_t* src, int x, int y, int w, int h, int src_width, int step);
