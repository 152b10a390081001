#include <algorithm>

#include "core/edit_state.h"
#include "pipeline/frame_renderer.h"
#include "platform/window_draw.h"
#include "ui/filter_window_parts.h"
#include "ui/main_window.h"

FILTER_WINDOWS_CALLS filter_windows_calls;

// ---- tracks

static void track_changed(FILTER* filter, int i, int value) {
    filter->track_store[i] = value;
    filter_window_show_track(filter, i);
    filter_notify_update(filter, i | FILTER_UPDATE_TRACK);
}

static int tracks_moved(FILTER* filter, uintptr_t wparam) {
    const int code = command_id(wparam);
    if (code > SCROLL_PAGE_MORE && code != SCROLL_THUMB_MOVES) return 0;
    int moved = 0;
    for (int i = 0; i < filter->track_count; ++i) {
        const int place = control_value(filter_control(filter->track_bars[i]));
        if (place == filter->track_store[i]) continue;
        track_changed(filter, i, place);
        moved = 1;
    }
    return moved;
}

static int track_stepped(FILTER* filter, intptr_t index, int step) {
    if (index < 0 || index >= filter->track_count) return 0;
    const int i = int(index), value = filter->track_store[i];
    if (step < 0 ? value <= filter_low(filter, i) : value >= filter_high(filter, i)) return 0;
    track_changed(filter, i, value + step);
    return 1;
}

// ---- number fields

// Private to the windows here: selects the text of an edit field after the click that gave it the keyboard.
static constexpr uint32_t SELECT_TEXT = 0xBF01;

static int typed(FILTER* filter, int i) {
    WINDOW* edit = filter_control(filter->track_edits[i]);
    if (window_focused() != edit) return 0;
    const int value = filter_window_typed(filter, i, control_text(edit));
    if (value == filter->track_store[i]) return 0;
    track_changed(filter, i, value);
    return 1;
}

static int edit_note(FILTER* filter, int i, int note) {
    if (i >= filter->track_count || !filter_ready()) return 0;
    if (note == NOTE_CHANGED) return typed(filter, i);
    if (note == NOTE_FOCUS) window_post(filter_window(filter), SELECT_TEXT, uintptr_t(i), 0);
    if (note == NOTE_BLUR) filter_window_blur_track(filter, i);
    return 0;
}

// ---- checks

static int checks_clicked(FILTER* filter) {
    int changed = 0;
    for (int i = 0; i < filter->check_count; ++i) {
        if (filter_is_push_button(filter, i)) continue;
        const int on = control_checked(filter_control(filter->check_boxes[i]));
        if (on == (filter->check_store[i] != 0)) continue;
        filter->check_store[i] = on;
        filter_check_update(filter, i);
        filter_notify_update(filter, i | FILTER_UPDATE_CHECK);
        changed = 1;
    }
    return changed;
}

static int entry_chosen(FILTER* filter, int i) {
    filter->check_store[i] = filter->flags & FILTER_F_MENU_RADIO ? 1 : !filter->check_store[i];
    filter_check_update(filter, i);
    filter_notify_update(filter, i | FILTER_UPDATE_CHECK);
    return 1;
}

// ---- a filter's own window

static int toggle_active(FILTER* filter) {
    filter_set_active(filter, !(filter->flags & FILTER_F_ACTIVE));
    return 1;
}

static void context_menu(const FILTER* filter, intptr_t lparam) {
    const RECT client = window_client(filter_window(filter));
    int x = message_x(lparam), y = message_y(lparam);
    if (lparam == -1) {  // from the keyboard
        x = client.left;
        y = client.top;
    }
    const bool inside =
        x >= client.left && x < client.left + client.width && y >= client.top && y < client.top + client.height;
    if (!inside || !filter_windows.context) return;
    const bool can_switch = !(filter->flags & FILTER_F_ALWAYS_ON);
    menu_enable(filter_windows.context, FILTER_CONTEXT_ACTIVE, !filter_windows.disabled && can_switch);
    menu_enable(filter_windows.context, FILTER_CONTEXT_RESET, !filter_windows.disabled);
    menu_popup(filter_window(filter), filter_windows.context, x, y);
}

static void paint_background(WINDOW* window) {
    const RECT client = window_client(window);
    draw_fill(window, {0, 0, client.width, client.height}, theme_colour(COLOUR_FACE));
}

static int control_command(FILTER* filter, uintptr_t wparam, intptr_t lparam) {
    const int id = command_id(wparam);
    if (id >= FILTER_CONTROL_EDIT && id < FILTER_CONTROL_EDIT + int(FILTER_TRACK_MAX))
        return edit_note(filter, id - FILTER_CONTROL_EDIT, command_note(wparam));
    switch (id) {
        case FILTER_CONTROL_MORE: return track_stepped(filter, lparam, 1);
        case FILTER_CONTROL_LESS: return track_stepped(filter, lparam, -1);
        case FILTER_CONTROL_CHECK: return checks_clicked(filter);
        case FILTER_CONTEXT_ACTIVE: return toggle_active(filter);
        case FILTER_CONTEXT_RESET: return filter_reset(filter);
        default: return 0;
    }
}

static void post_close(const FILTER* filter) {
    const int id = FILTER_COMMAND_SHOW + filter->menu_index;
    window_post(filter_window(filter), WM_COMMAND, uintptr_t(id), 0);
}

