#include "readers/avi_state.h"
#include "readers/fourcc.h"

static uint16_t stream_digits(int number) { return uint16_t(('0' + number / 10) | ('0' + number % 10) << 8); }

static void sink_store(CHUNK_TABLE* table, uint64_t* n, uint64_t position, uint32_t size) {
    ++*n;
    if (table) chunk_table_add(table, position, size);
}

bool avi_sink_take(AVI_SINK* sink, uint32_t digits, uint64_t position, uint32_t size) {
    if (digits == sink->video_digits)
        sink_store(sink->video, &sink->video_n, position, size);
    else if (digits == sink->audio_digits)
        sink_store(sink->audio, &sink->audio_n, position, size & ~CHUNK_NOT_KEY);
    return ++sink->seen < AVI_SEEN_MAX;
}

/// The lists that the chunks can be found by.
struct AVI_INDEX_PLACE {
    AVI_DATA_LIST data;
    RIFF_CHUNK idx1;
    bool has_data, has_idx1;
};

// Behind a list whose writer was cut off its size leads anywhere, and the index may be cut off, too.
static bool idx1_is_whole(RIFF_FILE* riff, const AVI_DATA_LIST& data, const RIFF_CHUNK& idx1) {
    const int64_t behind = riff_behind(data.movi.position, data.movi.size);
    return idx1.position == behind + 8 && idx1.position + int64_t{idx1.size} <= riff->size;
}

static AVI_INDEX_PLACE index_place_find(RIFF_FILE* riff, const RIFF_CHUNK* root) {
    AVI_INDEX_PLACE place = {};
    place.has_data = avi_data_list_find(riff, &place.data, *root);
    place.has_idx1 = place.has_data && riff_find(riff, &place.idx1, fourcc("idx1"), 0, root);
    if (place.has_idx1 && place.data.open) place.has_idx1 = idx1_is_whole(riff, place.data, place.idx1);
    return place;
}

static void index_visit(RIFF_FILE* riff, AVI_SINK* sink, const AVI_READER_STATE& state, const AVI_SUPER_TABLE& super,
                        const AVI_INDEX_PLACE& place) {
    if (state.flags & AVI_R_ODML) return avi_index_odml(riff, sink, super);
    if (!place.has_data) return;
    if (place.has_idx1)
        avi_index_idx1(riff, sink, place.data.movi, place.idx1);
    else
        avi_index_movi(riff, sink, place.data);
    // Further lists without an index of all: their writer was cut off.
    if (!place.data.open) avi_index_further(riff, sink, place.data.next);
}

static AVI_SINK sink_for(const AVI_READER_STATE& state) {
    AVI_SINK sink = {AVI_NO_DIGITS, AVI_NO_DIGITS, 0, 0, 0, nullptr, nullptr};
    if (state.flags & AVI_R_VIDEO) sink.video_digits = stream_digits(state.video_stream);
    if (state.flags & AVI_R_AUDIO) sink.audio_digits = stream_digits(state.audio_stream);
    return sink;
}

void avi_index_build(RIFF_FILE* riff, AVI_READER_STATE* state, const AVI_SUPER_TABLE& super, const RIFF_CHUNK& root) {
    AVI_SINK count = sink_for(*state);
    AVI_INDEX_PLACE place = {};
    if (super.n == 0) state->flags &= ~uint32_t{AVI_R_ODML};
    if (state->flags & AVI_R_ODML) {
        index_visit(riff, &count, *state, super, place);
        // A recording that was cut off names indexes that were never written.
        if (count.video_n == 0 && count.audio_n == 0) state->flags &= ~uint32_t{AVI_R_ODML};
    }
    if (!(state->flags & AVI_R_ODML)) {
        place = index_place_find(riff, &root);
        index_visit(riff, &count, *state, super, place);
    }
    if (!chunk_table_alloc(&state->video_index, count.video_n)) state->flags &= ~uint32_t{AVI_R_VIDEO};
    if (!chunk_table_alloc(&state->audio_index, count.audio_n)) state->flags &= ~uint32_t{AVI_R_AUDIO};
    AVI_SINK store = sink_for(*state);
    store.video = &state->video_index;
    store.audio = &state->audio_index;
    index_visit(riff, &store, *state, super, place);
    if (!chunk_table_sum(&state->audio_index)) state->flags &= ~uint32_t{AVI_R_AUDIO};
}
