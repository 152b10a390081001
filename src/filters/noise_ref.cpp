#include <algorithm>

#include "filters/noise_kernels.h"
#include "filters/window_taps.h"
#include "pixels/frame_buffer.h"
#include "pixels/word_math.h"

static int contribution(int d, int threshold) {
    const int a = d < 0 ? ~d : d;
    const int f = std::max(a - threshold, 0);
    const int g = std::max(a - word_add(f, f), 0);
    return d < 0 ? ~g : g;
}

static int start_of(size_t, int16_t) { return 0; }
static int start_of(size_t neighbours, uint8_t) { return noise_start(neighbours); }
static int16_t cut(int v, int16_t) { return word_saturate(v); }
static uint8_t cut(int v, uint8_t) { return word_to8(v); }

template <int RADIUS, typename T>
static void row(uint8_t* dst, const uint8_t* const* rows, size_t bytes, const NOISE_STEP& step) {
    for (size_t i = 0; i < bytes / sizeof(T); ++i) {
        const auto at = [&](WINDOW_TAP tap) -> int {
            return reinterpret_cast<const T*>(rows[RADIUS + tap.dy] + tap.dx * WINDOW_STEP<T>)[i];
        };
        const int c = at({0, 0});
        int sum = start_of(window_size(RADIUS), T());
        for (const WINDOW_TAP& tap : WINDOW_TAPS<RADIUS>)
            sum = word_add(sum, contribution(word_sub(at(tap), c), step.threshold[i % 2]));
        reinterpret_cast<T*>(dst)[i] = cut(c + word_mulhi(sum, step.weight), T());
    }
}

NOISE_ROW noise_kernel_ref(int pixel_size, int radius) {
    static constexpr NOISE_ROW WORD_ROWS[] = {row<1, int16_t>, row<2, int16_t>, row<3, int16_t>};
    static constexpr NOISE_ROW BYTE_ROWS[] = {row<1, uint8_t>, row<2, uint8_t>, row<3, uint8_t>};
    return (pixel_size == PIXEL_SIZE_YUY2 ? BYTE_ROWS : WORD_ROWS)[radius - 1];
}
