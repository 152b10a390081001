#include "output/avi_recover.h"

#include <algorithm>

#include "output/avi_disk.h"
#include "output/avi_index.h"
#include "output/avi_list.h"

/// From here on the file is written directly. Returns the bytes of the current RIFF list that are in the file.
static uint64_t begin_again(AVI_WRITER* w) {
    w->stored = avi_file_stored(w);
    if (w->ring) avi_ring_stop(w->ring);
    w->ring = nullptr;
    w->failed = false;
    return w->stored > w->base ? w->stored - w->base : 0;
}

static AVI_WRITER_STREAM& stream_of(AVI_WRITER* w, uint32_t word) {
    return w->stream[word & AVI_WORD_AUDIO ? AVI_AUDIO : AVI_VIDEO];
}

static void forget_last(AVI_WRITER* w) {
    const uint32_t word = avi_table(w)[--w->chunk_count];
    const uint32_t size = word & AVI_WORD_SIZE;
    w->pos -= avi_chunk_span(size);
    AVI_WRITER_STREAM& stream = stream_of(w, word);
    --stream.part_chunks;
    stream.part_units -= avi_list_units(w, word & AVI_WORD_AUDIO ? AVI_AUDIO : AVI_VIDEO, size);
}

/// What closing stores behind the last chunk.
static uint64_t tail_room(const AVI_WRITER* w) {
    if (w->odml_pos == 0) return avi_index_old_room(w->chunk_count) + avi_list_info_room(w);
    uint64_t room = 0;
    for (const AVI_WRITER_STREAM& stream : w->stream) room += avi_index_standard_room(stream.part_chunks);
    return room;
}

void avi_recover(AVI_WRITER* w) {
    const uint64_t stored = begin_again(w);
    // Finishing the list may have got as far as the super indexes; elsewhere this changes nothing.
    for (const AVI_STREAM_KIND kind : AVI_STREAM_KINDS) {
        if (w->stream[kind].used) avi_index_forget(w, kind);
    }
    if (w->riff_part == 0) w->odml_pos = 0;
    w->pos = w->movi_data;
    for (uint32_t i = 0; i < w->chunk_count; ++i) w->pos += avi_chunk_span(avi_table(w)[i] & AVI_WORD_SIZE);
    while (w->chunk_count > 0 && w->pos + tail_room(w) > stored) forget_last(w);
    w->no_tail = w->pos + tail_room(w) > stored;
    if (w->chunk_count == 0 && w->riff_part != 0) w->pos = 0;
}

void avi_recover_wav(AVI_WRITER* w) {
    const uint64_t stored = begin_again(w);
    const uint64_t sample = std::max(w->stream[AVI_AUDIO].strh.dwSampleSize, uint32_t{1});
    uint64_t size = stored > w->movi_data ? stored - w->movi_data : 0;
    size = std::min(size, w->stream[AVI_AUDIO].part_units) / sample * sample;
    if (size & 1 && w->movi_data + size + 1 > stored) size -= sample;
    w->pos = w->movi_data + size;
}

bool avi_recover_cut(AVI_WRITER* w) { return avi_disk_cut(w->file, int64_t(avi_file_position(w))); }
