#pragma once

#include "platform/image.h"

/// The two codecs behind platform/image.h. Both are called with data that begins with their signature.

bool image_jpeg_size(std::span<const uint8_t> file, int32_t* width, int32_t* height);
IMAGE_RESULT image_jpeg_read(std::span<const uint8_t> file, int32_t width, int32_t height, uint8_t* bgra);
bool image_png_size(std::span<const uint8_t> file, int32_t* width, int32_t* height);
IMAGE_RESULT image_png_read(std::span<const uint8_t> file, int32_t width, int32_t height, uint8_t* bgra);

inline bool image_size_allowed(uint32_t width, uint32_t height) {
    return width > 0 && height > 0 && width <= uint32_t{IMAGE_SIDE_MAX} && height <= uint32_t{IMAGE_SIDE_MAX} &&
           int64_t{width} * height <= IMAGE_PIXELS_MAX;
}

/// Row y, counted from the top, of a picture whose lowest row stands first.
inline uint8_t* image_row(uint8_t* bgra, int32_t width, int32_t height, int32_t y) {
    return bgra + size_t(width) * 4 * size_t(height - 1 - y);
}
