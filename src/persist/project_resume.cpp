#include "persist/project_resume.h"

#include <string>

#include "core/edit_state.h"
#include "core/message.h"
#include "core/settings.h"
#include "core/source.h"
#include "core/ui_hooks.h"
#include "persist/project_load.h"
#include "persist/project_save.h"
#include "pipeline/frame_renderer.h"
#include "platform/file.h"

static std::string resume_file() {
    return system_settings.editresume ? settings_folder_file("vantel.vtp") : std::string();
}

void project_resume_load(EDIT_STATE* edit) {
    const std::string path = resume_file();
    if (path.empty() || !file_exists(path.c_str())) return;
    message_boxes_off();
    const int loaded = project_load(edit, path.c_str(), OPEN_INNER);
    message_boxes_on();
    if (loaded && render_current(edit) && ui_hooks.paint) ui_hooks.paint();
}

void project_resume_save(EDIT_STATE* edit) {
    const std::string path = resume_file();
    if (path.empty()) return;
    message_boxes_off();
    if (edit->edit_flag & EDIT_OPEN)
        project_save(edit, path.c_str());
    else
        file_delete(path.c_str());
    message_boxes_on();
}
