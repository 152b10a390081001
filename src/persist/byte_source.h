#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Bytes read one after the other, out of a file through a small window, or out of memory. Whatever a reader is told to
/// expect, it can ask first how much is really there. Main thread.
struct BYTE_SOURCE {
    int file = -1;
    int64_t next = 0, end = 0;  // the part of the file that is not in the window yet
    const uint8_t* at = nullptr;
    const uint8_t* stop = nullptr;
    std::vector<uint8_t> room;  // of the window
};

/// From a position of an open file, which stays the caller's. Nothing is read before it is asked for.
BYTE_SOURCE byte_source_file(int file, int64_t position);
/// From memory that outlives the source.
BYTE_SOURCE byte_source_memory(std::span<const uint8_t> bytes);

/// Bytes that are left.
int64_t byte_source_left(const BYTE_SOURCE& source);
/// The place in the file of the next byte.
int64_t byte_source_position(const BYTE_SOURCE& source);
/// The next n bytes. False when so many are not there or cannot be read.
bool byte_source_read(BYTE_SOURCE* source, void* target, size_t n);
/// Passes over n bytes. False when so many are not there.
bool byte_source_skip(BYTE_SOURCE* source, size_t n);
bool byte_source_u32(BYTE_SOURCE* source, uint32_t* value);
