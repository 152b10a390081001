#include "readers/avis_reader.h"

#include <algorithm>
#include <memory>
#include <new>

#include "readers/avi_reader.h"
#include "readers/fourcc.h"
#include "readers/name_sequence.h"

static constexpr double RATE_SCALE = 1000000;

/// One file of the series. info points into the AVI reader's memory.
struct AVIS_PART {
    INPUT_PLUGIN_HANDLE avi;
    INPUT_MEDIA_INFO info;
};

/// One open series.
struct AVIS_STATE {
    AVIS_PART part[AVIS_PART_MAX];
    int part_n;
    uint32_t flags;  // INPUT_MEDIA_VIDEO, INPUT_MEDIA_AUDIO
    double seconds;  // of all frames, each at its part's rate
};

struct AVIS_CLOSE {
    void operator()(AVIS_STATE* state) const { avis_reader_close(state); }
};

static AVIS_STATE* state_of(INPUT_PLUGIN_HANDLE handle) { return static_cast<AVIS_STATE*>(handle); }

// ---- open and close ----

static bool part_open(AVIS_PART* part, const char* path) {
    *part = {};
    part->avi = avi_reader_open(path);
    if (part->avi) avi_reader_info(part->avi, &part->info);
    return part->avi != nullptr;
}

static uint32_t flags_of(const INPUT_MEDIA_INFO& info) {
    uint32_t flags = 0;
    if (info.flags & INPUT_MEDIA_VIDEO && info.frames > 0) flags |= INPUT_MEDIA_VIDEO;
    const bool variable = info.flags & INPUT_MEDIA_VARIABLE_AUDIO;
    if (info.flags & INPUT_MEDIA_AUDIO && info.audio_samples > 0 && !variable) flags |= INPUT_MEDIA_AUDIO;
    return flags;
}

static bool same_picture(const INPUT_MEDIA_INFO& a, const INPUT_MEDIA_INFO& b) {
    if (!(flags_of(b) & INPUT_MEDIA_VIDEO)) return false;
    const BITMAPINFOHEADER &p = *a.video_format, &q = *b.video_format;
    return p.biWidth == q.biWidth && p.biHeight == q.biHeight && p.biBitCount == q.biBitCount &&
           fourcc_equal(a.video_handler, b.video_handler);
}

static bool same_sound(const INPUT_MEDIA_INFO& a, const INPUT_MEDIA_INFO& b) {
    if (!(flags_of(b) & INPUT_MEDIA_AUDIO)) return false;
    const WAVEFORMATEX &p = *a.audio_format, &q = *b.audio_format;
    return p.wFormatTag == q.wFormatTag && p.nChannels == q.nChannels && p.nSamplesPerSec == q.nSamplesPerSec &&
           p.nBlockAlign == q.nBlockAlign && p.wBitsPerSample == q.wBitsPerSample;
}

/// Adds a part that is open in the place behind the others. False when it does not belong to them.
static bool part_take(AVIS_STATE* state) {
    const INPUT_MEDIA_INFO &first = state->part[0].info, &info = state->part[state->part_n].info;
    if (state->flags & INPUT_MEDIA_VIDEO) {
        if (!same_picture(first, info)) return false;
        state->seconds += double(info.frames) * info.scale / info.rate;
    }
    if (state->flags & INPUT_MEDIA_AUDIO && !same_sound(first, info)) state->flags &= ~uint32_t{INPUT_MEDIA_AUDIO};
    state->part_n++;
    return true;
}

INPUT_PLUGIN_HANDLE avis_reader_open(const char* path) {
    std::unique_ptr<AVIS_STATE, AVIS_CLOSE> state(new (std::nothrow) AVIS_STATE());
    NAME_SEQUENCE sequence;
    if (!state || !name_sequence_start(&sequence, path) || !part_open(&state->part[0], path)) return nullptr;
    state->flags = flags_of(state->part[0].info);
    char next[PATH_SIZE];
    while (state->flags && part_take(state.get())) {
        if (state->part_n == AVIS_PART_MAX || !name_sequence_next(&sequence, next)) break;
        if (!part_open(&state->part[state->part_n], next)) break;
    }
    return state->flags ? state.release() : nullptr;
}

