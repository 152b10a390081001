#include <algorithm>
#include <cstdlib>
#include <memory>

#include "platform/container.h"
#include "reader_input.h"

static void require(bool condition) {
    if (!condition) abort();
}

static void pictures_read(CONTAINER* file, const CONTAINER_INFO& info) {
    const size_t size = container_picture_size(file);
    const std::unique_ptr<uint8_t[]> buffer(new uint8_t[size]);  // of that size to the byte: overruns show
    for (const int64_t frame : {int64_t{0}, int64_t{1}, info.frames - 1, info.frames / 2, int64_t{2}})
        container_read_picture(file, frame, buffer.get());
}

static void sound_read(CONTAINER* file, const CONTAINER_INFO& info) {
    for (const int64_t start : {int64_t{-1}, int64_t{0}, info.samples / 2, info.samples - 1, info.samples}) {
        for (const int64_t count : {0, 1, 700}) {
            const std::unique_ptr<int16_t[]> buffer(new int16_t[size_t(count * info.channels)]);
            const int64_t n = container_read_sound(file, start, count, buffer.get());
            require(n >= 0 && n <= count);
        }
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* path = reader_input(data, size);
    CONTAINER_OPTIONS options;
    options.max_width = options.max_height = 512;
    const CONTAINER_PTR file = path ? container_open(path, options) : nullptr;
    if (!file) return 0;
    const CONTAINER_INFO& info = container_info(file.get());
    require(info.has_picture || info.has_sound);
    if (info.has_picture) {
        require(info.frames > 0 && info.rate > 0 && info.scale > 0 && info.width > 0 && info.height > 0);
        if (info.width <= options.max_width && info.height <= options.max_height) pictures_read(file.get(), info);
    }
    if (info.has_sound) {
        require(info.samples > 0 && info.sound_rate > 0 && (info.channels == 1 || info.channels == 2));
        sound_read(file.get(), info);
    }
    return 0;
}
