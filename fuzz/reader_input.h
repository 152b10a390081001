#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// The bytes of a fuzzing run as a file that lives in memory, under a path that readers open. Null when the machine
/// refuses.
inline const char* reader_input(const uint8_t* data, size_t size) {
    static const int file = memfd_create("reader_input", MFD_CLOEXEC);
    static char path[64];
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != ssize_t(size)) return nullptr;
    snprintf(path, sizeof path, "/proc/self/fd/%d", file);
    return path;
}
