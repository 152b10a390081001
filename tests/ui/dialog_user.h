#pragma once

#include <functional>
#include <vector>

#include "platform/window_control.h"

/// Somebody who answers modal dialogs: one step at a time, each in the dialog that is on top then. A step may open
/// another dialog, which the next step answers.
using USER_STEP = std::function<void(WINDOW* dialog)>;
inline std::vector<USER_STEP> user;

inline intptr_t user_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    // A timer does not come again while its message is handled, so the step is one of its own.
    if (message == WM_TIMER && !window_waiting(window, WM_USER)) window_post(window, WM_USER, 0, 0);
    if (message != WM_USER) return window_default(window, message, wparam, lparam);
    if (user.empty() || !dialog_current()) return 0;
    const USER_STEP step = user.front();
    user.erase(user.begin());
    step(dialog_current());
    return 0;
}
inline void user_start() { timer_start(window_create({WINDOW_TOOL, 0, "", nullptr, user_proc, 0, 0, 1, 1}), 1, 100); }

inline void press(WINDOW* dialog, int id, int note = NOTE_CLICKED) {
    window_send(dialog, WM_COMMAND, uintptr_t(id) | uintptr_t(note) << 16, 0);
}
inline void put(WINDOW* dialog, int id, const std::string& text) { control_set_text(control_of(dialog, id), text); }
inline void put(WINDOW* dialog, int id, int value) { control_set_value(control_of(dialog, id), value); }
inline void check(WINDOW* dialog, int id, bool on) {
    control_check(control_of(dialog, id), on);
    press(dialog, id);
}
inline void select(WINDOW* dialog, int id, int row) {
    rows_select(control_of(dialog, id), row);
    press(dialog, id, NOTE_SELECTED);
}
/// The first row that begins with a text, -1 when there is none.
inline int row_with(WINDOW* control, const std::string& text) {
    for (int i = 0; i < rows_count(control); ++i)
        if (rows_text(control, i).starts_with(text)) return i;
    return -1;
}

/// The step that presses a button.
inline USER_STEP presses(int id) {
    return [id](WINDOW* dialog) { press(dialog, id); };
}
/// The step that does something and then agrees.
inline USER_STEP agrees(const USER_STEP& after) {
    return [after](WINDOW* dialog) {
        after(dialog);
        press(dialog, ID_OK);
    };
}
/// The step that gives a field a text or a value and agrees.
template <typename T>
USER_STEP types(int id, T value) {
    return agrees([id, value](WINDOW* dialog) { put(dialog, id, value); });
}
