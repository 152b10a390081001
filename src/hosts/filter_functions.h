#pragma once

#include "vantel_filter.h"

/// The callbacks of the built-in filters, one line for each that exists. They live with the code that does the work;
/// filter_built_in.cpp puts them into the table.

int deinterlace_none_proc(FILTER* filter, FILTER_PROC_PARAM* param);    // filters/deinterlace_methods.cpp
int deinterlace_odd_proc(FILTER* filter, FILTER_PROC_PARAM* param);     // filters/deinterlace_methods.cpp
int deinterlace_even_proc(FILTER* filter, FILTER_PROC_PARAM* param);    // filters/deinterlace_methods.cpp
int deinterlace_double_proc(FILTER* filter, FILTER_PROC_PARAM* param);  // filters/deinterlace_methods.cpp
int deinterlace_24fps_proc(FILTER* filter, FILTER_PROC_PARAM* param);   // filters/deinterlace_methods.cpp
int frame_analysis_update(FILTER* filter, int32_t status);              // pipeline/frame_analysis.cpp
int deinterlace_auto_proc(FILTER* filter, FILTER_PROC_PARAM* param);    // filters/deinterlace_methods.cpp
int filter_deinterlace_update(FILTER* filter, int32_t status);          // hosts/filter_deinterlace.cpp

int noise_proc(FILTER* filter, FILTER_PROC_PARAM* param);           // filters/noise.cpp
int noise_time_proc(FILTER* filter, FILTER_PROC_PARAM* param);      // filters/noise_time.cpp
int sharpen_proc(FILTER* filter, FILTER_PROC_PARAM* param);         // filters/blur.cpp
int blur_proc(FILTER* filter, FILTER_PROC_PARAM* param);            // filters/blur.cpp
int clip_resize_proc(FILTER* filter, FILTER_PROC_PARAM* param);     // filters/clip_resize.cpp
int border_proc(FILTER* filter, FILTER_PROC_PARAM* param);          // filters/border.cpp
int color_correct_proc(FILTER* filter, FILTER_PROC_PARAM* param);   // filters/color_correct.cpp
int color_extended_proc(FILTER* filter, FILTER_PROC_PARAM* param);  // filters/color_extended.cpp
int color_extended_update(FILTER* filter, int32_t status);          // filters/color_extended.cpp
int size_change_proc(FILTER* filter, FILTER_PROC_PARAM* param);     // filters/size_change.cpp
int size_change_update(FILTER* filter, int32_t status);             // filters/size_change.cpp

int histogram_proc(FILTER* filter, FILTER_PROC_PARAM* param);  // filters/histogram.cpp

// filters/audio_volume.cpp, filters/audio_normalise.cpp
int audio_volume_proc(FILTER* filter, FILTER_PROC_PARAM* param);
int audio_normalise_proc(FILTER* filter, FILTER_PROC_PARAM* param);
int audio_normalise_save_start(FILTER* filter, int32_t first, int32_t last, EDIT_STATE* edit);
int audio_normalise_save_end(FILTER* filter, EDIT_STATE* edit);
