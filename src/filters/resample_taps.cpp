#include <algorithm>

#include "filters/resample_kernels.h"

RESAMPLE_SCALE resample_scale_make(int from, int to, int last) {
    const int small = std::min(from, to);
    const int large = std::max(from, to);
    return {from, to, int(int64_t{small} * RESAMPLE_ONE / large), last};
}

static RESAMPLE_TAP tap_enlarging(const RESAMPLE_SCALE& scale, uint64_t j) {
    const uint64_t at = j * uint64_t(scale.step);
    const int pos = int(at % RESAMPLE_ONE);
    return {int(at / RESAMPLE_ONE), {int16_t(RESAMPLE_ONE - pos), int16_t(pos), 0, 0}};
}

static RESAMPLE_TAP tap_reducing(const RESAMPLE_SCALE& scale, uint64_t j) {
    const uint64_t at = j * RESAMPLE_ONE;
    const int index = int(at / uint64_t(scale.step));
    const int pos = int(at % uint64_t(scale.step));
    const int w0 = scale.step - pos;
    const int w1 = std::min(RESAMPLE_ONE - w0, scale.step);
    return {index, {int16_t(w0), int16_t(w1), int16_t(RESAMPLE_ONE - w0 - w1), 0}};
}

RESAMPLE_TAP resample_tap(const RESAMPLE_SCALE& scale, int j) {
    return scale.from < scale.to ? tap_enlarging(scale, uint64_t(j)) : tap_reducing(scale, uint64_t(j));
}

void resample_taps_fill(RESAMPLE_TAPS* taps, const RESAMPLE_SCALE& scale, int first, int count) {
    taps->first = first;
    taps->count = count;
    taps->source = std::min(resample_tap(scale, first).index, scale.last) & ~1;
    taps->last = scale.last - taps->source;
    taps->three = scale.from > scale.to;
    for (int i = 0; i < (count + 1) / 2 * 2; ++i) {
        const RESAMPLE_TAP tap = resample_tap(scale, first + std::min(i, count - 1));
        taps->index[i] = tap.index - taps->source;
        std::fill_n(taps->near[i], 4, tap.weights[0]);
        std::fill_n(taps->near[i] + 4, 4, tap.weights[1]);
        std::fill_n(taps->third[i], 4, tap.weights[2]);
    }
}
