#include <algorithm>
#include <cstring>

#include "platform/file.h"
#include "readers/avi_state.h"
#include "readers/fourcc.h"
#include "readers/media_format.h"

static constexpr uint32_t STREAM_HEADER_SIZE = 56;
static constexpr int STREAM_MAX = 100;  // two decimal digits name a stream
static constexpr uint32_t SUPER_HEADER_SIZE = 24;
static constexpr uint32_t SUPER_ENTRY_SIZE = 16;
static constexpr uint16_t SUPER_LONGS = 4;

/// The fields of a stream header that the reader uses.
struct AVI_STREAM_HEAD {
    uint32_t type, handler, scale, rate, sample_size;
};

/// A stream's format block, zero behind its size.
struct AVI_FORMAT {
    alignas(8) uint8_t bytes[AVI_FORMAT_MAX];
    uint32_t size;
};

static bool stream_head_read(RIFF_FILE* riff, AVI_STREAM_HEAD* head, const RIFF_CHUNK* list) {
    RIFF_CHUNK chunk;
    if (!riff_find(riff, &chunk, fourcc("strh"), 0, list) || chunk.size < STREAM_HEADER_SIZE) return false;
    const uint8_t* p = riff_bytes(riff, chunk.position, STREAM_HEADER_SIZE);
    if (!p) return false;
    *head = {bytes_u32(p), bytes_u32(p + 4), bytes_u32(p + 20), bytes_u32(p + 24), bytes_u32(p + 44)};
    return true;
}

static bool format_read(RIFF_FILE* riff, AVI_FORMAT* format, const RIFF_CHUNK* list) {
    RIFF_CHUNK chunk;
    if (!riff_find(riff, &chunk, fourcc("strf"), 0, list) || chunk.size > AVI_FORMAT_MAX) return false;
    *format = {};
    format->size = chunk.size;
    return file_read_exact(riff->file, format->bytes, chunk.size, chunk.position);
}

/// Rates leave as 32-bit signed numbers and divide.
static bool rate_is_usable(uint32_t rate, uint32_t scale) {
    return rate != 0 && rate <= INT32_MAX && scale != 0 && scale <= INT32_MAX;
}

enum STREAM_RESULT { STREAM_LEFT_OUT, STREAM_TAKEN, STREAM_REFUSES_FILE };

static STREAM_RESULT video_take(AVI_READER_STATE* state, const AVI_STREAM_HEAD& head, AVI_FORMAT* block) {
    BITMAPINFOHEADER* format = reinterpret_cast<BITMAPINFOHEADER*>(block->bytes);
    if (block->size < sizeof *format) return STREAM_LEFT_OUT;
    uint32_t handler = head.handler;
    if (handler == 0 && !fourcc_is_plain_dib(format->biCompression)) handler = format->biCompression;
    if (fourcc_is_plain_dib(handler) && format->biBitCount < 16) return STREAM_REFUSES_FILE;
    if (!rate_is_usable(head.rate, head.scale) || !picture_format_repair(format, block->size)) return STREAM_LEFT_OUT;
    std::memcpy(state->video_format, block->bytes, AVI_FORMAT_MAX);
    state->video_format_size = block->size;
    state->video_handler = handler;
    state->video_rate = head.rate;
    state->video_scale = head.scale;
    return STREAM_TAKEN;
}

static STREAM_RESULT audio_take(AVI_READER_STATE* state, const AVI_STREAM_HEAD& head, AVI_FORMAT* block) {
    WAVEFORMATEX* format = reinterpret_cast<WAVEFORMATEX*>(block->bytes);
    // PCM has a true block size whatever its stream header says.
    const bool variable = head.sample_size == 0 && !sound_format_is_pcm(format, block->size);
    if (!sound_format_repair(format, block->size, variable)) return STREAM_LEFT_OUT;
    if (variable && !rate_is_usable(head.rate, head.scale)) return STREAM_LEFT_OUT;
    if (variable) format->nBlockAlign = 1;
    std::memcpy(state->audio_format, block->bytes, AVI_FORMAT_MAX);
    state->audio_format_size = block->size;
    state->audio_block = format->nBlockAlign;
    state->vbr_rate = variable ? head.rate : 0;
    state->vbr_scale = variable ? head.scale : 0;
    state->flags = variable ? state->flags | AVI_R_VBR : state->flags & ~uint32_t{AVI_R_VBR};
    return STREAM_TAKEN;
}

static void super_index_read(RIFF_FILE* riff, AVI_SUPER_TABLE* super, const RIFF_CHUNK* list) {
    RIFF_CHUNK chunk;
    if (!riff_find(riff, &chunk, fourcc("indx"), 0, list) || chunk.size < SUPER_HEADER_SIZE) return;
    const uint8_t* head = riff_bytes(riff, chunk.position, SUPER_HEADER_SIZE);
    // Other entries than these (a plain index may stand here) are no file positions of indexes.
    if (!head || (bytes_u16(head) != SUPER_LONGS && bytes_u16(head) != 0)) return;
    const uint32_t n = std::min(bytes_u32(head + 4), (chunk.size - SUPER_HEADER_SIZE) / SUPER_ENTRY_SIZE);
    for (uint32_t i = 0; i < n && super->n < AVI_SUPER_MAX; ++i) {
        const int64_t at = chunk.position + SUPER_HEADER_SIZE + int64_t{i} * SUPER_ENTRY_SIZE;
        const uint8_t* entry = riff_bytes(riff, at, SUPER_ENTRY_SIZE);
        if (!entry) return;
        super->position[super->n++] = bytes_u64(entry);
    }
}

static bool stream_read(RIFF_FILE* riff, AVI_READER_STATE* state, AVI_SUPER_TABLE* super, const RIFF_CHUNK* list,
                        int number) {
    AVI_STREAM_HEAD head;
    AVI_FORMAT format;
    if (!stream_head_read(riff, &head, list)) return true;
    const bool video = fourcc_equal(head.type, fourcc("vids"));
    if (!video && !fourcc_equal(head.type, fourcc("auds"))) return true;
    if (!format_read(riff, &format, list)) return true;
    const STREAM_RESULT result = video ? video_take(state, head, &format) : audio_take(state, head, &format);
    if (result == STREAM_REFUSES_FILE) return false;
    if (result == STREAM_LEFT_OUT) return true;
    state->flags |= video ? AVI_R_VIDEO : AVI_R_AUDIO;
    (video ? state->video_stream : state->audio_stream) = number;
    if (state->flags & AVI_R_ODML) super_index_read(riff, super, list);
    return true;
}

bool avi_streams_read(RIFF_FILE* riff, AVI_READER_STATE* state, AVI_SUPER_TABLE* super, const RIFF_CHUNK* header_list) {
    RIFF_CHUNK list;
    if (riff_find(riff, &list, fourcc("odml"), 0, header_list)) state->flags |= AVI_R_ODML;
    int64_t position = header_list->position;
    for (int number = 0; number < STREAM_MAX && riff_next(riff, &list, &position, header_list);) {
        if (list.code != fourcc("strl")) continue;
        if (!stream_read(riff, state, super, &list, number++)) return false;
    }
    return (state->flags & (AVI_R_VIDEO | AVI_R_AUDIO)) != 0;
}
