#include "pixels/frame_buffer.h"

#include <algorithm>

#include "platform/memory.h"

FRAME_GEOMETRY frame_geometry = frame_geometry_make(0, 0, PIXEL_SIZE_YC48);

static int round_up_8(int size, int least) { return std::max((size + 7) / 8 * 8, least); }

FRAME_GEOMETRY frame_geometry_make(int width, int height, int pixel_size) {
    FRAME_GEOMETRY geometry{};
    geometry.pixel_size = pixel_size;
    geometry.max_width = round_up_8(width, 320);
    geometry.max_height = round_up_8(height, 240);
    geometry.allocated_width = geometry.max_width + 2 * FRAME_MARGIN;
    geometry.allocated_height = geometry.max_height + 2 * FRAME_MARGIN;
    geometry.stride = geometry.allocated_width * pixel_size;
    geometry.block_size = size_t(geometry.stride) * size_t(geometry.allocated_height) + 16;
    // 4 rows down and 4 pixels in; the 8 bytes more bring the origin to a 16-byte boundary at both pixel sizes.
    geometry.origin = size_t(geometry.allocated_width + 1) * 4 * size_t(pixel_size) + 8;
    return geometry;
}

uint8_t* frame_buffer_new() {
    auto* block = static_cast<uint8_t*>(page_alloc(frame_geometry.block_size));
    return block ? block + frame_geometry.origin : nullptr;
}

void frame_buffer_free(uint8_t* image) {
    if (image) page_free(image - frame_geometry.origin);
}
