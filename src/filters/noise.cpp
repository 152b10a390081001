#include <utility>

#include "filters/noise_kernels.h"
#include "filters/window_frame.h"
#include "hosts/filter_functions.h"

enum { TRACK_STRENGTH, TRACK_RANGE, TRACK_THRESHOLD };

static NOISE_STEP step_of(const int32_t* tracks, int radius) {
    const int t = tracks[TRACK_THRESHOLD];
    const int window = int(window_size(radius)) + 1;
    const auto weight = int16_t(tracks[TRACK_STRENGTH] * 256 / window);
    if (frame_geometry.pixel_size == PIXEL_SIZE_YC48) return {{int16_t(t * 4), int16_t(t * 4)}, weight};
    // 219 and 224 steps of 8-bit luma and chroma have the range of 1020 steps of the track.
    return {{int16_t(t * 219 / 1020), int16_t(t * 224 / 1020)}, weight};
}

/// Smooths each sample towards those neighbours that differ little from it.
int noise_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    if (param->width <= 0 || param->height <= 0) return 1;
    const int32_t range = filter->track_values[TRACK_RANGE];
    const int radius = range == 1 || range == 2 ? range : 3;
    const NOISE_STEP step = step_of(filter->track_values, radius);
    const NOISE_ROW kernel = noise_kernel(frame_geometry.pixel_size, radius);
    window_frame(reinterpret_cast<uint8_t*>(param->scratch), reinterpret_cast<const uint8_t*>(param->image),
                 param->width, param->height, radius,
                 [&](uint8_t* dst, const uint8_t* const* rows, size_t bytes) { kernel(dst, rows, bytes, step); });
    std::swap(param->image, param->scratch);
    return 1;
}
