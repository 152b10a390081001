#include "core/settings.h"
#include "core/source.h"
#include "platform/path.h"
#include "platform/text.h"
#include "ui/main_parts.h"
#include "ui/main_window.h"

static bool extension_is(const std::string& path, const char* extension) {
    return text_compare_nocase(path_extension(path.c_str()), extension) == 0;
}

void main_open_file(EDIT_STATE* edit, const char* path, uint32_t flags) {
    // A project is no part of another edit, whatever was asked for.
    if (extension_is(path, ".vtp")) flags = (flags & ~uint32_t{OPEN_APPEND}) | OPEN_PROJECT;
    if ((flags & OPEN_APPEND) || confirm_close(edit)) open_file(edit, path, flags);
}

// Only the first file counts. Without an edit there is nothing to append to: any file opens as a new one.
unsigned main_drop(const MAIN_MESSAGE& m) {
    if (main_busy() || window_dropped_files().empty()) return STEP_GO_ON;
    const std::string path = text_from_utf8(window_dropped_files().front());
    const bool open = m.edit->edit_flag & EDIT_OPEN, append = open && key_held(KEY_CONTROL);
    const uint32_t flags = system_settings.dragdropdialog ? OPEN_ASK : 0u;
    window_activate(m.window);
    if (open && extension_is(path, ".wav"))
        open_file(m.edit, path.c_str(), flags | OPEN_SOUND);
    else
        main_open_file(m.edit, path.c_str(), append ? flags | OPEN_APPEND : flags);
    return STEP_REDRAW;
}
