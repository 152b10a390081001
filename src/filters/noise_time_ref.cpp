#include <algorithm>

#include "filters/noise_time_kernels.h"
#include "pixels/frame_buffer.h"
#include "pixels/word_math.h"

/// What the two kinds of samples differ in.
struct WORD_SAMPLE {
    using TYPE = int16_t;
    static constexpr int SIDE = 3;  // samples to the same component of the next pixel
    static constexpr bool ROUNDS = false;
    static TYPE cut(int v) { return word_saturate(v); }
    static int threshold(const NOISE_TIME_LEVELS& levels, size_t) { return levels.threshold[0]; }
};
struct BYTE_SAMPLE {
    using TYPE = uint8_t;
    static constexpr int SIDE = 4;
    static constexpr bool ROUNDS = true;
    static TYPE cut(int v) { return word_to8(v); }
    static int threshold(const NOISE_TIME_LEVELS& levels, size_t i) { return levels.threshold[i % 2]; }
};

template <typename T>
static const T* moved(const T* p, ptrdiff_t bytes) {
    return reinterpret_cast<const T*>(reinterpret_cast<const uint8_t*>(p) + bytes);
}

template <typename SAMPLE>
static int cross_sum(const typename SAMPLE::TYPE* p, ptrdiff_t stride) {
    const int sides = word_add(p[-SAMPLE::SIDE], p[SAMPLE::SIDE]);
    return word_add(word_add(sides, *moved(p, -stride)), *moved(p, stride));
}

static int magnitude(int v) { return v < 0 ? ~v : v; }

/// What one other picture adds to the sum. d: difference of the samples, e: of their cross sums.
static int share(int d, int e, int threshold) {
    const int a = magnitude(d);
    const int penalty = word_add(std::max(a - threshold, 0), std::max(magnitude(e) - threshold, 0));
    const int k = std::max(a - word_add(penalty, penalty), 0);
    return d < 0 ? ~k : k;
}

template <typename SAMPLE, int RADIUS>
static void row(uint8_t* dst, const uint8_t* cur, const NOISE_TIME_JOB* job, size_t bytes) {
    using T = typename SAMPLE::TYPE;
    for (size_t i = 0; i < bytes / sizeof(T); ++i) {
        const T* c = reinterpret_cast<const T*>(cur) + i;
        const int cross = cross_sum<SAMPLE>(c, job->stride);
        const int threshold = SAMPLE::threshold(job->levels, i);
        int sum = 0;
        for (int k = 0; k < 2 * RADIUS; ++k) {
            const T* v = moved(c, job->others[k]);
            const int e = word_sub(cross_sum<SAMPLE>(v, job->stride), cross);
            sum = word_add(sum, share(word_sub(*v, *c), e, threshold));
        }
        if (SAMPLE::ROUNDS) sum += RADIUS;
        reinterpret_cast<T*>(dst)[i] = SAMPLE::cut(*c + word_mulhi(sum, job->levels.weight));
    }
}

template <typename SAMPLE>
static constexpr NOISE_TIME_ROW ROWS[] = {row<SAMPLE, 1>, row<SAMPLE, 2>, row<SAMPLE, 3>};

NOISE_TIME_ROW noise_time_row_ref(int pixel_size, int radius) {
    return (pixel_size == PIXEL_SIZE_YUY2 ? ROWS<BYTE_SAMPLE> : ROWS<WORD_SAMPLE>)[radius - 1];
}
