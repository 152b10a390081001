#include <algorithm>

#include "readers/avi_state.h"
#include "readers/fourcc.h"

static constexpr uint32_t CHUNK_HEADER = 8;
static constexpr uint32_t INDEX_HEADER = 24;
static constexpr uint32_t ENTRY_SIZE = 8;
static constexpr uint16_t ENTRY_LONGS = 2;  // 3: an index of fields, with the place of the second one
static constexpr uint8_t SUBTYPE_FIELD = 1;

/// A standard index: `n` entries from `entries` on, all of them inside its chunk and inside the file.
struct STANDARD_INDEX {
    int64_t start, entries;
    uint32_t n;
    uint16_t digits;
    uint64_t base;
};

static bool standard_index_read(RIFF_FILE* riff, STANDARD_INDEX* index, uint64_t position) {
    if (position > uint64_t(riff->size)) return false;
    const int64_t start = int64_t(position), entries = start + CHUNK_HEADER + INDEX_HEADER;
    const uint8_t* head = riff_bytes(riff, start, CHUNK_HEADER + INDEX_HEADER);
    if (!head || bytes_u32(head + 4) < INDEX_HEADER) return false;
    const uint32_t size = bytes_u32(head + 4) - INDEX_HEADER;
    const uint8_t* body = head + CHUNK_HEADER;
    const uint16_t longs = bytes_u16(body);
    if ((longs != ENTRY_LONGS && longs != 0) || body[2] == SUBTYPE_FIELD) return false;
    const int64_t held = std::min<int64_t>(size, riff->size - entries) / ENTRY_SIZE;
    index->start = start;
    index->entries = entries;
    index->n = uint32_t(std::min<int64_t>(bytes_u32(body + 4), held));
    index->digits = bytes_u16(body + 8);
    index->base = bytes_u64(body + 12);
    return true;
}

static void standard_index_visit(RIFF_FILE* riff, AVI_SINK* sink, const STANDARD_INDEX& index) {
    if (index.digits != sink->video_digits && index.digits != sink->audio_digits) return;
    for (uint32_t i = 0; i < index.n; ++i) {
        const uint8_t* entry = riff_bytes(riff, index.entries + int64_t{i} * ENTRY_SIZE, ENTRY_SIZE);
        if (!entry) return;
        if (!avi_sink_take(sink, index.digits, index.base + bytes_u32(entry), bytes_u32(entry + 4))) return;
    }
}

/// Ranges of the file that indexes have been read from.
struct INDEX_RANGES {
    int64_t start[AVI_SUPER_MAX], end[AVI_SUPER_MAX];
    int n;
};

/// Notes an index. False when it overlaps one that was read before: each byte of the file may give one entry only, or a
/// small file could ask for any amount of memory.
static bool ranges_add(INDEX_RANGES* ranges, const STANDARD_INDEX& index) {
    const int64_t end = index.entries + int64_t{index.n} * ENTRY_SIZE;
    for (int i = 0; i < ranges->n; ++i) {
        if (index.start < ranges->end[i] && ranges->start[i] < end) return false;
    }
    ranges->start[ranges->n] = index.start;
    ranges->end[ranges->n++] = end;
    return true;
}

void avi_index_odml(RIFF_FILE* riff, AVI_SINK* sink, const AVI_SUPER_TABLE& super) {
    INDEX_RANGES ranges;
    ranges.n = 0;
    // An index that cannot be read costs its own chunks only: behind those of a stream's missing last list stand the
    // indexes of the next stream.
    for (int i = 0; i < super.n && sink->seen < AVI_SEEN_MAX; ++i) {
        STANDARD_INDEX index;
        if (standard_index_read(riff, &index, super.position[i]) && ranges_add(&ranges, index))
            standard_index_visit(riff, sink, index);
    }
}
