#include "output/save_copy.h"

#include <algorithm>
#include <cstring>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/media.h"
#include "output/avi_writer.h"
#include "output/codec_headers.h"
#include "output/save_flags.h"
#include "output/save_state.h"
#include "output/writer_table.h"
#include "pipeline/frame_cache.h"
#include "readers/codec.h"

static uint32_t stored_code(const MEDIA_RECORD& media) { return media_code_normal(media.video_stream.fccHandler); }

static std::span<const uint8_t> block_of(const uint8_t* bytes, int32_t size) {
    return {bytes, size_t(std::clamp(size, 0, FORMAT_SIZE_MAX))};
}

static std::span<const uint8_t> format_of(const MEDIA_RECORD& media) {
    return block_of(media.video_format, media.video_format_size);
}

static CODEC_HEADERS_FORM form_of(const MEDIA_RECORD& media) {
    return codec_headers_form(media.video_stream.fccHandler, format_of(media));
}

static bool same_format(const MEDIA_RECORD& a, const MEDIA_RECORD& b) {
    if (stored_code(a) != stored_code(b) || form_of(a) != form_of(b)) return false;
    return form_of(a).kind != CODEC_HEADERS_BLOCK || codec_headers_block_same(format_of(a), format_of(b));
}

static bool is_key(EDIT_STATE* edit, int frame) {
    const uint32_t ref = frame_table.frame_video[frame];
    if (frame_ref_source(ref) >= SOURCE_MAX) return false;
    return media_is_key(&edit->source[frame_ref_source(ref)].media, frame_ref_number(ref));
}

static bool reaches_key(EDIT_STATE* edit, int frame, int first, const SAVE_COPY_RUN& run) {
    for (int f = frame;; --f) {
        if (f == run.frame) return run.good;
        if (is_key(edit, f)) return true;
        if (f <= first || frame_table.frame_video[f - 1] + 1 != frame_table.frame_video[f]) return false;
    }
}

static int check(EDIT_STATE* edit, int frame, int first, const SAVE_COPY_RUN& run) {
    const int source = frame_ref_source(frame_table.frame_video[frame]);
    if (source >= SOURCE_MAX) return SAVE_COPY_FORMAT_DIFFERS;
    const MEDIA_RECORD& media = edit->source[source].media;
    if (!same_format(media, edit->base)) return SAVE_COPY_FORMAT_DIFFERS;
    if (media.media_width != edit->base.media_width || media.media_height != edit->base.media_height)
        return SAVE_COPY_SIZE_DIFFERS;
    if (media.media_flag & MEDIA_DOUBLE_RATE) return SAVE_COPY_DOUBLE_RATE;
    return reaches_key(edit, frame, first, run) ? SAVE_COPY_GOOD : SAVE_COPY_NO_KEY_FRAME;
}

int save_copy_check(EDIT_STATE* edit, int frame, int first, SAVE_COPY_RUN* run) {
    const int result = check(edit, frame, first, *run);
    *run = {frame, result == SAVE_COPY_GOOD};
    return result;
}

// ---- codec headers

static bool compressor_fits(SAVE_CONTEXT* context) {
    if (form_of(*context).kind != CODEC_HEADERS_BLOCK) return true;
    VIDEO_CODEC_SETTING* working = &context->decoder;
    const AVI_STREAM_INFO& stream = context->video_stream;
    if (!compress_begin(working, context->video_header, stream.dwRate, stream.dwScale))
        return true;  // opening tells it
    compress_end(working);
    const std::span<const uint8_t> made = block_of(working->output_format, working->output_format_size);
    if (codec_headers_block_same(made, format_of(*context))) return true;
    std::memcpy(context->video_format, made.data(), made.size());
    context->video_format_size = int32_t(made.size());
    return false;
}

void save_copy_plan(SAVE* save) {
    SAVE_CONTEXT* context = &save->edit->save_context;
    save->copy_headers = {};
    save->copy_headers.known = true;
    save->copy_headers.bytes = codec_headers_of_format(form_of(*context), format_of(*context));
    if (save->flags & SAVE_VIDEO_COPY_OR_RECOMPRESS) save->copy_none = !compressor_fits(context);
}

// A source whose format block has none says them at its start.
static std::vector<uint8_t> headers_of_source(MEDIA_RECORD* media) {
    std::vector<uint8_t> headers = codec_headers_of_format(form_of(*media), format_of(*media));
    uint8_t* buffer = headers.empty() ? decode_buffer() : nullptr;
    if (!buffer) return headers;
    int key = 0;
    const int size = media_read_frame_raw(media, 0, buffer, decode_buffer_size(), &key);
    const auto found = codec_headers_of_packet(form_of(*media), {buffer, size_t(std::max(size, 0))});
    if (found.size() <= size_t{FORMAT_SIZE_MAX}) headers.assign(found.begin(), found.end());
    return headers;
}

std::span<const uint8_t> save_copy_headers(SAVE* save, int source, std::span<const uint8_t> packet) {
    SAVE_COPY_HEADERS* now = &save->copy_headers;
    MEDIA_RECORD* media = &save->edit->source[source].media;
    const CODEC_HEADERS_FORM form = form_of(*media);
    const bool carried = form.kind == CODEC_HEADERS_MPEG4 || form.kind == CODEC_HEADERS_H264;
    // Within one source the frames say what is needed as they are.
    if (!carried || packet.empty() || now->source == source) return {};
    const bool in_packet = !codec_headers_of_packet(form, packet).empty();
    std::vector<uint8_t> own = in_packet ? std::vector<uint8_t>() : headers_of_source(media);
    const bool same = now->known && own == now->bytes;
    now->source = source;
    now->known = !in_packet;
    now->bytes = std::move(own);
    return same ? std::span<const uint8_t>() : now->bytes;
}

// The compressor's packets have their headers in every key frame, but behind start codes.
static int put_reframed(SAVE* save, CODEC_HEADERS_FORM form, const uint8_t* pixels) {
    SAVE_CONTEXT* context = &save->edit->save_context;
    std::vector<uint8_t>* packet = &save->copy_headers.reframe;
    uint32_t flags = 0, size = 0;
    const uint8_t* bytes = compress_frame(&context->decoder, pixels, &flags, &size);
    if (!bytes || !codec_headers_reframe(form, {bytes, size}, packet)) return AVI_NO_VIDEO_CODEC;
    return save->writer->put_stored_frame(context, packet->data(), packet->size(), flags);
}

int save_copy_put_compressed(SAVE* save, const uint8_t* pixels) {
    SAVE_CONTEXT* context = &save->edit->save_context;
    save->copy_headers.source = SAVE_COPY_HEADERS::COMPRESSOR;
    save->copy_headers.known = false;
    const CODEC_HEADERS_FORM form = form_of(*context);
    return form.length_bytes ? put_reframed(save, form, pixels) : save->writer->put_frame(context, pixels, nullptr);
}
