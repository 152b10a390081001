#include "output/key_list.h"

#include <charconv>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "core/edit_settings.h"
#include "core/edit_state.h"
#include "core/file_filter.h"
#include "core/frame_table.h"
#include "core/message.h"
#include "core/settings.h"
#include "core/text_line.h"
#include "core/ui_hooks.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"
#include "resources/string_ids.h"

static constexpr char TEXT_EXTENSION[] = ".txt";
static constexpr size_t EXTENSION_ROOM = 15;                // bytes of a kept extension with its NUL
static constexpr size_t LINE_LIMIT = 255;                   // the digits of a frame need 7
static constexpr size_t LIST_SIZE_MAX = size_t{256} << 20;  // three times the longest list there can be
static constexpr size_t WRITE_SIZE = 65536;

// ---- the path

static bool ask_path(const EDIT_STATE* edit, bool save, char path[PATH_SIZE]) {
    const bool text = std::strcmp(edit_settings.keyfrext, TEXT_EXTENSION) == 0;
    const std::string filter = text ? file_filter_one(STR_FILES_TEXT, "*.txt") : file_filter_one(STR_FILES_ALL, "*");
    FILE_DIALOG dialog{};
    dialog.title = "";
    dialog.filter = filter.c_str();
    dialog.save = save;
    dialog.rate_index = -1;
    if (edit->file_name[0]) path_set_extension(dialog.path, edit->file_name, edit_settings.keyfrext);
    if (!ui_hooks.file_dialog || !ui_hooks.file_dialog(&dialog)) return false;
    return text_copy(path, PATH_SIZE, {dialog.path, strnlen(dialog.path, PATH_SIZE)});
}

static void keep_extension(const char* path) {
    const char* extension = path_extension(path);
    if (std::strlen(extension) < EXTENSION_ROOM)
        text_copy(edit_settings.keyfrext, sizeof edit_settings.keyfrext, extension);
}

static int frame_count(const EDIT_STATE* edit) { return edit->edit_flag & EDIT_OPEN ? edit->frame_n : 0; }

// ---- writing

static bool write_marks(int file, const EDIT_STATE* edit) {
    std::string text;
    int64_t position = 0;
    const int n = frame_count(edit);
    for (int frame = 0; frame <= n; ++frame) {
        if (frame < n && (frame_table.frame_flag[frame] & FRAME_KEY))
            text += std::to_string(frame + system_settings.startframe) + "\r\n";
        if (frame < n && text.size() < WRITE_SIZE) continue;
        if (file_write_at(file, text.data(), text.size(), position) != int64_t(text.size())) return false;
        position += int64_t(text.size());
        text.clear();
    }
    return true;
}

int key_list_export(const EDIT_STATE* edit, const char* name) {
    char chosen[PATH_SIZE];
    if (!name && !ask_path(edit, true, chosen)) return 0;
    const char* path = name ? name : chosen;
    const int file = file_create(path);
    if (file < 0) {
        message_warn_file(path, STR_ERR_CREATE_FAILED, STR_ERR_CREATE_FAILED);
        return 0;
    }
    keep_extension(path);
    const bool whole = write_marks(file, edit);
    file_close(file);
    if (!whole) message_warn_file(path, STR_ERR_WRITE_FAILED, STR_ERR_WRITE_FAILED);
    return whole ? 1 : 0;
}

// ---- reading

static void mark_line(std::vector<bool>* marked, const std::string& line) {
    uint64_t number = 0;  // unsigned, so that a sign is no part of it
    if (std::from_chars(line.data(), line.data() + line.size(), number).ec != std::errc{}) return;
    const uint64_t start = uint64_t(system_settings.startframe);
    if (number >= start && number - start < marked->size()) (*marked)[size_t(number - start)] = true;
}

static void mark_frames(EDIT_STATE* edit, std::string_view list) {
    std::vector<bool> marked(size_t(frame_count(edit)));
    for (std::string line; text_line_take(&list, &line, LINE_LIMIT);) mark_line(&marked, line);
    for (size_t frame = 0; frame < marked.size(); ++frame) {
        uint8_t& flag = frame_table.frame_flag[frame];
        flag = uint8_t(marked[frame] ? flag | FRAME_KEY : flag & ~FRAME_KEY);
    }
}

int key_list_import(EDIT_STATE* edit, const char* name) {
    char chosen[PATH_SIZE];
    if (!name && !ask_path(edit, false, chosen)) return 0;
    const char* path = name ? name : chosen;
    std::vector<uint8_t> bytes;
    if (!file_load(path, bytes, LIST_SIZE_MAX)) {
        message_warn_file(path, STR_ERR_READ_FAILED, STR_CLI_REASON_UNREADABLE);
        return 0;
    }
    keep_extension(path);
    mark_frames(edit, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    if (ui_hooks.edit_changed) ui_hooks.edit_changed();
    return 1;
}
