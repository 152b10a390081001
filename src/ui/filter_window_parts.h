#pragma once

#include "hosts/filter.h"
#include "platform/window_control.h"
#include "ui/filter_windows.h"

/// What the files of the filter windows share.

struct FILTER_WINDOWS {
    WINDOW* main;
    MENU* menu;         // the main window's
    MENU* context;      // of the filter windows
    MENU* switches;     // the popup that holds 10000
    MENU* settings;     // the popup that holds 11000
    MENU* shared;       // made by the last FILTER_F_SUBMENU filter
    MENU* deinterlace;  // made by the filter that holds the methods
    int window_n;       // made so far
    bool disabled;      // a save runs
};
extern FILTER_WINDOWS filter_windows;

inline WINDOW* filter_window(const FILTER* filter) { return static_cast<WINDOW*>(filter->window); }
inline WINDOW* filter_control(void* handle) { return static_cast<WINDOW*>(handle); }
inline int filter_low(const FILTER* filter, int i) { return filter->track_lows ? filter->track_lows[i] : 0; }
inline int filter_high(const FILTER* filter, int i) { return filter->track_highs ? filter->track_highs[i] : 256; }
inline int filter_default(const FILTER* filter, int i) {
    return filter->track_defaults ? filter->track_defaults[i] : filter_low(filter, i);
}
inline bool filter_is_push_button(const FILTER* filter, int i) {
    return filter->check_defaults && filter->check_defaults[i] < 0;
}
inline bool filter_is_menu(const FILTER* filter) {
    return filter->flags & (FILTER_F_MENU_CHECKS | FILTER_F_MENU_RADIO);
}
inline bool filter_has_window(const FILTER* filter) {
    return !filter_is_menu(filter) && !(filter->flags & FILTER_F_NO_WINDOW);
}
/// Whether the window can be shown; there are built-in records whose work is not in this build.
inline bool filter_window_filled(const FILTER* filter) {
    return filter->module || filter->func_WndProc || filter->track_count > 0 || filter->check_count > 0;
}
/// A text of the record in UTF-8; null is empty.
std::string filter_text(const char* text);

// ---- filter_window_make.cpp, filter_window_lines.cpp

void filter_window_make(FILTER* filter);
/// Makes the controls and enters them into the record.
void filter_window_controls(FILTER* filter);
void filter_window_store(FILTER* filter);
void filter_window_forget(FILTER* filter);
/// The size that a word of pos_x or pos_y stands for, as one of the client area. base: the default one; frame: what the
/// window's frame adds.
int filter_window_size(uint32_t word, int base, int frame);
/// The place of the k-th window (from 1) on a desktop of that height.
POINT filter_window_place(int k, int desktop_height);

// ---- filter_window_menu.cpp

void filter_menu_make(FILTER* filter);
/// Removes the filter's entries.
void filter_menu_drop(FILTER* filter);
void filter_menu_place_holders_remove();

// ---- filter_window_values.cpp

/// Renews controls and menu marks.
void filter_window_show_values(FILTER* filter);
/// A track's value in its slider and, unless the user types that very value, in its edit field.
void filter_window_show_track(const FILTER* filter, int i);
void filter_window_blur_track(const FILTER* filter, int i);
/// The value that the text of a track's edit field means, within its limits.
int filter_window_typed(const FILTER* filter, int i, const std::string& text);
/// Enables or disables the filter's controls, as filter_windows.disabled tells.
void filter_window_enable(const FILTER* filter);

// ---- filter_window_forward.cpp

/// func_WndProc under the guard; place: what a report names. The result is 1 or 0.
int filter_window_call(FILTER* filter, WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam,
                       EDIT_STATE* edit, const char* place = "FILTER::func_WndProc()");

// ---- filter_window_route.cpp

intptr_t filter_window_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam);
