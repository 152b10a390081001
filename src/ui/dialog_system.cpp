#include <span>

#include "core/edit_state.h"
#include "core/file_filter.h"
#include "core/message.h"
#include "core/settings_store.h"
#include "platform/path.h"
#include "platform/text.h"
#include "platform/window_box.h"
#include "resources/string_ids.h"
#include "ui/dialogs.h"
#include "ui/dialogs_output.h"

namespace {

enum : int { SAVE_NAME = 32101, FINISH_SOUND = 32102, CHECKS = 32200, BROWSE_FOLDER = 32301, BROWSE_SOUND = 32302 };

std::span<const SETTING_ROW> rows() { return {SETTING_TABLE, size_t(SETTING_N)}; }

bool is_check(const SETTING_ROW& row) { return row.control >= CHECKS; }

void show_value(WINDOW* control, const SETTING_ROW& row, const SYSTEM_SETTINGS& settings) {
    if (row.text) {
        control_set_text(control, text_to_utf8(settings.*row.text));
    } else if (is_check(row)) {
        control_check(control, settings.*row.number);
        window_enable(control, settings_available(row));
    } else {
        control_set_range(control, row.low, row.high);
        control_set_value(control, settings.*row.number);
    }
}

bool take_value(WINDOW* control, const SETTING_ROW& row, SYSTEM_SETTINGS* settings) {
    if (row.text) return dialogs_take_text(control, settings->*row.text, PATH_SIZE);
    settings->*row.number = is_check(row) ? control_checked(control) : control_value(control);
    return true;
}

void browse_folder(WINDOW* field) {
    char folder[PATH_SIZE] = "";
    if (edit_state) path_folder(folder, edit_state->file_name);
    const std::string chosen = folder_box(dialogs_owner(), "", text_to_utf8(folder));
    if (!chosen.empty()) control_set_text(field, chosen);
}

}  // namespace

bool dialog_system_run() {
    SYSTEM_SETTINGS settings = settings_shown();
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) {
        for (const SETTING_ROW& row : rows())
            if (row.control) show_value(control_of(dialog, row.control), row, settings);
    };
    steps.take = [&](WINDOW* dialog) {
        for (const SETTING_ROW& row : rows()) {
            WINDOW* control = row.control ? control_of(dialog, row.control) : nullptr;
            if (control && !take_value(control, row, &settings)) return false;
        }
        return true;
    };
    steps.command = [&](WINDOW* dialog, int id, int) {
        if (id == BROWSE_FOLDER) browse_folder(control_of(dialog, SAVE_NAME));
        if (id == BROWSE_SOUND)
            field_browse(control_of(dialog, FINISH_SOUND), file_filter_one(STR_FILES_WAV, "*.wav"), false);
    };
    if (!dialogs_run("SYSTEM", steps)) return false;
    if (!settings_store(settings)) message_warn(STR_CLI_SETTINGS_NOT_SAVED, settings_file());
    return true;
}
