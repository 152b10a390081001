#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Files of the machine. Paths are NUL-terminated code page 932 texts (platform/text.h makes them from UTF-8).
/// Descriptors are plain ints, -1 for none; every open one is close-on-exec. Nothing here throws or prints.
/// Positions and sizes are 64 bits, in bytes. Any thread, one thread a descriptor.

/// Opens an existing regular file for reading, shared. A folder, a FIFO or a device is refused. -1 on failure, errno
/// set.
int file_open_read(const char* path);
/// Opens an existing regular file for reading and writing. -1 on failure.
int file_open_update(const char* path);
/// Creates the file, or cuts an existing regular file to nothing, for writing and reading. -1 on failure.
int file_create(const char* path);
void file_close(int file);

/// Reads up to n bytes at a position; goes on after short reads and signals. Returns bytes read (short at the end of
/// the file), -1 on an error.
int64_t file_read_at(int file, void* buffer, size_t n, int64_t position);
/// Reads exactly n bytes, or returns false.
bool file_read_exact(int file, void* buffer, size_t n, int64_t position);
/// Writes n bytes at a position; goes on after short writes and signals. Returns bytes written; fewer than n means that
/// the disk is full, a limit is reached or the disk is gone (errno tells). SIGXFSZ is ignored by the program.
int64_t file_write_at(int file, const void* data, size_t n, int64_t position);
/// Size in bytes, -1 on an error.
int64_t file_size(int file);
/// Forces everything written to the disk. False on an error.
bool file_sync(int file);

/// Reads a whole file; refuses one larger than limit bytes. False leaves out empty.
bool file_load(const char* path, std::vector<uint8_t>& out, size_t limit);
/// Replaces a file in one step: writes a temporary file beside it, flushes it to disk, renames. Keeps the mode of a
/// file that is replaced; writes through a symbolic link to its target. False leaves the old file as it was.
bool file_replace(const char* path, const void* data, size_t n);

bool file_exists(const char* path);
bool file_is_folder(const char* path);
/// Deletes a file, not a folder.
bool file_delete(const char* path);
/// Copies a regular file, in one step as file_replace does. False also when both are the same file.
bool file_copy(const char* from, const char* to);
/// Whether two paths lead to one file: by canonical path, or by device and inode when both exist.
bool file_same(const char* a, const char* b);
/// Last-write time (nanoseconds since 1970) and size as one text, "" when the file is missing. Out: 48 bytes.
void file_stamp(const char* path, char out[48]);

/// Calls func for each regular file in a folder whose name matches a pattern ("*.cfg", case ignored), or for each
/// direct sub-folder, in the order of the file system. func gets the full path (folder + name); returning false stops.
using FILE_VISIT = bool (*)(const char* path, void* data);
void file_each(const char* folder, const char* pattern, FILE_VISIT func, void* data);
void folder_each(const char* folder, FILE_VISIT func, void* data);
