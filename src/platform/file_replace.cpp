#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>

#include "platform/file.h"
#include "platform/text.h"

namespace {

constexpr int LINK_LIMIT = 40;  // as the kernel's own limit
constexpr int NAME_TRIES = 1000;
constexpr size_t COPY_BLOCK = size_t(1) << 20;

/// A new file on its way to a name. All texts are UTF-8.
struct REPLACEMENT {
    int file = -1;
    std::string target;
    std::string temp;
};

std::string folder_of(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

/// Follows the links of the last name, also where the last one leads to nothing yet.
bool resolve_links(std::string& path) {
    for (int i = 0; i < LINK_LIMIT; ++i) {
        std::string link(4096, 0);
        const ssize_t size = readlink(path.c_str(), link.data(), link.size());
        if (size < 0) return errno == EINVAL || errno == ENOENT;
        if (size == 0 || size_t(size) == link.size()) return false;
        link.resize(size_t(size));
        path = (link[0] == '/' ? std::string() : folder_of(path)).append(link);
    }
    errno = ELOOP;
    return false;
}

bool temp_create(REPLACEMENT& r, mode_t mode) {
    static std::atomic<unsigned> number;
    for (int i = 0; i < NAME_TRIES; ++i) {
        char name[48];
        snprintf(name, sizeof name, ".vantel-%d-%u", int(getpid()), number++);
        r.temp = folder_of(r.target).append(name);
        r.file = open(r.temp.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (r.file >= 0) return true;
        if (errno != EEXIST) break;  // a leftover of a run that crashed under our process id
    }
    return false;
}

/// Owner first, since a change of owner clears mode bits; only the superuser may do it, so failing is no error. Where
/// the group cannot be kept, its permissions are not given to another group.
void keep_owner_and_mode(int file, const struct stat& old) {
    struct stat now;
    mode_t mode = old.st_mode & 07777;
    const bool same = fstat(file, &now) == 0 && now.st_uid == old.st_uid && now.st_gid == old.st_gid;
    if (!same && fchown(file, old.st_uid, old.st_gid) != 0 && fchown(file, uid_t(-1), old.st_gid) != 0) mode &= 0707;
    (void)!fchmod(file, mode);
}

void replace_cancel(REPLACEMENT& r) {
    const int error = errno;
    if (r.file >= 0) {
        close(r.file);
        unlink(r.temp.c_str());
    }
    r.file = -1;
    errno = error;
}

/// mode: of a file that does not exist yet, less the umask.
bool replace_begin(REPLACEMENT& r, const char* path, mode_t mode) {
    r.target = text_to_utf8(path);
    if (!resolve_links(r.target)) return false;
    struct stat old;
    const bool exists = stat(r.target.c_str(), &old) == 0;
    if (!exists && errno != ENOENT) return false;
    if (exists && !S_ISREG(old.st_mode)) {
        errno = S_ISDIR(old.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    // A rename would get past the write protection of the file itself.
    if (exists && faccessat(AT_FDCWD, r.target.c_str(), W_OK, AT_EACCESS) != 0) return false;
    if (!temp_create(r, mode)) return false;
    if (exists) keep_owner_and_mode(r.file, old);
    return true;
}

/// written: everything went into r.file. Only then, and only once it is on the disk, the new file takes the name.
bool replace_end(REPLACEMENT& r, bool written) {
    if (!written || !file_sync(r.file) || rename(r.temp.c_str(), r.target.c_str()) != 0) {
        replace_cancel(r);
        return false;
    }
    close(r.file);
    // The name itself reaches the disk with the folder. Some file systems refuse this, and the file is replaced anyway.
    const std::string folder = folder_of(r.target);
    const int handle = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle >= 0) file_sync(handle);
    file_close(handle);
    return true;
}

bool copy_all(int to, int from) {
    std::vector<uint8_t> block(COPY_BLOCK);
    for (int64_t position = 0;;) {
        const int64_t n = file_read_at(from, block.data(), block.size(), position);
        if (n <= 0) return n == 0;
        if (file_write_at(to, block.data(), size_t(n), position) != n) return false;
        position += n;
    }
}

}  // namespace

bool file_replace(const char* path, const void* data, size_t n) {
    REPLACEMENT r;
    if (!replace_begin(r, path, 0666)) return false;
    return replace_end(r, file_write_at(r.file, data, n, 0) == int64_t(n));
}

bool file_copy(const char* from, const char* to) {
    if (file_same(from, to)) return false;
    const int source = file_open_read(from);
    if (source < 0) return false;
    struct stat info;
    REPLACEMENT r;
    const bool good = fstat(source, &info) == 0 && replace_begin(r, to, info.st_mode & 0777) &&
                      replace_end(r, copy_all(r.file, source));
    file_close(source);
    return good;
}
