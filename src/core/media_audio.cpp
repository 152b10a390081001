#include <algorithm>
#include <cstring>

#include "core/edit_state.h"
#include "core/media.h"
#include "platform/handle.h"
#include "readers/input_table.h"

static INPUT_HANDLE* reader_of(const MEDIA_RECORD* record) {
    return static_cast<INPUT_HANDLE*>(handle_get(record->media_handle));
}

static WAVEFORMATEX stored_format(const MEDIA_RECORD* record) {
    WAVEFORMATEX format{};
    std::memcpy(&format, record->audio_format, sizeof format);
    return format;
}

static int held(double value, double low, double high) { return int(std::clamp(value, low, high)); }

int audio_sample_at(MEDIA_RECORD* source, int n, const MEDIA_RECORD* base) {
    const AVI_STREAM_INFO& video = base ? base->video_stream : source->video_stream;
    const AVI_STREAM_INFO& audio = source->audio_stream;
    if (source->media_flag & MEDIA_VARIABLE_AUDIO) {
        if (video.dwRate == 0) return 0;
        const double sample = double(video.dwScale) * stored_format(source).nSamplesPerSec * n / video.dwRate;
        return input_audio_position(reader_of(source), held(sample, 0, INT32_MAX));
    }
    // One division of whole products: a product of quotients would be off by one block at exact frame borders.
    const double below = double(audio.dwScale) * video.dwRate;
    if (below == 0) return 0;
    const double block = double(audio.dwRate) * video.dwScale * n / below;
    return held(block, 0, std::min<double>(audio.dwLength, INT32_MAX));
}

int media_read_audio_range(MEDIA_RECORD* source, int a, int b, bool raw, void* buffer, size_t capacity) {
    (void)raw;  // 16-bit PCM: stored and delivered bytes are the same
    const int block = stored_format(source).nBlockAlign;
    if (!(source->media_flag & MEDIA_HAS_AUDIO) || block == 0 || b <= a) return 0;
    const int room = int(std::min<size_t>(capacity / size_t(block), INT32_MAX / size_t(block)));
    return input_read_audio(reader_of(source), a, std::min(b - a, room), buffer) * block;
}

static int read_frames(MEDIA_RECORD* source, int n, int count, bool raw, void* buffer, size_t capacity,
                       const MEDIA_RECORD* base) {
    if (!(source->media_flag & MEDIA_HAS_AUDIO) || !buffer || count == 0) return 0;
    const int a = audio_sample_at(source, n, base);
    const int b = count < 0 ? int(source->audio_stream.dwLength) : audio_sample_at(source, n + count, base);
    return media_read_audio_range(source, a, b, raw, buffer, capacity);
}

int media_read_audio(MEDIA_RECORD* source, int n, int count, void* buffer, size_t capacity, const MEDIA_RECORD* base) {
    return read_frames(source, n, count, false, buffer, capacity, base);
}

int media_read_audio_raw(MEDIA_RECORD* source, int n, int count, void* buffer, size_t capacity,
                         const MEDIA_RECORD* base) {
    return read_frames(source, n, count, true, buffer, capacity, base);
}

static bool same_format(const WAVEFORMATEX& a, const WAVEFORMATEX& b) {
    return a.wFormatTag == b.wFormatTag && a.nChannels == b.nChannels && a.nSamplesPerSec == b.nSamplesPerSec &&
           a.nAvgBytesPerSec == b.nAvgBytesPerSec && a.nBlockAlign == b.nBlockAlign &&
           a.wBitsPerSample == b.wBitsPerSample;
}

static void apply_target(MEDIA_RECORD* record, const WAVEFORMATEX& target) {
    if (same_format(record->audio_header, target)) return;
    record->media_flag &= ~uint32_t{MEDIA_HAS_AUDIO | MEDIA_CONVERTER_OPEN};
    record->audio_header = target;
    std::memcpy(record->converter.target_format, &target, sizeof target);
    record->converter.target_format_size = sizeof target;
    // No converter is registered: a source of another format is silent.
}

void media_match_audio(MEDIA_RECORD* record, const WAVEFORMATEX* target, const WAVEFORMATEX* stored) {
    const uint32_t own_rate = stored_format(record).nSamplesPerSec;
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
        record->audio_stream.dwRate =
            uint32_t(double(stored_format(record).nAvgBytesPerSec) * target->nSamplesPerSec / stored->nSamplesPerSec);
}
