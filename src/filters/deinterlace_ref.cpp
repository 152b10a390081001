#include <algorithm>

#include "filters/deinterlace_kernels.h"
#include "pixels/frame_buffer.h"
#include "pixels/word_math.h"

// Bytes never reach the limits of a word, so the arithmetic of words serves both.

static int half_of(int16_t) { return 0; }
static int half_of(uint8_t) { return 1; }

/// What fits a sample of the type of `like`.
static int16_t cut(int v, int16_t) { return word_saturate(v); }
static uint8_t cut(int v, uint8_t) { return word_to8(v); }

static int magnitude(int v) { return v < 0 ? ~v : v; }

static int mean(int a, int b, int half) { return word_add(word_add(a, b), half) >> 1; }

static int comb(int r0, int r1, int r2, int r3, int r4) {
    int a = word_sub(r0, r1), b = word_sub(r1, r2), c = word_sub(r2, r3), e = word_sub(r3, r4);
    const bool rises = b < 0, rises_on = c < 0;
    if (rises) a = ~a, c = ~c;
    if (rises_on) b = ~b, e = ~e;
    return std::min(std::max(a, c), std::max(b, e));
}

static int tolerance(int t) { return t < 0 ? ~t : 0; }

static int shrink(int d, int t) {
    const int s = std::max(magnitude(d) - t, 0);
    return d < 0 ? ~s : s;
}

// Each operation gets one sample of every row.

struct MEAN {
    static constexpr int ROWS = 2;
    template <typename T>
    static T sample(const T* v) {
        return T(mean(v[0], v[1], half_of(T())));
    }
};

struct SOFTEN {
    static constexpr int ROWS = 3;
    template <typename T>
    static T sample(const T* v) {
        const int half = half_of(T());
        return T(mean(v[1], mean(v[0], v[2], half), half));
    }
};

struct ADAPTIVE {
    static constexpr int ROWS = 7;
    template <typename T>
    static T sample(const T* v) {
        const int half = half_of(T());
        const int c = v[0], u = v[1], d = v[2];
        const int m = mean(u, d, half);
        const int limit = magnitude(word_sub(c, m));
        const auto pick = [=](int x) { return magnitude(word_sub(c, x)) > limit ? m : x; };
        int sum = half * 4;
        for (int side = 3; side < ROWS; ++side) sum = word_add(sum, pick(v[side]));
        return cut(word_add(word_add(sum >> 1, pick(u)), pick(d)) >> 2, T());
    }
};

struct MOTION {
    static constexpr int ROWS = 8;
    template <typename T>
    static T sample(const T* v) {
        const int half = half_of(T());
        const T *c = v + 2, *p = v + 6;
        const int spatial = tolerance(comb(c[-2], c[-1], c[0], c[1], c[2]));
        const int temporal = tolerance(comb(p[-1], c[-1], p[0], c[1], p[1]));
        const int moved = word_saturate(std::abs(c[0] - p[0])) >> 1;
        const int a = mean(c[-1], c[1], half);
        const int d = word_sub(mean(c[0], p[0], half), a);
        return cut(a + shrink(d, std::max({spatial, temporal, moved})), T());
    }
};

struct STRIPES {
    static constexpr int ROWS = 5;
    template <typename T>
    static T sample(const T* v) {
        const int y = v[2];
        const int around = word_add(word_add(v[1], v[3]), word_add(y, y));
        const int a = word_add(around, half_of(T()) * 2) >> 2;
        const int limit = tolerance(comb(v[0], v[1], v[2], v[3], v[4]) >> 1);
        return cut(a + shrink(word_sub(y, a), limit), T());
    }
};

template <typename OPERATION, typename T>
static void row(uint8_t* dst, const uint8_t* const* rows, size_t bytes) {
    for (size_t i = 0; i < bytes / sizeof(T); ++i) {
        T samples[OPERATION::ROWS];
        for (int k = 0; k < OPERATION::ROWS; ++k) samples[k] = reinterpret_cast<const T*>(rows[k])[i];
        reinterpret_cast<T*>(dst)[i] = OPERATION::sample(samples);
    }
}

template <typename T>
static constexpr DEINTERLACE_KERNELS KERNELS = {row<MEAN, T>, row<SOFTEN, T>, row<ADAPTIVE, T>, row<MOTION, T>,
                                                row<STRIPES, T>};

const DEINTERLACE_KERNELS* deinterlace_kernels_ref(int pixel_size) {
    return pixel_size == PIXEL_SIZE_YUY2 ? &KERNELS<uint8_t> : &KERNELS<int16_t>;
}
