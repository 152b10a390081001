#pragma once

#include <cstddef>
#include <cstdint>

struct EDIT_STATE;

/// Source pictures in the internal format at the edit's size, the last `cache` of them kept, least recently used out
/// first; and the working buffers that all stages of the pipeline share. Main thread.

/// Allocates the pictures and buffers (sizes from frame_geometry and key `cache`). 1, or 0 when memory is short (told).
int frame_cache_start();
void frame_cache_stop();

/// Gives the source picture of a frame.
/// frame:  frame number of the edit; clamped to 0 .. frame_n - 1.
/// offset: added to the FRAME_REF, in frames of the source (-1: the one stored before).
/// Returns the image origin of a FRAME_BUFFER that the cache owns, never null; valid until a later miss evicts it (with
/// key `cache` 2, the second one), so fetch all, then use. A source that cannot be read is no error: the picture is
/// stale or black.
uint8_t* frame_cache_get(EDIT_STATE* edit, int32_t frame, int32_t offset);

/// Empties the cache.
void frame_cache_reset();
/// Orders the ages by key, so that the lowest references go first: a save reads upward and needs none of them again.
void frame_cache_rerank();

/// What an entry holds, for tests: false when i is out of range.
struct FRAME_CACHE_ENTRY {
    int32_t key;  // FRAME_REF, 0x80000000 = empty
    int32_t age;
};
bool frame_cache_entry(int i, FRAME_CACHE_ENTRY* out);

/// The two working pictures of a redraw, and the two of a render that somebody else asks for (made at first use, null
/// when memory is short). i is 0 or 1.
uint8_t* work_buffer(int i);
uint8_t* shared_buffer(int i);

/// The picture in display format; also scratch for reading pictures, and the buffer in which a save gathers sound.
uint8_t* display_buffer();
size_t display_buffer_size();
/// Stored bytes of a compressed frame on their way into a decompressor.
uint8_t* decode_buffer();
size_t decode_buffer_size();

/// The id (platform/handle.h) of one of the buffers above, for the fields of EDIT_STATE that name a picture; 0 for any
/// other address.
uint32_t pipeline_buffer_id(const uint8_t* buffer);
