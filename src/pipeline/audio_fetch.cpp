#include "pipeline/audio_fetch.h"

#include <algorithm>
#include <cstring>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/media.h"
#include "hosts/filter.h"
#include "resources/string_ids.h"

/// Where the sound of one frame lies: blocks a .. b - 1 of a source, or n blocks of silence in front of it.
struct FRAME_SOUND {
    MEDIA_RECORD* source;
    int a, b;
    int silent_blocks;
    int block;  // bytes of a delivered block
};

static int position_adjust(AUDIO_MODE mode) {
    if (mode != AUDIO_FILTERED) return 0;
    const FILTER* filter = filter_built_in(STR_FILTER_AUDIO_POSITION);
    return filter && (filter->flags & FILTER_F_ACTIVE) ? -filter->track_values[0] : 0;
}

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

static bool locate(EDIT_STATE* edit, int frame, AUDIO_MODE mode, FRAME_SOUND* sound) {
    const MEDIA_RECORD& base = edit->base;
    if (frame < 0 || frame >= edit->frame_n) return false;
    const uint32_t ref = frame_table.frame_audio[frame];
    const int source = frame_ref_source(ref), number = frame_ref_number(ref) + position_adjust(mode);
    if (source >= SOURCE_MAX) return false;
    *sound = {&edit->source[source].media, 0, 0, 0, 0};
    const int stored_block = int(sound->source->audio_stream.dwSampleSize);
    sound->block = mode == AUDIO_STORED ? stored_block : int(base.audio_header.nBlockAlign);
    if (number < 0) {
        const AVI_STREAM_INFO& video = base.video_stream;
        if (video.dwRate)
            sound->silent_blocks =
                int(std::min(double(video.dwScale) * base.audio_header.nSamplesPerSec / video.dwRate, 2147483647.0));
        return true;
    }
    sound->a = audio_sample_at(sound->source, number, &base);
    sound->b = audio_sample_at(sound->source, number + 1, &base);
    return true;
}

static int write_silence(const FRAME_SOUND& sound, int skip, void* buffer, size_t capacity) {
    if (sound.block < 1) return 0;
    const int64_t room = int64_t(capacity) / sound.block;
    const int64_t n = std::clamp<int64_t>(int64_t{sound.silent_blocks} - skip, 0, room);
    std::memset(buffer, 0, size_t(n * sound.block));
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
    filter_chain_run_audio(&param, edit->profile_name[std::min<int>(frame_table.frame_profile[frame], PROFILE_MAX - 1)],
                           stop);
}

int audio_fetch_part(EDIT_STATE* edit, int frame, int skip, void* buffer, size_t capacity, FILTER* stop,
                     AUDIO_MODE mode) {
    FRAME_SOUND sound;
    if (!locate(edit, frame, mode, &sound)) return 0;
    if (sound.silent_blocks) return write_silence(sound, skip, buffer, capacity);
    const int bytes =
        media_read_audio_range(sound.source, sound.a + skip, sound.b, mode == AUDIO_STORED, buffer, capacity);
    if (bytes > 0 && mode == AUDIO_FILTERED) run_filters(edit, frame, buffer, bytes, stop);
    return bytes;
}

static int measure(EDIT_STATE* edit, int frame, AUDIO_MODE mode) {
    FRAME_SOUND sound;
    if (!locate(edit, frame, mode, &sound)) return 0;
    if (sound.silent_blocks) return sound.silent_blocks * sound.block;
    const bool has_sound = sound.source->media_flag & MEDIA_HAS_AUDIO;
    return has_sound ? std::max(sound.b - sound.a, 0) * sound.block : 0;
}

int audio_fetch(EDIT_STATE* edit, int f, int start, int end, void* buffer, size_t capacity, FILTER* stop,
                AUDIO_MODE mode) {
    if (!(edit->edit_flag & EDIT_OPEN) || !(edit->base.media_flag & MEDIA_HAS_AUDIO)) return 0;
    if (mode == AUDIO_RESET) {
        const int source = frame_ref_source(frame_table.frame_audio[frame_clamp(edit, f)]);
        return source < SOURCE_MAX ? media_read_audio(&edit->source[source].media, 0, 0, nullptr, 0, nullptr) : 0;
    }
    int last = f;
    if (end != 0 && !audio_group(edit, f, start, end, &last)) return 0;
    int64_t bytes = 0;
    for (int g = f; g <= last; ++g) {
        if (buffer)
            bytes += audio_fetch_part(edit, g, 0, static_cast<uint8_t*>(buffer) + bytes, capacity - size_t(bytes), stop,
                                      mode);
        else
            bytes += measure(edit, g, mode);
    }
    return int(std::min<int64_t>(bytes, INT32_MAX));
}
