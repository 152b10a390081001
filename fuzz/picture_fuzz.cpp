#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/image.h"
#include "reader_input.h"
#include "readers/bmp_reader.h"
#include "readers/picture_series.h"

static void require(bool condition) {
    if (!condition) abort();
}

static void image_fuzz(std::span<const uint8_t> file) {
    int32_t width = 0, height = 0;
    if (!image_size(file, &width, &height)) return;
    require(width > 0 && height > 0 && int64_t{width} * height <= IMAGE_PIXELS_MAX);
    if (int64_t{width} * height > 1 << 20) return;  // sound, but slow
    const int32_t sizes[][2] = {{width, height}, {(width + 1) / 2, (height + 2) / 3}, {width + 1, height}};
    for (const auto& [w, h] : sizes) {
        const size_t n = size_t(w) * size_t(h) * 4;
        const std::unique_ptr<uint8_t[]> buffer(new uint8_t[n]);  // of that size to the byte: overruns show
        const IMAGE_RESULT result = image_read(file, w, h, buffer.get());
        require(result == IMAGE_FAILED || (w <= width && h <= height));
    }
}

static void bmp_fuzz(const uint8_t* data, size_t size) {
    const char* path = reader_input(data, size);
    INPUT_PLUGIN_HANDLE bmp = path ? bmp_reader_open(path) : nullptr;
    if (!bmp) return;
    INPUT_MEDIA_INFO info = {};
    picture_series_info(bmp, &info);
    require(info.video_format->biWidth > 0 && info.frames >= 1);
    for (const size_t room : {size_t{0}, size_t{1}, size_t{5000}}) {
        const std::unique_ptr<uint8_t[]> buffer(new uint8_t[room]);
        const int n = bmp_reader_read_video_bounded(bmp, 0, buffer.get(), room, nullptr);
        require(n >= 0 && size_t(n) <= room);
    }
    picture_series_close(bmp);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size >= 2 && std::memcmp(data, "BM", 2) == 0)
        bmp_fuzz(data, size);
    else
        image_fuzz({data, size});
    return 0;
}
