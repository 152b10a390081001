#pragma once

#include <utility>

#include "pixels/frame_buffer.h"
#include "vantel_filter.h"

/// What the filters that change the size of the picture share.

inline constexpr int GEOMETRY_SIZE_MIN = 32;  // the smallest side that they make by themselves

inline bool geometry_is_yuy2() { return frame_geometry.pixel_size == PIXEL_SIZE_YUY2; }
/// In the 2-byte mode places and widths begin at whole pairs: the next lower even number, for negative ones too.
inline int geometry_even(int x) { return geometry_is_yuy2() ? x & ~1 : x; }

inline uint8_t* geometry_image(const FILTER_PROC_PARAM* param) { return reinterpret_cast<uint8_t*>(param->image); }
inline uint8_t* geometry_scratch(const FILTER_PROC_PARAM* param) { return reinterpret_cast<uint8_t*>(param->scratch); }
inline void geometry_swap(FILTER_PROC_PARAM* param) { std::swap(param->image, param->scratch); }

/// The pixel at column x of row y, both within the picture and its margin.
inline uint8_t* geometry_at(uint8_t* image, int x, int y) {
    return image + ptrdiff_t{y} * frame_geometry.stride + ptrdiff_t{x} * frame_geometry.pixel_size;
}

/// Whether the picture is one that a FRAME_BUFFER can hold. All arithmetic of the filters relies on that.
inline bool geometry_possible(const FILTER_PROC_PARAM* param) {
    return param->width > 0 && param->height > 0 && param->width <= frame_geometry.max_width &&
           param->height <= frame_geometry.max_height;
}
