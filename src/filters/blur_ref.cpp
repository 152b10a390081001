#include <algorithm>

#include "filters/blur_kernels.h"
#include "filters/window_taps.h"
#include "pixels/frame_buffer.h"
#include "pixels/word_math.h"

static int scaled(int sum, int scale) { return scale ? word_mulhi(sum, scale) : sum; }

/// The mean of the neighbours that at(tap) gives; the last argument tells their type.
template <int RADIUS, typename AT>
static int mean(const AT& at, int16_t) {
    constexpr BLUR_MEAN MEAN = BLUR_MEANS[RADIUS];
    int sum = 0;
    for (size_t k = 0; k < window_size(RADIUS); k += window_group(RADIUS)) {
        int group = 0;
        for (size_t j = 0; j < window_group(RADIUS); ++j) group = word_add(group, at(WINDOW_TAPS<RADIUS>[k + j]));
        sum = word_add(sum, group >> MEAN.group_shift);
    }
    return scaled(sum, MEAN.group_scale);
}

template <int RADIUS, typename AT>
static int mean(const AT& at, uint8_t) {
    constexpr BLUR_MEAN MEAN = BLUR_MEANS[RADIUS];
    int sum = int(window_size(RADIUS)) / 2;
    for (const WINDOW_TAP& tap : WINDOW_TAPS<RADIUS>) sum += at(tap);
    return scaled(sum >> MEAN.shift, MEAN.scale);
}

static int band(int d, int low, int high) {
    const int a = d < 0 ? ~d : d;
    const int k = std::max(std::min(a, high) - low, 0);
    return d < 0 ? ~k : k;
}

static int16_t cut(int v, int16_t) { return word_saturate(v); }
static uint8_t cut(int v, uint8_t) { return word_to8(v); }

template <int RADIUS, typename T, bool SHARPEN>
static void row(uint8_t* dst, const uint8_t* const* rows, size_t bytes, const BLUR_STEP& step) {
    for (size_t i = 0; i < bytes / sizeof(T); ++i) {
        const auto at = [&](WINDOW_TAP tap) -> int {
            return reinterpret_cast<const T*>(rows[window_reach(RADIUS) + tap.dy] + tap.dx * WINDOW_STEP<T>)[i];
        };
        const int c = at({0, 0});
        const int k = band(word_sub(mean<RADIUS>(at, T()), c), step.low[i % 2], step.high[i % 2]);
        const int change = word_mulhi(k * 4, step.weight);
        reinterpret_cast<T*>(dst)[i] = cut(SHARPEN ? c - change : c + change, T());
    }
}

template <typename T, bool SHARPEN>
static constexpr BLUR_ROW ROWS[] = {row<0, T, SHARPEN>, row<1, T, SHARPEN>, row<2, T, SHARPEN>, row<3, T, SHARPEN>};

BLUR_ROW blur_kernel_ref(int pixel_size, int radius, bool sharpen) {
    if (pixel_size == PIXEL_SIZE_YUY2) return (sharpen ? ROWS<uint8_t, true> : ROWS<uint8_t, false>)[radius];
    return (sharpen ? ROWS<int16_t, true> : ROWS<int16_t, false>)[radius];
}
