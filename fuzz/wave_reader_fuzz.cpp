#include <algorithm>
#include <cstdlib>
#include <memory>

#include "reader_input.h"
#include "readers/wave_reader.h"

static void require(bool condition) {
    if (!condition) abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* path = reader_input(data, size);
    INPUT_PLUGIN_HANDLE wave = path ? wave_reader_open(path) : nullptr;
    if (!wave) return 0;
    INPUT_MEDIA_INFO info = {};
    wave_reader_info(wave, &info);
    const int32_t block = info.audio_format->nBlockAlign, samples = info.audio_samples;
    require(block > 0 && uint64_t(uint32_t(samples)) * uint32_t(block) <= size && info.frames >= 0);
    for (const int32_t start : {-1, 0, 1, samples / 2, samples - 1, samples, INT32_MAX}) {
        for (const int32_t count : {-1, 0, 1, 100}) {
            const std::unique_ptr<uint8_t[]> buffer(new uint8_t[size_t(std::max(count, 0) * block)]);
            const int n = wave_reader_read_audio(wave, start, count, buffer.get());
            require(n >= 0 && n <= std::max(count, 0));
        }
    }
    for (const size_t room : {size_t{0}, size_t{1}, size_t{4097}}) {
        const std::unique_ptr<uint8_t[]> buffer(new uint8_t[room]);
        require(size_t(wave_reader_read_video_bounded(wave, 0, buffer.get(), room, nullptr)) == room);
    }
    wave_reader_close(wave);
    return 0;
}
