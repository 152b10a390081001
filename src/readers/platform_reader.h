#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_input.h"

/// "AVI File Reader ( Video For Windows )": leaves a file to the machine's libraries (platform/container.h, which tells
/// what becomes of rates, times, colours and channels), and so stands last. Pictures come as YUY2 or 24-bit RGB, as if
/// they were stored so; sound as 16-bit PCM. Main thread. Shows no messages.

/// Null when the libraries do not take the file, or when the user pressed Esc while it was listed. The decoder uses as
/// many threads as key multithread says. path: code page 932.
INPUT_PLUGIN_HANDLE platform_reader_open(const char* path);
/// Null is allowed. Returns 1.
int platform_reader_close(INPUT_PLUGIN_HANDLE handle);
/// Lengths are cut to 2^31 - 1. Returns 1.
int platform_reader_info(INPUT_PLUGIN_HANDLE handle, INPUT_MEDIA_INFO* info);
/// Writes a picture, cut to capacity (*damaged is then set; it may be null). 0 for a frame outside the file and for one
/// that cannot be decoded.
int platform_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                       bool* damaged);
int platform_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer);
/// Reads up to count samples, cut to what the file has.
int platform_reader_read_audio(INPUT_PLUGIN_HANDLE handle, int32_t start, int32_t count, void* buffer);
