#include <utility>

#include "filters/blur_kernels.h"
#include "filters/window_frame.h"
#include "hosts/filter_functions.h"

enum { TRACK_STRENGTH, TRACK_RANGE, TRACK_LOWER, TRACK_UPPER };

/// The weight of four times the difference to the mean is n / (n + 1) / 4 at full strength, n neighbours: what brings a
/// sample to the mean of the window with the centre. Shortened fractions, since truncation tells.
static int16_t weight_of(int strength, int radius) {
    static constexpr struct { int factor, divisor; } WEIGHTS[] = {{256, 5}, {512, 9}, {1280, 21}, {2304, 37}};
    return int16_t(strength * WEIGHTS[radius].factor / WEIGHTS[radius].divisor);
}

static BLUR_STEP step_of(const int32_t* tracks, int radius) {
    const int low = tracks[TRACK_LOWER], high = tracks[TRACK_UPPER];
    const int16_t weight = weight_of(tracks[TRACK_STRENGTH], radius);
    if (frame_geometry.pixel_size == PIXEL_SIZE_YC48)
        return {{int16_t(low * 4), int16_t(low * 4)}, {int16_t(high * 4), int16_t(high * 4)}, weight};
    // 219 and 224 steps of 8-bit luma and chroma have the range of 1020 steps of the track.
    return {{int16_t(low * 219 / 1020), int16_t(low * 224 / 1020)},
            {int16_t(high * 219 / 1020), int16_t(high * 224 / 1020)},
            weight};
}

static int run(FILTER* filter, FILTER_PROC_PARAM* param, bool sharpen) {
    const int32_t* tracks = filter->track_values;
    if (tracks[TRACK_LOWER] >= tracks[TRACK_UPPER]) return 1;
    if (param->width <= 0 || param->height <= 0) return 1;
    const int32_t range = tracks[TRACK_RANGE];
    const int radius = range >= 0 && range <= 2 ? range : 3;
    const BLUR_STEP step = step_of(tracks, radius);
    const BLUR_ROW kernel = blur_kernel(frame_geometry.pixel_size, radius, sharpen);
    window_frame(reinterpret_cast<uint8_t*>(param->scratch), reinterpret_cast<const uint8_t*>(param->image),
                 param->width, param->height, window_reach(radius),
                 [&](uint8_t* dst, const uint8_t* const* rows, size_t bytes) { kernel(dst, rows, bytes, step); });
    std::swap(param->image, param->scratch);
    return 1;
}

/// Moves samples towards the mean of their neighbours where the difference lies in a band.
int blur_proc(FILTER* filter, FILTER_PROC_PARAM* param) { return run(filter, param, false); }

/// Moves them away from it.
int sharpen_proc(FILTER* filter, FILTER_PROC_PARAM* param) { return run(filter, param, true); }
