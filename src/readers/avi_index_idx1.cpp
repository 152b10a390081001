#include <algorithm>

#include "readers/avi_state.h"
#include "readers/fourcc.h"

static constexpr uint32_t ENTRY_SIZE = 16;
static constexpr uint32_t IDX1_KEY = 0x10;

void avi_index_idx1(RIFF_FILE* riff, AVI_SINK* sink, const RIFF_CHUNK& movi, const RIFF_CHUNK& idx1) {
    const int64_t held = std::min<int64_t>(idx1.size, std::max<int64_t>(riff->size - idx1.position, 0));
    uint64_t base = 0;
    for (int64_t at = 0; at + ENTRY_SIZE <= held; at += ENTRY_SIZE) {
        const uint8_t* entry = riff_bytes(riff, idx1.position + at, ENTRY_SIZE);
        if (!entry) return;
        const uint32_t offset = bytes_u32(entry + 8), size = bytes_u32(entry + 12) & ~CHUNK_NOT_KEY;
        const bool key = bytes_u32(entry + 4) & IDX1_KEY;
        // Offsets count from the code "movi", which lies 4 bytes before the list's data, or from the start of the file.
        // Either way the chunk's 8-byte header is stepped over.
        if (at == 0) base = offset < movi.position ? uint64_t(movi.position) + 4 : 8;
        if (!avi_sink_take(sink, bytes_u16(entry), base + offset, key ? size : size | CHUNK_NOT_KEY)) return;
    }
}
