#include <algorithm>

#include "readers/avi_state.h"
#include "readers/fourcc.h"
#include "readers/open_progress.h"

static constexpr uint32_t HEADER_SIZE = 8, TYPE_SIZE = 4;
static constexpr uint64_t CHUNKS_A_LOOK = 64;  // a chunk may cost a disk's seek

/// The last two characters of a chunk's code, in capitals.
static constexpr uint32_t KIND_DB = 'D' | 'B' << 8, KIND_DC = 'D' | 'C' << 8, KIND_WB = 'W' | 'B' << 8;

/// The digits by which a chunk is taken: those of its code, if its kind fits the stream.
static uint32_t digits_of(const AVI_SINK& sink, uint32_t code) {
    const uint32_t digits = code & 0xFFFF, kind = code >> 16;
    const bool video = kind == KIND_DB || kind == KIND_DC;
    const bool fits = digits == sink.video_digits ? video : kind == KIND_WB;
    return fits ? digits : AVI_OTHER_DIGITS;
}

bool avi_data_list_find(RIFF_FILE* riff, AVI_DATA_LIST* list, const RIFF_CHUNK& root) {
    if (!riff_find(riff, &list->movi, fourcc("movi"), 0, &root)) return false;
    const RIFF_CHUNK& movi = list->movi;
    const uint32_t size = root.size + TYPE_SIZE;  // of the RIFF list, as the file says
    // Writers begin a list with its own place, 0 or all bits as its size.
    list->open = size == UINT32_MAX || riff_unclosed(root, movi);
    list->end = list->open ? riff->size : movi.position + int64_t{movi.size};
    list->next = riff_behind(root.position - TYPE_SIZE, size);
    return true;
}

void avi_index_movi(RIFF_FILE* riff, AVI_SINK* sink, const AVI_DATA_LIST& list) {
    for (int64_t at = list.movi.position; at < list.end;) {
        const uint8_t* head = riff_bytes(riff, at, HEADER_SIZE);
        if (!head) return;
        const uint32_t code = fourcc_fold(bytes_u32(head)), size = bytes_u32(head + 4);
        const int64_t data = at + HEADER_SIZE;
        if (list.open && size > riff->size - data) return;
        // Many writers tell no key frames here, so only pictures marked as not compressed count as such. The program's
        // own writer marks key frames so.
        const uint32_t mark = code >> 16 == KIND_DC ? CHUNK_NOT_KEY : 0;
        if (!avi_sink_take(sink, digits_of(*sink, code), uint64_t(data), (size & ~CHUNK_NOT_KEY) | mark)) return;
        at = riff_behind(data, size);
        if (sink->seen % CHUNKS_A_LOOK == 0 && open_progress_stop(double(at) / double(riff->size))) return;
    }
}

static bool further_root(RIFF_FILE* riff, RIFF_CHUNK* root, int64_t position) {
    const uint8_t* head = riff_bytes(riff, position, HEADER_SIZE + TYPE_SIZE);
    if (!head || bytes_u32(head) != fourcc("RIFF") || bytes_u32(head + HEADER_SIZE) != fourcc("AVIX")) return false;
    *root = {fourcc("AVIX"), bytes_u32(head + 4) - TYPE_SIZE, position + HEADER_SIZE + TYPE_SIZE};
    return true;
}

void avi_index_further(RIFF_FILE* riff, AVI_SINK* sink, int64_t position) {
    RIFF_CHUNK root;
    AVI_DATA_LIST list;
    while (further_root(riff, &root, position) && avi_data_list_find(riff, &list, root)) {
        // Lists may not overlap, or a small file could ask for any amount of memory.
        if (!list.open) list.end = std::min(list.end, list.next);
        avi_index_movi(riff, sink, list);
        if (list.open || sink->seen >= AVI_SEEN_MAX || open_progress_stopped()) return;
        position = list.next;
    }
}