static int own_message(FILTER* filter, WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam,
                       EDIT_STATE* edit) {
    if (message == WM_CONTEXTMENU && !(filter->flags & FILTER_F_DISPLAY)) context_menu(filter, lparam);
    if (message == WM_PAINT && !(filter->flags & FILTER_F_OWN_PAINT) && lparam == 0) paint_background(window);
    if (message == WM_CLOSE) post_close(filter);
    if (message == WM_HSCROLL && tracks_moved(filter, wparam)) return 1;
    if (message == WM_COMMAND && control_command(filter, wparam, lparam)) return 1;
    return filter_window_call(filter, window, message, wparam, lparam, edit);
}

// ---- commands from anywhere

static int toggle_shown(FILTER* filter, EDIT_STATE* edit) {
    WINDOW* window = filter_window(filter);
    if (!window) return 0;
    filter->flags ^= FILTER_F_SHOWN;
    const bool shown = filter->flags & FILTER_F_SHOWN;
    menu_check(filter_windows.menu, FILTER_COMMAND_SHOW + filter->menu_index, shown);
    window_show(window, shown);
    return filter_window_call(filter, window, FILTER_MSG_WINDOW_CHANGED, 0, 0, edit);
}

static int command(FILTER* filter, int id, EDIT_STATE* edit) {
    if (!filter->menu) return 0;  // invalid
    const auto tell = [&](uint32_t message) {
        return filter_window_call(filter, filter_window(filter), message, 0, 0, edit);
    };
    switch (id - filter->menu_index) {
        case FILTER_COMMAND_IMPORT: return tell(FILTER_MSG_IMPORT);
        case FILTER_COMMAND_EXPORT: return tell(FILTER_MSG_EXPORT);
        case FILTER_COMMAND_ACTIVE: return toggle_active(filter);
        case FILTER_COMMAND_SHOW: return toggle_shown(filter, edit);
        default: break;
    }
    const int entry = id - filter->track_store[1];
    const bool chosen = filter_is_menu(filter) && entry >= 0 && entry < filter->check_count;
    return chosen ? entry_chosen(filter, entry) : 0;
}

int filter_windows_route(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit) {
    for (FILTER* const* at = filter_list(); *at; ++at) {
        FILTER* filter = *at;
        if (window && filter->window == window && own_message(filter, window, message, wparam, lparam, edit)) return 1;
        if (message == WM_COMMAND && command(filter, command_id(wparam), edit)) return 1;
    }
    return 0;
}

// ---- the procedure of the filters' windows

static FILTER* filter_of(const WINDOW* window) {
    for (FILTER* const* at = filter_list(); *at; ++at) {
        if ((*at)->window == window) return *at;
    }
    return nullptr;
}

// Step buttons tell themselves; the protocol has the index of the track.
static intptr_t index_of_step(const FILTER* filter, int id, intptr_t lparam) {
    if (id != FILTER_CONTROL_LESS && id != FILTER_CONTROL_MORE) return lparam;
    const auto& buttons = id == FILTER_CONTROL_LESS ? filter->track_lefts : filter->track_rights;
    const auto* found = std::find(std::begin(buttons), std::end(buttons), reinterpret_cast<void*>(lparam));
    return lparam && found != std::end(buttons) ? found - buttons : lparam;
}

static void redraw(EDIT_STATE* edit) {
    if (!edit) return;
    if (filter_windows_calls.redraw) {
        filter_windows_calls.redraw(edit);
        return;
    }
    if (!(edit->edit_flag & EDIT_SAVING)) render_current(edit);
    paint_current(edit);
}

static void tell_moved(FILTER* filter, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    WINDOW* window = filter_window(filter);
    if (message == WM_MOVE) {
        const RECT frame = window_frame(window);
        filter->pos_x = frame.left;
        filter->pos_y = frame.top;
    }
    const bool moved = message == WM_MOVE || message == WM_SIZE || message == WM_MOVING ||
                       message == WM_ENTERSIZEMOVE || message == WM_EXITSIZEMOVE;
    if (moved && filter_windows_calls.moved) filter_windows_calls.moved(window, message, wparam, lparam);
}

intptr_t filter_window_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    FILTER* filter = filter_of(window);
    if (!filter) return message == WM_CLOSE ? 0 : window_default(window, message, wparam, lparam);
    if (message == SELECT_TEXT) {
        WINDOW* edit = filter_control(filter->track_edits[wparam % FILTER_TRACK_MAX]);
        if (window_focused() == edit) control_select_all(edit);
        return 0;
    }
    if (message == WM_KEYDOWN && wparam == KEY_ESCAPE && main_busy())
        window_post(filter_windows.main, WM_COMMAND, MAIN_COMMAND_STOP, 0);
    if (message == WM_COMMAND) lparam = index_of_step(filter, command_id(wparam), lparam);
    if (filter_windows_route(window, message, wparam, lparam, edit_state)) redraw(edit_state);
    if (!window_exists(window)) return 0;
    if (filter->window == window) tell_moved(filter, message, wparam, lparam);
    // The route has painted, and the window stays when it is closed.
    if (message == WM_PAINT || message == WM_CLOSE) return 0;
    return window_default(window, message, wparam, lparam);
}
