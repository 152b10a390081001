#include "filters/color_frame.h"
#include "hosts/filter.h"
#include "hosts/filter_functions.h"
#include "pixels/frame_buffer.h"

/// Offset and gain of Y, Cb, Cr; offset, gain and gamma of R, G, B.
int color_extended_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    color_frame(param, color_params_extended(filter->track_values, filter->check_values, frame_geometry.pixel_size));
    return 1;
}

/// Of three values that were one and the same, the one that was moved.
static int32_t moved_value(int32_t r, int32_t g, int32_t b) {
    if (r == g) return b;
    if (r == b) return g;
    return r;
}

/// With the check for it on, offset, gain and gamma have one value for R, G and B each: the one that was set last.
int color_extended_update(FILTER* filter, int32_t) {
    if (!filter->check_values[COLOR_CHECK_RGB_SYNC]) return 1;
    for (int kind = 0; kind < 3; ++kind) {
        int32_t* r = filter->track_values + COLOR_TRACK_R + kind;
        int32_t *g = r + 3, *b = r + 6;
        *r = *g = *b = moved_value(*r, *g, *b);
    }
    if (filter_window_hooks.show) filter_window_hooks.show(filter);
    return 1;
}
