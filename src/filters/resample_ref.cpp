#include "filters/resample_ref.h"

#include <algorithm>

#include "pixels/frame_buffer.h"
#include "pixels/word_math.h"

static int16_t* words(uint8_t* row) { return reinterpret_cast<int16_t*>(row); }
static const int16_t* words(const uint8_t* row) { return reinterpret_cast<const int16_t*>(row); }

/// (c + c + c + side + 2) >> 2
static int16_t lean_word(int16_t c, int16_t side) {
    return int16_t(word_add(word_add(word_add(word_add(c, c), c), side), 2) >> 2);
}
static uint8_t lean_byte(int c, int side) { return uint8_t((3 * c + side + 2) >> 2); }

/// (a + b + 1) >> 1
static int16_t mean_word(int16_t a, int16_t b) { return int16_t(word_add(word_add(a, b), 1) >> 1); }
static uint8_t mean_byte(int a, int b) { return uint8_t((a + b + 1) >> 1); }

/// A sample of YC48 as the fractional passes multiply it.
static int16_t widen_word(int16_t s) { return word_add(word_saturate(4 * s), 2); }

void resample_double_width_yc48_ref(uint8_t* dst, const uint8_t* src, int i, int w) {
    const int16_t* in = words(src);
    int16_t* out = words(dst);
    for (; i < w; ++i) {
        for (int k = 0; k < 3; ++k) {
            const int16_t* c = in + 3 * i + k;
            out[6 * i + k] = lean_word(c[0], c[-3]);
            out[6 * i + k + 3] = lean_word(c[0], c[3]);
        }
    }
}

static void double_pair_left(uint8_t* out, const uint8_t* c) {
    out[0] = lean_byte(c[0], c[-2]);
    out[1] = lean_byte(c[1], c[-3]);
    out[2] = lean_byte(c[0], c[2]);
    out[3] = lean_byte(c[3], c[-1]);
}

static void double_pair_right(uint8_t* out, const uint8_t* c) {
    out[0] = lean_byte(c[2], c[0]);
    out[1] = lean_byte(c[1], c[5]);
    out[2] = lean_byte(c[2], c[4]);
    out[3] = lean_byte(c[3], c[7]);
}

void resample_double_width_yuy2_ref(uint8_t* dst, const uint8_t* src, int i, int w) {
    for (; i < (w + 1) / 2; ++i) {
        double_pair_left(dst + 8 * i, src + 4 * i);
        if (2 * i + 1 < w) double_pair_right(dst + 8 * i + 4, src + 4 * i);  // w pairs come out of (w + 1) / 2
    }
}

void resample_halve_width_yc48_ref(uint8_t* dst, const uint8_t* src, int i, int w) {
    for (; i < w / 2; ++i) {
        const int16_t* in = words(src) + 6 * i;
        for (int k = 0; k < 3; ++k) words(dst)[3 * i + k] = mean_word(in[k], in[k + 3]);
    }
}

void resample_halve_width_yuy2_ref(uint8_t* dst, const uint8_t* src, int i, int w) {
    const int pairs = (w + 1) / 2;
    for (; i < (pairs + 1) / 2; ++i) {
        const uint8_t* a = src + 8 * i;
        const uint8_t* b = 2 * i + 1 < pairs ? a + 4 : a;
        const uint8_t pair[4] = {mean_byte(a[0], a[2]), mean_byte(a[1], b[1]), mean_byte(b[0], b[2]),
                                 mean_byte(a[3], b[3])};
        std::copy_n(pair, 4, dst + 4 * i);  // only now: dst may be src
    }
}

/// The source position that term k of tap i reads, and its weight.
static int term_position(const RESAMPLE_TAPS* taps, int i, int k) {
    return taps->source + std::min(taps->index[i] + k, taps->last);
}
static int16_t term_weight(const RESAMPLE_TAPS* taps, int i, int k) {
    return k == 2 ? taps->third[i][0] : taps->near[i][4 * k];
}

static void fraction_width_yc48(uint8_t* dst, const uint8_t* src, const RESAMPLE_TAPS* taps) {
    for (int i = 0; i < taps->count; ++i) {
        for (int c = 0; c < 3; ++c) {
            int16_t sum = 0;
            for (int k = 0; k < 3; ++k) {
                const int16_t s = words(src)[3 * term_position(taps, i, k) + c];
                sum = word_add(sum, word_mulhi(widen_word(s), term_weight(taps, i, k)));
            }
            words(dst)[3 * (taps->first + i) + c] = sum;
        }
    }
}

