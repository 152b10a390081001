#include "core/profile.h"

#include <cerrno>
#include <cstring>

#include "core/message.h"
#include "core/profile_list.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "hosts/filter_settings.h"
#include "platform/file.h"
#include "platform/ini.h"
#include "platform/path.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static constexpr char SECTION[] = "edit", KEY[] = "config";
static constexpr char CONFIG_EXTENSION[] = ".cfg", COMPRESSION_EXTENSION[] = ".sav";
static constexpr char REFUSED_CHARACTERS[] = "\\/.:,;*?<>|\"";
static constexpr char REFUSED_TEXT[] = "\\ / . : , ; * ? < > | \"";

static bool window_mode;
static std::string folder;  // of ordinary profiles, with a separator at its end
static bool folder_has_groups;
static char current[PATH_SIZE];
static char last_ordinary[PATH_SIZE];  // the current name before the present one, or before a temporary one took over
static bool replaced;                  // the current profile's file holds a newer edit's values than the filters

// ---- names and files

bool profile_is_temporary(const char* name) { return *name == '#'; }

std::string profile_path(const char* name, const char* extension) {
    if (!profile_name_valid(name)) return {};
    const std::string_view group = profile_name_group(name);
    std::string path;
    if (profile_is_temporary(name))
        path = path_temp_prefix() + name;
    else if (folder.empty())
        return {};
    else if (folder_has_groups && !group.empty())
        path = folder + std::string(group) + '/' + profile_name_label(name);
    else
        path = folder + name;
    path += extension;
    return path.size() < PATH_SIZE ? path : std::string();
}

static std::string config_path(const char* name) { return profile_path(name, CONFIG_EXTENSION); }

/// The side file; "" for a temporary profile, which has none.
static std::string compression_path(const char* name) {
    return profile_is_temporary(name) ? std::string() : profile_path(name, COMPRESSION_EXTENSION);
}

bool profile_known(const char* name) {
    const std::string path = config_path(name);
    return profile_list_find(name) >= 0 ||
           (!path.empty() && file_exists(path.c_str()) && !file_is_folder(path.c_str()));
}

static void delete_config(const char* name) {
    const std::string path = config_path(name);
    if (path.empty()) return;
    file_delete(path.c_str());
    filter_config_forget(path.c_str());
}

static void delete_files(const char* name) {
    delete_config(name);
    const std::string side = compression_path(name);
    if (!side.empty()) file_delete(side.c_str());
}

/// Whether a ".cfg" file may be put under a name. The temporary folder is everybody's: what lies there under our name
/// is a leftover, or a link of somebody else's that must not be written through.
static bool config_place_free(const char* name) {
    const std::string path = config_path(name);
    if (path.empty()) return false;
    return !profile_is_temporary(name) || file_delete(path.c_str()) || errno == ENOENT;
}

static void copy_or_delete(const std::string& from, const std::string& to) {
    if (from.empty() || to.empty() || file_same(from.c_str(), to.c_str())) return;
    if (!file_copy(from.c_str(), to.c_str())) file_delete(to.c_str());
}

bool profile_put_config(const char* name, std::span<const uint8_t> config) {
    if (!config_place_free(name)) return false;
    const std::string path = config_path(name);
    const bool written = file_replace(path.c_str(), config.data(), config.size());
    filter_config_forget(path.c_str());
    if (written && window_mode) profile_list_add(name);
    if (written && text_compare_nocase(name, current) == 0) replaced = true;
    return written;
}

// ---- the list at start

struct FOLDER_VISIT {
    std::string group;  // "" = no group
};

/// Lists a found file when its name leads back to it: "#x.cfg" or a group named "a>b" would not.
static bool visit_config(const char* path, void* data) {
    const std::string& group = static_cast<const FOLDER_VISIT*>(data)->group;
    char base[PATH_SIZE];
    if (!path_set_extension(base, path_name(path), "")) return true;
    const std::string name = group.empty() ? base : '<' + group + '>' + base;
    const std::string back = config_path(name.c_str());
    if (name.size() < PATH_SIZE && !back.empty() && file_same(back.c_str(), path)) profile_list_add(name.c_str());
    return true;
}

static bool visit_group(const char* path, void*) {
    FOLDER_VISIT visit{path_name(path)};
    file_each(path, "*.cfg", visit_config, &visit);
    return true;
}

