#include "output/avi_sound.h"

#include <algorithm>
#include <span>

#include "core/audio_conv.h"
#include "output/avi_header.h"
#include "output/avi_writer.h"
#include "output/save_flags.h"
#include "platform/memory.h"

static PAGE_PTR source_block, target_block;

bool avi_sound_open(SAVE_CONTEXT* context) {
    const size_t size = 2 * AUDIO_STAGE_SIZE;
    if (!source_block) source_block = page_alloc_bytes(size);
    if (!target_block) target_block = page_alloc_bytes(size);
    if (!source_block || !target_block) return false;
    const WAVEFORMATEX& format = context->audio_header;
    return audio_conv_open(&context->converter, {reinterpret_cast<const uint8_t*>(&format), sizeof format},
                           {source_block.get(), size}, {target_block.get(), size}) == 1;
}

void avi_sound_close(SAVE_CONTEXT* context) {
    audio_conv_close(&context->converter);
    source_block.reset();
    target_block.reset();
}

bool avi_sound_by_packets(const SAVE_CONTEXT* context) {
    return avi_header_audio(context, SAVE_AUDIO_COMPRESS).dwSampleSize == 0;
}

static int put_result(SAVE_CONTEXT* context, const uint8_t* bytes, size_t size) {
    if (!avi_sound_by_packets(context)) return avi_put_stored_audio(context, bytes, size);
    for (const size_t packet : audio_conv_packets(&context->converter)) {
        const int result = avi_put_stored_audio(context, bytes, packet);
        if (result != AVI_OK) return result;
        bytes += packet;
    }
    return AVI_OK;
}

static int drain(SAVE_CONTEXT* context) {
    for (;;) {
        size_t size = 0;
        const uint8_t* out = audio_conv_run(&context->converter, nullptr, 0, &size);
        if (!out) return AVI_NO_AUDIO_CODEC;
        if (size == 0) return AVI_OK;
        const int result = put_result(context, out, size);
        if (result != AVI_OK) return result;
    }
}

int avi_sound_put(SAVE_CONTEXT* context, const void* bytes, size_t size) {
    if (size == 0) return drain(context);
    const size_t block = std::max<size_t>(context->audio_header.nBlockAlign, 1);
    std::span<const uint8_t> left(static_cast<const uint8_t*>(bytes), size);
    while (!left.empty()) {
        const size_t most = audio_conv_block_max(&context->converter) / block * block;
        const size_t n = std::min(left.size(), most);
        size_t out_size = 0;
        const uint8_t* out = n ? audio_conv_run(&context->converter, left.data(), n, &out_size) : nullptr;
        if (!out) return AVI_NO_AUDIO_CODEC;
        const int result = put_result(context, out, out_size);
        if (result != AVI_OK) return result;
        left = left.subspan(n);
    }
    return AVI_OK;
}
