#include "core/media_converter.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/audio_conv.h"
#include "core/edit_state.h"
#include "core/media.h"
#include "core/media_sound_reader.h"
#include "platform/audio_codec.h"

static constexpr double BYTE_RATE_TOLERANCE = 0.01;  // of what the blocks of a format say themselves

static std::span<const uint8_t> stored_block(const MEDIA_RECORD* record) {
    return {record->audio_format, size_t(std::clamp(record->audio_format_size, 0, FORMAT_SIZE_MAX))};
}

WAVEFORMATEX media_stored_format(const MEDIA_RECORD* record) { return audio_format_head(stored_block(record)); }

uint32_t media_stored_byte_rate(const MEDIA_RECORD* record) {
    const WAVEFORMATEX format = media_stored_format(record);
    const uint64_t pcm = uint64_t{format.nSamplesPerSec} * format.nBlockAlign;
    if (audio_format_is_pcm(stored_block(record)) && pcm <= UINT32_MAX) return uint32_t(pcm);
    AUDIO_CODEC_LAYOUT layout;
    if (!audio_codec_layout(&layout, stored_block(record)) || layout.scale == 0) return format.nAvgBytesPerSec;
    const double own = double(layout.rate) * layout.unit / layout.scale, told = format.nAvgBytesPerSec;
    const bool lies = own >= 1 && own <= UINT32_MAX && std::abs(told - own) > own * BYTE_RATE_TOLERANCE;
    return lies ? uint32_t(own) : format.nAvgBytesPerSec;
}

void media_converter_close(MEDIA_RECORD* record) {
    media_sound_close(record);
    audio_conv_close(&record->converter);
    record->media_flag &= ~uint32_t{MEDIA_CONVERTER_OPEN};
}

static void open_converter(MEDIA_RECORD* record, const WAVEFORMATEX& target) {
    media_converter_close(record);
    record->media_flag &= ~uint32_t{MEDIA_HAS_AUDIO};
    record->audio_header = target;
    std::memcpy(record->converter.target_format, &target, sizeof target);
    record->converter.target_format_size = sizeof target;
    if (audio_conv_open(&record->converter, stored_block(record)))
        record->media_flag |= MEDIA_HAS_AUDIO | MEDIA_CONVERTER_OPEN;
}

void media_converter_reset(MEDIA_RECORD* record) {
    if (!(record->media_flag & MEDIA_CONVERTER_OPEN)) return;
    media_sound_close(record);
    if (!audio_conv_reset(&record->converter)) record->media_flag &= ~uint32_t{MEDIA_HAS_AUDIO | MEDIA_CONVERTER_OPEN};
}

// PCM16 whose blocks are its samples passes as it is stored.
static bool passes_as_stored(const WAVEFORMATEX& format) {
    return media_is_pcm16(&format) && format.nChannels >= 1 && format.nChannels <= 2 &&
           format.nBlockAlign == format.nChannels * 2;
}

void media_prepare_pcm(MEDIA_RECORD* record) {
    if (!(record->media_flag & MEDIA_HAS_AUDIO) || passes_as_stored(record->audio_header)) return;
    const WAVEFORMATEX& stored = record->audio_header;
    open_converter(record, audio_format_pcm16(stored.nSamplesPerSec, std::min<int>(stored.nChannels, 2)));
}

// ---- the edit's format

static bool same_format(const WAVEFORMATEX& a, const WAVEFORMATEX& b) {
    return a.wFormatTag == b.wFormatTag && a.nChannels == b.nChannels && a.nSamplesPerSec == b.nSamplesPerSec &&
           a.nAvgBytesPerSec == b.nAvgBytesPerSec && a.nBlockAlign == b.nBlockAlign &&
           a.wBitsPerSample == b.wBitsPerSample;
}

static void apply_target(MEDIA_RECORD* record, const WAVEFORMATEX& target) {
    if (!same_format(record->audio_header, target)) open_converter(record, target);
}

void media_match_audio(MEDIA_RECORD* record, const WAVEFORMATEX* target, const WAVEFORMATEX* stored) {
    const uint32_t own_rate = media_stored_format(record).nSamplesPerSec;
    const uint32_t rate = record->audio_header.nSamplesPerSec;
    if (target->nSamplesPerSec == stored->nSamplesPerSec && (rate == own_rate || rate == target->nSamplesPerSec)) {
        apply_target(record, *target);
        return;
    }
    // The playback rate was changed: convert to the rate before the change, then relabel.
    record->audio_header.nSamplesPerSec = own_rate;
    WAVEFORMATEX at_stored_rate = *target;
    at_stored_rate.nSamplesPerSec = stored->nSamplesPerSec;
    at_stored_rate.nAvgBytesPerSec = stored->nSamplesPerSec * target->nBlockAlign;
    apply_target(record, at_stored_rate);
    record->audio_header.nSamplesPerSec = target->nSamplesPerSec;
    record->audio_header.nAvgBytesPerSec = target->nAvgBytesPerSec;
    if (stored->nSamplesPerSec)
        record->audio_stream.dwRate = uint32_t(std::min(
            double(media_stored_byte_rate(record)) * target->nSamplesPerSec / stored->nSamplesPerSec, 4294967295.0));
}
