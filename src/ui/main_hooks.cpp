#include "ui/main_hooks.h"

#include "core/edit_state.h"
#include "core/ui_breath.h"
#include "core/ui_hooks.h"
#include "hosts/filter.h"
#include "output/progress.h"
#include "platform/path.h"
#include "platform/text.h"
#include "platform/window_box.h"
#include "ui/filter_windows.h"
#include "ui/main_menu.h"
#include "ui/main_window.h"
#include "ui/title.h"
#include "ui/view.h"

static WINDOW* window_now;
static bool interface_on;  // between interface_enable(false) and (true) a run holds the edit
static int pump_depth;
static bool stop_asked;
static bool painting;    // paint_current draws at this moment
static bool open_shown;  // what menus and bar stand for
static int frames_shown;
static int progress_shown;

bool main_hooks_busy() { return !interface_on || pump_depth > 0; }

bool main_hooks_stop() {
    if (pump_depth == 0) return false;
    stop_asked = true;
    return true;
}

// ---- the edit changed

static void show_enabled() {
    main_menu_enable(open_shown, !interface_on);
    view_enable(&edit_state->view, open_shown && interface_on);
    window_accept_drops(window_now, interface_on);
}

static void edit_changed() {
    EDIT_STATE* edit = edit_state;
    const bool open = edit->edit_flag & EDIT_OPEN;
    VIEW_RECORD* view = &edit->view;
    view_set_flag(view, VIEW_EDIT_SHOWN, open);
    if (frames_shown != edit->frame_n) {
        frames_shown = edit->frame_n;
        view_set_range(view, 0, edit->frame_n);
    }
    view_set_frame(view, open ? edit->frame : 0);
    view_set_selection(view, open ? edit->select_start : 0, open ? edit->select_end : 0);
    if (open == open_shown) return;
    open_shown = open;
    show_enabled();
    if (open) return;
    // A box may follow before the next redraw, and nothing of the old edit is to stand behind it.
    window_set_title(window_now, text_to_utf8(title_text(edit)));
    window_invalidate(window_now);
}

// ---- long runs

static void show_progress(int permille) {
    if (permille == progress_shown) return;
    progress_shown = permille;
    window_set_progress(window_now, permille);
}

static void interface_enable(bool enable) {
    interface_on = enable;
    show_enabled();
    filter_enable_windows(enable);
    if (!enable) return;
    show_progress(-1);
    window_set_title(window_now, text_to_utf8(title_text(edit_state)));
}

static bool pump() {
    ++pump_depth;
    stop_asked = false;
    if (!window_pump()) stop_asked = true;  // the program is to end
    --pump_depth;
    ui_breath_taken();
    show_progress(progress_permille());
    return stop_asked;
}

// The bar follows a run at the moments when the title does.
static void set_title(const char* text) {
    window_set_title(window_now, text_to_utf8(text));
    if (edit_state->edit_flag & EDIT_SAVING) view_set_frame(&edit_state->view, edit_state->frame);
}

static void finish_notice(const char* sound) {
    window_flash(window_now);
    if (*sound) sound_play(text_to_utf8(sound));
}

// ---- drawing

bool main_hooks_pixels_ready(const EDIT_STATE* edit) {
    return painting && edit->shown_pixels && edit->shown_header.biCompression == edit->view.display_code;
}

static void paint() {
    painting = true;
    window_repaint(window_now);
    painting = false;
}

static void fit_window(int width, int height, bool exactly) { view_fit(&edit_state->view, width, height, !exactly); }

static bool modifier_down(UI_MODIFIER key) { return key_held(key == UI_SHIFT ? KEY_SHIFT : KEY_CONTROL); }

// ---- start

void main_hooks_install(WINDOW* window) {
    window_now = window;
    interface_on = true;
    open_shown = stop_asked = painting = false;
    pump_depth = 0;
    frames_shown = progress_shown = -1;
    ui_hooks.set_title = set_title;
    ui_hooks.edit_changed = edit_changed;
    ui_hooks.interface_enable = interface_enable;
    ui_hooks.fit_window = fit_window;
    ui_hooks.paint = paint;
    ui_hooks.finish_notice = finish_notice;
    ui_hooks.pump = pump;
    ui_hooks.breathe = window_refresh;
    ui_hooks.modifier_down = modifier_down;
}

void main_hooks_started() {
    edit_changed();
    show_enabled();
}
