#pragma once

#include <cstddef>
#include <cstdint>

/// Row kernels of the spatial noise filter. Only noise.cpp, the tests and the benchmark of the kernels need this
/// header. Safe on any thread.

struct NOISE_STEP {
    int16_t threshold[2];  // T of even and of odd samples: luma and chroma of YUY2; the same twice for YC48, 0 .. 1024
    int16_t weight;        // of the sum of contributions, in 65536ths
};

/// Moves each sample c towards the samples v of its window (window_taps.h). With d = v - c and a = d < 0 ? ~d : d, a
/// neighbour contributes a up to T, falling from there to 0 at 2 * T:
/// f = max(a - T, 0); g = max(a - 2 * f, 0); k = d < 0 ? ~g : g. The result is c + mulhi16(sum of all k, weight).
/// All sums and differences of words saturate, k by k in the order of WINDOW_TAPS. For bytes the sum starts at half the
/// number of neighbours and the result is taken to 8 bits.
///
/// Writes exactly `bytes` bytes at dst, words of YC48 or bytes of YUY2; `bytes` is even and may be 0. rows are as in
/// window_frame.h, dst overlaps none of them. Any alignment (words at even addresses).
using NOISE_ROW = void (*)(uint8_t* dst, const uint8_t* const* rows, size_t bytes, const NOISE_STEP& step);

/// The kernel for a pixel size (6 or 2) and radius (1 .. 3): the vector form with simd_enabled, else the definition.
NOISE_ROW noise_kernel(int pixel_size, int radius);
/// The definition. The vector forms give the same bytes.
NOISE_ROW noise_kernel_ref(int pixel_size, int radius);

/// What the sum of contributions to a byte starts with: half the number of neighbours.
constexpr int noise_start(size_t neighbours) { return int(neighbours) / 2; }
