#include "output/avi_disk.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/file.h"
#include "platform/text.h"

static constexpr size_t SLICE = 1 << 20;

// An existing file is not cut here: it may be another writer's.
static int open_uncut(const char* path) {
    int file = file_open_update(path);
    if (file < 0 && errno == ENOENT)
        file = open(text_to_utf8(path).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0 && errno == EEXIST) file = file_open_update(path);  // somebody was faster
    if (file < 0 && errno == ENOENT) file = file_create(path);       // through a link to what is not there
    return file;
}

int avi_disk_create(const char* path) {
    const int file = open_uncut(path);
    if (file < 0) return -1;
    // A file system without locks is no reason to refuse.
    const bool taken = flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (!taken && (file_size(file) == 0 || avi_disk_cut(file, 0))) return file;
    file_close(file);
    return -1;
}

int64_t avi_disk_write(int file, const void* data, size_t n, uint64_t position) {
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    size_t stored = 0;
    while (stored < n) {
        const size_t slice = std::min(n - stored, SLICE);
        const int64_t done = file_write_at(file, bytes + stored, slice, int64_t(position + stored));
        stored += size_t(std::max<int64_t>(done, 0));
        if (done != int64_t(slice)) break;
    }
    return int64_t(stored);
}

bool avi_disk_cut(int file, int64_t length) { return ftruncate(file, length) == 0; }

bool avi_disk_close(int file) { return close(file) == 0; }
