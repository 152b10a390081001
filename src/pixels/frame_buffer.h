#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_pixel.h"

/// The internal picture format and the geometry of the blocks that hold pictures.

// YC48_PIXEL, 6 bytes without padding, is declared in the SDK, since plug-ins work on it. The matrix of stored values
// is BT.601.
static_assert(sizeof(YC48_PIXEL) == 6);

inline constexpr int PIXEL_SIZE_YC48 = 6;
inline constexpr int PIXEL_SIZE_YUY2 = 2;  // packed Y0 U Y1 V, a pair of pixels in 4 bytes
inline constexpr int FRAME_MARGIN = 4;     // rows above and below, and at least as many pixels left and right

/// Geometry of every FRAME_BUFFER of a run. A FRAME_BUFFER is a block of block_size bytes, page-aligned and zeroed when
/// new; `image` pointers lead to pixel 0 of row 0 inside it. All rows lie `stride` bytes apart, whatever the size of
/// the picture, and every row starts on a 16-byte boundary. 4 rows above and below and 4 pixels left and right of the
/// image belong to the block; they hold no defined values until frame_pad_edges fills them.
struct FRAME_GEOMETRY {
    int pixel_size;        // 6 (YC48) or 2 (YUY2), fixed for a run
    int max_width;         // multiple of 8, at least 320
    int max_height;        // multiple of 8, at least 240
    int allocated_width;   // max_width + 8
    int allocated_height;  // max_height + 8
    int stride;            // allocated_width * pixel_size, bytes
    size_t block_size;     // allocated_width * allocated_height * pixel_size + 16
    size_t origin;         // offset of pixel 0 of row 0: (allocated_width + 1) * 4 * pixel_size + 8
};

/// Computes the geometry: sizes are rounded up to multiples of 8, then raised to 320 x 240. pixel_size 6 or 2.
FRAME_GEOMETRY frame_geometry_make(int width, int height, int pixel_size);

/// The geometry of this run: set once by start-up (or by a test) before any picture exists, read by all pixel code.
extern FRAME_GEOMETRY frame_geometry;

/// A new zeroed block; returns the image origin, null when memory is short. Freed with frame_buffer_free (null
/// allowed), under the same geometry. Builds with assertions put a guard zone on both sides of the block.
uint8_t* frame_buffer_new();
void frame_buffer_free(uint8_t* image);
/// Whether nothing has been written outside the block of an image from frame_buffer_new, as far as the guard zones
/// (4096 bytes each) tell; always true in release builds. The geometry is still the one the block was made with.
bool frame_buffer_intact(const uint8_t* image);

/// Row stride of a 24-bit DIB (bottom-up rows of B, G, R): width * 3 rounded up to a multiple of 4.
constexpr int dib24_stride(int width) { return (width + 1) * 3 / 4 * 4; }
/// Row stride of an outside YUY2 picture (top-down).
constexpr int yuy2_stride(int width) { return (width + 1) / 2 * 4; }
