#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_input.h"

/// "JPEG/PNG File Reader": still pictures, one or a numbered series, as 32-bit rows bottom-up (platform/image.h tells
/// how). close and info are those of picture_series.h. Main thread. Shows no messages.

/// Null when the file is no picture that can be decoded. The series is counted by names alone. path: code page 932.
INPUT_PLUGIN_HANDLE picture_reader_open(const char* path);
/// The picture of a frame at the size of the first one, cut to capacity (*damaged, which may be null, is then set, as
/// it is for a file that breaks off). Of a larger picture the part at the top left is taken. 0, with the buffer
/// untouched, for a smaller one and for a file that is gone or is no picture.
int picture_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                      bool* damaged);
int picture_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer);
