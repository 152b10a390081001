#include "readers/input_table.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/file.h"
#include "platform/guard.h"
#include "platform/path.h"
#include "platform/text.h"
#include "readers/open_progress.h"

static INPUT_HANDLE handles[INPUT_HANDLE_MAX];
static INPUT_FAIL open_error = INPUT_FAIL_NONE;

/// Runs a call into a record's functions under the guard. False when it faulted and the user goes on.
template <typename CALL>
static bool guarded(const INPUT_RECORD& record, const char* place, CALL&& call) {
    GUARD_FAULT fault;
    if (guard_call(&fault, call)) return true;
    guard_report(fault, record.name_text, place);
    return false;
}

// ---- start and end ----

void input_table_init() {
    std::fill_n(handles, INPUT_HANDLE_MAX, INPUT_HANDLE{});
    input_records_reset();
    for (int i = 0; i < input_record_n(); ++i) {
        const INPUT_RECORD& record = *input_record(i);
        if (record.table.func_init)
            guarded(record, "INPUT_PLUGIN_TABLE::func_init()", [&] { record.table.func_init(); });
    }
}

void input_table_exit() {
    for (INPUT_HANDLE& handle : handles) {
        if (handle.used) input_close(&handle);
    }
    for (int i = 0; i < input_record_n(); ++i) {
        const INPUT_RECORD& record = *input_record(i);
        if (record.table.flags & INPUT_F_BUILT_IN && record.table.func_exit)
            guarded(record, "INPUT_PLUGIN_TABLE::func_exit()", [&] { record.table.func_exit(); });
    }
}

// ---- open and close ----

/// What is wrong with the file itself. Opening for reading does not wait for a FIFO's other end.
static INPUT_FAIL path_fault(const char* path) {
    const int file = file_open_read(path);
    if (file >= 0) {
        const int64_t size = file_size(file);
        file_close(file);
        return size == 0 ? INPUT_FAIL_EMPTY : INPUT_FAIL_NONE;
    }
    switch (errno) {
        case ENOENT:
        case ENOTDIR:
        case ENAMETOOLONG: return INPUT_FAIL_MISSING;
        case EISDIR: return INPUT_FAIL_FOLDER;
        case EINVAL:
        case ENXIO: return INPUT_FAIL_NOT_REGULAR;
        default: return INPUT_FAIL_UNREADABLE;
    }
}

static bool record_takes(const INPUT_RECORD& record, const char* extension, const char* name) {
    if (name ? strcmp(record.name_text, name) != 0 : (record.table.flags & INPUT_F_BY_NAME) != 0) return false;
    char pattern[INPUT_TEXT_SIZE];
    for (int k = 0; input_pattern(record.filefilter_text, k, pattern); ++k) {
        if (pattern[0] != '*') continue;
        if (text_compare_nocase(pattern + 1, extension) == 0 || strcmp(pattern + 1, ".*") == 0) return true;
    }
    return false;
}

/// A record whose functions may be called. Plug-in files count as soon as they are loaded.
static bool record_is_ready(const INPUT_RECORD& record) {
    const bool loaded = record.table.flags & INPUT_F_BUILT_IN || record.module;
    return loaded && record.table.func_open;
}

static bool record_open(INPUT_HANDLE* handle, int index, const char* path) {
    INPUT_RECORD& record = *input_record(index);
    record.use_count++;
    *handle = {nullptr, index, true};
    INPUT_PLUGIN_HANDLE opened = nullptr;
    // The result is taken only from a call that returned.
    if (guarded(record, "INPUT_PLUGIN_TABLE::func_open()", [&] { opened = record.table.func_open(path); }))
        handle->handle = opened;
    if (handle->handle) return true;
    input_close(handle);
    return false;
}

/// All records by priority, ties in table order, up to the first that opens the file.
static bool records_try(INPUT_HANDLE* handle, const char* path, int after, const char* name) {
    const char* extension = path_extension(path);
    for (int priority = 0; priority < INPUT_PRIORITY_N; ++priority) {
        for (int i = 0; i < input_record_n(); ++i) {
            const INPUT_RECORD& record = *input_record(i);
            if (record.priority != priority) continue;
            if (after != -1) {
                if (after == i) after = -1;
                continue;
            }
            if (!record_takes(record, extension, name) || !record_is_ready(record)) continue;
            if (record_open(handle, i, path)) return true;
            if (open_progress_stopped()) return false;
        }
    }
    return false;
}

