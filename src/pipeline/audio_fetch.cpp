#include "pipeline/audio_fetch.h"

#include <algorithm>
#include <cstring>

#include "core/frame_table.h"
#include "core/media_sound_reader.h"
#include "filters/audio_filters.h"
#include "hosts/filter.h"
#include "hosts/filter_cache.h"

/// Where the sound of one frame lies: frame `number` of a source, or blocks of silence in front of it.
struct FRAME_SOUND {
    MEDIA_RECORD* source;
    int index;  // of the source
    int number;
    int silent_blocks;
    int block;        // bytes of a block of the gathered format
    uint8_t silence;  // its bytes
};

// ---- groups

int audio_interleave(const EDIT_STATE* edit, const MEDIA_RECORD* base) {
    const AVI_STREAM_INFO& video = base->video_stream;
    const double ten_seconds = video.dwScale ? 10.0 * video.dwRate / video.dwScale : 1;
    const int most = int(std::clamp(ten_seconds, 1.0, 2147483647.0));
    return std::clamp(edit->audio_setting.interleave, 1, most);
}

bool audio_group(const EDIT_STATE* edit, int f, int start, int end, int* last) {
    const int n = audio_interleave(edit, &edit->base);
    if (int64_t{f} - start < 0 || (int64_t{f} - start) % n != 0) return false;
    *last = int(std::min<int64_t>(int64_t{f} + n - 1, end));
    return true;
}

// ---- where a frame's sound lies

void audio_use_profile(const EDIT_STATE* edit, int frame) { filter_profile_switch(frame_profile_name(edit, frame)); }

static WAVEFORMATEX gathered_format(const MEDIA_RECORD& base, const MEDIA_RECORD& source, AUDIO_MODE mode) {
    WAVEFORMATEX format = base.audio_header;
    if (mode == AUDIO_STORED) std::memcpy(&format, source.audio_format, sizeof format);
    return format;
}

// Bytes of a compressed format cannot be made up, so its frames in front of the start are empty.
static int silent_blocks(const MEDIA_RECORD& base, const WAVEFORMATEX& format) {
    const AVI_STREAM_INFO& video = base.video_stream;
    const bool pcm = format.wFormatTag == 1 || format.wFormatTag == 0xFFFE;
    if (video.dwRate == 0 || !pcm) return 0;
    return int(std::min(double(video.dwScale) * format.nSamplesPerSec / video.dwRate, 2147483647.0));
}

static bool locate(EDIT_STATE* edit, int frame, AUDIO_MODE mode, FRAME_SOUND* sound) {
    if (frame < 0 || frame >= edit->frame_n) return false;
    if (mode == AUDIO_FILTERED) audio_use_profile(edit, frame);
    const uint32_t ref = frame_table.frame_audio[frame];
    const int index = frame_ref_source(ref);
    if (index >= SOURCE_MAX) return false;
    MEDIA_RECORD* source = &edit->source[index].media;
    const WAVEFORMATEX format = gathered_format(edit->base, *source, mode);
    const int number = frame_ref_number(ref) - (mode == AUDIO_FILTERED ? audio_position() : 0);
    *sound = {source, index, number, 0, format.nBlockAlign, 0};
    if (number >= 0) return true;
    sound->silent_blocks = silent_blocks(edit->base, format);
    if (format.wBitsPerSample == 8) sound->silence = 0x80;
    return sound->silent_blocks > 0;
}

// ---- reading

static int write_silence(const FRAME_SOUND& sound, int skip, void* buffer, size_t capacity) {
    if (sound.block < 1) return 0;
    const int64_t room = int64_t(std::min<size_t>(capacity, INT32_MAX)) / sound.block;
    const int64_t n = std::clamp<int64_t>(int64_t{sound.silent_blocks} - skip, 0, room);
    std::memset(buffer, sound.silence, size_t(n * sound.block));
    return int(n * sound.block);
}

static void run_filters(EDIT_STATE* edit, int frame, void* buffer, int bytes, FILTER* stop) {
    const int channels = edit->base.audio_header.nChannels;
    if (channels < 1) return;
    FILTER_PROC_PARAM param{};
    param.audio = static_cast<int16_t*>(buffer);
    param.audio_samples = bytes / 2 / channels;
    param.audio_channels = channels;
    param.frame = frame;
    param.frame_count = edit->frame_n;
    param.edit = edit;
    filter_chain_run_audio(&param, frame_profile_name(edit, frame), stop);
}

/// Stored blocks a .. b - 1 of the frame.
struct STORED_RANGE {
    int a, b;
};

static STORED_RANGE stored_range(const MEDIA_RECORD& base, const FRAME_SOUND& sound) {
    const int a = audio_sample_at(sound.source, sound.number, &base);
    return {a, std::max(a, audio_sample_at(sound.source, sound.number + 1, &base))};
}

static int read_stored(const MEDIA_RECORD& base, const FRAME_SOUND& sound, int skip, void* buffer, size_t capacity) {
    const STORED_RANGE range = stored_range(base, sound);
    if (skip >= range.b - range.a) return 0;
    return media_read_audio_range(sound.source, range.a + skip, range.b, true, buffer, capacity);
}

bool audio_by_packets(EDIT_STATE* edit, int frame) {
    FRAME_SOUND sound;
    return locate(edit, frame, AUDIO_STORED, &sound) && !sound.silent_blocks &&
           (sound.source->media_flag & MEDIA_VARIABLE_AUDIO);
}

