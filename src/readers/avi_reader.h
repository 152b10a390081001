#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_input.h"

/// "AVI/AVI2 File Reader": RIFF AVI files, plain and OpenDML. Opening reads the header lists and the index and keeps
/// one table of chunk positions for video and one for sound; from then on frames and sound are fetched by position.
/// Nothing is decoded: frames are the stored chunks. Main thread. Shows no messages.
///
/// What the file says is held against what it is: counts come from the index, not from the stream headers, and the
/// tables never exceed the index that is really there.

/// Null when the file cannot be opened, is no AVI, or has neither a usable video nor a usable sound stream. A picture
/// format of fewer than 16 bits that is not compressed refuses the whole file. path: code page 932.
INPUT_PLUGIN_HANDLE avi_reader_open(const char* path);
/// Null is allowed. Returns 1.
int avi_reader_close(INPUT_PLUGIN_HANDLE handle);
/// Sets the fields that the file has something for; the caller has zeroed the rest. Lengths are cut to 2^31 - 1.
/// Returns 1.
int avi_reader_info(INPUT_PLUGIN_HANDLE handle, INPUT_MEDIA_INFO* info);

/// Reads the chunk of a frame. Returns the bytes written, 0 for a dropped frame, a frame out of range, a chunk that the
/// file does not hold whole (the buffer is then untouched) and a failed read. A chunk larger than `capacity`, or than
/// the picture in a stream that is not compressed, is read up to there and sets *damaged, which may be null and is
/// cleared otherwise.
int avi_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                  bool* damaged);
/// The same for callers that cannot tell their room.
int avi_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer);

/// Reads up to count sound blocks (bytes, where the info has INPUT_MEDIA_VARIABLE_AUDIO) from block `start` on; count
/// is cut to what the stream has. Writes the returned number of blocks, never more. 0 when a chunk of the run is not
/// whole in the file (the buffer is then untouched) or a read fails.
int avi_reader_read_audio(INPUT_PLUGIN_HANDLE handle, int32_t start, int32_t count, void* buffer);

/// 0 when the frame's entry says that it is no key frame, else 1.
int avi_reader_is_keyframe(INPUT_PLUGIN_HANDLE handle, int32_t frame);

/// For sound with blocks of variable size: the byte position for avi_reader_read_audio of a sample, which is the sum of
/// the first sample * rate / (scale * samples a second) chunks. 0 for other sound.
int32_t avi_reader_audio_position(INPUT_PLUGIN_HANDLE handle, int32_t sample);
