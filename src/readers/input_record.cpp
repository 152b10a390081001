#include "readers/input_table.h"

#include <algorithm>
#include <cstring>

#include "platform/text.h"
#include "readers/avi_reader.h"
#include "readers/avis_reader.h"
#include "readers/bmp_reader.h"
#include "readers/picture_reader.h"
#include "readers/picture_series.h"
#include "readers/platform_reader.h"
#include "readers/wave_reader.h"

static constexpr uint32_t VIDEO_AUDIO = INPUT_F_VIDEO | INPUT_F_AUDIO;

/// A row: what a record is made from. Functions are those of INPUT_PLUGIN_TABLE.
struct BUILT_IN {
    uint32_t flags;
    const char* name;  // also the text of the information list
    const char* filefilter;
    int (*init)() = nullptr;
    INPUT_PLUGIN_HANDLE (*open)(const char*) = nullptr;
    int (*close)(INPUT_PLUGIN_HANDLE) = nullptr;
    int (*info)(INPUT_PLUGIN_HANDLE, INPUT_MEDIA_INFO*) = nullptr;
    int (*read_video)(INPUT_PLUGIN_HANDLE, int32_t, void*) = nullptr;
    int (*read_video_bounded)(INPUT_PLUGIN_HANDLE, int32_t, void*, size_t, bool*) = nullptr;
    int (*read_audio)(INPUT_PLUGIN_HANDLE, int32_t, int32_t, void*) = nullptr;
    int (*is_keyframe)(INPUT_PLUGIN_HANDLE, int32_t) = nullptr;
    int32_t (*audio_position)(INPUT_PLUGIN_HANDLE, int32_t) = nullptr;
    int (*config)(void*, void*) = nullptr;
};

// A row without functions is a reader that this build lacks; input_open passes it over. The order is the index that
// menus and continued searches count by.
static const BUILT_IN BUILT_IN_TABLE[] = {
    {.flags = VIDEO_AUDIO,
     .name = "AVI/AVI2 File Reader",
     .filefilter = "AviFile (*.avi)\0*.avi\0",
     .open = avi_reader_open,
     .close = avi_reader_close,
     .info = avi_reader_info,
     .read_video = avi_reader_read_video,
     .read_video_bounded = avi_reader_read_video_bounded,
     .read_audio = avi_reader_read_audio,
     .is_keyframe = avi_reader_is_keyframe,
     .audio_position = avi_reader_audio_position},
    {.flags = VIDEO_AUDIO,
     .name = "Wave File Reader",
     .filefilter = "WaveFile (*.wav)\0*.wav\0",
     .init = wave_reader_init,
     .open = wave_reader_open,
     .close = wave_reader_close,
     .info = wave_reader_info,
     .read_video = wave_reader_read_video,
     .read_video_bounded = wave_reader_read_video_bounded,
     .read_audio = wave_reader_read_audio,
     .config = wave_reader_config},
    {.flags = INPUT_F_VIDEO,
     .name = "BMP File Reader",
     .filefilter = "BmpFile (*.bmp)\0*.bmp\0",
     .open = bmp_reader_open,
     .close = picture_series_close,
     .info = picture_series_info,
     .read_video = bmp_reader_read_video,
     .read_video_bounded = bmp_reader_read_video_bounded},
    {.flags = INPUT_F_VIDEO,
     .name = "JPEG/PNG File Reader",
     .filefilter = "JPEG File (*.jpg;*.jpeg)\0*.jpg;*.jpeg\0PNG File (*.png)\0*.png\0",
     .open = picture_reader_open,
     .close = picture_series_close,
     .info = picture_series_info,
     .read_video = picture_reader_read_video,
     .read_video_bounded = picture_reader_read_video_bounded},
    {.flags = VIDEO_AUDIO,
     .name = "AVI File Reader ( Video For Windows )",
     .filefilter = "AviFile (*.avi)\0*.avi\0AllFile (*.*)\0*.*\0",
     .open = platform_reader_open,
     .close = platform_reader_close,
     .info = platform_reader_info,
     .read_video = platform_reader_read_video,
     .read_video_bounded = platform_reader_read_video_bounded,
     .read_audio = platform_reader_read_audio},
    {.flags = VIDEO_AUDIO | INPUT_F_BY_NAME,
     .name = "AVIs File Reader",
     .filefilter = "AviFile (*.avi)\0*.avi\0",
     .open = avis_reader_open,
     .close = avis_reader_close,
     .info = avis_reader_info,
     .read_video = avis_reader_read_video,
     .read_video_bounded = avis_reader_read_video_bounded,
     .read_audio = avis_reader_read_audio,
     .is_keyframe = avis_reader_is_keyframe},
};

