#include "output/avi_disk.h"

#include <unistd.h>

bool avi_disk_cut(int file, int64_t length) { return ftruncate(file, length) == 0; }

bool avi_disk_close(int file) { return close(file) == 0; }
