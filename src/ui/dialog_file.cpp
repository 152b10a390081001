#include "ui/dialog_file.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "core/file_filter.h"
#include "core/fps_list.h"
#include "core/media.h"
#include "core/message.h"
#include "core/settings.h"
#include "core/source.h"
#include "platform/text.h"
#include "readers/input_filter.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "resources/templates.h"
#include "ui/dialogs.h"
#include "ui/dialogs_hooks.h"

static std::string last_path;

// ---- the rules

static bool known_extension(std::string_view patterns, const char* extension) {
    while (*extension && !patterns.empty()) {
        const size_t n = std::min(patterns.find(';'), patterns.size());
        const std::string pattern(patterns.substr(0, n));
        if (text_compare_nocase(path_extension(pattern.c_str()), extension) == 0) return true;
        patterns.remove_prefix(std::min(n + 1, patterns.size()));
    }
    return false;
}

// "*.avi;*.vts" gives ".avi"; "*.*" and "*" give none.
static std::string first_extension(std::string_view patterns) {
    const std::string first(patterns.substr(0, patterns.find(';')));
    const char* extension = path_extension(first.c_str());
    return std::strpbrk(extension, "*?") ? "" : extension;
}

static void add_pairs(FILE_BOX* box, const char* filter, const char* extension) {
    bool found = false;
    for (const char* name = filter; *name;) {
        const char* patterns = name + std::strlen(name) + 1;
        if (!found && known_extension(patterns, extension)) {
            found = true;
            box->filter = int(box->filters.size());
        }
        if (box->filters.empty()) box->extension = text_to_utf8(first_extension(patterns));
        // A name without a point is a file as well.
        const bool all = std::strcmp(patterns, "*.*") == 0;
        box->filters.push_back({text_to_utf8(name), all ? "*" : text_to_utf8(patterns)});
        name = patterns + std::strlen(patterns) + 1;
    }
}

FILE_BOX dialog_file_box(const char* title, const char* filter, const char* start, bool save) {
    const std::string all = file_filter_one(STR_FILES_ALL, "*.*");
    if (!filter || !*filter) filter = all.c_str();
    if (!start || !*start) start = last_path.c_str();
    FILE_BOX box;
    box.title = text_to_utf8(title ? title : "");
    add_pairs(&box, filter, path_extension(start));
    char folder[PATH_SIZE];
    if (path_folder(folder, start)) box.folder = text_to_utf8(folder);
    box.name = text_to_utf8(path_name(start));
    box.save = save;
    box.ask_overwrite = !system_settings.overwritecheck;
    return box;
}

bool dialog_file_choose(const FILE_BOX& box, char path[PATH_SIZE]) {
    const std::vector<std::string> chosen = file_box(dialogs_owner(), box);
    if (chosen.empty()) return false;
    const std::string name = text_from_utf8(chosen[0]);
    if (!text_copy(path, PATH_SIZE, name)) {
        message_warn(STR_CLI_PATH_TOO_LONG, name.c_str(), int(PATH_SIZE - 1));
        return false;
    }
    last_path = name;
    return true;
}

// ---- the boxes of loading

enum : int { LOAD_DOUBLE = 32200, LOAD_SERIES, LOAD_ADJUST, LOAD_INTO, LOAD_RATE = 32500 };

static void fill_rates(WINDOW* combo, int chosen) {
    for (int i = 0; i < fps_list.n; ++i) {
        const bool none = fps_list.entry[i].rate == 0;
        rows_add(combo, none ? language_text_utf8(STR_LOAD_RATE_KEEP) : fps_list.entry[i].label);
    }
    rows_select(combo, chosen);
}

static void init_load(WINDOW* below, const FILE_DIALOG* dialog) {
    const bool sound = dialog->load == FILE_LOAD_SOUND;
    for (const int id : {int(LOAD_DOUBLE), int(LOAD_SERIES), int(LOAD_ADJUST)})
        window_enable(control_of(below, id), !sound);
    window_enable(control_of(below, LOAD_INTO), dialog->load != FILE_LOAD_NEW);
    WINDOW* combo = control_of(below, LOAD_RATE);
    window_enable(combo, !sound);
    if (!sound && dialog->rate_index >= 0) fill_rates(combo, dialog->rate_index);
}

static void take_load(WINDOW* below, FILE_DIALOG* dialog) {
    const auto flag = [&](int id, uint32_t bit) { return control_checked(control_of(below, id)) ? bit : 0; };
    dialog->load_flags =
        flag(LOAD_DOUBLE, LOAD_DOUBLE_RATE) | flag(LOAD_SERIES, LOAD_AVI_SEQUENCE) | flag(LOAD_ADJUST, LOAD_FPS_ADJUST);
    dialog->open_flags = flag(LOAD_INTO, OPEN_INTO_SELECTION);
    const int rate = rows_selected(control_of(below, LOAD_RATE));
    if (rate >= 0) dialog->rate_index = rate;
}

bool dialog_file(FILE_DIALOG* dialog) {
    std::string filter;
    if (!dialog->filter && dialog->load) filter = input_media_filter(dialog->load == FILE_LOAD_SOUND);
    FILE_BOX box =
        dialog_file_box(dialog->title, filter.empty() ? dialog->filter : filter.c_str(), dialog->path, dialog->save);
    const DIALOG_TEMPLATE options = language_dialog("LOAD_OPTION");
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* below) { init_load(below, dialog); };
    steps.take = [&](WINDOW* below) {
        take_load(below, dialog);
        return true;
    };
    if (dialog->load) {
        box.options = &options;
        box.proc = dialogs_proc;
        box.data = &steps;
    }
    return dialog_file_choose(box, dialog->path);
}

// ---- a source that is missing

bool dialog_relink(RELINK_DIALOG* dialog) {
    const std::string question = language_text_utf8(STR_ASK_SOURCE_MISSING) + "\n\n" + text_to_utf8(dialog->missing);
    if (!message_box(dialogs_owner(), language_text_utf8(STR_PROGRAM), question, BOX_QUESTION, BOX_OK_CANCEL))
        return false;
    const std::string filter = input_media_filter(dialog->sound_only);
    return dialog_file_choose(dialog_file_box("", filter.c_str(), dialog->path, false), dialog->path);
}
