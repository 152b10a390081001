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

// A whole page in front keeps the block page-aligned.
#ifdef NDEBUG
static constexpr size_t GUARD_SIZE = 0;
#else
static constexpr size_t GUARD_SIZE = 4096;
#endif

// No colour and no index of a filter is likely to write this sequence; a shifted copy of it shows too.
static uint8_t guard_byte(size_t i) { return uint8_t(0xC3 ^ i * 29); }

static void guard_write(uint8_t* zone) {
    for (size_t i = 0; i < GUARD_SIZE; ++i) zone[i] = guard_byte(i);
}

static bool guard_intact(const uint8_t* zone) {
    for (size_t i = 0; i < GUARD_SIZE; ++i)
        if (zone[i] != guard_byte(i)) return false;
    return true;
}

uint8_t* frame_buffer_new() {
    auto* front = static_cast<uint8_t*>(page_alloc(frame_geometry.block_size + 2 * GUARD_SIZE));
    if (!front) return nullptr;
    uint8_t* block = front + GUARD_SIZE;
    guard_write(front);
    guard_write(block + frame_geometry.block_size);
    return block + frame_geometry.origin;
}

void frame_buffer_free(uint8_t* image) {
    if (image) page_free(image - frame_geometry.origin - GUARD_SIZE);
}

bool frame_buffer_intact(const uint8_t* image) {
    const uint8_t* block = image - frame_geometry.origin;
    return guard_intact(block - GUARD_SIZE) && guard_intact(block + frame_geometry.block_size);
}
