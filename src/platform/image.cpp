#include "platform/image.h"

#include <algorithm>
#include <vector>

#include "platform/file.h"
#include "platform/image_codec.h"

struct IMAGE_CODEC {
    uint8_t signature[8];
    size_t signature_size;
    bool (*size)(std::span<const uint8_t> file, int32_t* width, int32_t* height);
    IMAGE_RESULT (*read)(std::span<const uint8_t> file, int32_t width, int32_t height, uint8_t* bgra);
};
static const IMAGE_CODEC CODEC_TABLE[] = {
    {{0xFF, 0xD8, 0xFF}, 3, image_jpeg_size, image_jpeg_read},
    {{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}, 8, image_png_size, image_png_read},
};

static const IMAGE_CODEC* codec_of(std::span<const uint8_t> file) {
    for (const IMAGE_CODEC& codec : CODEC_TABLE) {
        if (file.size() >= codec.signature_size &&
            std::equal(codec.signature, codec.signature + codec.signature_size, file.begin()))
            return &codec;
    }
    return nullptr;
}

bool image_size(std::span<const uint8_t> file, int32_t* width, int32_t* height) {
    const IMAGE_CODEC* codec = codec_of(file);
    return codec && codec->size(file, width, height);
}

IMAGE_RESULT image_read(std::span<const uint8_t> file, int32_t width, int32_t height, uint8_t* bgra) {
    int32_t file_width = 0, file_height = 0;
    if (!image_size(file, &file_width, &file_height)) return IMAGE_FAILED;
    if (width < 1 || height < 1 || width > file_width || height > file_height) return IMAGE_FAILED;
    return codec_of(file)->read(file, width, height, bgra);
}

bool image_file_size(const char* path, int32_t* width, int32_t* height) {
    std::vector<uint8_t> file;
    return file_load(path, file, IMAGE_FILE_MAX) && image_size(file, width, height);
}

IMAGE_RESULT image_file_read(const char* path, int32_t width, int32_t height, uint8_t* bgra) {
    std::vector<uint8_t> file;
    return file_load(path, file, IMAGE_FILE_MAX) ? image_read(file, width, height, bgra) : IMAGE_FAILED;
}