/// A tap's luma, U and V; chroma comes from the pair of each source pixel.
struct TAP_SUM {
    int y, u, v;
};
static TAP_SUM tap_sum_yuy2(const uint8_t* src, const RESAMPLE_TAPS* taps, int i) {
    TAP_SUM sum = {};
    for (int k = 0; k < 3; ++k) {
        const int position = term_position(taps, i, k);
        const uint8_t* pair = src + 4 * (position / 2);
        sum.y += word_mulhi(src[2 * position] << 5, term_weight(taps, i, k));
        sum.u += word_mulhi(pair[1] << 4, term_weight(taps, i, k));
        sum.v += word_mulhi(pair[3] << 4, term_weight(taps, i, k));
    }
    return sum;
}

static void fraction_width_yuy2(uint8_t* dst, const uint8_t* src, const RESAMPLE_TAPS* taps) {
    for (int i = 0; i < taps->count; i += 2) {
        const TAP_SUM even = tap_sum_yuy2(src, taps, i);
        const TAP_SUM odd = tap_sum_yuy2(src, taps, i + 1);
        uint8_t* pair = dst + 2 * (taps->first + i);
        pair[0] = word_to8((even.y + 4) >> 3);
        pair[1] = word_to8((even.u + odd.u + 4) >> 3);
        pair[2] = word_to8((odd.y + 4) >> 3);
        pair[3] = word_to8((even.v + odd.v + 4) >> 3);
    }
}

void resample_lean_yc48_ref(uint8_t* dst, const uint8_t* c, const uint8_t* side, size_t i, size_t bytes) {
    for (i /= 2; i < bytes / 2; ++i) words(dst)[i] = lean_word(words(c)[i], words(side)[i]);
}

void resample_lean_yuy2_ref(uint8_t* dst, const uint8_t* c, const uint8_t* side, size_t i, size_t bytes) {
    for (; i < bytes; ++i) dst[i] = lean_byte(c[i], side[i]);
}

void resample_mean_yc48_ref(uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t i, size_t bytes) {
    for (i /= 2; i < bytes / 2; ++i) words(dst)[i] = mean_word(words(a)[i], words(b)[i]);
}

void resample_mean_yuy2_ref(uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t i, size_t bytes) {
    for (; i < bytes; ++i) dst[i] = mean_byte(a[i], b[i]);
}

void resample_blend_yc48_ref(uint8_t* dst, const uint8_t* const rows[3], const int16_t weights[4], size_t i,
                             size_t bytes) {
    for (i /= 2; i < bytes / 2; ++i) {
        int16_t sum = 0;
        for (int k = 0; k < 3; ++k) sum = word_add(sum, word_mulhi(widen_word(words(rows[k])[i]), weights[k]));
        words(dst)[i] = sum;
    }
}

void resample_blend_yuy2_ref(uint8_t* dst, const uint8_t* const rows[3], const int16_t weights[4], size_t i,
                             size_t bytes) {
    for (; i < bytes; ++i) {
        int sum = 2;
        for (int k = 0; k < 3; ++k) sum += word_mulhi(int16_t(rows[k][i] << 4), weights[k]);
        dst[i] = word_to8(sum >> 2);
    }
}

/// The whole row is what starts at 0.
template <auto KERNEL>
static void whole(uint8_t* dst, const uint8_t* src, int w) {
    KERNEL(dst, src, 0, w);
}
template <auto KERNEL>
static void whole_rows(uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t bytes) {
    KERNEL(dst, a, b, 0, bytes);
}
template <auto KERNEL>
static void whole_blend(uint8_t* dst, const uint8_t* const rows[3], const int16_t weights[4], size_t bytes) {
    KERNEL(dst, rows, weights, 0, bytes);
}

static constexpr RESAMPLE_KERNELS KERNELS_YC48 = {
    whole<resample_double_width_yc48_ref>, whole<resample_halve_width_yc48_ref>, fraction_width_yc48,
    whole_rows<resample_lean_yc48_ref>,    whole_rows<resample_mean_yc48_ref>,   whole_blend<resample_blend_yc48_ref>,
};
static constexpr RESAMPLE_KERNELS KERNELS_YUY2 = {
    whole<resample_double_width_yuy2_ref>, whole<resample_halve_width_yuy2_ref>, fraction_width_yuy2,
    whole_rows<resample_lean_yuy2_ref>,    whole_rows<resample_mean_yuy2_ref>,   whole_blend<resample_blend_yuy2_ref>,
};

const RESAMPLE_KERNELS* resample_kernels_ref(int pixel_size) {
    return pixel_size == PIXEL_SIZE_YUY2 ? &KERNELS_YUY2 : &KERNELS_YC48;
}
