#pragma once

#include <cstddef>
#include <cstdint>

/// Where the chunks of one stream lie. A table is sized once, from a count of what the file's index holds, and costs 12
/// bytes a chunk; the sums over it cost an eighth of a byte more.

struct CHUNK_ENTRY {
    uint32_t low, high;  // halves of the file position of the data
    uint32_t size;       // bytes; bit 31, in a video table, marks a frame that is no key frame
};
static_assert(sizeof(CHUNK_ENTRY) == 12);

inline constexpr uint32_t CHUNK_NOT_KEY = 0x80000000;
/// Chunks kept of one stream, twice what an edit can hold (8,388,607 frames); a file that has more is cut.
inline constexpr uint64_t CHUNK_N_MAX = uint64_t{1} << 24;

struct CHUNK_TABLE {
    CHUNK_ENTRY* entry;
    size_t n, capacity;
    uint64_t* sum;   // sum[i]: bytes of all entries before entry i * 64
    uint64_t bytes;  // of all entries
};

/// Room for up to n entries, at most CHUNK_N_MAX. False when n is 0 or memory is short. The table was zero before.
bool chunk_table_alloc(CHUNK_TABLE* table, uint64_t n);
void chunk_table_free(CHUNK_TABLE* table);
/// Adds an entry; past the capacity nothing happens.
void chunk_table_add(CHUNK_TABLE* table, uint64_t position, uint32_t size);
/// Makes sum and bytes, once all entries stand. False when memory is short.
bool chunk_table_sum(CHUNK_TABLE* table);

inline uint64_t chunk_position(const CHUNK_ENTRY& entry) { return entry.low | uint64_t{entry.high} << 32; }
inline uint32_t chunk_size(const CHUNK_ENTRY& entry) { return entry.size & ~CHUNK_NOT_KEY; }

/// Bytes of the first n entries; n at most table.n. Needs the sums.
uint64_t chunk_table_bytes_before(const CHUNK_TABLE& table, size_t n);
/// The entry that holds a byte of the stream; offset below table.bytes. Out: where in that entry. Needs the sums.
size_t chunk_table_find(const CHUNK_TABLE& table, uint64_t offset, uint32_t* inside);