int audio_fetch_packet(EDIT_STATE* edit, int frame, int skip, void* buffer, size_t capacity) {
    FRAME_SOUND sound;
    if (!audio_by_packets(edit, frame) || !locate(edit, frame, AUDIO_STORED, &sound)) return 0;
    const STORED_RANGE range = stored_range(edit->base, sound);
    if (skip < 0 || skip >= range.b - range.a) return 0;
    const int first = range.a + skip;
    const int size = std::min(media_sound_packet_size(sound.source, first), range.b - first);
    return media_read_audio_range(sound.source, first, first + size, true, buffer, capacity);
}

int audio_fetch_block(EDIT_STATE* edit, int frame, AUDIO_MODE mode) {
    FRAME_SOUND sound;
    return locate(edit, frame, mode, &sound) ? sound.block : 0;
}

int audio_fetch_part(EDIT_STATE* edit, int frame, int skip, void* buffer, size_t capacity, FILTER* stop,
                     AUDIO_MODE mode) {
    FRAME_SOUND sound;
    if (!locate(edit, frame, mode, &sound)) return 0;
    if (sound.silent_blocks) return write_silence(sound, skip, buffer, capacity);
    if (mode == AUDIO_STORED) return read_stored(edit->base, sound, skip, buffer, capacity);
    const int bytes = media_read_audio_part(sound.source, sound.number, 1, skip, buffer, capacity, &edit->base);
    if (bytes > 0 && mode == AUDIO_FILTERED) run_filters(edit, frame, buffer, bytes, stop);
    return bytes;
}

static int read_frames(EDIT_STATE* edit, int first, int last, uint8_t* buffer, size_t capacity, FILTER* stop,
                       AUDIO_MODE mode) {
    size_t bytes = 0;
    for (int f = first; f <= last; ++f)
        bytes += size_t(audio_fetch_part(edit, f, 0, buffer + bytes, capacity - bytes, stop, mode));
    return int(bytes);
}

// ---- measuring

void audio_ahead_reset(AUDIO_AHEAD* ahead) {
    ahead->seen = ~uint64_t{0};
    for (AUDIO_MEASURE& measure : ahead->source) media_measure_reset(&measure);
}

static int measure_blocks(EDIT_STATE* edit, const FRAME_SOUND& sound, AUDIO_MODE mode, AUDIO_AHEAD* ahead) {
    if (sound.silent_blocks) return sound.silent_blocks;
    if (!(sound.source->media_flag & MEDIA_HAS_AUDIO)) return 0;
    if (mode == AUDIO_STORED) {
        const STORED_RANGE range = stored_range(edit->base, sound);
        return range.b - range.a;
    }
    AUDIO_MEASURE* state = &ahead->source[sound.index];
    const uint64_t bit = uint64_t{1} << sound.index;
    if (!(ahead->seen & bit)) media_measure_now(state, sound.source);
    ahead->seen |= bit;
    return media_measure_audio_next(state, sound.source, sound.number, 1, &edit->base);
}

int audio_measure(EDIT_STATE* edit, int frame, AUDIO_MODE mode, AUDIO_AHEAD* ahead) {
    FRAME_SOUND sound;
    if (!locate(edit, frame, mode, &sound)) return 0;
    return int(std::min<int64_t>(int64_t{measure_blocks(edit, sound, mode, ahead)} * sound.block, INT32_MAX));
}

static int measure_frames(EDIT_STATE* edit, int first, int last, AUDIO_MODE mode) {
    AUDIO_AHEAD ahead;
    ahead.seen = 0;
    int64_t bytes = 0;
    for (int f = first; f <= last; ++f) bytes += audio_measure(edit, f, mode, &ahead);
    return int(std::min<int64_t>(bytes, INT32_MAX));
}

// ---- the whole

static int reset_source(EDIT_STATE* edit, int frame) {
    const int index = frame_ref_source(frame_table.frame_audio[frame_clamp(edit, frame)]);
    return index < SOURCE_MAX ? media_read_audio(&edit->source[index].media, 0, 0, nullptr, 0, nullptr) : 0;
}

void audio_reset(EDIT_STATE* edit, int first, int last) {
    uint64_t done = 0;
    for (int f = std::max(first, 0); f <= std::min(last, edit->frame_n - 1); ++f) {
        const int index = frame_ref_source(frame_table.frame_audio[f]);
        if (index >= SOURCE_MAX || (done >> index & 1)) continue;
        done |= uint64_t{1} << index;
        reset_source(edit, f);
    }
}

int audio_fetch(EDIT_STATE* edit, int f, int start, int end, void* buffer, size_t capacity, FILTER* stop,
                AUDIO_MODE mode) {
    if (!(edit->edit_flag & EDIT_OPEN) || !(edit->base.media_flag & MEDIA_HAS_AUDIO)) return 0;
    if (mode == AUDIO_RESET) return reset_source(edit, f);
    int last = f;
    if (end != 0 && !audio_group(edit, f, start, end, &last)) return 0;
    if (!buffer) return measure_frames(edit, f, last, mode);
    return read_frames(edit, f, last, static_cast<uint8_t*>(buffer), std::min<size_t>(capacity, INT32_MAX), stop, mode);
}