int avis_reader_close(INPUT_PLUGIN_HANDLE handle) {
    AVIS_STATE* state = state_of(handle);
    if (!state) return 1;
    for (AVIS_PART& part : state->part) avi_reader_close(part.avi);
    delete state;
    return 1;
}

// ---- lengths and places ----

static int32_t frames_of(const AVIS_PART& part) { return part.info.frames; }
static int32_t samples_of(const AVIS_PART& part) { return part.info.audio_samples; }

using PART_LENGTH = int32_t (*)(const AVIS_PART& part);

static int32_t length_sum(const AVIS_STATE& state, PART_LENGTH length) {
    int64_t sum = 0;
    for (int i = 0; i < state.part_n; ++i) sum += length(state.part[i]);
    return int32_t(std::min<int64_t>(sum, INT32_MAX));
}

/// The part that holds a place of the series, which becomes a place of that part. Null past the end and before 0.
static const AVIS_PART* part_find(const AVIS_STATE& state, PART_LENGTH length, int32_t* place) {
    if (*place < 0) return nullptr;
    for (int i = 0; i < state.part_n; ++i) {
        if (*place < length(state.part[i])) return &state.part[i];
        *place -= length(state.part[i]);
    }
    return nullptr;
}

int avis_reader_info(INPUT_PLUGIN_HANDLE handle, INPUT_MEDIA_INFO* info) {
    const AVIS_STATE& state = *state_of(handle);
    const INPUT_MEDIA_INFO& first = state.part[0].info;
    if (state.flags & INPUT_MEDIA_VIDEO) {
        info->flags |= INPUT_MEDIA_VIDEO;
        info->frames = length_sum(state, frames_of);
        info->rate = int32_t(std::clamp(info->frames * RATE_SCALE / state.seconds, 1.0, double(INT32_MAX)));
        info->scale = int32_t(RATE_SCALE);
        info->video_format = first.video_format;
        info->video_format_size = first.video_format_size;
        info->video_handler = first.video_handler;
    }
    if (state.flags & INPUT_MEDIA_AUDIO) {
        info->flags |= INPUT_MEDIA_AUDIO;
        info->audio_samples = length_sum(state, samples_of);
        info->audio_format = first.audio_format;
        info->audio_format_size = first.audio_format_size;
    }
    return 1;
}

// ---- frames and sound ----

static const AVIS_PART* frame_part(const AVIS_STATE& state, int32_t* frame) {
    return state.flags & INPUT_MEDIA_VIDEO ? part_find(state, frames_of, frame) : nullptr;
}

int avis_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                   bool* damaged) {
    if (damaged) *damaged = false;
    const AVIS_PART* part = frame_part(*state_of(handle), &frame);
    return part ? avi_reader_read_video_bounded(part->avi, frame, buffer, capacity, damaged) : 0;
}

int avis_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer) {
    return avis_reader_read_video_bounded(handle, frame, buffer, SIZE_MAX, nullptr);
}

int avis_reader_is_keyframe(INPUT_PLUGIN_HANDLE handle, int32_t frame) {
    const AVIS_PART* part = frame_part(*state_of(handle), &frame);
    return part ? avi_reader_is_keyframe(part->avi, frame) : 1;
}

int avis_reader_read_audio(INPUT_PLUGIN_HANDLE handle, int32_t start, int32_t count, void* buffer) {
    const AVIS_STATE& state = *state_of(handle);
    if (!(state.flags & INPUT_MEDIA_AUDIO)) return 0;
    uint8_t* out = static_cast<uint8_t*>(buffer);
    const AVIS_PART* part = part_find(state, samples_of, &start);
    const AVIS_PART* end = state.part + state.part_n;
    int32_t done = 0;
    for (; part && part < end && done < count; ++part, start = 0) {
        const int32_t wanted = std::min(count - done, samples_of(*part) - start);
        const int32_t got = avi_reader_read_audio(part->avi, start, wanted, out);
        done += got;
        out += size_t(got) * part->info.audio_format->nBlockAlign;
        if (got < wanted) break;
    }
    return done;
}
