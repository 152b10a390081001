#include "readers/platform_reader.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "core/settings.h"
#include "core/ui_breath.h"
#include "platform/container.h"
#include "readers/fourcc.h"
#include "readers/open_progress.h"

/// One open file.
struct PLATFORM_READER_STATE {
    CONTAINER_PTR container;
    BITMAPINFOHEADER picture;
    WAVEFORMATEX sound;
};

static CONTAINER_PTR container_of(const char* path) {
    CONTAINER_OPTIONS options;
    options.threads = system_settings.multithread;
    if (system_settings.width > 0 && system_settings.height > 0) {
        options.max_width = system_settings.width;
        options.max_height = system_settings.height;
    }
    options.index_folder = container_index_folder();
    options.progress = [](double part, void*) { return open_progress_stop(part); };
    options.step = ui_breathe;
    return container_open(path, options);
}

static PLATFORM_READER_STATE* state_of(INPUT_PLUGIN_HANDLE handle) {
    return static_cast<PLATFORM_READER_STATE*>(handle);
}

static void picture_set(const CONTAINER* container, BITMAPINFOHEADER* picture) {
    const CONTAINER_INFO& info = container_info(container);
    *picture = {};
    picture->biSize = sizeof *picture;
    picture->biWidth = info.width;
    picture->biHeight = info.height;
    picture->biPlanes = 1;
    picture->biBitCount = info.is_rgb ? 24 : 16;
    picture->biCompression = info.is_rgb ? 0 : fourcc("YUY2");
    picture->biSizeImage = uint32_t(std::min<size_t>(container_picture_size(container), UINT32_MAX));
}

static void sound_set(const CONTAINER_INFO& info, WAVEFORMATEX* sound) {
    *sound = {};
    sound->wFormatTag = 1;
    sound->nChannels = uint16_t(info.channels);
    sound->nSamplesPerSec = uint32_t(info.sound_rate);
    sound->wBitsPerSample = 16;
    sound->nBlockAlign = uint16_t(info.channels * 2);
    sound->nAvgBytesPerSec = uint32_t(info.sound_rate) * sound->nBlockAlign;
}

INPUT_PLUGIN_HANDLE platform_reader_open(const char* path) {
    std::unique_ptr<PLATFORM_READER_STATE> state(new (std::nothrow) PLATFORM_READER_STATE());
    if (!state) return nullptr;
    state->container = container_of(path);
    if (!state->container) return nullptr;
    const CONTAINER_INFO& info = container_info(state->container.get());
    if (info.has_picture) picture_set(state->container.get(), &state->picture);
    if (info.has_sound) sound_set(info, &state->sound);
    return state.release();
}

int platform_reader_close(INPUT_PLUGIN_HANDLE handle) {
    delete state_of(handle);
    return 1;
}

int platform_reader_info(INPUT_PLUGIN_HANDLE handle, INPUT_MEDIA_INFO* info) {
    PLATFORM_READER_STATE* state = state_of(handle);
    const CONTAINER_INFO& known = container_info(state->container.get());
    if (known.has_picture) {
        info->flags |= INPUT_MEDIA_VIDEO;
        info->rate = known.rate;
        info->scale = known.scale;
        info->frames = int32_t(std::min<int64_t>(known.frames, INT32_MAX));
        info->video_format = &state->picture;
        info->video_format_size = sizeof state->picture;
        info->video_handler = state->picture.biCompression;
    }
    if (known.has_sound) {
        info->flags |= INPUT_MEDIA_AUDIO;
        info->audio_samples = int32_t(std::min<int64_t>(known.samples, INT32_MAX));
        info->audio_format = &state->sound;
        info->audio_format_size = sizeof state->sound;
    }
    return 1;
}

int platform_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                       bool* damaged) {
    CONTAINER* container = state_of(handle)->container.get();
    if (damaged) *damaged = false;
    if (frame < 0 || frame >= container_info(container).frames) return 0;
    const size_t whole = container_picture_size(container);
    uint8_t* out = static_cast<uint8_t*>(buffer);
    if (whole <= capacity) return container_read_picture(container, frame, out) ? int(whole) : 0;
    const std::unique_ptr<uint8_t[]> copy(new (std::nothrow) uint8_t[whole]);
    if (damaged) *damaged = true;
    if (!copy || !container_read_picture(container, frame, copy.get())) return 0;
    std::memcpy(out, copy.get(), capacity);
    return int(capacity);
}

int platform_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer) {
    return platform_reader_read_video_bounded(handle, frame, buffer, SIZE_MAX, nullptr);
}

int platform_reader_read_audio(INPUT_PLUGIN_HANDLE handle, int32_t start, int32_t count, void* buffer) {
    return int(container_read_sound(state_of(handle)->container.get(), start, count, static_cast<int16_t*>(buffer)));
}