static void fill_list() {
    FOLDER_VISIT visit;
    if (folder_has_groups) folder_each(folder.c_str(), visit_group, nullptr);
    file_each(folder.c_str(), "*.cfg", visit_config, &visit);
}

void profile_system_init(bool with_window) {
    window_mode = with_window;
    profile_list_clear();
    current[0] = last_ordinary[0] = 0;
    replaced = false;
    if (window_mode) path_program_folder_create();
    folder = path_program_folder();
    const std::string profiles = folder + "profiles/";
    folder_has_groups = !folder.empty() && file_is_folder(profiles.c_str());
    if (folder_has_groups) folder = profiles;
    char name[PATH_SIZE];
    ini_read_text(settings_file(), SECTION, KEY, name, language_string(STR_DEFAULT));
    if (window_mode) {
        fill_list();
        text_copy(name, PATH_SIZE, profile_list_name(profile_list_resolve(name)));
    }
    profile_select(name);
}

void profile_system_exit() {
    if (!window_mode) return;
    profile_store();
    for (int k = 0; k < profile_list_n(); ++k) {
        const char* name = profile_list_name(profile_list_slot(k));
        if (profile_is_temporary(name)) delete_files(name);
    }
    ini_write_text(settings_file(), SECTION, KEY, current);
}

// ---- the current profile

const char* profile_current() { return current; }

/// The name that is meant by a name, which joins the list.
static const char* resolve(const char* name) {
    if (!window_mode) return name;
    profile_list_add(name);
    return profile_list_name(profile_list_resolve(name));
}

void profile_select(const char* name) {
    if (!profile_is_temporary(current)) text_copy(last_ordinary, PATH_SIZE, current);
    text_copy(current, PATH_SIZE, resolve(name));
    replaced = false;
    filter_config_load(config_path(current).c_str());
}

void profile_store() {
    if (window_mode && !replaced) filter_config_save();
}

void profile_make_current(const char* name) {
    if (!replaced && std::strcmp(name, current) == 0) return;
    const char* target = resolve(name);
    if (!replaced && std::strcmp(target, current) == 0) return;
    profile_store();
    profile_select(target);
}

// ---- new and away

static bool list_full() {
    if (profile_list_n() < PROFILE_LIST_MAX) return false;
    message_warn(STR_ERR_TOO_MANY_PROFILES, PROFILE_LIST_MAX);
    return true;
}

int profile_copy_as(const char* name) {
    if (!*name || text_compare_nocase(name, current) == 0) return 0;
    if (profile_list_find(name) < 0 && list_full()) return 0;
    if (!config_place_free(name)) return 0;
    profile_store();
    copy_or_delete(config_path(current), config_path(name));
    filter_config_forget(config_path(name).c_str());
    copy_or_delete(compression_path(current), compression_path(name));
    profile_select(name);
    return 1;
}

static bool has_refused_character(const char* name) {
    for (; *name; name = text_next(name))
        if (text_char_size(name) == 1 && std::strchr(REFUSED_CHARACTERS, *name)) return true;
    return false;
}

int profile_new() {
    if (list_full()) return 0;
    char label[PATH_SIZE];
    text_copy(label, PATH_SIZE, profile_name_label(current));
    if (!ui_hooks.ask_text || !ui_hooks.ask_text(STR_PROFILE_TITLE, label, PATH_SIZE) || !*label) return 0;
    if (has_refused_character(label)) {
        message_warn(STR_ERR_PROFILE_NAME, REFUSED_TEXT);
        return 0;
    }
    const bool same_group = ui_hooks.modifier_down && ui_hooks.modifier_down(UI_SHIFT);
    const std::string_view group = profile_name_group(current);
    std::string name = label;
    if (same_group && !group.empty()) name = '<' + std::string(group) + '>' + label;
    return name.size() < PATH_SIZE ? profile_copy_as(name.c_str()) : 0;
}

void profile_reset() {
    delete_files(current);
    profile_select(current);
}

void profile_delete(const char* name) {
    char gone[PATH_SIZE];  // name may be the current one, or the list's own
    if (!text_copy(gone, PATH_SIZE, name)) return;
    delete_files(gone);
    if (!window_mode) return;
    profile_list_remove(profile_list_find(gone));
    if (text_compare_nocase(gone, current) == 0) profile_select(profile_list_name(profile_list_resolve(last_ordinary)));
    // Selecting took the name down as the one before.
    if (text_compare_nocase(gone, last_ordinary) == 0) last_ordinary[0] = 0;
}
