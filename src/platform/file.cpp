#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <new>
#include <string>

#include "platform/text.h"

namespace {

bool info_of(const char* path, struct stat& info) { return stat(text_to_utf8(path).c_str(), &info) == 0; }

/// Opens without waiting for the other end of a FIFO, then lets nothing but a regular file through.
int open_regular(const char* path, int flags) {
    const int file = open(text_to_utf8(path).c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666);
    if (file < 0) return -1;
    struct stat info = {};
    if (fstat(file, &info) == 0 && S_ISREG(info.st_mode)) return file;
    const int error = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
    close(file);
    errno = error;
    return -1;
}

}  // namespace

int file_open_read(const char* path) { return open_regular(path, O_RDONLY); }

int file_open_update(const char* path) { return open_regular(path, O_RDWR); }

int file_create(const char* path) {
    // O_TRUNC only after the check would be too early for a device, so the cut is a step of its own.
    const int file = open_regular(path, O_RDWR | O_CREAT);
    // An empty file is left alone: some file systems take a cut to nothing as a reason to store the file when it is
    // closed.
    if (file >= 0 && file_size(file) != 0 && ftruncate(file, 0) != 0) {
        const int error = errno;
        close(file);
        errno = error;
        return -1;
    }
    return file;
}

void file_close(int file) {
    if (file >= 0) close(file);
}

int64_t file_read_at(int file, void* buffer, size_t n, int64_t position) {
    size_t done = 0;
    while (done < n) {
        const ssize_t got = pread(file, static_cast<uint8_t*>(buffer) + done, n - done, position + int64_t(done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return -1;
        if (got == 0) break;
        done += size_t(got);
    }
    return int64_t(done);
}

bool file_read_exact(int file, void* buffer, size_t n, int64_t position) {
    return file_read_at(file, buffer, n, position) == int64_t(n);
}

int64_t file_write_at(int file, const void* data, size_t n, int64_t position) {
    size_t done = 0;
    while (done < n) {
        const ssize_t put = pwrite(file, static_cast<const uint8_t*>(data) + done, n - done, position + int64_t(done));
        if (put < 0 && errno == EINTR) continue;
        if (put == 0) errno = ENOSPC;
        if (put <= 0) break;
        done += size_t(put);
    }
    return int64_t(done);
}

int64_t file_size(int file) {
    struct stat info;
    return fstat(file, &info) == 0 ? int64_t(info.st_size) : -1;
}

bool file_sync(int file) {
    int result;
    do {
        result = fsync(file);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

bool file_load(const char* path, std::vector<uint8_t>& out, size_t limit) {
    out.clear();
    const int file = file_open_read(path);
    if (file < 0) return false;
    const int64_t size = file_size(file);
    bool good = size >= 0 && uint64_t(size) <= limit;
    if (good) {
        try {
            out.resize(size_t(size));
        } catch (const std::bad_alloc&) {
            good = false;
        }
    }
    good = good && file_read_exact(file, out.data(), out.size(), 0);
    if (!good) out.clear();
    file_close(file);
    return good;
}

bool file_exists(const char* path) {
    struct stat info;
    return info_of(path, info);
}

bool file_is_folder(const char* path) {
    struct stat info;
    return info_of(path, info) && S_ISDIR(info.st_mode);
}

bool file_delete(const char* path) { return unlink(text_to_utf8(path).c_str()) == 0; }

bool file_same(const char* a, const char* b) {
    struct stat info_a, info_b;
    const bool has_a = info_of(a, info_a), has_b = info_of(b, info_b);
    if (has_a && has_b) return info_a.st_dev == info_b.st_dev && info_a.st_ino == info_b.st_ino;
    if (has_a != has_b) return false;
    std::error_code error_a, error_b;
    const auto canonical_a = std::filesystem::weakly_canonical(std::filesystem::path(text_to_utf8(a)), error_a);
    const auto canonical_b = std::filesystem::weakly_canonical(std::filesystem::path(text_to_utf8(b)), error_b);
    return !error_a && !error_b && canonical_a == canonical_b;
}

void file_stamp(const char* path, char out[48]) {
    struct stat info;
    out[0] = 0;
    if (!info_of(path, info)) return;
    // Unsigned: a file system may tell any second at all.
    const uint64_t time = uint64_t(info.st_mtim.tv_sec) * 1000000000u + uint64_t(info.st_mtim.tv_nsec);
    snprintf(out, 48, "%lld_%lld", static_cast<long long>(time), static_cast<long long>(info.st_size));
}
