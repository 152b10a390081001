#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_input.h"

/// "BMP File Reader": uncompressed bitmaps of 1, 4, 8, 16, 24 or 32 bits, one or a numbered series. close and info are
/// those of picture_series.h. Main thread. Shows no messages.

/// Null when the file cannot be opened or is no bitmap of these. The series ends before the first file that differs in
/// width, height or bits. A negative height (rows top-down) stays in the format. path: code page 932.
INPUT_PLUGIN_HANDLE bmp_reader_open(const char* path);
/// Palette (8, 64 or 1024 bytes up to 8 bits a pixel) and rows of a frame as they stand behind the 54 bytes of the
/// headers, cut to capacity (*damaged, which may be null, is then set). Returns the bytes written, 0 when the file is
/// gone. What a file that breaks off lacks is 0, and counts as damage.
int bmp_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                  bool* damaged);
int bmp_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer);
