#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/compression_settings.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/profile.h"
#include "core/profile_list.h"
#include "platform/file.h"
#include "platform/text.h"

// What profiles have to do with the open edit.

static bool copy_as_temporary(EDIT_STATE* edit, int index) {
    char name[16];
    std::snprintf(name, sizeof name, "#temp%d", index);
    if (!profile_copy_as(name)) return false;
    text_copy(edit->profile_name[index], PATH_SIZE, profile_current());
    return true;
}

void profile_make_temporary(EDIT_STATE* edit) {
    if (profile_is_temporary(edit->profile_name[0])) return;
    compression_store(edit);
    copy_as_temporary(edit, 0);
}

int profile_add_temporary(EDIT_STATE* edit) {
    for (int i = 0; i < PROFILE_MAX; ++i)
        if (!edit->profile_name[i][0]) return copy_as_temporary(edit, i) ? i : -1;
    return -1;
}

void profile_drop_temporary(EDIT_STATE* edit) {
    for (const char* name : edit->profile_name) {
        if (!profile_is_temporary(name)) continue;
        const std::string path = profile_path(name, ".cfg");
        if (!path.empty()) file_delete(path.c_str());
    }
    std::memset(edit->profile_name, 0, sizeof edit->profile_name);
}

static bool run_command(int id) {
    switch (id) {
        case PROFILE_COMMAND_RESET: profile_reset(); return true;
        case PROFILE_COMMAND_NEW: return profile_new();
        case PROFILE_COMMAND_DELETE: profile_delete(profile_current()); return true;
        default: break;
    }
    const char* name = profile_list_name(id - PROFILE_COMMAND_SELECT);
    if (*name) profile_make_current(name);
    return *name;
}

int profile_command(EDIT_STATE* edit, int id) {
    if (!run_command(id)) return 0;
    if (edit->edit_flag & EDIT_OPEN) {
        const int index = frame_profile_index(edit, edit->frame);
        text_copy(edit->profile_name[index], PATH_SIZE, profile_current());
    }
    return 1;
}
