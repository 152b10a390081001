#pragma once

#include "filters/color_params.h"
#include "vantel_filter.h"

/// Runs a colour filter's constants over a picture: in place, but for COLOR_RGB, which writes to param->scratch and
/// swaps it with param->image, and COLOR_NOTHING, which touches nothing. Pictures are of geometry frame_geometry and
/// have param->width x param->height pixels, in the 2-byte mode whole pairs; a size below 1 does nothing. Allocates
/// nothing. 32 rows or more go to the worker pool, so only the thread that drives rendering may call this, and not from
/// a worker. No errors. The arithmetic is that of color_kernels.h.
void color_frame(FILTER_PROC_PARAM* param, const COLOR_PARAMS& params);
