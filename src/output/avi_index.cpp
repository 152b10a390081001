#include "output/avi_index.h"

/// Entries on their way to the file, so that a store is not made for each.
template <typename ENTRY>
struct ENTRY_BATCH {
    static constexpr size_t MAX = 256;
    ENTRY entry[MAX];
    size_t n = 0;
};

template <typename ENTRY>
static void batch_store(AVI_WRITER* w, ENTRY_BATCH<ENTRY>& batch) {
    avi_file_put(w, batch.entry, batch.n * sizeof(ENTRY));
    batch.n = 0;
}

template <typename ENTRY>
static void batch_add(AVI_WRITER* w, ENTRY_BATCH<ENTRY>& batch, const ENTRY& entry) {
    if (batch.n == batch.MAX) batch_store(w, batch);
    batch.entry[batch.n++] = entry;
}

static uint32_t stream_code(AVI_STREAM_KIND kind) { return kind == AVI_AUDIO ? FCC_01WB : FCC_00DB; }

static AVI_STREAM_KIND word_kind(uint32_t word) { return word & AVI_WORD_AUDIO ? AVI_AUDIO : AVI_VIDEO; }

static bool super_write(AVI_WRITER* w, AVI_STREAM_KIND kind, uint32_t entry_n, const AVI_SUPER_ENTRY& entry) {
    const AVI_WRITER_STREAM& stream = w->stream[kind];
    AVI_SUPER_INDEX index = {};
    index.header = {FCC_JUNK, AVI_SUPER_ROOM};
    if (entry_n != 0) {
        index.header.code = FCC_INDX;
        index.wLongsPerEntry = 4;
        index.bIndexType = AVI_INDEX_OF_INDEXES;
        index.nEntriesInUse = entry_n;
        index.dwChunkId = stream_code(kind);
    }
    const uint64_t entry_pos = stream.indx_pos + sizeof(index) + stream.indx_n * sizeof(entry);
    return avi_file_patch(w, stream.indx_pos, &index, sizeof(index)) &&
           avi_file_patch(w, entry_pos, &entry, sizeof(entry));
}

bool avi_index_forget(AVI_WRITER* w, AVI_STREAM_KIND kind) {
    return super_write(w, kind, w->stream[kind].indx_n, AVI_SUPER_ENTRY{});
}

static void standard_put_entries(AVI_WRITER* w, AVI_STREAM_KIND kind) {
    const uint32_t* table = avi_table(w);
    ENTRY_BATCH<AVI_STANDARD_ENTRY> batch;
    uint32_t offset = sizeof(AVI_CHUNK_HEADER);
    for (uint32_t i = 0; i < w->chunk_count; ++i) {
        const uint32_t size = table[i] & AVI_WORD_SIZE;
        if (word_kind(table[i]) == kind) batch_add(w, batch, {offset, size | (table[i] & AVI_WORD_NO_KEY)});
        offset += uint32_t(avi_chunk_span(size));
    }
    batch_add(w, batch, {0, 0});
    batch_store(w, batch);
}

bool avi_index_put_standard(AVI_WRITER* w, AVI_STREAM_KIND kind) {
    const AVI_WRITER_STREAM& stream = w->stream[kind];
    if (stream.part_chunks == 0) return !w->failed;
    const uint32_t room = uint32_t(avi_index_standard_room(stream.part_chunks));
    const AVI_SUPER_ENTRY entry = {avi_file_position(w), uint32_t(room - sizeof(AVI_STANDARD_ENTRY)),
                                   uint32_t(stream.part_units)};
    if (!super_write(w, kind, stream.indx_n + 1, entry)) return false;
    AVI_STANDARD_INDEX index = {};
    index.header = {kind == AVI_AUDIO ? FCC_IX01 : FCC_IX00, uint32_t(room - sizeof(AVI_CHUNK_HEADER))};
    index.wLongsPerEntry = 2;
    index.bIndexType = AVI_INDEX_OF_CHUNKS;
    index.nEntriesInUse = stream.part_chunks;
    index.dwChunkId = stream_code(kind);
    index.qwBaseOffset = w->base + w->movi_data;
    avi_file_put(w, &index, sizeof(index));
    standard_put_entries(w, kind);
    return !w->failed;
}

static AVI_OLD_INDEX_ENTRY old_entry(uint32_t word, uint32_t offset) {
    const uint32_t size = word & AVI_WORD_SIZE;
    if (word & AVI_WORD_NO_KEY) return {FCC_00DC, 0, offset, size};
    return {stream_code(word_kind(word)), AVIIF_KEYFRAME, offset, size};
}

bool avi_index_put_old(AVI_WRITER* w) {
    const AVI_CHUNK_HEADER header = {FCC_IDX1, uint32_t(avi_index_old_room(w->chunk_count) - sizeof(AVI_CHUNK_HEADER))};
    avi_file_put(w, &header, sizeof(header));
    const uint32_t* table = avi_table(w);
    ENTRY_BATCH<AVI_OLD_INDEX_ENTRY> batch;
    uint32_t offset = sizeof(FCC_MOVI);
    for (uint32_t i = 0; i < w->chunk_count; ++i) {
        batch_add(w, batch, old_entry(table[i], offset));
        offset += uint32_t(avi_chunk_span(table[i] & AVI_WORD_SIZE));
    }
    batch_store(w, batch);
    return !w->failed;
}
