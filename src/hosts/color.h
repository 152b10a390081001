#pragma once

#include <cstdint>

/// The two operations by which every picture enters and leaves the internal format. An outside RGB picture is a 24-bit
/// DIB (bottom-up, rows of dib24_stride), YUY2 is top-down with rows of yuy2_stride, YC48 top-down with rows of
/// width * 6 rounded up to 4. The code is normal: 0 for RGB, else four capital letters. Main thread.

/// Outside picture to the FRAME_BUFFER at `frame`.
void color_to_frame(uint8_t* frame, const uint8_t* pixels, int width, int height, uint32_t code);
/// FRAME_BUFFER at `frame` to an outside picture.
void color_from_frame(uint8_t* pixels, const uint8_t* frame, int width, int height, uint32_t code);

/// Bits of a pixel of an outside picture: 16 for YUY2, 48 for YC48, else 24.
int color_bits(uint32_t code);
