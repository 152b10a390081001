#include "output/save_name.h"

#include <algorithm>
#include <string>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/message.h"
#include "core/settings.h"
#include "pipeline/frame_renderer.h"
#include "platform/path.h"
#include "platform/text.h"
#include "resources/string_ids.h"

static constexpr char PLACEHOLDER_EXTENSION[] = ".xxx";

static std::string bare_name(const char* path) { return {path_name(path), path_extension(path)}; }

static std::string folder_of(const char* path) { return {path, path_name(path)}; }

static std::string profile_without_group(const char* name) {
    for (const char* p = name; *p; p = text_next(p))
        if (*p == '<' || *p == '>') name = p + 1;
    return name;
}

static std::string output_size(EDIT_STATE* edit, bool height) {
    int w = 0, h = 0;
    render_output_size(edit, &w, &h);
    return std::to_string(height ? h : w);
}

static const struct {
    char letter;
    std::string (*expand)(EDIT_STATE* edit);
} CODES[] = {
    {'a', [](EDIT_STATE* edit) { return bare_name(edit->project_name); }},
    {'b', [](EDIT_STATE* edit) { return std::to_string(edit->select_end + system_settings.startframe); }},
    {'c', [](EDIT_STATE* edit) { return profile_without_group(frame_profile_name(edit, edit->select_start)); }},
    {'e', [](EDIT_STATE*) { return std::string(); }},
    {'f', [](EDIT_STATE* edit) { return bare_name(edit->file_name); }},
    {'h', [](EDIT_STATE* edit) { return output_size(edit, true); }},
    {'p', [](EDIT_STATE* edit) { return folder_of(edit->file_name); }},
    {'t', [](EDIT_STATE* edit) { return std::to_string(edit->select_start + system_settings.startframe); }},
    {'w', [](EDIT_STATE* edit) { return output_size(edit, false); }},
};

static std::string expand(EDIT_STATE* edit, const char* pattern) {
    std::string name;
    for (const char* p = pattern; *p; p = text_next(p)) {
        const auto* code = std::end(CODES);
        if (*p == '%') {
            if (*++p == 0) break;
            code = std::find_if(std::begin(CODES), std::end(CODES), [p](const auto& c) { return c.letter == *p; });
        }
        if (code != std::end(CODES))
            name += code->expand(edit);
        else
            name.append(p, size_t(text_char_size(p)));
    }
    return name;
}

int save_resolve_name(EDIT_STATE* edit) {
    const char* pattern = system_settings.defaultsavefile;
    const bool always = *pattern == '*';
    if (!always && edit->save_name[0]) return 1;
    std::string name = expand(edit, pattern + always);
    if (*path_name(name.c_str())) name += PLACEHOLDER_EXTENSION;
    if (text_copy(edit->save_name, PATH_SIZE, name)) return 1;
    message_warn(STR_CLI_PATH_TOO_LONG, name.c_str(), int(PATH_SIZE - 1));
    return 0;
}
