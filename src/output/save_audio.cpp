#include "output/save_audio.h"

#include <algorithm>
#include <cstring>

#include "core/edit_state.h"
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

static int gather_frame(GATHER* g, int frame, AUDIO_MODE mode, int block) {
    EDIT_STATE* edit = g->save->edit;
    for (int skip = 0;;) {
        size_t room = g->capacity - g->fill;
        if (room < size_t(block)) {
            const int result = send(g, g->piece == 0);
            if (result != AVI_OK) return result;
            room = g->capacity - g->fill;
        }
        const int bytes = audio_fetch_part(edit, frame, skip, g->buffer + g->fill, room, nullptr, mode);
        if (bytes <= 0) return AVI_OK;
        g->fill += size_t(bytes);
        skip += bytes / block;
    }
}

static size_t piece_size(const WAVEFORMATEX& format) {
    const size_t second = format.nAvgBytesPerSec / format.nBlockAlign * format.nBlockAlign;
    return std::max<size_t>(second, format.nBlockAlign);
}

int save_put_audio(SAVE* save, int f) {
    EDIT_STATE* edit = save->edit;
    int last;
    if (!audio_group(edit, f, save->first, save->last, &last)) return AVI_OK;
    const bool copy = save->flags & SAVE_AUDIO_COPY;
    const WAVEFORMATEX& format = edit->base.audio_header;
    const int block = copy ? int(edit->base.audio_stream.dwSampleSize) : format.nBlockAlign;
    if (block < 1) return AVI_OK;
    // A piece must fit, so that sending whole pieces always makes room and chunks end where any buffer would end them.
    GATHER g{save, display_buffer(), 0, display_buffer_size(), copy ? 0 : piece_size(format)};
    if (g.piece > g.capacity) g.piece = g.capacity / size_t(block) * size_t(block);
    for (int frame = f; frame <= last; ++frame) {
        int result = gather_frame(&g, frame, copy ? AUDIO_STORED : AUDIO_FILTERED, block);
        if (result == AVI_OK && g.piece) result = send(&g, false);
        if (result != AVI_OK) return result;
    }
    return send(&g, true);
}
