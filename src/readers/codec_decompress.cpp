#include <cstring>

#include "core/edit_state.h"
#include "core/media.h"
#include "platform/guard.h"
#include "platform/handle.h"
#include "platform/video_codec.h"
#include "readers/codec.h"

static constexpr uint32_t FCC_YUY2 = VANTEL_FOURCC('Y', 'U', 'Y', '2');

/// The formats that a decompressor is asked for, in this order, each unless a load flag rules it out.
static constexpr struct {
    uint16_t bits;
    uint32_t compression;
    uint32_t ruled_out_by;
} OUTPUTS[] = {
    {16, FCC_YUY2, LOAD_ONLY_RGB24 | LOAD_ONLY_RGB32},
    {24, 0, LOAD_ONLY_YUY2 | LOAD_ONLY_RGB32},
    {32, 0, LOAD_ONLY_YUY2 | LOAD_ONLY_RGB24},
};

static bool wants_yuy2(uint32_t handler) {
    const CODEC_ENTRY* entry = codec_entry(codec_find(handler));
    return !entry || entry->flags & CODEC_DECODE_YUY2;
}

static bool choose_output(VIDEO_DECODER* decoder, VIDEO_CODEC_SETTING* room, const BITMAPINFOHEADER& stored,
                          uint32_t handler, uint32_t flags) {
    BITMAPINFOHEADER& output = room->input_format;
    output = {};
    output.biSize = sizeof output;
    output.biPlanes = 1;
    output.biWidth = stored.biWidth;
    output.biHeight = stored.biHeight < 0 ? -stored.biHeight : stored.biHeight;
    for (const auto& row : OUTPUTS) {
        if (flags & row.ruled_out_by || (row.compression == FCC_YUY2 && !wants_yuy2(handler))) continue;
        output.biBitCount = row.bits;
        output.biCompression = row.compression;
        const int size = media_picture_size(row.bits, output.biWidth, output.biHeight);
        if (size < 0) return false;
        output.biSizeImage = uint32_t(size);
        if (video_decoder_offers(decoder, output) && video_decoder_begin(decoder, output)) return true;
    }
    return false;
}

static VIDEO_DECODER_PTR open_decoder(VIDEO_CODEC_SETTING* room, std::span<const uint8_t> format, uint32_t handler,
                                      uint32_t flags, std::span<const uint8_t> first) {
    VIDEO_DECODER_PTR decoder = video_decoder_open(handler, format, first);
    BITMAPINFOHEADER stored;
    std::memcpy(&stored, format.data(), sizeof stored);
    if (stored.biHeight == INT32_MIN || !decoder || video_decoder_reorders(decoder.get())) return nullptr;
    return choose_output(decoder.get(), room, stored, handler, flags) ? std::move(decoder) : nullptr;
}

bool decompress_open(VIDEO_CODEC_SETTING* room, std::span<const uint8_t> format, uint32_t handler, uint32_t flags,
                     std::span<const uint8_t> first) {
    std::memset(room, 0, sizeof *room);
    if (format.size() < sizeof(BITMAPINFOHEADER) || format.size() > sizeof room->output_format) return false;
    std::memcpy(room->output_format, format.data(), format.size());
    room->output_format_size = int32_t(format.size());
    room->handler = handler;
    VIDEO_DECODER_PTR decoder;
    GUARD_FAULT fault;
    if (!guard_call(&fault, [&] { decoder = open_decoder(room, format, handler, flags, first); }))
        guard_report(fault, codec_name(handler), "ICOpen()");
    room->compressor = handle_new(decoder.get());
    if (!room->compressor) return false;
    (void)decoder.release();
    return true;
}

int decompress_close(VIDEO_CODEC_SETTING* room) {
    VIDEO_DECODER_PTR closing(static_cast<VIDEO_DECODER*>(handle_get(room->compressor)));
    handle_free(room->compressor);
    room->compressor = 0;
    return 1;
}

template <typename WORK>
static bool guarded(VIDEO_CODEC_SETTING* room, WORK work) {
    auto* decoder = static_cast<VIDEO_DECODER*>(handle_get(room->compressor));
    if (!decoder) return false;
    GUARD_FAULT fault;
    bool good = false;
    if (!guard_call(&fault, [&] { good = work(decoder); }))
        guard_report(fault, codec_name(room->handler), "ICSendMessage(ICM_DECOMPRESS)");
    return good;
}

bool decompress_frame(VIDEO_CODEC_SETTING* room, uint8_t* output, std::span<const uint8_t> input, bool key) {
    const uint32_t size = uint32_t(input.size());
    std::memcpy(room->output_format + offsetof(BITMAPINFOHEADER, biSizeImage), &size, sizeof size);
    return guarded(room, [&](VIDEO_DECODER* decoder) { return video_decoder_frame(decoder, input, key, output); });
}

bool decompress_again(VIDEO_CODEC_SETTING* room, uint8_t* output) {
    return guarded(room, [&](VIDEO_DECODER* decoder) { return video_decoder_picture(decoder, output); });
}
