#include "pipeline/frame_cache.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/media.h"
#include "core/memory.h"
#include "core/settings.h"
#include "filters/resample.h"
#include "hosts/color.h"
#include "pixels/convert.h"
#include "pixels/frame_buffer.h"
#include "pixels/rect.h"
#include "platform/handle.h"

static constexpr int32_t EMPTY = INT32_MIN;
static constexpr size_t DISPLAY_MIN = 2097152;
static constexpr size_t SLACK = 16;
static constexpr int GATHER_PIXEL = 6;  // bytes of the widest pixel that the display buffer takes

struct CACHE_SLOT {
    int32_t key;
    int32_t age;
    uint8_t* image;
};

static std::vector<CACHE_SLOT> slots;
static uint32_t counter;
static uint8_t* work[2];
static uint8_t* shared[2];
static uint8_t* display_block;
static uint8_t* decode_block;

static constexpr int NAMED_MAX = 5;
static struct {
    uint8_t* buffer;
    uint32_t id;
} named[NAMED_MAX];  // buffers that EDIT_STATE may name

size_t display_buffer_size() {
    return std::max(DISPLAY_MIN, size_t(frame_geometry.max_width) * size_t(frame_geometry.max_height) * GATHER_PIXEL) +
           SLACK;
}

// A decoder may write in front of its buffer: the used pointer stands some rows into the block.
static size_t decode_offset() { return size_t(frame_geometry.allocated_width) * 24 + 32; }

static size_t decode_block_size() {
    return size_t(frame_geometry.allocated_width) * size_t(frame_geometry.allocated_height) * 6 + SLACK;
}

size_t decode_buffer_size() { return decode_block_size() - decode_offset(); }
uint8_t* decode_buffer() { return decode_block + decode_offset(); }
uint8_t* display_buffer() { return display_block; }
uint8_t* work_buffer(int i) { return work[i]; }

static void name_buffer(uint8_t* buffer) {
    for (auto& entry : named) {
        if (entry.buffer || !buffer) continue;
        entry = {buffer, handle_new(buffer)};
        return;
    }
}

uint32_t pipeline_buffer_id(const uint8_t* buffer) {
    for (const auto& entry : named)
        if (buffer && entry.buffer == buffer) return entry.id;
    return 0;
}

static uint8_t* picture_new() {
    uint8_t* image = frame_buffer_new();
    if (!image) memory_warn();
    return image;
}

uint8_t* shared_buffer(int i) {
    if (!shared[i]) {
        shared[i] = picture_new();
        name_buffer(shared[i]);
    }
    return shared[i];
}

int frame_cache_start() {
    display_block = static_cast<uint8_t*>(mem_alloc(display_buffer_size()));
    decode_block = static_cast<uint8_t*>(mem_alloc(decode_block_size()));
    name_buffer(display_block);
    for (uint8_t*& image : work) {
        image = picture_new();
        name_buffer(image);
    }
    slots.assign(size_t(system_settings.cache), CACHE_SLOT{EMPTY, 0, nullptr});
    bool good = display_block && decode_block && work[0] && work[1];
    for (CACHE_SLOT& slot : slots) good = good && (slot.image = picture_new());
    if (!good) frame_cache_stop();
    frame_cache_reset();
    return good;
}

void frame_cache_stop() {
    for (auto& entry : named) {
        handle_free(entry.id);
        entry = {};
    }
    for (CACHE_SLOT& slot : slots) frame_buffer_free(slot.image);
    slots.clear();
    for (int i = 0; i < 2; ++i) {
        frame_buffer_free(work[i]);
        frame_buffer_free(shared[i]);
        work[i] = shared[i] = nullptr;
    }
    mem_free(display_block);
    mem_free(decode_block);
    display_block = decode_block = nullptr;
}

void frame_cache_reset() {
    for (CACHE_SLOT& slot : slots) {
        slot.key = EMPTY;
        slot.age = 0;
    }
    counter = 1;
}

void frame_cache_rerank() {
    std::vector<CACHE_SLOT>& all = slots;
    for (CACHE_SLOT& slot : all)
        slot.age = int32_t(
            std::count_if(all.begin(), all.end(), [&](const CACHE_SLOT& other) { return other.key < slot.key; }));
    counter = uint32_t(all.size());
}

bool frame_cache_entry(int i, FRAME_CACHE_ENTRY* out) {
    if (i < 0 || i >= int(slots.size())) return false;
    *out = {slots[size_t(i)].key, slots[size_t(i)].age};
    return true;
}

// RGB of other depths becomes 24 bits in the display buffer first.
static const uint8_t* as_24_bits(const MEDIA_RECORD& media, const uint8_t* picture, uint32_t code) {
    const BITMAPINFOHEADER& header = media.video_header;
    if (code != 0 || header.biBitCount == 24) return picture;
    if (size_t(dib24_stride(media.media_width)) * size_t(media.media_height) > display_buffer_size()) return picture;
    dib_to_rgb24(display_block, picture, media.media_width, media.media_height, header.biBitCount);
    return display_block;
}

static void to_edit_size(const EDIT_STATE* edit, const MEDIA_RECORD& media, uint8_t* image) {
    if (edit->width == media.media_width && edit->height == media.media_height) return;
    uint8_t* other = shared_buffer(0);
    if (!other) return;
    uint8_t* result =
        frame_resize(image, edit->width, edit->height, 0, 0, media.media_width, media.media_height, other);
    if (result != image) frame_copy_rows(image, result, nullptr, edit->width, edit->height, 1);
}

static void fill(EDIT_STATE* edit, uint8_t* image, uint32_t ref) {
    const int source = frame_ref_source(ref);
    if (source >= SOURCE_MAX) return;
    MEDIA_RECORD& media = edit->source[source].media;
    const uint8_t* picture = media_read_frame(&media, frame_ref_number(ref));
    if (!picture) return;
    const uint32_t code = media_code_normal(media.video_header.biCompression);
    color_to_frame(image, as_24_bits(media, picture, code), media.media_width, media.media_height, code);
    to_edit_size(edit, media, image);
}

uint8_t* frame_cache_get(EDIT_STATE* edit, int32_t frame, int32_t offset) {
    const uint32_t ref = frame_table.frame_video[frame_clamp(edit, frame)] + uint32_t(offset);
    CACHE_SLOT* oldest = &slots[0];
    for (CACHE_SLOT& slot : slots) {
        if (slot.key == int32_t(ref)) {
            slot.age = int32_t(counter++);
            return slot.image;
        }
        if (slot.age < oldest->age) oldest = &slot;
    }
    // The entry counts as filled before anything is read: a read that fails leaves a stale picture, not a retry.
    oldest->key = int32_t(ref);
    oldest->age = int32_t(counter++);
    fill(edit, oldest->image, ref);
    return oldest->image;
}
