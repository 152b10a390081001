#include "readers/picture_series.h"

#include <memory>
#include <new>

PICTURE_SERIES* picture_series_open(const char* path, const BITMAPINFOHEADER& format, PICTURE_FITS fits) {
    std::unique_ptr<PICTURE_SERIES> series(new (std::nothrow) PICTURE_SERIES());
    if (!series || !name_sequence_start(&series->sequence, path)) return nullptr;
    series->format = format;
    series->frames = 1;
    char next[PATH_SIZE];
    while (series->frames < INT32_MAX && name_sequence_next(&series->sequence, next)) {
        if (fits && !fits(*series, next)) break;
        series->frames++;
    }
    return series.release();
}

bool picture_series_path(PICTURE_SERIES* series, int32_t frame, char path[PATH_SIZE]) {
    if (frame < 0 || frame >= series->frames) return false;
    name_sequence_seek(&series->sequence, frame);
    return name_sequence_next(&series->sequence, path);
}

int picture_series_close(INPUT_PLUGIN_HANDLE handle) {
    delete static_cast<PICTURE_SERIES*>(handle);
    return 1;
}

int picture_series_info(INPUT_PLUGIN_HANDLE handle, INPUT_MEDIA_INFO* info) {
    PICTURE_SERIES* series = static_cast<PICTURE_SERIES*>(handle);
    info->flags |= INPUT_MEDIA_VIDEO;
    info->frames = series->frames;
    info->video_format = &series->format;
    info->video_format_size = sizeof series->format;
    return 1;
}
