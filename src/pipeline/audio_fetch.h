#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_filter.h"

struct EDIT_STATE;
struct MEDIA_RECORD;

/// Gathers the sound of frames from wherever the table points. All sound of an edit has the format of `base`.
/// Main thread.
enum AUDIO_MODE : int {
    AUDIO_FILTERED = 0,   // position adjust and audio filters
    AUDIO_STORED = 1,     // bytes as stored in the source
    AUDIO_CONVERTED = 2,  // converted, no filters, no position adjust
    AUDIO_RESET = 4,      // no data: resets the converter of the frame's source
};

/// Sound of one frame (end 0), or of the interleave group that starts at f: nothing unless (f - start) is a multiple of
/// the interleave, else frames f .. min(f + interleave - 1, end). Audio filters run up to the stop filter (null: all).
/// buffer null only measures. At most capacity bytes are written. Returns bytes.
int audio_fetch(EDIT_STATE* edit, int f, int start, int end, void* buffer, size_t capacity, FILTER* stop,
                AUDIO_MODE mode);

/// One piece of a frame's sound for gathering more than a buffer holds: bytes from block `skip` of the frame on, as
/// many whole blocks as fit. Returns bytes, 0 when the frame has no more. Filters run on each piece by itself.
int audio_fetch_part(EDIT_STATE* edit, int frame, int skip, void* buffer, size_t capacity, FILTER* stop,
                     AUDIO_MODE mode);

/// Frames of an interleave group: the value of audio_setting, at least 1, at most ten seconds of `base`.
int audio_interleave(const EDIT_STATE* edit, const MEDIA_RECORD* base);

/// The first and last frame of the group that starts at f; false when no group starts there.
bool audio_group(const EDIT_STATE* edit, int f, int start, int end, int* last);
