#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

/// The RIFF tree of a file that nobody has checked. Positions are 64 bits; sizes are what the file says and are held
/// against the file only when bytes are fetched. Every walk moves forward by 8 bytes or more for a chunk, so chunks
/// that lie about their size cannot make it circle, and one budget of steps for the whole file bounds the work.

/// A file being parsed, with one window of its bytes. A header far from the last one costs a small read; headers that
/// lie close together, and index tables, are read in growing blocks. One thread.
struct RIFF_FILE {
    int file;              // descriptor, the caller's
    int64_t size;          // of the file
    uint32_t steps;        // chunks that the searches may still look at
    int64_t window_start;  // what `window` holds: window_n bytes from here
    size_t window_n;
    size_t read_n;  // bytes of the last read
    std::unique_ptr<uint8_t[]> window;
};

/// A chunk, or a list taken as one: `code` is then its type, and the type is no part of the data.
struct RIFF_CHUNK {
    uint32_t code;
    uint32_t
        size;  // of the data, as the file says; a list of size 0, left by a writer that was cut off, wraps to 4 GiB
    int64_t position;  // of the data
};

inline constexpr uint32_t RIFF_STEPS_MAX = 1 << 18;

/// Prepares the walk of an open file. False when memory is short or the file has no size.
bool riff_start(RIFF_FILE* riff, int file);

/// Bytes of the file, valid until the next call; null when the file does not hold all n. n is 1 .. 4096.
const uint8_t* riff_bytes(RIFF_FILE* riff, int64_t position, size_t n);

/// Finds the index-th chunk or list (from 0) with a code in a parent, from the parent's first byte up to a chunk that
/// starts just behind its last; a null parent stands for the root: form type `code` of the RIFF list at position 0.
/// False when there is none, the file ends or the budget is spent.
bool riff_find(RIFF_FILE* riff, RIFF_CHUNK* out, uint32_t code, int index, const RIFF_CHUNK* parent);

/// The same walk one chunk at a time: gives the chunk at *position, which starts as parent->position, and moves it on.
bool riff_next(RIFF_FILE* riff, RIFF_CHUNK* out, int64_t* position, const RIFF_CHUNK* parent);

/// Whether the writer of a RIFF list (as riff_find gives the root) was cut off before it came to fill in its size: what
/// stands there ends ahead of a chunk inside it.
inline bool riff_unclosed(const RIFF_CHUNK& root, const RIFF_CHUNK& inside) {
    constexpr uint32_t TYPE_SIZE = 4;
    return root.position - TYPE_SIZE + uint32_t(root.size + TYPE_SIZE) < inside.position;
}

/// Where the chunk behind this one has its header.
inline int64_t riff_behind(int64_t data, uint32_t size) { return data + size + (size & 1); }
