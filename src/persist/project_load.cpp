#include "persist/project_load.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/history.h"
#include "core/memory.h"
#include "core/message.h"
#include "core/profile.h"
#include "core/settings.h"
#include "core/source.h"
#include "core/ui_hooks.h"
#include "persist/byte_source.h"
#include "persist/packed_block.h"
#include "persist/project_file.h"
#include "persist/project_filters.h"
#include "persist/project_images.h"
#include "persist/project_record.h"
#include "persist/project_sources.h"
#include "platform/file.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static constexpr uint32_t FLAGGED = OPEN_APPEND | OPEN_SOUND | OPEN_INNER | OPEN_INNER_BATCH;

/// A project on its way into the edit: a record of its own, so that a damaged file touches nothing. Its sources stay
/// closed.
struct LOADING {
    EDIT_STATE record;
    char profile_name[PROFILE_MAX][PATH_SIZE];  // as stored; those in the record are the ones made
    bool has_image[CLIP_MAX];
};
struct LOADING_DELETE {
    void operator()(LOADING* loading) const {
        close_edit(&loading->record);  // clips and temporary profiles that nobody has taken over
        delete loading;
    }
};
using LOADING_PTR = std::unique_ptr<LOADING, LOADING_DELETE>;

// ---- pieces

static bool read_head_text(BYTE_SOURCE* source) {
    char text[sizeof PROJECT_HEAD_TEXT];
    return byte_source_read(source, text, sizeof text) && std::strncmp(text, PROJECT_HEAD_TEXT, sizeof text) == 0;
}

static bool read_head(BYTE_SOURCE* source) {
    uint32_t size;
    return read_head_text(source) && byte_source_u32(source, &size) && size == sizeof(EDIT_STATE);
}

/// The record as it is in the file, with nothing in it that cleaning up could take for ours.
static bool read_record(BYTE_SOURCE* source, LOADING* loading) {
    auto* bytes = reinterpret_cast<uint8_t*>(&loading->record);
    const bool good = byte_source_read(source, bytes, sizeof(PROJECT_HEAD)) &&
                      pack_read(source, bytes + sizeof(PROJECT_HEAD), sizeof(EDIT_STATE) - sizeof(PROJECT_HEAD));
    EDIT_STATE& record = loading->record;
    for (int i = 0; i < CLIP_MAX; ++i) loading->has_image[i] = record.clip[i] != 0;
    project_record_clean(&record);
    std::memcpy(loading->profile_name, record.profile_name, sizeof record.profile_name);
    std::memset(record.profile_name, 0, sizeof record.profile_name);
    return good;
}

static bool read_frames(BYTE_SOURCE* source, uint32_t n) {
    frame_table_clear();
    for (const PROJECT_COLUMN& column : project_columns())
        if (!pack_read(source, column.data, column.width * n)) return false;
    return true;
}

static bool keeps_own_profile(const char* name, uint32_t flags) {
    return system_settings.projectonfig && !(flags & OPEN_INNER_BATCH) && !profile_is_temporary(name);
}

/// One profile: its values become a temporary profile of the edit, or are passed over.
static bool read_profile(BYTE_SOURCE* source, const char* stored_name, bool own, int index, char* name) {
    uint32_t length;
    if (!byte_source_u32(source, &length) || length > byte_source_left(*source) || length > PROJECT_PROFILE_SIZE_MAX)
        return false;
    if (own) {
        std::memcpy(name, stored_name, PATH_SIZE);
        return byte_source_skip(source, length);
    }
    std::vector<uint8_t> config(length);
    if (!byte_source_read(source, config.data(), length)) return false;
    std::snprintf(name, PATH_SIZE, "#temp%d", index);
    profile_put_config(name, config);
    return true;
}

static bool read_profiles(BYTE_SOURCE* source, LOADING* loading, uint32_t flags) {
    for (int i = 0; i < PROFILE_MAX; ++i) {
        const char* name = loading->profile_name[i];
        if (!*name) continue;
        if (!read_profile(source, name, keeps_own_profile(name, flags), i, loading->record.profile_name[i]))
            return false;
    }
    return true;
}

static bool read_rest(BYTE_SOURCE* source, LOADING* loading, int n, uint32_t flags) {
    EDIT_STATE* record = &loading->record;
    if (!read_frames(source, uint32_t(n)) || !read_profiles(source, loading, flags)) return false;
    if (!project_images_read(source, record, loading->has_image) || !read_head_text(source)) return false;
    BYTE_SOURCE ahead = byte_source_file(source->file, byte_source_position(*source));
    if (!project_filters_check(&ahead)) return false;
    return project_frames_clean(record, n);
}

// ---- the whole file

static bool refuse(const char* path) {
    message_warn_file(path, STR_ERR_UNSUPPORTED_FILE, STR_ERR_UNSUPPORTED_FILE);
    return false;
}

static bool sizes_allowed(const EDIT_STATE& record, const char* path) {
    bool good = source_size_check(record.width, record.height) != SOURCE_SIZE_LARGE;
    for (const SOURCE_SLOT& slot : record.source)
        if (slot.path[0] && (slot.media.media_flag & MEDIA_HAS_VIDEO))
            good = good && source_size_check(slot.media.media_width, slot.media.media_height) != SOURCE_SIZE_LARGE;
    if (!good)
        message_warn_file(path, STR_ERR_PICTURE_TOO_LARGE, STR_ERR_PICTURE_TOO_LARGE, system_settings.width,
                          system_settings.height);
    return good;
}

