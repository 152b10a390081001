#include "output/save_audio.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/media_converter.h"
#include "core/media_sound_reader.h"
#include "output/avi_writer.h"
#include "output/save_flags.h"
#include "output/save_state.h"
#include "output/writer_table.h"
#include "pipeline/audio_fetch.h"
#include "pipeline/frame_cache.h"

/// Sound on its way: gathered bytes that go out as chunks of `piece` bytes, or (piece 0) as one chunk where it fits.
struct GATHER {
    SAVE* save;
    uint8_t* buffer;
    size_t fill, capacity, piece;
};

static int put(SAVE* save, const uint8_t* bytes, size_t size) {
    SAVE_CONTEXT* context = &save->edit->save_context;
    return save->flags & SAVE_AUDIO_COPY ? save->writer->put_stored_audio(context, bytes, size)
                                         : save->writer->put_audio(context, bytes, size);
}

// Sends whole pieces; `all` also sends what is left.
static int send(GATHER* g, bool all) {
    size_t sent = 0;
    int result = AVI_OK;
    while (result == AVI_OK && g->fill - sent > 0 && (all || (g->piece && g->fill - sent >= g->piece))) {
        const size_t n = g->piece ? std::min(g->piece, g->fill - sent) : g->fill - sent;
        result = put(g->save, g->buffer + sent, n);
        sent += n;
    }
    std::memmove(g->buffer, g->buffer + sent, g->fill - sent);
    g->fill -= sent;
    return result;
}

static int gather_frame(GATHER* g, int frame, AUDIO_MODE mode) {
    EDIT_STATE* edit = g->save->edit;
    const int block = audio_fetch_block(edit, frame, mode);
    if (block < 1) return AVI_OK;
    for (int skip = 0;;) {
        size_t room = g->capacity - g->fill;
        if (room < size_t(block)) {
            const int result = send(g, g->piece == 0);
            if (result != AVI_OK) return result;
            room = g->capacity - g->fill;
        }
        const int bytes = audio_fetch_part(edit, frame, skip, g->buffer + g->fill, room, nullptr, mode);
        if (bytes < block) return AVI_OK;  // the end, or a block size that is a lie
        g->fill += size_t(bytes);
        skip += bytes / block;
    }
}

// Each packet in a chunk of its own, behind what was gathered of other sources.
static int put_packets(GATHER* g, int frame) {
    int result = send(g, true);
    for (int skip = 0; result == AVI_OK;) {
        const int bytes = audio_fetch_packet(g->save->edit, frame, skip, g->buffer, g->capacity);
        if (bytes <= 0) break;
        result = put(g->save, g->buffer, size_t(bytes));
        skip += bytes;
    }
    return result;
}

static size_t piece_size(const WAVEFORMATEX& format) {
    const size_t second = format.nAvgBytesPerSec / format.nBlockAlign * format.nBlockAlign;
    return std::max<size_t>(second, format.nBlockAlign);
}

static int put_copied(SAVE* save, int first, int last) {
    GATHER g{save, display_buffer(), 0, display_buffer_size(), 0};
    for (int frame = first; frame <= last; ++frame) {
        const int result =
            audio_by_packets(save->edit, frame) ? put_packets(&g, frame) : gather_frame(&g, frame, AUDIO_STORED);
        if (result != AVI_OK) return result;
    }
    return send(&g, true);
}

static int put_converted(SAVE* save, int first, int last) {
    const WAVEFORMATEX& format = save->edit->base.audio_header;
    const size_t block = format.nBlockAlign;
    if (block < 1) return AVI_OK;
    // A piece must fit, so that sending whole pieces always makes room and chunks end where any buffer would end them.
    GATHER g{save, display_buffer(), 0, display_buffer_size(), piece_size(format)};
    if (g.piece > g.capacity) g.piece = g.capacity / block * block;
    for (int frame = first; frame <= last; ++frame) {
        int result = gather_frame(&g, frame, AUDIO_FILTERED);
        if (result == AVI_OK) result = send(&g, false);
        if (result != AVI_OK) return result;
    }
    return send(&g, true);
}

int save_put_audio(SAVE* save, int f) {
    int last;
    if (!audio_group(save->edit, f, save->first, save->last, &last)) return AVI_OK;
    return save->flags & SAVE_AUDIO_COPY ? put_copied(save, f, last) : put_converted(save, f, last);
}

// ---- headers of copied sound

static const MEDIA_RECORD* copied_source(const SAVE* save) {
    const int index = frame_ref_source(frame_table.frame_audio[frame_clamp(save->edit, save->first)]);
    return index < SOURCE_MAX ? &save->edit->source[index].media : nullptr;
}

// Players take a packet for as many units as nBlockAlign goes into it, so that must not be smaller than any packet.
static void set_packet_block(SAVE_CONTEXT* context, int64_t bytes) {
    WAVEFORMATEX format;
    std::memcpy(&format, context->audio_format, sizeof format);
    format.nBlockAlign = uint16_t(std::min<int64_t>(bytes, UINT16_MAX));
    std::memcpy(context->audio_format, &format, sizeof format);
}

void save_audio_plan_copy(SAVE* save) {
    SAVE_CONTEXT* context = &save->edit->save_context;
    const MEDIA_RECORD* source = copied_source(save);
    const uint32_t wanted = MEDIA_HAS_AUDIO | MEDIA_VARIABLE_AUDIO;
    if (!source || (source->media_flag & wanted) != wanted || save->edit->output_kind == OUTPUT_KIND_WAV) return;
    const SOUND_PACKETS packets = media_sound_packets(source);
    if (packets.n == 0 || packets.samples == 0) return;
    uint64_t rate = uint64_t(packets.n) * media_stored_format(source).nSamplesPerSec, scale = uint64_t(packets.samples);
    const uint64_t common = std::gcd(rate, scale);
    for (rate /= common, scale /= common; rate > INT32_MAX || scale > INT32_MAX; rate /= 2) scale /= 2;
    context->audio_stream.dwRate = uint32_t(std::max<uint64_t>(rate, 1));
    context->audio_stream.dwScale = uint32_t(std::max<uint64_t>(scale, 1));
    context->audio_stream.dwSampleSize = 0;
    set_packet_block(context, std::max<int64_t>(packets.largest, packets.samples / packets.n));
}
