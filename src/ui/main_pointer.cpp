#include "core/edit_commands.h"
#include "pipeline/frame_renderer.h"
#include "ui/filter_windows.h"
#include "ui/main_menu.h"
#include "ui/main_parts.h"
#include "ui/main_window.h"
#include "ui/view.h"

enum POINTER_CAPTURE { CAPTURE_LEAVE, CAPTURE_ON, CAPTURE_OFF };

static constexpr struct {
    uint32_t message, to_filters;
    POINTER_CAPTURE capture;
} POINTER_TABLE[] = {
    {WM_LBUTTONDOWN, FILTER_MSG_MAIN_LEFT_DOWN, CAPTURE_ON},
    {WM_LBUTTONUP, FILTER_MSG_MAIN_LEFT_UP, CAPTURE_OFF},
    {WM_LBUTTONDBLCLK, FILTER_MSG_MAIN_LEFT_DOUBLE, CAPTURE_LEAVE},
    {WM_RBUTTONDOWN, FILTER_MSG_MAIN_RIGHT_DOWN, CAPTURE_ON},
    {WM_RBUTTONUP, FILTER_MSG_MAIN_RIGHT_UP, CAPTURE_OFF},
    {WM_MOUSEMOVE, FILTER_MSG_MAIN_MOVE, CAPTURE_LEAVE},
};

// The view leaves the filters away: this once the picture is shown with them.
static void show_filtered_once(EDIT_STATE* edit) {
    if (!(edit->view.view_flag & VIEW_FILTER_ON_SAVE)) return;
    view_set_flag(&edit->view, VIEW_FILTER_ON_SAVE, false);
    render_current(edit);
    view_set_flag(&edit->view, VIEW_FILTER_ON_SAVE, true);
    paint_current(edit);
}

unsigned main_pointer(const MAIN_MESSAGE& m) {
    bool taken = false;
    for (const auto& row : POINTER_TABLE) {
        if (row.message != m.message) continue;
        if (row.capture != CAPTURE_LEAVE) window_capture(m.window, row.capture == CAPTURE_ON);
        if (main_busy()) return STEP_GO_ON;
        const intptr_t place = filter_main_place(m.edit, message_x(m.lparam), message_y(m.lparam));
        taken = filter_main_forward(row.to_filters, m.wparam, place, m.edit) != 0;
    }
    if (m.message == WM_LBUTTONDBLCLK && !taken) show_filtered_once(m.edit);
    if (!taken) return STEP_GO_ON;
    return m.message == WM_RBUTTONUP ? STEP_REDRAW | STEP_HANDLED : unsigned{STEP_REDRAW};
}

unsigned main_wheel(const MAIN_MESSAGE& m) {
    if (main_busy()) return STEP_GO_ON;
    const POINT at = window_from_screen(m.window, {message_x(m.lparam), message_y(m.lparam)});
    const intptr_t place = filter_main_place(m.edit, at.x, at.y);
    if (filter_main_forward(FILTER_MSG_MAIN_WHEEL, m.wparam, place, m.edit)) return STEP_REDRAW;
    const int turn = int16_t(m.wparam >> 16 & 0xFFFF);
    if (turn == 0 || !move_to(m.edit, m.edit->frame + (turn < 0 ? 1 : -1))) return STEP_GO_ON;
    return window_waiting(m.window, WM_MOUSEWHEEL) ? STEP_LEAVE : STEP_REDRAW;
}

unsigned main_context_menu(const MAIN_MESSAGE& m) {
    const RECT client = window_client(m.window);
    POINT screen = {message_x(m.lparam), message_y(m.lparam)};
    if (m.lparam == -1) screen = window_to_screen(m.window, {client.width / 2, client.height / 2});
    const POINT at = window_from_screen(m.window, screen);
    if (at.x < 0 || at.y < 0 || at.x >= client.width || at.y >= client.height) return STEP_GO_ON;
    const intptr_t place = filter_main_place(m.edit, at.x, at.y);
    if (!main_busy() && filter_main_forward_once(FILTER_MSG_MAIN_CONTEXT, m.wparam, place, m.edit))
        return STEP_REDRAW | STEP_HANDLED;
    main_menu_context(m.window, m.edit, screen);
    return STEP_HANDLED;
}