static bool read_file(BYTE_SOURCE* source, LOADING* loading, const char* path, uint32_t flags) {
    EDIT_STATE& record = loading->record;
    if (!read_head(source) || !read_record(source, loading)) return refuse(path);
    if (!sizes_allowed(record, path)) return false;
    uint32_t n;
    const bool good = source_size_check(record.width, record.height) == SOURCE_SIZE_GOOD &&
                      byte_source_u32(source, &n) && n >= 1 && n <= uint32_t(frame_limit());
    if (!good) return refuse(path);
    return read_rest(source, loading, int(n), flags) || refuse(path);
}

// ---- into the edit

static void take_record(EDIT_STATE* edit, LOADING* loading, const char* path, uint32_t flags) {
    const VIEW_RECORD view = edit->view;
    *edit = loading->record;
    edit->view = view;
    edit->edit_flag &= ~uint32_t{EDIT_OPEN};  // not before the last source is
    if (!(flags & FLAGGED)) text_copy(edit->project_name, PATH_SIZE, path);
    loading->record.edit_flag = 0;  // clips and profiles are the edit's now
}

static int load(EDIT_STATE* edit, int file, const char* path, uint32_t flags) {
    const LOADING_PTR loading(new LOADING());
    BYTE_SOURCE source = byte_source_file(file, 0);
    if (!read_file(&source, loading.get(), path, flags)) return 0;
    take_record(edit, loading.get(), path, flags);
    const bool opened = project_sources_open(edit);
    edit->edit_flag |= EDIT_OPEN;
    if (!opened) {
        close_edit(edit);
        return 0;
    }
    source_edit_opened(edit, true);
    project_filters_read(&source, edit);
    if (!(flags & FLAGGED)) history_add(path);
    return 1;
}

int project_load_open(EDIT_STATE* edit, int file, const char* path, uint32_t flags) {
    if (!close_edit(edit)) return 0;
    try {
        return load(edit, file, path, flags);
    } catch (const std::bad_alloc&) {
        memory_warn();
        if (edit->frame_n > 0) edit->edit_flag |= EDIT_OPEN;  // it was on its way
        close_edit(edit);
        return 0;
    }
}

// ---- which file

static int open_reason() {
    switch (errno) {
        case ENOENT: return STR_CLI_REASON_MISSING;
        case EISDIR: return STR_CLI_REASON_FOLDER;
        case EINVAL: return STR_CLI_REASON_NOT_REGULAR;
        default: return STR_CLI_REASON_UNREADABLE;
    }
}

static int open_told(const char* path) {
    const int file = file_open_read(path);
    if (file < 0) message_warn_file(path, STR_ERR_READ_FAILED, open_reason());
    return file;
}

static bool ask_path(const EDIT_STATE* edit, const char* path, char out[PATH_SIZE]) {
    FILE_DIALOG dialog{};
    const std::string filter = project_dialog_filter();
    dialog.title = language_string(STR_TITLE_PROJECT_OPEN);
    dialog.filter = filter.c_str();
    dialog.rate_index = -1;
    text_copy(dialog.path, sizeof dialog.path, path ? path : edit->project_name);
    if (!ui_hooks.file_dialog || !ui_hooks.file_dialog(&dialog)) return false;
    return text_copy(out, PATH_SIZE, {dialog.path, strnlen(dialog.path, PATH_SIZE)});
}

static bool choose(const EDIT_STATE* edit, const char* path, uint32_t flags, char out[PATH_SIZE]) {
    if (!path || (flags & OPEN_ASK)) return ask_path(edit, path, out);
    if (text_copy(out, PATH_SIZE, path)) return true;
    message_warn(STR_CLI_PATH_TOO_LONG, path, int(PATH_SIZE - 1));
    return false;
}

int project_load(EDIT_STATE* edit, const char* path, uint32_t flags) {
    if ((edit->edit_flag & EDIT_OPEN) && (edit->edit_flag & EDIT_SAVING)) return 0;
    char chosen[PATH_SIZE];  // path may be a text of the edit that goes
    if (!choose(edit, path, flags, chosen) || !close_edit(edit)) return 0;
    const int file = open_told(chosen);
    if (file < 0) return 0;
    const int result = project_load_open(edit, file, chosen, flags);
    file_close(file);
    return result;
}

// ---- the plain part

bool project_peek(const char* path, PROJECT_HEAD* head) {
    const int file = open_told(path);
    if (file < 0) return false;
    try {
        BYTE_SOURCE source = byte_source_file(file, 0);
        const bool good = read_head(&source) && byte_source_read(&source, head, sizeof *head);
        file_close(file);
        if (!good) return refuse(path);
    } catch (const std::bad_alloc&) {
        file_close(file);
        return false;
    }
    head->file_name[PATH_SIZE - 1] = head->save_name[PATH_SIZE - 1] = 0;
    return true;
}

bool project_put_head(int file, const PROJECT_HEAD* head) {
    return file_write_at(file, head, sizeof *head, PROJECT_HEAD_AT) == int64_t(sizeof *head);
}
