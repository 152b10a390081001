#include "readers/avi_reader.h"

#include <algorithm>
#include <memory>
#include <new>

#include "platform/file.h"
#include "readers/avi_state.h"
#include "readers/fourcc.h"
#include "readers/media_format.h"
#include "readers/open_progress.h"

static AVI_READER_STATE* state_of(INPUT_PLUGIN_HANDLE handle) { return static_cast<AVI_READER_STATE*>(handle); }

static int32_t length_cut(uint64_t length) { return int32_t(std::min<uint64_t>(length, INT32_MAX)); }

static uint64_t audio_blocks(const AVI_READER_STATE& state) { return state.audio_index.bytes / state.audio_block; }

// ---- open and close ----

static bool state_fill(AVI_READER_STATE* state) {
    RIFF_FILE riff;
    RIFF_CHUNK root, header_list;
    const std::unique_ptr<AVI_SUPER_TABLE> super(new (std::nothrow) AVI_SUPER_TABLE());
    if (!super || !riff_start(&riff, state->file)) return false;
    if (!riff_find(&riff, &root, fourcc("AVI "), 0, nullptr)) return false;
    if (!riff_find(&riff, &header_list, fourcc("hdrl"), 0, &root)) return false;
    if (!avi_streams_read(&riff, state, super.get(), &header_list)) return false;
    avi_index_build(&riff, state, *super, root);
    return !open_progress_stopped() && (state->flags & (AVI_R_VIDEO | AVI_R_AUDIO)) != 0;
}

INPUT_PLUGIN_HANDLE avi_reader_open(const char* path) {
    AVI_READER_STATE* state = new (std::nothrow) AVI_READER_STATE();
    if (!state) return nullptr;
    state->file = file_open_read(path);
    if (state->file >= 0 && state_fill(state)) return state;
    avi_reader_close(state);
    return nullptr;
}

int avi_reader_close(INPUT_PLUGIN_HANDLE handle) {
    AVI_READER_STATE* state = state_of(handle);
    if (!state) return 1;
    file_close(state->file);
    chunk_table_free(&state->video_index);
    chunk_table_free(&state->audio_index);
    delete state;
    return 1;
}

int avi_reader_info(INPUT_PLUGIN_HANDLE handle, INPUT_MEDIA_INFO* info) {
    AVI_READER_STATE* state = state_of(handle);
    if (state->flags & AVI_R_VIDEO) {
        info->flags |= INPUT_MEDIA_VIDEO;
        info->rate = int32_t(state->video_rate);
        info->scale = int32_t(state->video_scale);
        info->frames = length_cut(state->video_index.n);
        info->video_format = reinterpret_cast<BITMAPINFOHEADER*>(state->video_format);
        info->video_format_size = int32_t(state->video_format_size);
        info->video_handler = state->video_handler;
    }
    if (state->flags & AVI_R_AUDIO) {
        info->flags |= INPUT_MEDIA_AUDIO;
        if (state->flags & AVI_R_VBR) info->flags |= INPUT_MEDIA_VARIABLE_AUDIO;
        info->audio_samples = length_cut(audio_blocks(*state));
        info->audio_format = reinterpret_cast<WAVEFORMATEX*>(state->audio_format);
        info->audio_format_size = int32_t(state->audio_format_size);
    }
    return 1;
}

// ---- frames ----

/// Whether the file holds the chunk whole, now: it may have been cut since it was opened.
static bool chunk_is_whole(const CHUNK_ENTRY& entry, int64_t held) {
    return held >= 0 && chunk_size(entry) <= uint64_t(held) &&
           chunk_position(entry) <= uint64_t(held) - chunk_size(entry);
}

static const CHUNK_ENTRY* frame_entry(const AVI_READER_STATE& state, int32_t frame) {
    if (!(state.flags & AVI_R_VIDEO) || frame < 0 || uint32_t(frame) >= state.video_index.n) return nullptr;
    return &state.video_index.entry[frame];
}

