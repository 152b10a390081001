#include "persist/project_images.h"

#include <cstdlib>

#include "core/edit_state.h"
#include "core/image_clip.h"
#include "persist/byte_source.h"
#include "pixels/frame_buffer.h"
#include "platform/handle.h"

static size_t block_size(int width, int height) {
    return sizeof(IMAGE_CLIP) + size_t(dib24_stride(width)) * size_t(height);
}

void project_images_put(std::vector<uint8_t>& out, const EDIT_STATE* edit) {
    for (const uint32_t id : edit->clip) {
        const auto* clip = static_cast<const IMAGE_CLIP*>(handle_get(id));
        if (!clip) continue;
        const auto size = uint32_t(block_size(clip->header.biWidth, clip->header.biHeight));
        const auto* head = reinterpret_cast<const uint8_t*>(&size);
        const auto* bytes = reinterpret_cast<const uint8_t*>(clip);
        out.insert(out.end(), head, head + sizeof size);
        out.insert(out.end(), bytes, bytes + size);
    }
}

static uint32_t take_clip(IMAGE_CLIP* clip, const EDIT_STATE* record) {
    const BITMAPINFOHEADER& header = clip->header;
    const bool fits = header.biBitCount == 24 && header.biWidth == record->width && header.biHeight == record->height;
    const uint32_t id = fits ? handle_new(clip) : 0;
    if (!id) std::free(clip);
    return id;
}

// The block may be longer than the picture, as memory comes in steps; a shorter one is none.
static bool read_image(BYTE_SOURCE* source, EDIT_STATE* record, uint32_t* clip) {
    uint32_t length;
    if (!byte_source_u32(source, &length) || length > byte_source_left(*source)) return false;
    const size_t size = block_size(record->width, record->height);
    void* block = length >= size ? std::malloc(size) : nullptr;
    if (!block) return byte_source_skip(source, length);
    if (!byte_source_read(source, block, size) || !byte_source_skip(source, length - size)) {
        std::free(block);
        return false;
    }
    *clip = take_clip(static_cast<IMAGE_CLIP*>(block), record);
    return true;
}

bool project_images_read(BYTE_SOURCE* source, EDIT_STATE* record, const bool* stored) {
    for (int i = 0; i < CLIP_MAX; ++i)
        if (stored[i] && !read_image(source, record, &record->clip[i])) return false;
    return true;
}
