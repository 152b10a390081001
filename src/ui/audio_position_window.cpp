#include "filters/audio_filters.h"
#include "platform/text.h"
#include "platform/window_control.h"
#include "ui/filter_window_tools.h"

// Below the track: what its frames are in milliseconds.
static constexpr int ID_TIME = FILTER_CONTROL_OWN;
static constexpr int RIGHT = 78, WIDTH = 64, HEIGHT = 16, ABOVE_BOTTOM = 20;

static void place(WINDOW* window) {
    const RECT client = window_client(window);
    control_place(control_of(window, ID_TIME),
                  {client.width - RIGHT - WIDTH, client.height - ABOVE_BOTTOM, WIDTH, HEIGHT});
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
            control_create(window, {CONTROL_LABEL, ID_TIME, {}, {}}, {});
            place(window);
            show(window, edit);
            return 0;
        case WM_SIZE: place(window); return 0;
        case FILTER_MSG_FILE_OPENED:
        case FILTER_MSG_FILE_CLOSING:
        case FILTER_MSG_SETTING_CHANGED: show(window, edit); return 0;
        default: return 0;
    }
}
