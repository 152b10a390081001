#pragma once

#include <cstddef>
#include <cstdint>

/// What an output needs of the file system beyond platform/file.h. Descriptors as there.
///
/// When bytes go from the page cache to the disk is left to the machine. Sending each run on its way at once, and all
/// the more waiting for it or opening the file for synchronous writes, ties the save to the pace of the disk. Memory
/// stays sane without it, because the kernel slows a writer that has too much under way.

/// file_create for this process alone: a file that another process is writing is refused and stays as it is, until that
/// one closes it or ends.
int avi_disk_create(const char* path);

/// file_write_at in slices of 1 MiB. The page cache takes memory in pieces of up to the size of a write, and pieces of
/// 4 MiB are hard to come by: writes of that size cost the processor several times as much as four small ones.
int64_t avi_disk_write(int file, const void* data, size_t n, uint64_t position);

/// Cuts the file to a length. False on an error.
bool avi_disk_cut(int file, int64_t length);

/// Closes a file that was written. False when the file system, as ones across a network do, tells only now of bytes it
/// could not store; others tell of a full disk at the write itself. Not a wait for the disk, so a power failure soon
/// afterwards can cost the file.
bool avi_disk_close(int file);
