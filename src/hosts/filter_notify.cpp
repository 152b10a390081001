#include "hosts/filter.h"
#include "hosts/filter_cache.h"
#include "hosts/filter_call.h"

int filter_notify_update(FILTER* filter, int status) {
    if (filter->func_update) filter_call(filter, "FILTER::func_update()", [&] { filter->func_update(filter, status); });
    filter_cache_clear_after(filter);
    if (!filter_headless() && filter->func_WndProc && filter_window_hooks.post)
        filter_window_hooks.post(filter, FILTER_MSG_SETTING_CHANGED, uintptr_t(status));
    return 1;
}

int filter_broadcast_send(uint32_t message, uintptr_t wparam) {
    if (!filter_window_hooks.send) return 1;
    for (FILTER* const* at = filter_list(); *at; ++at) {
        if ((*at)->func_WndProc && (*at)->window) filter_window_hooks.send(*at, message, wparam);
    }
    return 1;
}

// ---- saves

static bool is_told(const FILTER* filter, uint32_t mode) {
    return mode & (filter->flags & FILTER_F_AUDIO ? FILTER_SAVE_AUDIO : FILTER_SAVE_VIDEO);
}

int filter_notify_save_start(uint32_t mode, int first, int last, EDIT_STATE* edit) {
    for (FILTER* const* at = filter_list(); *at; ++at) {
        FILTER* filter = *at;
        if (!filter->func_save_start || !is_told(filter, mode)) continue;
        filter_call(filter, "FILTER::func_save_start()", [&] { filter->func_save_start(filter, first, last, edit); });
    }
    return filter_broadcast_send(FILTER_MSG_SAVE_START, 0);
}

int filter_notify_save_end(uint32_t mode, EDIT_STATE* edit) {
    filter_broadcast_send(FILTER_MSG_SAVE_END, 0);
    for (FILTER* const* at = filter_list(); *at; ++at) {
        FILTER* filter = *at;
        if (!filter->func_save_end || !is_told(filter, mode)) continue;
        filter_call(filter, "FILTER::func_save_end()", [&] { filter->func_save_end(filter, edit); });
    }
    return 1;
}

int filter_is_saveframe(FILTER* filter, EDIT_STATE* edit, int save_number, int frame, int fps, int edit_flag,
                        int inter) {
    int kept = 1;
    if (filter->func_is_saveframe)
        filter_call(filter, "FILTER::func_is_saveframe()", [&] {
            kept = filter->func_is_saveframe(filter, edit, save_number, frame, fps, edit_flag, inter) != 0;
        });
    return kept;
}

// ---- projects and title

void filter_project_load(FILTER* filter, EDIT_STATE* edit, void* data, int size) {
    if (!filter->func_project_load) return;
    filter_call(filter, "FILTER::func_project_load()", [&] { filter->func_project_load(filter, edit, data, size); });
}

bool filter_project_save(FILTER* filter, EDIT_STATE* edit, void* data, int* size) {
    if (!filter->func_project_save) return false;
    int exists = 0;
    int32_t bytes = *size;
    if (!filter_call(filter, "FILTER::func_project_save()",
                     [&] { exists = filter->func_project_save(filter, edit, data, &bytes); }))
        return false;
    *size = bytes;
    return exists != 0;
}

int filter_modify_title(EDIT_STATE* edit, int frame, char* text, int capacity) {
    for (FILTER* const* at = filter_list(); *at; ++at) {
        FILTER* filter = *at;
        if (!filter->func_modify_title) continue;
        filter_call(filter, "FILTER::func_modify_title()",
                    [&] { filter->func_modify_title(filter, edit, frame, text, capacity); });
        text[capacity - 1] = 0;
    }
    return 1;
}
