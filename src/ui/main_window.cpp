#include "ui/main_window.h"

#include <utility>

#include "core/command_line.h"
#include "core/edit_settings.h"
#include "core/source.h"
#include "core/start_up.h"
#include "core/ui_breath.h"
#include "core/ui_hooks.h"
#include "pipeline/frame_renderer.h"
#include "platform/text.h"
#include "ui/dialogs.h"
#include "ui/filter_windows.h"
#include "ui/key_table.h"
#include "ui/main_hooks.h"
#include "ui/main_menu.h"
#include "ui/main_parts.h"
#include "ui/priority.h"
#include "ui/title.h"
#include "ui/view.h"

static constexpr int COMMAND_LINE = 5180, COMMAND_FORWARD = 900;

static WINDOW* window_now;
static std::vector<std::string> command_line;
static int exit_code;

WINDOW* main_window() { return window_now; }

bool main_busy() { return edit_state && ((edit_state->edit_flag & EDIT_SAVING) || main_hooks_busy()); }

// ---- redraw

void main_redraw(EDIT_STATE* edit) {
    if (edit->edit_flag & EDIT_SAVING) {  // which renders; zoom and strip may change meanwhile
        paint_current(edit);
        filter_broadcast_post(0, 0);
        return;
    }
    if (main_busy()) {
        window_invalidate(window_now);
        return;
    }
    ui_breath_taken();
    render_current(edit);
    paint_current(edit);
    window_set_title(window_now, text_to_utf8(title_text(edit)));
    main_menu_follow(edit);
    filter_broadcast_post(0, 0);
}

// ---- command line

void main_window_run_later(std::vector<std::string> tokens) {
    command_line = std::move(tokens);
    window_post(window_now, WM_COMMAND, COMMAND_LINE, 0);
}

bool main_window_run_command_line(EDIT_STATE* edit) {
    const std::vector<std::string> tokens = std::exchange(command_line, {});
    const COMMAND_RESULT result = run_command_line(edit, tokens);
    exit_code = result.done ? 0 : 1;
    return !result.quit;
}

// ---- the end

static void window_gone() {
    main_menu_forget();
    window_now = nullptr;
}

// While a run holds the edit the user is asked to stop it, and the window stays.
static void close_program(WINDOW* window, EDIT_STATE* edit) {
    if (main_busy()) {
        window_post(window, WM_COMMAND, MAIN_COMMAND_STOP, 0);
        return;
    }
    if (!confirm_close(edit)) return;
    shut_down();
    dialogs_remove();
    window_destroy(window);
}

// Before the edit exists, and when it has gone.
static intptr_t without_edit(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message == WM_CLOSE) {
        window_destroy(window);
        return 0;
    }
    if (message == WM_DESTROY) {
        window_gone();
        window_quit(exit_code);
        return 0;
    }
    return window_default(window, message, wparam, lparam);
}

// ---- messages

static bool stops_run(uint32_t message, uintptr_t wparam) {
    return (message == WM_KEYDOWN && wparam == KEY_ESCAPE) ||
           (message == WM_COMMAND && command_id(wparam) == MAIN_COMMAND_STOP);
}

// What waited in the queue when a dialog opened is dropped: the dialog works on the edit that this would change or take
// away.
static bool lost_to_dialog(uint32_t message, uintptr_t wparam) {
    if (!dialog_current()) return false;
    if (message == WM_COMMAND) return command_id(wparam) != COMMAND_FORWARD;
    return message == WM_CLOSE || message == WM_DROPFILES || message == WM_HSCROLL ||
           (message >= WM_KEYDOWN && message <= WM_SYSKEYUP) || (message >= WM_MOUSEMOVE && message <= WM_MOUSEWHEEL);
}

intptr_t main_window_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    EDIT_STATE* edit = edit_state;
    if (!edit || window != window_now) return without_edit(window, message, wparam, lparam);
    if (stops_run(message, wparam) && main_hooks_stop()) return 0;
    if (lost_to_dialog(message, wparam)) {
        if (message == WM_HSCROLL) view_set_frame(&edit->view, edit->frame);  // the slider went ahead
        return 0;
    }
    if (main_dispatch(window, message, wparam, lparam, edit)) return 0;
    if (message == WM_CLOSE) {
        close_program(window, edit);
        return 0;
    }
    if (message == WM_DESTROY) {
        window_gone();
        window_quit(exit_code);
        return 0;
    }
    if (filter_windows_route(window, message, wparam, lparam, edit)) main_redraw(edit);
    return window_default(window, message, wparam, lparam);
}

// ---- start

WINDOW* main_window_create(EDIT_STATE* edit) {
    exit_code = 0;
    key_table_reset();
    MENU* menu = main_menu_create();
    WINDOW* window = view_create(&edit->view, main_window_proc, menu);
    if (!window) {
        menu_destroy(menu);
        main_menu_forget();
        return nullptr;
    }
    window_now = window;
    dialogs_install(window);
    main_hooks_install(window);
    filter_windows_calls.redraw = main_redraw;
    filter_windows_install(window, menu);
    main_menu_mark_priority(priority_apply(edit_settings.priority));
    window_accept_drops(window, true);
    view_show(&edit->view);
    return window;
}

static void* make_window(EDIT_STATE* edit) { return main_window_create(edit); }

static void started(EDIT_STATE* edit) {
    main_menu_started();
    main_hooks_started();
    main_redraw(edit);
}

static void store_window(EDIT_STATE* edit) {
    view_save(&edit->view);
    view_forget(&edit->view);
}

void main_window_install() {
    window_system_language("ja");
    ui_hooks.window_make = make_window;
    ui_hooks.window_started = started;
    ui_hooks.window_store = store_window;
}
