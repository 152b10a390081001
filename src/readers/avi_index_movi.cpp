#include "readers/avi_state.h"
#include "readers/fourcc.h"

static constexpr uint32_t HEADER_SIZE = 8;

/// The last two characters of a chunk's code, in capitals.
static constexpr uint32_t KIND_DB = 'D' | 'B' << 8, KIND_DC = 'D' | 'C' << 8, KIND_WB = 'W' | 'B' << 8;

/// The digits by which a chunk is taken: those of its code, if its kind fits the stream.
static uint32_t digits_of(const AVI_SINK& sink, uint32_t code) {
    const uint32_t digits = code & 0xFFFF, kind = code >> 16;
    const bool video = kind == KIND_DB || kind == KIND_DC;
    const bool fits = digits == sink.video_digits ? video : kind == KIND_WB;
    return fits ? digits : AVI_OTHER_DIGITS;
}

void avi_index_movi(RIFF_FILE* riff, AVI_SINK* sink, const RIFF_CHUNK& movi) {
    const int64_t end = movi.position + int64_t{movi.size};
    for (int64_t at = movi.position; at < end;) {
        const uint8_t* head = riff_bytes(riff, at, HEADER_SIZE);
        if (!head) return;
        const uint32_t code = fourcc_fold(bytes_u32(head)), size = bytes_u32(head + 4);
        const int64_t data = at + HEADER_SIZE;
        // The file tells no key frames, so only pictures that are not compressed count as such.
        const uint32_t mark = code >> 16 == KIND_DC ? CHUNK_NOT_KEY : 0;
        if (!avi_sink_take(sink, digits_of(*sink, code), uint64_t(data), (size & ~CHUNK_NOT_KEY) | mark)) return;
        at = riff_behind(data, size);
    }
}
