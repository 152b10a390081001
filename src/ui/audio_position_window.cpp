#include <algorithm>

#include "filters/audio_filters.h"
#include "platform/text.h"
#include "platform/window_control.h"
#include "platform/window_draw.h"
#include "ui/filter_window_tools.h"

// Below the track: what its frames are in milliseconds.
static constexpr int ID_TIME = FILTER_CONTROL_OWN;
static constexpr int RIGHT = 78, HEIGHT = 16, BELOW = 4;

static int text_height(const WINDOW* window) { return std::max(HEIGHT, text_size(window, "0").y); }

// At the right, with all the room on its left: a number whose first digits are cut off would be another one.
static void place(WINDOW* window) {
    const RECT client = window_client(window);
    const int height = text_height(window);
    control_place(control_of(window, ID_TIME), {0, client.height - BELOW - height, client.width - RIGHT, height});
}

static void make(WINDOW* window) {
    control_create(window, {CONTROL_LABEL, ID_TIME, {}, {}, 1}, {});
    const RECT client = window_client(window);  // the record tells the room for an ordinary font
    window_resize_client(window, client.width, client.height + text_height(window) - HEIGHT);
    place(window);
}

static void show(WINDOW* window, const EDIT_STATE* edit) {
    char text[32] = "ms";
    if (edit) audio_position_text(edit, text, sizeof text);
    control_set_text(control_of(window, ID_TIME), text_to_utf8(text));
}

int audio_position_window_proc(void* handle, uint32_t message, uintptr_t, intptr_t, EDIT_STATE* edit, FILTER*) {
    WINDOW* window = static_cast<WINDOW*>(handle);
    switch (message) {
        case FILTER_MSG_STARTED:
            make(window);
            show(window, edit);
            return 0;
        case WM_SIZE: place(window); return 0;
        case FILTER_MSG_FILE_OPENED:
        case FILTER_MSG_SETTING_CHANGED: show(window, edit); return 0;
        case FILTER_MSG_FILE_CLOSING: show(window, nullptr); return 0;  // it is open still
        default: return 0;
    }
}
