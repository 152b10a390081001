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
