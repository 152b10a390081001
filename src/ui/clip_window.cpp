#include <algorithm>

#include "filters/clip_resize.h"
#include "platform/text.h"
#include "platform/window_control.h"
#include "platform/window_draw.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "ui/filter_window_tools.h"

// Below the tracks: the size to which the clip is resized, and whether it keeps that shape.
static constexpr int ID_SIZE = FILTER_CONTROL_OWN, ID_ASPECT = FILTER_CONTROL_OWN + 1;
static constexpr int ROW = 24, LEFT = 6, BOX_WIDTH = 120, BETWEEN = 8, RIGHT = LEFT + BOX_WIDTH + BETWEEN;
static constexpr int AROUND_TEXT = 8, MARK = 32;  // what a box adds to its text: above and below, and in front

static int row_height(const WINDOW* window) { return std::max(ROW, text_size(window, "0").y + AROUND_TEXT); }

static void place(WINDOW* window) {
    const RECT client = window_client(window);
    const int height = row_height(window), top = client.height - height - 2;
    control_place(control_of(window, ID_SIZE), {LEFT, top, BOX_WIDTH, height});
    control_place(control_of(window, ID_ASPECT), {RIGHT, top, std::max(client.width - RIGHT - LEFT, 1), height});
}

// The record tells the room for an ordinary font.
static void make_room(WINDOW* window, const std::string& text) {
    const RECT client = window_client(window);
    const int width = RIGHT + MARK + text_size(window, text).x + LEFT;
    window_resize_client(window, std::max(client.width, width), client.height + row_height(window) - ROW);
}

// The row goes along with the text: arrow keys go on from there, and the one of before can be chosen again.
static void show_label(WINDOW* size, const std::string& label) {
    int row = rows_count(size) - 1;
    while (row >= 0 && rows_text(size, row) != label) --row;
    rows_select(size, row);
    control_set_text(size, label);
}

// A text that says what is stored stays, so that typing is not disturbed.
static void show(WINDOW* window, const FILTER* filter) {
    const CLIP_TARGET target = clip_target_get(filter);
    WINDOW* size = control_of(window, ID_SIZE);
    CLIP_TARGET typed = target;
    clip_target_parse(text_from_utf8(control_text(size)).c_str(), &typed);
    char label[64];
    clip_target_label(target, label, sizeof label);
    if (window_focused() != size || typed.width != target.width || typed.height != target.height)
        show_label(size, text_to_utf8(label));
    control_check(control_of(window, ID_ASPECT), target.keep_aspect != 0);
}

static void make(WINDOW* window, const FILTER* filter) {
    WINDOW* size = control_create(window, {CONTROL_COMBO, ID_SIZE, {}, {}, 1}, {});
    window_set_name(size, language_text_utf8(STR_SIZE_GIVEN));
    for (int i = 0; const char* entry = clip_target_entry(i); ++i) rows_add(size, text_to_utf8(entry));
    const std::string aspect = language_text_utf8(STR_CHECK_KEEP_ASPECT);
    control_create(window, {CONTROL_CHECK, ID_ASPECT, aspect, {}}, {});
    make_room(window, aspect);
    place(window);
    show(window, filter);
}

static int chosen(WINDOW* window, FILTER* filter, int id, int note) {
    if (id != ID_SIZE && id != ID_ASPECT) return 0;
    if (id == ID_SIZE && note == NOTE_BLUR) show(window, filter);  // what was typed may mean another size, or none
    if (id == ID_SIZE && note != NOTE_SELECTED && note != NOTE_CHANGED) return 0;
    CLIP_TARGET target = clip_target_get(filter);
    const CLIP_TARGET old = target;
    clip_target_parse(text_from_utf8(control_text(control_of(window, ID_SIZE))).c_str(), &target);
    target.keep_aspect = control_checked(control_of(window, ID_ASPECT));
    clip_target_set(filter, target);
    return target.width != old.width || target.height != old.height || target.keep_aspect != old.keep_aspect;
}

int clip_window_proc(void* handle, uint32_t message, uintptr_t wparam, intptr_t, EDIT_STATE*, FILTER* filter) {
    WINDOW* window = static_cast<WINDOW*>(handle);
    switch (message) {
        case FILTER_MSG_STARTED: make(window, filter); return 0;
        case FILTER_MSG_SETTING_CHANGED: show(window, filter); return 0;
        case WM_SIZE: place(window); return 0;
        case WM_COMMAND: return chosen(window, filter, command_id(wparam), command_note(wparam));
        default: return 0;
    }
}