static INPUT_RECORD records[INPUT_RECORD_MAX];
static int record_n = 0;

static void text_keep(char out[INPUT_TEXT_SIZE], const char* text) {
    const size_t n = text ? strnlen(text, INPUT_TEXT_SIZE - 1) : 0;
    std::memset(out, 0, INPUT_TEXT_SIZE);
    if (n) std::memcpy(out, text, n);
}

/// Copies up to the two NULs at the end; what does not fit in front of two NULs is cut.
static void filefilter_keep(char out[INPUT_TEXT_SIZE], const char* text) {
    std::memset(out, 0, INPUT_TEXT_SIZE);
    for (size_t i = 0; text && i < INPUT_TEXT_SIZE - 2 && (text[i] || (i && text[i + 1])); ++i) out[i] = text[i];
}

static int next_priority() {
    return 1 + int(std::count_if(records, records + record_n,
                                 [](const INPUT_RECORD& record) { return !(record.table.flags & INPUT_F_BY_NAME); }));
}

int input_record_add(const INPUT_PLUGIN_TABLE& table, const char* path) {
    if (record_n == INPUT_RECORD_MAX) return -1;
    INPUT_RECORD& record = records[record_n];
    record = {};
    record.table = table;
    record.priority = table.flags & INPUT_F_BY_NAME ? 0 : next_priority();
    if (!path) record.table.flags |= INPUT_F_BUILT_IN;
    text_copy(record.path, sizeof record.path, path ? path : "");
    text_keep(record.name_text, table.name);
    text_keep(record.information_text, table.information);
    filefilter_keep(record.filefilter_text, table.filefilter);
    return record_n++;
}

int input_record_n() { return record_n; }

INPUT_RECORD* input_record(int index) { return index >= 0 && index < record_n ? &records[index] : nullptr; }

static INPUT_PLUGIN_TABLE table_of(const BUILT_IN& row) {
    INPUT_PLUGIN_TABLE table = {};
    table.flags = row.flags;
    table.name = row.name;
    table.filefilter = row.filefilter;
    table.information = row.name;
    table.func_init = row.init;
    table.func_open = row.open;
    table.func_close = row.close;
    table.func_info_get = row.info;
    table.func_read_video = row.read_video;
    table.func_read_audio = row.read_audio;
    table.func_is_keyframe = row.is_keyframe;
    table.func_get_audio_position = row.audio_position;
    table.func_config = row.config;
    return table;
}

void input_records_reset() {
    record_n = 0;
    for (const BUILT_IN& row : BUILT_IN_TABLE)
        records[input_record_add(table_of(row), nullptr)].func_read_video_bounded = row.read_video_bounded;
}

// ---- patterns ----

/// The first pattern at or behind *at in a list: copies it, moves *at behind it. False at the list's end.
static bool list_pattern(const char** at, char out[INPUT_TEXT_SIZE]) {
    const char* start = *at;
    if (!*start) return false;
    const char* end = text_find(start, ';');
    const size_t n = end ? size_t(end - start) : strlen(start);
    *at = start + n + (end ? 1 : 0);
    const size_t kept = std::min(n, INPUT_TEXT_SIZE - 1);
    std::memcpy(out, start, kept);
    out[kept] = 0;
    return true;
}

bool input_pattern(const char* filefilter, int k, char out[INPUT_TEXT_SIZE]) {
    for (const char* at = filefilter; *at;) {
        at += strlen(at) + 1;  // the description
        while (list_pattern(&at, out)) {
            if (k-- == 0) return true;
        }
        ++at;
    }
    return false;
}
