#include <dirent.h>
#include <sys/stat.h>

#include <memory>
#include <string>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

namespace {

struct DIR_CLOSE {
    void operator()(DIR* dir) const { closedir(dir); }
};

/// What an entry is, through links; the file system may not tell without being asked about the file.
mode_t entry_type(const dirent& entry, const std::string& path) {
    if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK) return mode_t(DTTOIF(entry.d_type));
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? info.st_mode & S_IFMT : 0;
}

void entry_each(const char* folder, const char* pattern, mode_t type, FILE_VISIT func, void* data) {
    std::string base = text_to_utf8(folder[0] != 0 ? folder : "./");
    if (base.back() != '/') base += '/';
    const std::unique_ptr<DIR, DIR_CLOSE> dir(opendir(base.c_str()));
    if (dir == nullptr) return;
    while (const dirent* entry = readdir(dir.get())) {
        const std::string name = entry->d_name;
        const std::string path = folder[0] != 0 ? base + name : name;
        if (name == "." || name == ".." || entry_type(*entry, path) != type) continue;
        const std::string path932 = text_from_utf8(path);
        if (path932.size() >= PATH_SIZE || !text_match(pattern, text_from_utf8(name).c_str())) continue;
        if (!func(path932.c_str(), data)) return;
    }
}

}  // namespace

void file_each(const char* folder, const char* pattern, FILE_VISIT func, void* data) {
    entry_each(folder, pattern, S_IFREG, func, data);
}

void folder_each(const char* folder, FILE_VISIT func, void* data) { entry_each(folder, "*", S_IFDIR, func, data); }
