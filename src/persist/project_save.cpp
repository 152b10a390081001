#include "persist/project_save.h"

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "core/edit_state.h"
#include "core/memory.h"
#include "core/message.h"
#include "core/profile.h"
#include "core/source.h"
#include "core/ui_hooks.h"
#include "persist/packed_block.h"
#include "persist/project_file.h"
#include "persist/project_filters.h"
#include "persist/project_images.h"
#include "persist/project_record.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

using BYTES = std::vector<uint8_t>;

// ---- the pieces

static void put(BYTES& out, const void* data, size_t n) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    out.insert(out.end(), bytes, bytes + n);
}

static void put_u32(BYTES& out, size_t value) {
    const auto word = uint32_t(value);
    put(out, &word, sizeof word);
}

static void put_record(BYTES& out, const EDIT_STATE* edit) {
    const auto record = std::make_unique<EDIT_STATE>(*edit);
    project_record_strip(record.get());
    const auto* bytes = reinterpret_cast<const uint8_t*>(record.get());
    put_u32(out, sizeof(EDIT_STATE));
    put(out, bytes, sizeof(PROJECT_HEAD));
    pack_write(out, {bytes + sizeof(PROJECT_HEAD), sizeof(EDIT_STATE) - sizeof(PROJECT_HEAD)});
}

static void put_frames(BYTES& out, int n) {
    put_u32(out, size_t(n));
    for (const PROJECT_COLUMN& column : project_columns()) pack_write(out, {column.data, column.width * size_t(n)});
}

static void put_profiles(BYTES& out, const EDIT_STATE* edit) {
    BYTES config;
    for (const char* name : edit->profile_name) {
        if (!*name) continue;
        if (text_compare_nocase(name, profile_current()) == 0) profile_store();
        const std::string path = profile_path(name, ".cfg");
        if (path.empty() || !file_load(path.c_str(), config, PROJECT_PROFILE_SIZE_MAX)) config.clear();
        put_u32(out, config.size());
        put(out, config.data(), config.size());
    }
}

static BYTES build(EDIT_STATE* edit) {
    BYTES out;
    put(out, PROJECT_HEAD_TEXT, sizeof PROJECT_HEAD_TEXT);
    put_record(out, edit);
    put_frames(out, edit->frame_n);
    put_profiles(out, edit);
    project_images_put(out, edit);
    put(out, PROJECT_HEAD_TEXT, sizeof PROJECT_HEAD_TEXT);
    project_filters_put(out, edit);
    return out;
}

// ---- where to

static bool ask_name(EDIT_STATE* edit) {
    FILE_DIALOG dialog{};
    const std::string filter = project_dialog_filter();
    dialog.title = language_string(STR_TITLE_PROJECT_SAVE);
    dialog.filter = filter.c_str();
    dialog.save = true;
    dialog.rate_index = -1;
    if (edit->project_name[0])
        std::memcpy(dialog.path, edit->project_name, PATH_SIZE);
    else
        path_set_extension(dialog.path, edit->file_name, ".vtp");
    if (!ui_hooks.file_dialog || !ui_hooks.file_dialog(&dialog)) return false;
    return text_copy(edit->project_name, PATH_SIZE, {dialog.path, strnlen(dialog.path, PATH_SIZE)});
}

static int write_file(EDIT_STATE* edit, const char* name) {
    try {
        close_unused_sources(edit);
        const BYTES bytes = build(edit);
        if (file_replace(name, bytes.data(), bytes.size())) return 1;
        message_warn_file(name, STR_ERR_CREATE_FAILED, 0);
    } catch (const std::bad_alloc&) {
        memory_warn();
    }
    return 0;
}

int project_save(EDIT_STATE* edit, const char* name) {
    if (!(edit->edit_flag & EDIT_OPEN)) return 0;
    if (name) return write_file(edit, name);
    char before[PATH_SIZE];
    std::memcpy(before, edit->project_name, PATH_SIZE);
    if (ask_name(edit) && write_file(edit, edit->project_name)) return 1;
    std::memcpy(edit->project_name, before, PATH_SIZE);
    return 0;
}