INPUT_HANDLE* input_open(const char* path, int after, const char* name) {
    INPUT_HANDLE* handle =
        std::find_if(handles, handles + INPUT_HANDLE_MAX, [](const INPUT_HANDLE& h) { return !h.used; });
    if (handle == handles + INPUT_HANDLE_MAX) {
        open_error = INPUT_FAIL_TOO_MANY_OPEN;
        return nullptr;
    }
    open_error = path_fault(path);
    // What is no file is shown to nobody: a reader could wait for ever on it.
    if (open_error == INPUT_FAIL_FOLDER || open_error == INPUT_FAIL_NOT_REGULAR) return nullptr;
    if (records_try(handle, path, after, name)) {
        open_error = INPUT_FAIL_NONE;
        return handle;
    }
    if (open_progress_stopped())
        open_error = INPUT_FAIL_STOPPED;
    else if (open_error == INPUT_FAIL_NONE)
        open_error = INPUT_FAIL_NO_READER;
    return nullptr;
}

INPUT_FAIL input_open_error() { return open_error; }

int input_close(INPUT_HANDLE* handle) {
    if (!handle || !handle->used) return 1;
    INPUT_RECORD& record = *input_record(handle->record);
    if (handle->handle && record.table.func_close)
        guarded(record, "INPUT_PLUGIN_TABLE::func_close()", [&] { record.table.func_close(handle->handle); });
    *handle = {};
    record.use_count--;
    return 1;
}

// ---- what is asked of an open file ----

static const INPUT_RECORD& record_of(const INPUT_HANDLE* handle) { return *input_record(handle->record); }

int input_index(const INPUT_HANDLE* handle) { return handle->record; }

int input_info(const INPUT_HANDLE* handle, INPUT_MEDIA_INFO* info) {
    const INPUT_RECORD& record = record_of(handle);
    int result = 0;
    if (!record.table.func_info_get) return 0;
    const bool ended = guarded(record, "INPUT_PLUGIN_TABLE::func_info_get()",
                               [&] { result = record.table.func_info_get(handle->handle, info); });
    return ended ? result : 0;
}

int input_read_video(const INPUT_HANDLE* handle, int32_t frame, void* buffer, size_t capacity, int, int, int,
                     bool* damaged) {
    const INPUT_RECORD& record = record_of(handle);
    int64_t n = 0;
    if (damaged) *damaged = false;
    const bool ended = guarded(record, "INPUT_PLUGIN_TABLE::func_read_video()", [&] {
        if (record.func_read_video_bounded)
            n = record.func_read_video_bounded(handle->handle, frame, buffer, capacity, damaged);
        else if (record.table.func_read_video)
            n = record.table.func_read_video(handle->handle, frame, buffer);
    });
    return ended ? int(std::clamp<int64_t>(n, 0, int64_t(std::min<size_t>(capacity, INT32_MAX)))) : 0;
}

int input_read_audio(const INPUT_HANDLE* handle, int32_t start, int32_t count, void* buffer) {
    const INPUT_RECORD& record = record_of(handle);
    int n = 0;
    if (!record.table.func_read_audio) return 0;
    const bool ended = guarded(record, "INPUT_PLUGIN_TABLE::func_read_audio()",
                               [&] { n = record.table.func_read_audio(handle->handle, start, count, buffer); });
    return ended ? std::clamp(n, 0, std::max(count, 0)) : 0;
}

int32_t input_audio_position(const INPUT_HANDLE* handle, int32_t sample) {
    const INPUT_RECORD& record = record_of(handle);
    int32_t position = 0;
    if (!record.table.func_get_audio_position) return std::max(sample, 0);
    const bool ended = guarded(record, "INPUT_PLUGIN_TABLE::func_get_audio_position()",
                               [&] { position = record.table.func_get_audio_position(handle->handle, sample); });
    return ended ? std::max(position, 0) : 0;
}

bool input_is_keyframe(const INPUT_HANDLE* handle, int32_t frame) {
    const INPUT_RECORD& record = record_of(handle);
    int key = 1;
    if (!record.table.func_is_keyframe) return true;
    const bool ended = guarded(record, "INPUT_PLUGIN_TABLE::func_is_keyframe()",
                               [&] { key = record.table.func_is_keyframe(handle->handle, frame); });
    return !ended || key != 0;
}

const char* input_reader_name(const INPUT_HANDLE* handle) {
    static char name[INPUT_TEXT_SIZE];
    std::memcpy(name, record_of(handle).name_text, sizeof name);
    return name;
}
