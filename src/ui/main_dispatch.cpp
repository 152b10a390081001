#include "core/edit_commands.h"
#include "pipeline/frame_renderer.h"
#include "platform/handle.h"
#include "ui/filter_windows.h"
#include "ui/key_table.h"
#include "ui/main_hooks.h"
#include "ui/main_parts.h"
#include "ui/main_window.h"
#include "ui/view.h"

// ---- keys

static unsigned main_key_down(const MAIN_MESSAGE& m) {
    if (main_busy()) return STEP_GO_ON;
    if (filter_main_forward(FILTER_MSG_MAIN_KEY_DOWN, m.wparam, m.lparam, m.edit)) return STEP_REDRAW;
    key_dispatch(m.window, m.message, m.wparam, m.lparam);
    return STEP_GO_ON;
}

static unsigned main_system_key(const MAIN_MESSAGE& m) {
    if (!main_busy()) key_dispatch(m.window, m.message, m.wparam, m.lparam);
    return STEP_GO_ON;
}

static unsigned main_key_up(const MAIN_MESSAGE& m) {
    if (main_busy()) return STEP_GO_ON;
    return filter_main_forward(FILTER_MSG_MAIN_KEY_UP, m.wparam, m.lparam, m.edit) ? STEP_REDRAW : STEP_GO_ON;
}

// ---- painting and places

// Nothing is rendered here. paint_current has converted the picture already when it shows it at once.
static unsigned main_paint(const MAIN_MESSAGE& m) {
    EDIT_STATE* edit = m.edit;
    const bool open = edit->edit_flag & EDIT_OPEN;
    const uint8_t* pixels = nullptr;
    if (open && main_hooks_pixels_ready(edit))
        pixels = static_cast<const uint8_t*>(handle_get(edit->shown_pixels));
    else if (open && edit->shown_image)
        pixels = display_convert(edit, edit->view.display_code);
    const auto* wave = static_cast<const int16_t*>(handle_get(edit->shown_wave));
    view_paint(&edit->view, edit->shown_header, pixels, wave, edit->shown_wave_n);
    return STEP_HANDLED;
}

static unsigned main_resized(const MAIN_MESSAGE& m) {
    if (main_busy()) return STEP_GO_ON;
    const auto window = reinterpret_cast<intptr_t>(m.window);
    return filter_main_forward(FILTER_MSG_MAIN_RESIZED, 0, window, m.edit) ? STEP_REDRAW : STEP_GO_ON;
}

// ---- the map

static constexpr struct {
    uint32_t message;
    unsigned (*handle)(const MAIN_MESSAGE& m);
} MESSAGE_TABLE[] = {
    {WM_SYSKEYDOWN, main_system_key}, {WM_KEYDOWN, main_key_down},         {WM_KEYUP, main_key_up},
    {WM_LBUTTONDOWN, main_pointer},   {WM_LBUTTONUP, main_pointer},        {WM_LBUTTONDBLCLK, main_pointer},
    {WM_RBUTTONDOWN, main_pointer},   {WM_RBUTTONUP, main_pointer},        {WM_MOUSEMOVE, main_pointer},
    {WM_MOUSEWHEEL, main_wheel},      {WM_CONTEXTMENU, main_context_menu}, {WM_MOVE, main_resized},
    {WM_SIZE, main_resized},          {WM_DROPFILES, main_drop},           {WM_HSCROLL, main_slider},
    {WM_PAINT, main_paint},           {WM_COMMAND, main_command},
};

intptr_t main_dispatch(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit) {
    const MAIN_MESSAGE m = {window, message, wparam, lparam, edit};
    unsigned step = STEP_GO_ON;
    for (const auto& row : MESSAGE_TABLE)
        if (row.message == message) step = row.handle(m);
    const bool leave = step & STEP_LEAVE;
    if (view_message(window, message, wparam, lparam, &edit->view)) step |= STEP_REDRAW;
    if ((step & STEP_REDRAW) && !leave) main_redraw(edit);
    return step & STEP_HANDLED;
}
