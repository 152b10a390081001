#pragma once

#include <cstddef>
#include <cstdint>

/// Smoothing along time: the picture kernel of the temporal noise filter and its row kernels. Safe on any thread, but
/// for noise_time_picture.
///
/// A sample is a word of YC48 or a byte of YUY2. The cross sum S of a sample is left + right + above + below of the
/// same component, in this order; left and right are a pixel of YC48 or a pair of YUY2 away. For a sample c and the
/// samples v at the same place of the other pictures, |x| being x < 0 ? ~x : x:
///   penalty = max(|v - c| - T, 0) + max(|Sv - Sc| - T, 0)
///   k = max(|v - c| - 2 * penalty, 0), complemented (~) where v < c
///   result = c + mulhi16(round + the sum of all k, weight), for bytes taken to 8 bits; round is 0 for words, the
///   radius for bytes.
/// Words: every sum, difference and doubling saturates. Bytes come nowhere near the limits of a word.

inline constexpr int NOISE_TIME_RADIUS_MAX = 3;

struct NOISE_TIME_LEVELS {
    int16_t threshold[2];  // T of luma and of chroma, 0 .. 2048; for bytes at most 112
    int16_t weight;        // 0 .. 21845; 65536 for a full step, shared by the 2 * radius + 1 pictures
};

/// The levels of a pixel size (6 or 2) and a radius (1 .. 3). strength and threshold: 0 .. 256.
NOISE_TIME_LEVELS noise_time_levels(int pixel_size, int radius, int strength, int threshold);

/// Smooths a picture of w x h pixels (both at least 1) out of the 2 * radius + 1 pictures around it in time:
/// frames[radius] is the one to smooth. All of them have rows `stride` bytes apart, words at even addresses, and a
/// margin of a pixel (YUY2: a pair) around the picture that is read as if it belonged to it. `image` is another
/// picture, an image origin of frame_geometry, whose pixel size holds for all; w x h pixels of it are written, in the
/// 2-byte mode whole pairs. Allocates nothing. Bands go to the worker pool: only the thread that drives rendering.
void noise_time_picture(uint8_t* image, const uint8_t* const* frames, ptrdiff_t stride, int w, int h, int radius,
                        const NOISE_TIME_LEVELS& levels);

// ---- row kernels

/// Every other picture is reached from the current one by one difference of addresses.
struct NOISE_TIME_JOB {
    ptrdiff_t others[2 * NOISE_TIME_RADIUS_MAX];  // in order of time
    ptrdiff_t stride;
    NOISE_TIME_LEVELS levels;
};

/// One row, or a part of it that starts at a luma sample: writes exactly `bytes` bytes of dst, which overlaps no
/// source. Any alignment (words at even addresses); bytes is even and may be 0.
using NOISE_TIME_ROW = void (*)(uint8_t* dst, const uint8_t* cur, const NOISE_TIME_JOB* job, size_t bytes);

/// The kernel of a pixel size and a radius: the vector form with simd_enabled, else the definition.
NOISE_TIME_ROW noise_time_row(int pixel_size, int radius);
/// The definition. The vector form gives the same bytes.
NOISE_TIME_ROW noise_time_row_ref(int pixel_size, int radius);
