#include "core/edit_commands.h"
#include "core/frame_table.h"
#include "platform/window_control.h"
#include "ui/main_parts.h"
#include "ui/main_window.h"

// The nearest frame where a movement with CTRL stops; the higher one of two.
static int nearest_stop(EDIT_STATE* edit, int frame) {
    frame = frame_clamp(edit, frame);
    if (frame_is_stop(edit, frame)) return frame;
    for (int far = 1; far < edit->frame_n; ++far) {
        for (const int at : {frame + far, frame - far})
            if (at >= 0 && at < edit->frame_n && frame_is_stop(edit, at)) return at;
    }
    return frame;
}

// A movement comes as several messages, of which the last one behind it says only that it has ended. Whatever the
// message, the slider's own place counts.
unsigned main_slider(const MAIN_MESSAGE& m) {
    EDIT_STATE* edit = m.edit;
    auto* slider = reinterpret_cast<WINDOW*>(m.lparam);
    if (!slider || main_busy()) return STEP_GO_ON;
    window_focus(m.window);
    const int wanted = control_value(slider);
    if (wanted == edit->frame) return STEP_GO_ON;
    // A place that the slider may leave again is not worth rendering; the ends always are.
    const bool at_end = wanted <= 0 || wanted >= edit->frame_n - 1;
    if (!at_end && window_waiting(m.window, WM_HSCROLL)) return STEP_LEAVE;
    move_to(edit, key_held(KEY_CONTROL) ? nearest_stop(edit, wanted) : wanted);
    return STEP_REDRAW;
}
