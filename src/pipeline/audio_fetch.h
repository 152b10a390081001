#pragma once

#include <cstddef>
#include <cstdint>

#include "core/edit_state.h"
#include "core/media.h"
#include "vantel_filter.h"

/// Gathers the sound of frames from wherever the table points. All sound of an edit has the format of `base`. A frame
/// whose sound lies before its source's start (by its reference, or moved there by the position filter) is silent for
/// the length of a frame; what lies behind the end gives nothing, so such a frame's sound is shorter. Silence does not
/// go through the filters. Main thread.
enum AUDIO_MODE : int {
    AUDIO_FILTERED = 0,   // position adjust and audio filters
    AUDIO_STORED = 1,     // bytes as stored in the source
    AUDIO_CONVERTED = 2,  // converted, no filters, no position adjust
    AUDIO_RESET = 4,      // no data: resets the converter of the frame's source
};

/// Sound of one frame (end 0), or of the interleave group that starts at f: nothing unless (f - start) is a multiple of
/// the interleave, else frames f .. min(f + interleave - 1, end). Audio filters run up to the stop filter (null: all),
/// with the profile of the frame, which also says its position. buffer null only measures: the bytes that the call
/// would give now into a buffer large enough. At most capacity bytes are written. Returns bytes.
int audio_fetch(EDIT_STATE* edit, int f, int start, int end, void* buffer, size_t capacity, FILTER* stop,
                AUDIO_MODE mode);

/// One piece of a frame's sound for gathering more than a buffer holds: bytes from block `skip` of the frame on, as
/// many whole blocks as fit (AUDIO_STORED: blocks as stored). Pieces are asked in their order, skip 0 first. Returns
/// bytes, 0 when the frame has no more. Filters run on each piece by itself.
int audio_fetch_part(EDIT_STATE* edit, int frame, int skip, void* buffer, size_t capacity, FILTER* stop,
                     AUDIO_MODE mode);

/// Bytes of a block that `skip` counts in.
int audio_fetch_block(EDIT_STATE* edit, int frame, AUDIO_MODE mode);

/// Whether a frame's stored sound is packets of their own sizes (blocks of one byte).
bool audio_by_packets(EDIT_STATE* edit, int frame);
/// The packet of such sound that begins `skip` bytes behind the frame's first. Returns bytes, 0 when the frame has no
/// more.
int audio_fetch_packet(EDIT_STATE* edit, int frame, int skip, void* buffer, size_t capacity);

/// Measures ahead, frame after frame, without touching a source: what reading the same frames in the same order gives.
struct AUDIO_AHEAD {
    uint64_t seen;  // bit n: source n has its state below; it begins as the source is now
    AUDIO_MEASURE source[SOURCE_MAX];
};
/// As after audio_reset, for every source.
void audio_ahead_reset(AUDIO_AHEAD* ahead);
/// Bytes of the next frame.
int audio_measure(EDIT_STATE* edit, int frame, AUDIO_MODE mode, AUDIO_AHEAD* ahead);

/// Starts the converters anew of all sources from which frames first .. last take their sound.
void audio_reset(EDIT_STATE* edit, int first, int last);

/// Makes the profile of a frame (held to the table) current: the values of all filters are those of the frame.
void audio_use_profile(const EDIT_STATE* edit, int frame);

/// Frames of an interleave group: the value of audio_setting, at least 1, at most ten seconds of `base`.
int audio_interleave(const EDIT_STATE* edit, const MEDIA_RECORD* base);

/// The first and last frame of the group that starts at f; false when no group starts there.
bool audio_group(const EDIT_STATE* edit, int f, int start, int end, int* last);
