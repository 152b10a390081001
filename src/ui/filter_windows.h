#pragma once

#include <cstdint>

#include "platform/window_menu.h"
#include "vantel_filter.h"

/// The windows and menu entries of the filters: made from what a filter says of its controls, and the way of messages
/// between these controls, the FILTER record and func_WndProc. Main thread only. All calls into func_WndProc run under
/// the crash guard; one that crashes counts as a result of 0. A result of 1 asks for a redraw and empties the caches
/// behind the filter.

/// Command ids: some plus FILTER.menu_index, some within a filter's window. Menu filters have theirs from 12100 on.
enum FILTER_COMMAND : int {
    FILTER_COMMAND_ACTIVE = 10001,  // + menu_index: toggles FILTER_F_ACTIVE
    FILTER_COMMAND_SHOW = 11001,    // + menu_index: toggles FILTER_F_SHOWN
    FILTER_COMMAND_IMPORT = 14001,  // + menu_index
    FILTER_COMMAND_EXPORT = 15001,  // + menu_index
    FILTER_CONTROL_TRACK = 12000,
    FILTER_CONTROL_CHECK = 12001,
    FILTER_CONTROL_LESS = 12002,  // step buttons; lparam: index of the track
    FILTER_CONTROL_MORE = 12003,
    FILTER_CONTROL_BUTTON = 12004,  // + index: push buttons
    FILTER_CONTEXT_ACTIVE = 13000,  // of the window's context menu
    FILTER_CONTEXT_RESET = 13001,
    FILTER_CONTROL_EDIT = 13100,  // + index of the track
};

/// Fills filter_window_hooks (hosts/filter.h). Before filter_system_init, which then makes the windows and entries.
/// main_window owns the windows and outlives them. The menu holds the place-holders 10000, 10999 (switches), 11000,
/// 11999, 11998 (windows, menu filters), 10998 (display tools), 14000, 15000 (import, export), which go at the end of
/// the start.
void filter_windows_install(WINDOW* main_window, MENU* main_menu);

/// What the filter windows want of the main window. An entry that is null is done without.
struct FILTER_WINDOWS_CALLS {
    /// Renders and shows the current frame anew, title included; null: render_current and paint_current.
    void (*redraw)(EDIT_STATE* edit);
    /// Sees WM_MOVING, WM_ENTERSIZEMOVE, WM_EXITSIZEMOVE, WM_MOVE and WM_SIZE of filter windows.
    void (*moved)(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam);
};
extern FILTER_WINDOWS_CALLS filter_windows_calls;

/// Every message of the main window and of the filters' windows (these see to it themselves) passes here. Step buttons
/// come with the index of the track as lparam. 1: the current frame needs rendering and showing anew.
int filter_windows_route(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit);

/// FILTER_MSG_MAIN_... to all filters with FILTER_F_MAIN_MESSAGES, or up to the first that returns 1. 1: one of them
/// did. Nothing while a save runs.
int filter_main_forward(uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit);
int filter_main_forward_once(uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit);
/// The lparam of those messages: a place in the main window's client area turned into one of the picture, by draw_rect.
/// 0 without an open file.
intptr_t filter_main_place(const EDIT_STATE* edit, int x, int y);

/// Posts FILTER_MSG_FRAME_SHOWN to all filters with func_WndProc and a window.
int filter_broadcast_post(uintptr_t wparam, intptr_t lparam);

/// The main window to the corner of the screen and all filter windows to their default places, sizes kept.
int filter_windows_arrange(WINDOW* main_window);

/// Enables all controls of all filter windows and the entries of their context menu, or disables them for a save.
int filter_enable_windows(bool enable);
