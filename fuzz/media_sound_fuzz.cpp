#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/audio_conv.h"
#include "core/edit_state.h"
#include "core/media.h"
#include "reader_input.h"
#include "readers/input_table.h"

/// The sound of a WAV or AVI file through the readers, the codecs and the converters.

static MEDIA_RECORD record;

static void sound_read(size_t capacity) {
    const std::unique_ptr<uint8_t[]> buffer(new uint8_t[capacity]);  // of that size to the byte: overruns show
    for (const int n : {0, 1, 2, 30, 3, INT32_MAX, -1}) {
        const int measured = media_measure_audio(&record, n, 1, nullptr);
        const int bytes = media_read_audio(&record, n, 1, buffer.get(), capacity, nullptr);
        if (measured < 0 || bytes < 0 || size_t(bytes) > capacity) abort();
        media_read_audio_raw(&record, n, 1, buffer.get(), capacity, nullptr);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool started = false;
    if (!started) input_table_init();
    started = true;
    const bool avi = size >= 12 && std::memcmp(data + 8, "AVI ", 4) == 0;
    const char* memory = reader_input(data, size);
    static char path[64];
    snprintf(path, sizeof path, "/tmp/media_sound_fuzz_%d.%s", int(getpid()), avi ? "avi" : "wav");
    unlink(path);
    if (!memory || symlink(memory, path) != 0) return 0;
    if (media_open(&record, path, LOAD_READ_ONLY | LOAD_NO_VIDEO) == 1) {
        sound_read(4096);
        const WAVEFORMATEX target = audio_format_pcm16(32000, 1);
        media_match_audio(&record, &target, &target);
        sound_read(999);
        media_close(&record);
    }
    unlink(path);
    return 0;
}
