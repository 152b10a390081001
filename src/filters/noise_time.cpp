#include <algorithm>

#include "filters/noise_time_kernels.h"
#include "hosts/filter_cache.h"
#include "hosts/filter_functions.h"
#include "pixels/frame_buffer.h"
#include "pixels/rect.h"

enum { TRACK_STRENGTH, TRACK_RANGE, TRACK_THRESHOLD };
static constexpr int TRACK_HIGH = 256;  // of strength and threshold

NOISE_TIME_LEVELS noise_time_levels(int pixel_size, int radius, int strength, int threshold) {
    const auto weight = int16_t(strength * 256 / (2 * radius + 1));
    if (pixel_size == PIXEL_SIZE_YUY2)
        return {{int16_t(threshold * 219 / 510), int16_t(threshold * 224 / 510)}, weight};
    return {{int16_t(threshold * 8), int16_t(threshold * 8)}, weight};
}

static NOISE_TIME_JOB job_make(const uint8_t* const* frames, ptrdiff_t stride, int radius,
                               const NOISE_TIME_LEVELS& levels) {
    NOISE_TIME_JOB job{{}, stride, levels};
    ptrdiff_t* other = job.others;
    for (int k = 0; k < 2 * radius + 1; ++k)
        if (k != radius) *other++ = frames[k] - frames[radius];
    return job;
}

void noise_time_picture(uint8_t* image, const uint8_t* const* frames, ptrdiff_t stride, int w, int h, int radius,
                        const NOISE_TIME_LEVELS& levels) {
    const int pixel_size = frame_geometry.pixel_size;
    const NOISE_TIME_ROW kernel = noise_time_row(pixel_size, radius);
    const NOISE_TIME_JOB job = job_make(frames, stride, radius, levels);
    const uint8_t* cur = frames[radius];
    const size_t bytes = pixel_size == PIXEL_SIZE_YUY2 ? size_t(yuy2_stride(w)) : size_t(w) * sizeof(YC48_PIXEL);
    rect_bands(h, h >= RECT_BAND_ROWS, [&](ROW_RANGE range) {
        for (ptrdiff_t row = range.begin; row < range.end; ++row)
            kernel(image + row * frame_geometry.stride, cur + row * stride, &job, bytes);
    });
}

// ---- the filter

static bool size_possible(const FILTER_PROC_PARAM* param) {
    return param->width > 0 && param->height > 0 && param->width <= frame_geometry.max_width &&
           param->height <= frame_geometry.max_height;
}

static int cache_side(int size) { return ((size + 7) & ~7) + 2 * FRAME_MARGIN; }

/// Asks for the pictures around a frame. A read may render, and so replace what was read before the last depth reads:
/// there are never more.
static bool fetch(FILTER* filter, const FILTER_PROC_PARAM* param, int radius, const uint8_t** frames) {
    const int depth = 2 * radius + 1;
    if (filter_cache_configure(filter, cache_side(param->width), cache_side(param->height), depth,
                               FILTER_CACHE_MARGIN) != 1)
        return false;
    for (int k = 0; k < depth; ++k) {
        frames[k] = filter_cache_read(filter, param->edit, param->frame + k - radius);
        if (!frames[k]) return false;  // memory was short before, or the filter was switched off during a render
    }
    return true;
}

/// The input of the frame and of its neighbours comes out of the filter's cache, so what `image` holds does not matter;
/// it stays as it is when the cache cannot be had.
int noise_time_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    const int range = filter->track_values[TRACK_RANGE];
    const int radius = range == 1 || range == 2 ? range : NOISE_TIME_RADIUS_MAX;
    const int strength = std::clamp<int>(filter->track_values[TRACK_STRENGTH], 0, TRACK_HIGH);
    const int threshold = std::clamp<int>(filter->track_values[TRACK_THRESHOLD], 0, TRACK_HIGH);
    // Before there is a store this read gives the size alone, which is what the store is made from.
    filter_cache_read_sized(filter, param->edit, param->frame, &param->width, &param->height);
    const uint8_t* frames[2 * NOISE_TIME_RADIUS_MAX + 1];
    if (!size_possible(param) || !fetch(filter, param, radius, frames)) return 0;
    const ptrdiff_t stride = ptrdiff_t{filter->cache_width} * filter->pixel_size;
    noise_time_picture(reinterpret_cast<uint8_t*>(param->image), frames, stride, param->width, param->height, radius,
                       noise_time_levels(frame_geometry.pixel_size, radius, strength, threshold));
    return 1;
}
