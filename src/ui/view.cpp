#include "ui/view.h"

#include "platform/handle.h"
#include "platform/window_menu.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "ui/view_overlay.h"

static constexpr int COMMAND_WAVE = 9104, COMMAND_OVERLAY = 9111, COMMAND_ON_TOP = 9113;
static constexpr int COMMAND_ZOOM = 9200;

/// The commands that turn a flag; they stand on the menu with a mark.
static constexpr struct {
    int command;
    uint32_t flag;
    bool redraw;  // the picture or the title shows it
} FLAG_TABLE[] = {
    {5144, VIEW_FILTER_ON_SAVE, true}, {9105, VIEW_SAVE_PREVIEW, false},     {9106, VIEW_SHOW_DROPS, true},
    {9109, VIEW_MARK_KEYS, true},      {9110, VIEW_MARK_RECOMPRESS, true},   {9114, VIEW_SHOW_TIME, true},
    {9115, VIEW_DATA_RATE, false},     {COMMAND_ON_TOP, VIEW_ON_TOP, false}, {COMMAND_OVERLAY, VIEW_OVERLAY, true},
    {COMMAND_WAVE, VIEW_WAVE, false},
};

static MENU* menu_now;  // the window's
// What the frame adds to the client area as far as it was known before the window was first shown. Sizes are stored
// with it, so that a run does not add the desktop's frame to the size of the next.
static POINT frame_extra;

WINDOW* view_window(const VIEW_RECORD* view) { return static_cast<WINDOW*>(handle_get(view->main_window)); }

void view_set_flag(VIEW_RECORD* view, uint32_t flag, bool on) {
    view->view_flag = on ? view->view_flag | flag : view->view_flag & ~flag;
}

void view_mark_menu(const VIEW_RECORD* view) {
    if (!menu_now) return;
    for (const auto& row : FLAG_TABLE) menu_check(menu_now, row.command, (view->view_flag & row.flag) != 0);
    menu_radio(menu_now, COMMAND_ZOOM, COMMAND_ZOOM + VIEW_ZOOM_WINDOW, COMMAND_ZOOM + view->zoom);
}

// ---- life

static void give_size(WINDOW* window, const RECT& wanted) {
    const RECT frame = window_frame(window), client = window_client(window);
    frame_extra = {frame.width - client.width, frame.height - client.height};
    window_resize_client(window, wanted.width - frame_extra.x, wanted.height - frame_extra.y);
}

static bool start_maximised;

WINDOW* view_create(VIEW_RECORD* view, WINDOW_PROC proc, MENU* menu) {
    *view = {};
    const VIEW_PLACE place = view_settings_read(view);
    const std::string title = language_text_utf8(STR_PROGRAM);
    WINDOW* window = window_create({WINDOW_MAIN, WINDOW_F_SIZABLE | WINDOW_F_ICON, title.c_str(), nullptr, proc,
                                    place.frame.left, place.frame.top, place.frame.width, place.frame.height});
    if (!window) return nullptr;
    menu_attach(window, menu);
    menu_now = menu;
    start_maximised = place.maximised;
    view->main_window = handle_new(window);
    view->left = place.frame.left;
    view->top = place.frame.top;
    view->width = place.frame.width;
    view->height = place.frame.height;
    view_bar_create(view);
    give_size(window, place.frame);
    view_keep_on_screen(window, 0, 0);
    window_on_top(window, (view->view_flag & VIEW_ON_TOP) != 0);
    const RECT client = window_client(window);
    view_bar_layout(view, client.width, client.height);
    view_mark_menu(view);
    return window;
}

void view_show(VIEW_RECORD* view) {
    WINDOW* window = view_window(view);
    window_show(window, true);
    if (start_maximised) window_set_state(window, WINDOW_MAXIMISED);
    if (view->view_flag & VIEW_OVERLAY) view_overlay_turn(view, true);
}

void view_save(VIEW_RECORD* view) {
    WINDOW* window = view_window(view);
    if (!window) return;
    const WINDOW_STATE state = window_state(window);
    const RECT frame = window_frame(window), client = window_client(window);
    const RECT place = {frame.left, frame.top, client.width + frame_extra.x, client.height + frame_extra.y};
    view_settings_write(view, state == WINDOW_NORMAL ? &place : nullptr, state == WINDOW_MAXIMISED);
    overlay_close(window);
}

void view_forget(VIEW_RECORD* view) {
    for (const uint32_t id : {view->main_window, view->trackbar, view->button_back, view->button_forward,
                              view->button_in, view->button_out})
        handle_free(id);
    view->main_window = view->trackbar = 0;
    view->button_back = view->button_forward = view->button_in = view->button_out = 0;
    menu_now = nullptr;
}

// ---- messages

static bool turn_flag(WINDOW* window, int command, VIEW_RECORD* view) {
    for (const auto& row : FLAG_TABLE) {
        if (row.command != command) continue;
        const bool on = !(view->view_flag & row.flag);
        if (command == COMMAND_OVERLAY)
            view_overlay_turn(view, on);
        else if (command != COMMAND_WAVE)  // turned before it came here
            view_set_flag(view, row.flag, on);
        if (command == COMMAND_ON_TOP) window_on_top(window, on);
        view_mark_menu(view);
        return row.redraw;
    }
    return false;
}

static bool is_zoom(int command) { return command >= COMMAND_ZOOM && command <= COMMAND_ZOOM + VIEW_ZOOM_WINDOW; }

static void move_overlay(WINDOW* window, VIEW_RECORD* view) {
    const int32_t* r = view->draw_rect;
    if (r[4] <= 0 || !(view->view_flag & VIEW_OVERLAY)) return;
    if (!overlay_move(window, {r[0], r[1], r[2], r[3]}, {0, 0, r[4], r[5]})) view_overlay_turn(view, false);
}

bool view_message(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam, VIEW_RECORD* view) {
    switch (message) {
        case WM_SIZE:
            if (wparam != WINDOW_MINIMISED) view_bar_layout(view, message_x(lparam), message_y(lparam));
            return false;
        case WM_MOVE: move_overlay(window, view); return false;
        case WM_SETTINGCHANGE: window_invalidate(window); return false;
        case WM_COMMAND:
            if (is_zoom(command_id(wparam)) || command_id(wparam) == 9107 || command_id(wparam) == 9108)
                view_mark_menu(view);
            return turn_flag(window, command_id(wparam), view);
        default: return false;
    }
}
