#include "output/avi_disk.h"

#include <unistd.h>

#include <algorithm>

#include "platform/file.h"

static constexpr size_t SLICE = 1 << 20;

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
