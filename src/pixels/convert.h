#pragma once

#include <cstdint>

#include "pixels/dib_expand.h"

/// Whole pictures between the frames of this run and the outside formats. `frame` is the image origin of a FRAME_BUFFER
/// (rows frame_geometry.stride apart); w and h are in pixels, inside the frame's maximum; a size below 1 does nothing.
/// Outside pictures never overlap the frame; bytes have any alignment, the words of YC48 stand at even addresses:
///   RGB    24-bit DIB, bottom-up rows of B, G, R, dib24_stride(w) apart
///   YUY2   top-down pairs Y0 U Y1 V, yuy2_stride(w) apart
///   YC48   top-down, yc48_stride(w) apart where it is copied as it stands, w * 6 in the BT.709 pair
/// Exactly the bytes of a row are written, never its padding. With an odd w a YUY2 row still ends in a whole pair: its
/// second pixel is written to, or its luma read from, the first pixel of the frame's right margin.
///
/// Pictures of 32 rows or more are done in bands on the worker pool: call these only from the thread that drives
/// rendering, never from a worker. The arithmetic stands with the row kernels (rgb_row.h, yuy2_row.h, ...). No errors.

/// Row stride of an outside YC48 picture that is copied.
constexpr int yc48_stride(int width) { return (width * 6 + 3) / 4 * 4; }

/// Whether frame_to_yuy2 and frame_to_yuy2_709 end with yuy2_clamp_limit (key `yuy2limit`). Written by start-up and the
/// settings on the main thread, between conversions.
extern bool yuy2_limit;

// Both pixel sizes: to and from YC48 frames, or directly between RGB and YUY2 in the 2-byte mode.
void rgb24_to_frame(uint8_t* frame, const uint8_t* dib, int w, int h);
void frame_to_rgb24(uint8_t* dib, const uint8_t* frame, int w, int h);
// Both pixel sizes: in the 2-byte mode a plain copy of rows.
void yuy2_to_frame(uint8_t* frame, const uint8_t* yuy2, int w, int h);
void frame_to_yuy2(uint8_t* yuy2, const uint8_t* frame, int w, int h);

// YC48 frames only.
void yuy2_709_to_frame(uint8_t* frame, const uint8_t* yuy2, int w, int h);
void frame_to_yuy2_709(uint8_t* yuy2, const uint8_t* frame, int w, int h);
void yc48_709_to_frame(uint8_t* frame, const uint8_t* yc48, int w, int h);
void frame_to_yc48_709(uint8_t* yc48, const uint8_t* frame, int w, int h);
void yc48_to_frame(uint8_t* frame, const uint8_t* yc48, int w, int h);  // plain copy of rows
void frame_to_yc48(uint8_t* yc48, const uint8_t* frame, int w, int h);  // plain copy of rows

/// Clamps all pairs of an outside YUY2 picture: luma to 16 .. 235, chroma to 16 .. 240.
void yuy2_clamp_limit(uint8_t* yuy2, int w, int h);

/// One row of rgb24_to_frame and frame_to_rgb24, on the calling thread; any alignment. A width below 1 does nothing.
void row_rgb_to_frame(uint8_t* frame_row, const uint8_t* rgb_row, int w);
void row_frame_to_rgb(uint8_t* rgb_row, const uint8_t* frame_row, int w);
