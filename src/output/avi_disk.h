#pragma once

#include <cstdint>

/// What a long output needs of the file system beyond platform/file.h. Descriptors as there.

/// Tells the machine that n bytes at `position`, behind all earlier ones, have been written by a thread that may wait.
/// Their way to the disk starts at once, and the call returns when all but the last 32 MiB have arrived there. May be
/// called with any run; a file system that cannot do it does nothing. Not durable by itself: file_sync at the end is.
///
/// Opening the file for synchronous writes would have each write wait for the disk and for the file's metadata. This
/// way the disk is never idle, the page cache never fills with output (which would stall the whole machine when the
/// kernel starts to throttle), and the sync at the end of a save of any length has little left to do.
void avi_disk_behind(int file, int64_t position, int64_t n);

/// Cuts the file to a length. False on an error.
bool avi_disk_cut(int file, int64_t length);
