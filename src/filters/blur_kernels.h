#pragma once

#include <cstddef>
#include <cstdint>

/// Row kernels of blur and sharpening. Only blur.cpp, the tests and the benchmark of the kernels need this header. Safe
/// on any thread.

struct BLUR_STEP {
    int16_t low[2];   // L and H of even and of odd samples: luma and chroma of YUY2; the same twice for YC48
    int16_t high[2];  // 0 .. 4096, L not above H
    int16_t weight;   // of four times the difference, in 65536ths
};

/// Moves each sample c towards the mean m of its window (window_taps.h) or, sharpening, away from it. With d = m - c,
/// a = d < 0 ? ~d : d, b = max(min(a, H) - L, 0), k = d < 0 ? ~b : b the result is c + mulhi16(k * 4, weight), or c -
/// that. A negative difference that is below the band so still counts -1. Differences, sums and result saturate; the
/// result for bytes is taken to 8 bits.
///
/// The mean of words is that of the sums of the window's groups, saturating in the order of WINDOW_TAPS, each shifted,
/// together, scaled; the mean of bytes is one sum, plus half the number of neighbours, shifted or scaled.
///
/// Writes exactly `bytes` bytes at dst, words of YC48 or bytes of YUY2; `bytes` is even and may be 0. rows are as in
/// window_frame.h, dst overlaps none of them. Any alignment (words at even addresses).
using BLUR_ROW = void (*)(uint8_t* dst, const uint8_t* const* rows, size_t bytes, const BLUR_STEP& step);

/// The kernel for a pixel size (6 or 2) and radius (0 .. 3): the vector form with simd_enabled, else the definition.
BLUR_ROW blur_kernel(int pixel_size, int radius, bool sharpen);
/// The definition. The vector forms give the same bytes.
BLUR_ROW blur_kernel_ref(int pixel_size, int radius, bool sharpen);

/// How sums become means, by radius. A scale is in 65536ths, 0 for none.
struct BLUR_MEAN {
    int group_shift, group_scale;  // of words
    int shift, scale;              // of bytes
};
inline constexpr BLUR_MEAN BLUR_MEANS[] = {{2, 0, 2, 0}, {3, 0, 3, 0}, {2, 13107, 0, 3276}, {3, 14563, 0, 1820}};
