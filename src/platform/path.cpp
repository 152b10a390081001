#include "platform/path.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "platform/file.h"
#include "platform/text.h"

namespace {

bool fits(const std::string& path) { return path.size() < PATH_SIZE; }

std::string environment(const char* name) {
    const char* value = getenv(name);
    return value != nullptr ? text_from_utf8(value) : std::string();
}

std::string with_separator(std::string folder) {
    if (!folder.empty() && folder.back() != '/') folder += '/';
    return fits(folder) ? folder : std::string();
}

std::string current_folder() {
    const std::unique_ptr<char, void (*)(void*)> cwd(getcwd(nullptr, 0), free);
    // The kernel says "(unreachable)/..." for a folder outside of the root.
    return cwd != nullptr && *cwd == '/' ? text_from_utf8(cwd.get()) : std::string();
}

std::string executable_folder() {
    const std::string program = path_program();
    return program.substr(0, program.rfind('/') + 1);
}

/// The folder beside the executable's own, "" when the program is not installed.
std::string installed_folder(const char* name) {
    const std::string folder = executable_folder();
    const std::string share = path_absolute(folder + "../share/vantel/");
    if (folder.empty() || share.empty() || !file_is_folder(share.c_str())) return {};
    return path_absolute(folder + name);
}

std::string home_folder() {
    std::string home = environment("HOME");
    if (path_is_absolute(home.c_str())) return home;
    passwd entry;
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return {};
    return text_from_utf8(entry.pw_dir);
}

std::string config_folder() {
    std::string config = environment("XDG_CONFIG_HOME");
    if (!path_is_absolute(config.c_str())) {
        const std::string home = home_folder();
        if (!path_is_absolute(home.c_str())) return {};
        config = home + "/.config";
    }
    return path_absolute(config + "/vantel/");
}

}  // namespace

const char* path_name(const char* path) {
    const char* separator = text_find_last(path, '/');
    return separator != nullptr ? separator + 1 : path;
}

const char* path_extension(const char* path) {
    const char* name = path_name(path);
    const char* dot = text_find_last(name, '.');
    return dot != nullptr ? dot : name + std::char_traits<char>::length(name);
}

bool path_folder(char out[PATH_SIZE], const char* path) {
    return text_copy(out, PATH_SIZE, std::string_view(path, size_t(path_name(path) - path)));
}

bool path_set_extension(char out[PATH_SIZE], const char* path, const char* extension) {
    return text_copy(out, PATH_SIZE, std::string(path, path_extension(path)) + extension);
}

bool path_join(char out[PATH_SIZE], const char* folder, const char* name) {
    std::string joined = path_is_absolute(name) ? "" : folder;
    if (!joined.empty() && joined.back() != '/') joined += '/';
    return text_copy(out, PATH_SIZE, joined + name);
}

bool path_is_absolute(const char* path) { return path[0] == '/'; }

std::string path_absolute(std::string_view path) {
    if (path.empty()) return {};
    std::string whole(path);
    if (whole[0] != '/') {
        const std::string cwd = current_folder();
        if (cwd.empty()) return {};
        whole = cwd + '/' + whole;
    }
    // '/' and '.' are never half of a double byte, so splitting by bytes is right.
    std::string out;
    bool ends_in_folder = false;
    for (size_t at = 0; at < whole.size();) {
        const size_t end = std::min(whole.find('/', at), whole.size());
        const std::string part = whole.substr(at, end - at);
        const bool plain = !part.empty() && part != "." && part != "..";
        if (plain) out += '/' + part;
        if (part == ".." && !out.empty()) out.erase(out.rfind('/'));
        ends_in_folder = !plain || end < whole.size();
        at = end + 1;
    }
    if (ends_in_folder || out.empty()) out += '/';
    return fits(out) ? out : std::string();
}

std::string path_program() {
    std::string link(4096, 0);
    const ssize_t size = readlink("/proc/self/exe", link.data(), link.size());
    if (size <= 0 || size_t(size) == link.size()) return {};
    link.resize(size_t(size));
    const std::string program = text_from_utf8(link);
    return fits(program) ? program : std::string();
}

std::string path_program_folder() {
    const std::string home = environment("VANTEL_HOME");
    if (!home.empty()) return with_separator(path_absolute(home));
    if (!installed_folder("").empty()) return config_folder();
    return executable_folder();
}

bool path_program_folder_create() {
    const std::string folder = text_to_utf8(path_program_folder());
    for (size_t at = folder.find('/', 1); at != std::string::npos; at = folder.find('/', at + 1)) {
        const std::string part = folder.substr(0, at);
        if (mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) {
            struct stat info;
            if (stat(part.c_str(), &info) != 0) return false;  // a read-only parent may still hold the rest
        }
    }
    return !folder.empty() && file_is_folder(path_program_folder().c_str());
}

std::vector<std::string> path_plugin_folders() {
    std::vector<std::string> folders;
    for (std::string folder : {path_program_folder(), installed_folder("../lib/vantel/")}) {
        if (!folder.empty()) folders.push_back(std::move(folder));
    }
    return folders;
}

std::string path_temp_folder() {
    const std::string folder = with_separator(environment("TMPDIR"));
    return path_is_absolute(folder.c_str()) && file_is_folder(folder.c_str()) ? folder : "/tmp/";
}

std::string path_temp_prefix() {
    char name[24];
    snprintf(name, sizeof name, "vantel_%08x_", unsigned(getpid()));
    return path_temp_folder() + name;
}
