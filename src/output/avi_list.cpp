#include "output/avi_list.h"

#include <algorithm>
#include <cstring>

#include "output/avi_index.h"

bool avi_list_begin_data(AVI_WRITER* w, const char* text) {
    const size_t text_n = strlen(text);
    // 8 bytes of the JUNK header, 12 of `LIST` size `movi`.
    const size_t zeros = size_t(-(avi_file_position(w) + text_n + 20) % AVI_DATA_ALIGN);
    const AVI_CHUNK_HEADER header = {FCC_JUNK, uint32_t(text_n + zeros)};
    avi_file_put(w, &header, sizeof(header));
    avi_file_put(w, text, text_n);
    avi_file_put_zeros(w, zeros);
    avi_list_open(w, &w->list, FCC_LIST, FCC_MOVI);
    w->movi_data = w->pos;
    return !w->failed;
}

static bool put_info(AVI_WRITER* w) {
    return w->info_size == 0 || avi_chunk_put(w, FCC_LIST, w->info, uint32_t(w->info_size));
}

uint64_t avi_list_info_room(const AVI_WRITER* w) { return w->info_size == 0 ? 0 : avi_chunk_span(w->info_size); }

static bool put_indexes(AVI_WRITER* w) {
    if (w->odml_pos == 0) return true;
    return avi_index_put_standard(w, AVI_VIDEO) && avi_index_put_standard(w, AVI_AUDIO);
}

static bool put_tail(AVI_WRITER* w) {
    if (w->riff_part != 0 || w->no_tail) return true;
    return avi_index_put_old(w) && put_info(w);
}

static void count_list(AVI_WRITER* w) {
    for (AVI_WRITER_STREAM& stream : w->stream) {
        if (w->odml_pos != 0 && stream.part_chunks != 0) ++stream.indx_n;
        stream.total_units += stream.part_units;
        stream.part_units = 0;
        stream.part_chunks = 0;
    }
    w->chunk_count = 0;
}

bool avi_list_finish(AVI_WRITER* w) {
    if (w->failed) return false;
    if (w->chunk_count == 0 && w->riff_part != 0) return true;
    // Closing `RIFF` waits for all bytes of the list, so a list that counts as finished is in the file as a whole.
    if (!put_indexes(w) || !avi_chunk_close(w, w->list) || !put_tail(w) || !avi_chunk_close(w, w->riff)) return false;
    count_list(w);
    return true;
}

static bool list_next(AVI_WRITER* w) {
    ++w->riff_part;
    w->base += w->pos;
    w->pos = 0;
    return avi_list_open(w, &w->riff, FCC_RIFF, FCC_AVIX) && avi_list_begin_data(w, "");
}

/// False also when the super indexes could not take the list that would come.
static bool split_if_large(AVI_WRITER* w) {
    if (w->odml_pos == 0 || w->pos < avi_writer_settings.part_limit) return true;
    if (w->riff_part + 1 >= AVI_SUPER_ENTRY_MAX) return false;
    return avi_list_finish(w) && list_next(w);
}

uint64_t avi_list_units(const AVI_WRITER* w, AVI_STREAM_KIND kind, uint64_t size) {
    const uint32_t sample_size = w->stream[AVI_AUDIO].strh.dwSampleSize;
    return kind == AVI_VIDEO || sample_size == 0 ? 1 : size / sample_size;
}

static uint32_t chunk_code(AVI_STREAM_KIND kind, bool key) {
    if (kind == AVI_AUDIO) return FCC_01WB;
    return key ? FCC_00DB : FCC_00DC;
}

bool avi_list_put_chunk(AVI_WRITER* w, AVI_STREAM_KIND kind, const void* data, size_t size, bool key) {
    if (w->failed || size > AVI_WORD_SIZE) return false;
    if (!split_if_large(w) || w->chunk_count == w->chunk_capacity) return false;
    AVI_WRITER_STREAM& stream = w->stream[kind];
    stream.max_chunk = std::max(stream.max_chunk, uint32_t(size));
    stream.part_units += avi_list_units(w, kind, size);
    ++stream.part_chunks;
    avi_table(w)[w->chunk_count++] =
        uint32_t(size) | (kind == AVI_AUDIO ? AVI_WORD_AUDIO : 0) | (key || kind == AVI_AUDIO ? 0 : AVI_WORD_NO_KEY);
    return avi_chunk_put(w, chunk_code(kind, key), data, uint32_t(size));
}
