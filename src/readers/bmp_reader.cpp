#include "readers/bmp_reader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "platform/file.h"
#include "readers/media_format.h"
#include "readers/picture_series.h"

static constexpr size_t FILE_HEADER_SIZE = 14;
static constexpr size_t HEADERS_SIZE = FILE_HEADER_SIZE + sizeof(BITMAPINFOHEADER);

static PICTURE_SERIES* series_of(INPUT_PLUGIN_HANDLE handle) { return static_cast<PICTURE_SERIES*>(handle); }

static uint64_t frame_bytes(const BITMAPINFOHEADER& format) {
    const uint64_t rows = picture_row_bytes(format.biWidth, format.biBitCount) * uint64_t(std::abs(format.biHeight));
    return picture_palette_bytes(format.biBitCount) + rows;
}

static bool format_read(const char* path, BITMAPINFOHEADER* format) {
    uint8_t head[HEADERS_SIZE];
    const int file = file_open_read(path);
    const bool good = file >= 0 && file_read_exact(file, head, sizeof head, 0);
    file_close(file);
    if (!good || head[0] != 'B' || head[1] != 'M') return false;
    std::memcpy(format, head + FILE_HEADER_SIZE, sizeof *format);
    // A shorter header is of an older kind, and has other fields.
    if (format->biSize < sizeof *format || format->biCompression != 0) return false;
    if (!picture_format_repair(format, sizeof *format) || !picture_bits_are_rgb(format->biBitCount)) return false;
    return frame_bytes(*format) <= INT32_MAX;
}

static bool format_fits(const PICTURE_SERIES& series, const char* path) {
    BITMAPINFOHEADER format;
    return format_read(path, &format) && format.biWidth == series.format.biWidth &&
           format.biHeight == series.format.biHeight && format.biBitCount == series.format.biBitCount;
}

INPUT_PLUGIN_HANDLE bmp_reader_open(const char* path) {
    BITMAPINFOHEADER format;
    return format_read(path, &format) ? picture_series_open(path, format, format_fits) : nullptr;
}

int bmp_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                  bool* damaged) {
    PICTURE_SERIES* series = series_of(handle);
    char path[PATH_SIZE];
    if (damaged) *damaged = false;
    const int file = picture_series_path(series, frame, path) ? file_open_read(path) : -1;
    if (file < 0) return 0;
    const size_t whole = size_t(frame_bytes(series->format)), n = std::min(whole, capacity);
    const int64_t got = file_read_at(file, buffer, n, HEADERS_SIZE);
    file_close(file);
    if (got <= 0) return 0;
    std::memset(static_cast<uint8_t*>(buffer) + got, 0, n - size_t(got));
    if (damaged) *damaged = size_t(got) < whole;
    return int(n);
}

int bmp_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer) {
    return bmp_reader_read_video_bounded(handle, frame, buffer, SIZE_MAX, nullptr);
}
