#include "output/avi_disk.h"

#include <fcntl.h>
#include <unistd.h>

static constexpr int64_t WINDOW = 32 << 20;

void avi_disk_behind(int file, int64_t position, int64_t n) {
    sync_file_range(file, position, n, SYNC_FILE_RANGE_WRITE);
    const int64_t begin = position < WINDOW ? 0 : position - WINDOW;
    const int64_t end = position + n - WINDOW;
    if (end <= begin) return;
    sync_file_range(file, begin, end - begin,
                    SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
}

bool avi_disk_cut(int file, int64_t length) { return ftruncate(file, length) == 0; }
