#include "readers/wave_reader.h"

#include <algorithm>
#include <new>

#include "core/settings.h"
#include "core/ui_hooks.h"
#include "platform/file.h"
#include "platform/ini.h"
#include "readers/fourcc.h"
#include "readers/media_format.h"
#include "readers/riff.h"

static constexpr uint32_t FORMAT_MAX = 8192;
static constexpr int PICTURE_RATE = 30;
static constexpr int PICTURE_SIZE_MAX = 16384;  // so that the bytes of a picture stay an int
static constexpr uint8_t BLACK[4] = {0x00, 0x80, 0x00, 0x80};

/// One open file.
struct WAVE_READER_STATE {
    int file;
    int64_t data;      // position of the samples
    uint64_t samples;  // blocks there
    uint32_t block;    // bytes, above 0
    BITMAPINFOHEADER picture;
    alignas(8) uint8_t format[FORMAT_MAX];
    uint32_t format_size;
};

static int picture_width = 640, picture_height = 480;

void wave_reader_size(int* width, int* height) {
    *width = picture_width;
    *height = picture_height;
}

void wave_reader_set_size(int width, int height) {
    picture_width = std::clamp(width, 1, PICTURE_SIZE_MAX);
    picture_height = std::clamp(height, 1, PICTURE_SIZE_MAX);
}

static constexpr char SECTION[] = "Wave File Reader";

int wave_reader_init() {
    const int width = ini_read_int(settings_file(), SECTION, "w", 640);
    wave_reader_set_size(width, ini_read_int(settings_file(), SECTION, "h", 480));
    return 1;
}

int wave_reader_config(void*, void*) {
    SIZE_DIALOG dialog{picture_width, picture_height, "WAV_OPTION"};
    if (!ui_hooks.ask_size || !ui_hooks.ask_size(&dialog)) return 0;
    wave_reader_set_size(dialog.width, dialog.height);
    ini_write_int(settings_file(), SECTION, "w", picture_width);
    ini_write_int(settings_file(), SECTION, "h", picture_height);
    return 1;
}

static WAVE_READER_STATE* state_of(INPUT_PLUGIN_HANDLE handle) { return static_cast<WAVE_READER_STATE*>(handle); }

static WAVEFORMATEX* format_of(WAVE_READER_STATE* state) { return reinterpret_cast<WAVEFORMATEX*>(state->format); }

// ---- open and close ----

static bool format_read(RIFF_FILE* riff, WAVE_READER_STATE* state, const RIFF_CHUNK& root) {
    RIFF_CHUNK chunk;
    if (!riff_find(riff, &chunk, fourcc("fmt "), 0, &root) || chunk.size > FORMAT_MAX) return false;
    if (!file_read_exact(state->file, state->format, chunk.size, chunk.position)) return false;
    state->format_size = chunk.size;
    if (!sound_format_repair(format_of(state), chunk.size, false)) return false;
    state->block = format_of(state)->nBlockAlign;
    return true;
}

static void picture_set(BITMAPINFOHEADER* picture) {
    *picture = {};
    picture->biSize = sizeof *picture;
    picture->biWidth = picture_width;
    picture->biHeight = picture_height;
    picture->biPlanes = 1;
    picture->biBitCount = 16;
    picture->biCompression = fourcc("YUY2");
    picture->biSizeImage = uint32_t(picture_width * picture_height * (16 / 8));
}

static bool state_fill(WAVE_READER_STATE* state) {
    RIFF_FILE riff;
    RIFF_CHUNK root, data;
    if (!riff_start(&riff, state->file) || !riff_find(&riff, &root, fourcc("WAVE"), 0, nullptr)) return false;
    if (!format_read(&riff, state, root) || !riff_find(&riff, &data, fourcc("data"), 0, &root)) return false;
    // A file that was cut off, or written into a pipe with no size, has what is there.
    state->data = data.position;
    const int64_t held = std::max<int64_t>(riff.size - data.position, 0);
    const int64_t bytes = riff_unclosed(root, data) ? held : std::min<int64_t>(held, data.size);
    state->samples = uint64_t(bytes) / state->block;
    picture_set(&state->picture);
    return true;
}

INPUT_PLUGIN_HANDLE wave_reader_open(const char* path) {
    WAVE_READER_STATE* state = new (std::nothrow) WAVE_READER_STATE();
    if (!state) return nullptr;
    state->file = file_open_read(path);
    if (state->file >= 0 && state_fill(state)) return state;
    wave_reader_close(state);
    return nullptr;
}

int wave_reader_close(INPUT_PLUGIN_HANDLE handle) {
    WAVE_READER_STATE* state = state_of(handle);
    if (!state) return 1;
    file_close(state->file);
    delete state;
    return 1;
}

int wave_reader_info(INPUT_PLUGIN_HANDLE handle, INPUT_MEDIA_INFO* info) {
    WAVE_READER_STATE* state = state_of(handle);
    const double frames = double(state->samples) * PICTURE_RATE / format_of(state)->nSamplesPerSec;
    info->flags |= INPUT_MEDIA_VIDEO | INPUT_MEDIA_AUDIO;
    info->rate = PICTURE_RATE;
    info->scale = 1;
    info->frames = int32_t(std::min(frames, double(INT32_MAX)));
    info->video_format = &state->picture;
    info->video_format_size = sizeof state->picture;
    info->video_handler = state->picture.biCompression;
    info->audio_samples = int32_t(std::min<uint64_t>(state->samples, INT32_MAX));
    info->audio_format = format_of(state);
    info->audio_format_size = int32_t(state->format_size);
    return 1;
}

// ---- pictures and sound ----

int wave_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t, void* buffer, size_t capacity, bool* damaged) {
    const size_t whole = state_of(handle)->picture.biSizeImage;
    const size_t n = std::min(whole, capacity);
    uint8_t* bytes = static_cast<uint8_t*>(buffer);
    for (size_t i = 0; i < n; ++i) bytes[i] = BLACK[i % 4];
    if (damaged) *damaged = n < whole;
    return int(n);
}

int wave_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer) {
    return wave_reader_read_video_bounded(handle, frame, buffer, SIZE_MAX, nullptr);
}

int wave_reader_read_audio(INPUT_PLUGIN_HANDLE handle, int32_t start, int32_t count, void* buffer) {
    const WAVE_READER_STATE& state = *state_of(handle);
    if (start < 0 || count <= 0 || uint32_t(start) >= state.samples) return 0;
    const uint64_t blocks = std::min<uint64_t>(uint32_t(count), state.samples - uint32_t(start));
    const int64_t position = state.data + int64_t{start} * state.block;
    // Not read past the end of a file that has been cut since: the buffer stays as it is.
    if (position + int64_t(blocks * state.block) > file_size(state.file)) return 0;
    return file_read_exact(state.file, buffer, size_t(blocks * state.block), position) ? int(blocks) : 0;
}
