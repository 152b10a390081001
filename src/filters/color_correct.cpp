#include "filters/color_frame.h"
#include "hosts/filter_functions.h"
#include "pixels/frame_buffer.h"

/// Brightness, contrast, gamma, luma, saturation and hue.
int color_correct_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    color_frame(param, color_params(filter->track_values, frame_geometry.pixel_size));
    return 1;
}
