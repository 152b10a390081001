#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_input.h"

/// "AVIs File Reader": a numbered series of AVI files as one clip, each part opened with the AVI reader. Reached only
/// by its name. Main thread. Shows no messages.
///
/// The series ends at the first name without a file, at a file that the AVI reader refuses, at one whose width, height,
/// bits or video handler differ from the first part's, and at AVIS_PART_MAX parts. A part without sound, or with sound
/// of another format, takes the sound away from the whole series. Sound in blocks of variable size is left out: its
/// positions do not add up from part to part.

inline constexpr int AVIS_PART_MAX = 64;

/// Null when the AVI reader refuses the first part or it has nothing that can be used. path: code page 932.
INPUT_PLUGIN_HANDLE avis_reader_open(const char* path);
/// Null is allowed. Returns 1.
int avis_reader_close(INPUT_PLUGIN_HANDLE handle);
/// The formats of the first part, the lengths of all together (cut to 2^31 - 1). The rate is the mean one: frames *
/// 1000000 / seconds, cut to an integer, at scale 1000000. Returns 1.
int avis_reader_info(INPUT_PLUGIN_HANDLE handle, INPUT_MEDIA_INFO* info);

/// As avi_reader_read_video_bounded, in the part that holds the frame; 0 past the end.
int avis_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                   bool* damaged);
int avis_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer);
/// Up to count sound blocks from block `start` on, across the borders of parts. Returns the blocks read; a part that
/// cannot be read ends them.
int avis_reader_read_audio(INPUT_PLUGIN_HANDLE handle, int32_t start, int32_t count, void* buffer);
/// What the part says of the frame; 1 past the end.
int avis_reader_is_keyframe(INPUT_PLUGIN_HANDLE handle, int32_t frame);
