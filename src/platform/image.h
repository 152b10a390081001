#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// Still pictures in JPEG and PNG, told apart by their first bytes. The bytes are foreign: sizes are held to
/// IMAGE_SIDE_MAX and IMAGE_PIXELS_MAX and to what so many bytes can pack at all, before anything is allocated; the
/// scans of a JPEG are counted. Nothing throws or prints. Any thread.
///
/// A picture comes out as rows of B, G, R, A, the lowest row first, without gaps. PNG: samples of 16 bits are rounded
/// to 8; grey and palette become colours; the alpha of the file (its own channel or tRNS) is given as it is, not
/// multiplied into the colours, and is 255 where there is none. JPEG: alpha 255; CMYK and YCCK are turned to RGB
/// without a profile, inverted values where an Adobe marker says so. Orientation, gamma and colour profiles do nothing.

inline constexpr int32_t IMAGE_SIDE_MAX = 65500;
inline constexpr int64_t IMAGE_PIXELS_MAX = int64_t{1} << 28;  // so that the bytes of a picture stay an int
inline constexpr size_t IMAGE_FILE_MAX = size_t{512} << 20;

/// The size that a picture's header tells, without decoding it. False: no JPEG or PNG, or past the limits.
bool image_size(std::span<const uint8_t> file, int32_t* width, int32_t* height);

enum IMAGE_RESULT : int {
    IMAGE_FAILED = 0,    // the buffer is as it was
    IMAGE_WHOLE = 1,     // width * height * 4 bytes are written
    IMAGE_DAMAGED = -1,  // the same, but the file breaks off: rows that it lost are made up or 0
};

/// Decodes into width * height * 4 bytes. Of a larger picture the part at the top left is given; one that is smaller in
/// a direction fails.
IMAGE_RESULT image_read(std::span<const uint8_t> file, int32_t width, int32_t height, uint8_t* bgra);

/// The same for a file of at most IMAGE_FILE_MAX bytes. path: code page 932.
bool image_file_size(const char* path, int32_t* width, int32_t* height);
IMAGE_RESULT image_file_read(const char* path, int32_t width, int32_t height, uint8_t* bgra);
