#include "readers/picture_reader.h"

#include <cstring>
#include <memory>
#include <new>

#include "platform/image.h"
#include "readers/picture_series.h"

static PICTURE_SERIES* series_of(INPUT_PLUGIN_HANDLE handle) { return static_cast<PICTURE_SERIES*>(handle); }

INPUT_PLUGIN_HANDLE picture_reader_open(const char* path) {
    BITMAPINFOHEADER format = {};
    format.biSize = sizeof format;
    format.biPlanes = 1;
    format.biBitCount = 32;
    if (!image_file_size(path, &format.biWidth, &format.biHeight)) return nullptr;
    return picture_series_open(path, format, nullptr);
}

/// Writes the whole picture. IMAGE_FAILED leaves the buffer as it was.
static IMAGE_RESULT frame_read(PICTURE_SERIES* series, int32_t frame, uint8_t* bgra) {
    char path[PATH_SIZE];
    if (!picture_series_path(series, frame, path)) return IMAGE_FAILED;
    return image_file_read(path, series->format.biWidth, series->format.biHeight, bgra);
}

int picture_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                      bool* damaged) {
    PICTURE_SERIES* series = series_of(handle);
    const size_t whole = size_t(series->format.biWidth) * 4 * size_t(series->format.biHeight);
    std::unique_ptr<uint8_t[]> picture(capacity < whole ? new (std::nothrow) uint8_t[whole] : nullptr);
    if (damaged) *damaged = false;
    if (capacity < whole && !picture) return 0;
    const IMAGE_RESULT result = frame_read(series, frame, picture ? picture.get() : static_cast<uint8_t*>(buffer));
    if (result == IMAGE_FAILED) return 0;
    if (damaged) *damaged = result == IMAGE_DAMAGED || picture;
    if (!picture) return int(whole);
    std::memcpy(buffer, picture.get(), capacity);
    return int(capacity);
}

int picture_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer) {
    return picture_reader_read_video_bounded(handle, frame, buffer, SIZE_MAX, nullptr);
}
