#include "core/edit_settings.h"

#include <algorithm>

#include "core/edit_state.h"
#include "core/history.h"
#include "core/settings.h"
#include "platform/ini.h"
#include "platform/thread.h"

static constexpr char SECTION[] = "edit";

EDIT_SETTINGS edit_settings;

void edit_settings_read(EDIT_STATE* edit) {
    ini_read_text(settings_file(), SECTION, "file", edit->file_name, "");
    ini_read_text(settings_file(), SECTION, "project", edit->project_name, "");
    ini_read_text(settings_file(), SECTION, "audioext", edit_settings.audioext, "");
    ini_read_text(settings_file(), SECTION, "keyfrext", edit_settings.keyfrext, ".txt");
    edit_settings.priority = std::clamp(ini_read_int(settings_file(), SECTION, "priority", 0), -2, 3);
    history_read();
    process_set_priority(edit_settings.priority);
}

void edit_settings_write(const EDIT_STATE* edit) {
    ini_batch_begin(settings_file());
    ini_write_text(settings_file(), SECTION, "file", edit->file_name);
    ini_write_text(settings_file(), SECTION, "project", edit->project_name);
    ini_write_text(settings_file(), SECTION, "audioext", edit_settings.audioext);
    ini_write_text(settings_file(), SECTION, "keyfrext", edit_settings.keyfrext);
    ini_write_int(settings_file(), SECTION, "priority", edit_settings.priority);
    history_write();
    ini_batch_end(settings_file());
}