/// The most that a frame can have: the picture itself, where it is stored as it is.
static uint64_t frame_bytes_max(const AVI_READER_STATE& state) {
    const BITMAPINFOHEADER* format = reinterpret_cast<const BITMAPINFOHEADER*>(state.video_format);
    const uint32_t handler = fourcc_fold(state.video_handler);
    if (!fourcc_is_plain_dib(handler) && handler != fourcc("YUY2") && handler != fourcc("YC48")) return UINT64_MAX;
    const int64_t height = format->biHeight < 0 ? -int64_t{format->biHeight} : format->biHeight;
    return picture_row_bytes(format->biWidth, format->biBitCount) * uint64_t(height);
}

int avi_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                  bool* damaged) {
    const AVI_READER_STATE& state = *state_of(handle);
    if (damaged) *damaged = false;
    const CHUNK_ENTRY* entry = frame_entry(state, frame);
    if (!entry || !chunk_is_whole(*entry, file_size(state.file))) return 0;
    const uint64_t room = std::min<uint64_t>(capacity, frame_bytes_max(state));
    const size_t n = size_t(std::min<uint64_t>(chunk_size(*entry), room));
    if (n == 0 || !file_read_exact(state.file, buffer, n, int64_t(chunk_position(*entry)))) return 0;
    if (damaged) *damaged = n < chunk_size(*entry);
    return int(n);
}

int avi_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer) {
    return avi_reader_read_video_bounded(handle, frame, buffer, SIZE_MAX, nullptr);
}

int avi_reader_is_keyframe(INPUT_PLUGIN_HANDLE handle, int32_t frame) {
    const CHUNK_ENTRY* entry = frame_entry(*state_of(handle), frame);
    return entry && entry->size & CHUNK_NOT_KEY ? 0 : 1;
}

// ---- sound ----

/// The chunks that a run of sound lies in: from `inside` bytes in chunk `first` on.
struct AUDIO_RUN {
    size_t first;
    uint32_t inside;
    uint64_t bytes;
};

static bool run_is_whole(const AVI_READER_STATE& state, const AUDIO_RUN& run) {
    const int64_t held = file_size(state.file);
    uint64_t covered = 0;
    for (size_t i = run.first; covered < run.inside + run.bytes; ++i) {
        const CHUNK_ENTRY& entry = state.audio_index.entry[i];
        if (chunk_size(entry) && !chunk_is_whole(entry, held)) return false;
        covered += chunk_size(entry);
    }
    return true;
}

static bool run_read(const AVI_READER_STATE& state, AUDIO_RUN run, uint8_t* buffer) {
    for (size_t i = run.first; run.bytes > 0; ++i) {
        const CHUNK_ENTRY& entry = state.audio_index.entry[i];
        const size_t n = size_t(std::min<uint64_t>(run.bytes, chunk_size(entry) - run.inside));
        if (n && !file_read_exact(state.file, buffer, n, int64_t(chunk_position(entry) + run.inside))) return false;
        buffer += n;
        run.bytes -= n;
        run.inside = 0;
    }
    return true;
}

int avi_reader_read_audio(INPUT_PLUGIN_HANDLE handle, int32_t start, int32_t count, void* buffer) {
    const AVI_READER_STATE& state = *state_of(handle);
    if (!(state.flags & AVI_R_AUDIO) || start < 0 || count <= 0 || uint32_t(start) >= audio_blocks(state)) return 0;
    const uint64_t blocks = std::min<uint64_t>(uint32_t(count), audio_blocks(state) - uint32_t(start));
    AUDIO_RUN run;
    run.first = chunk_table_find(state.audio_index, uint64_t(start) * state.audio_block, &run.inside);
    run.bytes = blocks * state.audio_block;
    if (!run_is_whole(state, run) || !run_read(state, run, static_cast<uint8_t*>(buffer))) return 0;
    return int(blocks);
}

int32_t avi_reader_audio_position(INPUT_PLUGIN_HANDLE handle, int32_t sample) {
    const AVI_READER_STATE& state = *state_of(handle);
    if (!(state.flags & AVI_R_AUDIO) || !(state.flags & AVI_R_VBR)) return 0;
    const WAVEFORMATEX* format = reinterpret_cast<const WAVEFORMATEX*>(state.audio_format);
    const double n = double(sample) * state.vbr_rate / (double(state.vbr_scale) * format->nSamplesPerSec);
    if (n < 1) return 0;
    const size_t chunks = n < double(state.audio_index.n) ? size_t(n) : state.audio_index.n;
    return length_cut(chunk_table_bytes_before(state.audio_index, chunks));
}
