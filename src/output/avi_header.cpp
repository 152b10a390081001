#include "output/avi_header.h"

#include <algorithm>
#include <cstring>

#include "output/save_flags.h"
#include "platform/audio_codec.h"

static uint32_t micro_sec_per_frame(uint32_t scale, uint32_t rate) {
    if (rate == 1000000) return scale;
    if (rate == 0) return 0;
    return uint32_t(std::min(double(scale) * 1e6 / double(rate), 4294967295.0));
}

AVI_MAIN_HEADER avi_header_main(const SAVE_CONTEXT* context, uint32_t stream_n) {
    AVI_MAIN_HEADER header = {};
    header.dwMicroSecPerFrame = micro_sec_per_frame(context->video_stream.dwScale, context->video_stream.dwRate);
    header.dwFlags = AVIF_HASINDEX | AVIF_TRUSTCKTYPE;
    header.dwStreams = stream_n;
    header.dwWidth = uint32_t(context->media_width);
    header.dwHeight = uint32_t(context->media_height);
    return header;
}

AVI_STREAM_HEADER avi_header_video(const SAVE_CONTEXT* context, uint32_t flags) {
    AVI_STREAM_HEADER header = {};
    header.fccType = FCC_VIDS;
    if (flags & SAVE_VIDEO_COMPRESS) {
        header.fccHandler = context->decoder.handler;
        header.dwQuality = uint32_t(context->decoder.quality);
    } else {
        header.fccHandler =
            flags & SAVE_VIDEO_COPY ? context->video_stream.fccHandler : context->video_header.biCompression;
    }
    header.dwScale = context->video_stream.dwScale;
    header.dwRate = context->video_stream.dwRate;
    header.right = int16_t(context->media_width);
    header.bottom = int16_t(context->media_height);
    return header;
}

/// The first bytes of a format block; what the block does not hold is 0.
static WAVEFORMATEX wave_format(std::span<const uint8_t> block) {
    WAVEFORMATEX format = {};
    memcpy(&format, block.data(), std::min(block.size(), sizeof(format)));
    return format;
}

AVI_STREAM_HEADER avi_header_audio(const SAVE_CONTEXT* context, uint32_t flags) {
    const WAVEFORMATEX format = wave_format(avi_format_audio(context, flags));
    AVI_STREAM_HEADER header = {};
    header.fccType = FCC_AUDS;
    header.fccHandler = flags & (SAVE_AUDIO_COMPRESS | SAVE_AUDIO_COPY) ? format.wFormatTag : 1;
    if (!(flags & SAVE_AUDIO_COMPRESS) && (flags & SAVE_AUDIO_COPY)) {
        header.dwScale = context->audio_stream.dwScale;
        header.dwRate = context->audio_stream.dwRate;
        header.dwSampleSize = context->audio_stream.dwSampleSize;
        return header;
    }
    AUDIO_CODEC_LAYOUT layout;
    if ((flags & SAVE_AUDIO_COMPRESS) && audio_codec_layout(&layout, avi_format_audio(context, flags)) &&
        layout.unit == 0) {
        header.dwScale = layout.scale;
        header.dwRate = layout.rate;
        return header;  // each chunk is a packet of its own size
    }
    header.dwScale = header.dwSampleSize = format.nBlockAlign;
    if (!(flags & SAVE_AUDIO_COMPRESS)) {
        header.dwRate = format.nSamplesPerSec * format.nBlockAlign;
    } else if (format.nAvgBytesPerSec != 0) {
        header.dwRate = format.nAvgBytesPerSec;
    } else {
        header.dwRate = uint32_t(uint64_t{format.wBitsPerSample} * format.nChannels * format.nSamplesPerSec / 8);
    }
    return header;
}

/// A block of a record, with a size that the record may hold wrongly.
static std::span<const uint8_t> block_of(const uint8_t* bytes, int32_t size) {
    return {bytes, size_t(std::clamp(size, 0, FORMAT_SIZE_MAX))};
}

std::span<const uint8_t> avi_format_video(const SAVE_CONTEXT* context, uint32_t flags) {
    if (flags & SAVE_VIDEO_COMPRESS)
        return block_of(context->decoder.output_format, context->decoder.output_format_size);
    if (flags & SAVE_VIDEO_COPY) return block_of(context->video_format, context->video_format_size);
    return {reinterpret_cast<const uint8_t*>(&context->video_header), sizeof(BITMAPINFOHEADER)};
}

std::span<const uint8_t> avi_format_audio(const SAVE_CONTEXT* context, uint32_t flags) {
    if (flags & SAVE_AUDIO_COMPRESS) {
        return block_of(context->converter.target_format, context->converter.target_format_size);
    }
    if (flags & SAVE_AUDIO_COPY) return block_of(context->audio_format, context->audio_format_size);
    return {reinterpret_cast<const uint8_t*>(&context->audio_header), sizeof(WAVEFORMATEX)};
}
