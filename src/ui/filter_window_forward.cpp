#include "core/edit_state.h"
#include "hosts/filter_cache.h"
#include "hosts/filter_call.h"
#include "ui/filter_window_parts.h"

int filter_window_call(FILTER* filter, WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam,
                       EDIT_STATE* edit, const char* place) {
    if (!filter->func_WndProc) return 0;
    int result = 0;
    const FILTER_CACHE_MARK mark = filter_cache_mark();
    if (!filter_call(filter, place,
                     [&] { result = filter->func_WndProc(window, message, wparam, lparam, edit, filter); })) {
        filter_cache_restore(mark);
        return 0;
    }
    if (result != 1) return 0;
    filter_cache_clear_after(filter);
    return 1;
}

// ---- events of the main window

static int forward(uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit, bool once) {
    if (edit && (edit->edit_flag & EDIT_SAVING)) return 0;
    const char* place = once ? "FILTER::filter_WndProc_only_once()" : "FILTER::filter_WndProc_only()";
    int result = 0;
    for (FILTER* const* at = filter_list(); *at && !(once && result); ++at) {
        FILTER* filter = *at;
        if (!(filter->flags & FILTER_F_MAIN_MESSAGES)) continue;
        result |= filter_window_call(filter, filter_window(filter), message, wparam, lparam, edit, place);
    }
    return result;
}

int filter_main_forward(uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit) {
    return forward(message, wparam, lparam, edit, false);
}

int filter_main_forward_once(uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit) {
    return forward(message, wparam, lparam, edit, true);
}

static int scaled(int place, int start, int shown, int source) {
    return shown > 0 ? int(int64_t{place - start} * source / shown) : 0;
}

intptr_t filter_main_place(const EDIT_STATE* edit, int x, int y) {
    if (!edit || !(edit->edit_flag & EDIT_OPEN)) return 0;
    const int32_t(&rect)[6] = edit->view.draw_rect;
    return message_point(scaled(x, rect[0], rect[2], rect[4]), scaled(y, rect[1], rect[3], rect[5]));
}

// ---- to all

int filter_broadcast_post(uintptr_t wparam, intptr_t lparam) {
    for (FILTER* const* at = filter_list(); *at; ++at) {
        if ((*at)->func_WndProc && (*at)->window)
            window_post(filter_window(*at), FILTER_MSG_FRAME_SHOWN, wparam, lparam);
    }
    return 1;
}
