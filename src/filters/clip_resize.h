#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_filter.h"

/// The settings of the filter STR_FILTER_CLIP, beside its tracks, and what its window shows of them. Main thread.

/// The filter's extra_data. A target with a side of 0 is none: the picture is cut only.
struct CLIP_TARGET {
    int32_t width, height;
    int32_t keep_aspect;  // not 0: the clip takes the shape of the target
};
static_assert(sizeof(CLIP_TARGET) == 12);

CLIP_TARGET clip_target_get(const FILTER* filter);
void clip_target_set(FILTER* filter, const CLIP_TARGET& target);

/// Takes width and height out of the text of the size box (code page 932): a number, any one character, a number. A
/// part below 32, or missing, becomes 0; one above the largest picture is cut to that.
void clip_target_parse(const char* text, CLIP_TARGET* target);

/// What the size box shows: "640x480", or the text for no size. Writes at most `size` bytes, the NUL included.
void clip_target_label(const CLIP_TARGET& target, char* text, size_t size);

/// The entries of the size box, from 0: no size, then the size list. Null behind the last one. Valid for the run.
const char* clip_target_entry(int index);
