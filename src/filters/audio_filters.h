#pragma once

#include <cstddef>

#include "vantel_filter.h"

struct EDIT_STATE;

/// What the sound filters offer beside their callbacks (hosts/filter_functions.h). Main thread.

/// 16-bit values of the block of sound that a filter was given.
inline size_t audio_values(const FILTER_PROC_PARAM& param) {
    return size_t(param.audio_samples) * size_t(param.audio_channels);
}

/// Frames by which the sound is to come later than its pictures; negative: earlier. 0 when the filter is off. The
/// filter has no step of its own: fetching sound asks for this. The values are those of the current profile.
int audio_position();
/// The offset in milliseconds at the edit's rate, cut to a whole number: "200ms"; "ms" without an edit.
void audio_position_text(const EDIT_STATE* edit, char* out, size_t size);
