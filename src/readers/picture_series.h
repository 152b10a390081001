#pragma once

#include "readers/name_sequence.h"
#include "vantel_input.h"

/// One picture, or a numbered series of them, open as a clip: what the readers of still pictures share. A frame is a
/// file, read each time anew. Rate and scale are 0, for the user to choose. Main thread.
struct PICTURE_SERIES {
    int32_t frames;
    NAME_SEQUENCE sequence;
    BITMAPINFOHEADER format;  // of the first picture
};

/// Takes a file whose name follows into the series; null takes every one.
using PICTURE_FITS = bool (*)(const PICTURE_SERIES& series, const char* path);

/// A series of the picture of this format at `path`, and of the names that follow it for as long as files exist and
/// fit. Null when memory is short or the path too long.
PICTURE_SERIES* picture_series_open(const char* path, const BITMAPINFOHEADER& format, PICTURE_FITS fits);
/// The path of a frame. False when the frame is out of range or its file is gone.
bool picture_series_path(PICTURE_SERIES* series, int32_t frame, char path[PATH_SIZE]);

/// Functions of the readers' records. Null is allowed in close; both return 1.
int picture_series_close(INPUT_PLUGIN_HANDLE handle);
int picture_series_info(INPUT_PLUGIN_HANDLE handle, INPUT_MEDIA_INFO* info);
