#pragma once

#include <cstddef>
#include <cstdint>

/// Row kernels of the resampler, and the positions and weights of its fractional passes. Only resample.cpp and the
/// tests of the kernels need this header. Safe on any thread.

inline constexpr int RESAMPLE_ONE = 1 << 14;    // the weights of an output position sum to this
inline constexpr int RESAMPLE_TAPS_MAX = 2048;  // output positions of one RESAMPLE_TAPS; even, so that pairs stay whole

/// A fractional pass from `from` to `to` positions: from < to < 2 * from, or to <= from < 2 * to.
struct RESAMPLE_SCALE {
    int from;
    int to;
    int step;  // (from << 14) / to enlarging, (to << 14) / from reducing, truncated
    int last;  // highest source position that may be read; positions past it repeat it
};
RESAMPLE_SCALE resample_scale_make(int from, int to, int last);

/// What makes up an output position: weights[k] of the source position at index + k, k 0 .. 2 (enlarging: 0 .. 1, the
/// third weight is 0). weights[3] is 0.
struct RESAMPLE_TAP {
    int index;
    int16_t weights[4];
};

/// The tap of output position j, j at least 0. The definition is a running sum: enlarging, pos grows by step and each
/// full ONE moves on by a source position, weights ONE - pos and pos. Reducing, a source position is a cell of width
/// step and an output position a span of width ONE; pos is the span's start inside its first cell. So
/// index * ONE + pos = j * step, or index * step + pos = j * ONE, and any position can be had by itself.
RESAMPLE_TAP resample_tap(const RESAMPLE_SCALE& scale, int j);

/// The taps of output positions first .. first + count - 1 of a row. Weights lie as the vector forms multiply them: one
/// for each of the 4 words of a widened pixel. When count is odd one more tap, a copy of the last, fills the pair.
struct RESAMPLE_TAPS {
    int first;                                        // even
    int count;                                        // 1 .. RESAMPLE_TAPS_MAX; even in the 2-byte mode
    int source;                                       // the even source position from which `index` counts
    int last;                                         // highest source position, counted the same way
    bool three;                                       // false: all third weights are 0
    int index[RESAMPLE_TAPS_MAX];                     // at most 2 * RESAMPLE_TAPS_MAX
    alignas(16) int16_t near[RESAMPLE_TAPS_MAX][8];   // first weight 4 times, second weight 4 times
    alignas(16) int16_t third[RESAMPLE_TAPS_MAX][4];  // third weight
};
void resample_taps_fill(RESAMPLE_TAPS* taps, const RESAMPLE_SCALE& scale, int first, int count);

/// The kernels of one pixel size. Rows have any alignment; each kernel writes exactly the bytes told. "Sample" is a
/// word of YC48 or a byte of YUY2. In the 2-byte mode w pixels are (w + 1) / 2 pairs. Sums of YC48 saturate at 16 bits
/// after each addition, in the order written.
struct RESAMPLE_KERNELS {
    /// Width w to 2 * w: out[2i] = (c + c + c + l + 2) >> 2, out[2i + 1] = (c + c + c + r + 2) >> 2. Reads the pixels
    /// (or pairs) -1 .. w. YUY2: each luma by its luma neighbours; U and V of a pair become two, the first by the pair
    /// to the left, the second by the pair to the right. Writes 2 * w pixels. Rows do not overlap.
    void (*double_width)(uint8_t* dst, const uint8_t* src, int w);
    /// Width w to (w + 1) / 2: out = (a + b + 1) >> 1 of neighbours; dst may be src. YUY2: of two pairs each gives one
    /// luma, the mean of its two, and the new chroma is the mean of the pairs' chroma; a missing second pair repeats
    /// the first. YC48 asks for an even w.
    void (*halve_width)(uint8_t* dst, const uint8_t* src, int w);
    /// The output positions of `taps`; dst and src are the starts of whole rows, which do not overlap. YC48: the sum of
    /// mulhi16(s * 4 + 2, weight). YUY2: luma (sum of mulhi16(s << 5, weight) + 4) >> 3; chroma (sum over both
    /// positions of the pair of mulhi16(s << 4, weight) + 4) >> 3, s from the pair of each source pixel; cut to 8 bits.
    void (*fraction_width)(uint8_t* dst, const uint8_t* src, const RESAMPLE_TAPS* taps);
    /// dst = (c + c + c + side + 2) >> 2 for `bytes` bytes of samples.
    void (*lean)(uint8_t* dst, const uint8_t* c, const uint8_t* side, size_t bytes);
    /// dst = (a + b + 1) >> 1 for `bytes` bytes of samples; dst may be a or b.
    void (*mean)(uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t bytes);
    /// The vertical fractional pass: YC48 the sum of mulhi16(s * 4 + 2, weight) over three rows; YUY2 the sum of
    /// mulhi16(s << 4, weight), + 2, >> 2, cut to 8 bits. Rows do not overlap dst.
    void (*blend)(uint8_t* dst, const uint8_t* const rows[3], const int16_t weights[4], size_t bytes);
};

/// The kernels for a pixel size, 6 or 2: the vector forms with simd_enabled, else the definitions.
const RESAMPLE_KERNELS* resample_kernels(int pixel_size);
/// The definitions. The vector forms give the same bytes.
const RESAMPLE_KERNELS* resample_kernels_ref(int pixel_size);
