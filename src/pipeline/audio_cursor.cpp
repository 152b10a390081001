#include "pipeline/audio_cursor.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "core/memory.h"
#include "pipeline/audio_fetch.h"
#include "pipeline/frame_cache.h"

struct AUDIO_CURSOR {
    int first;                  // frame of the edit that is frame 0 here
    std::span<int32_t> sums;    // samples up to the end of each frame
    std::span<uint8_t> carry;   // gathered beyond what was wanted; room for all that the gather buffer holds
    size_t carried;             // bytes there
    int next_sample;            // that follows the last one given
    int next_frame, next_skip;  // where gathering goes on: a frame, and the samples of it that are gathered
};

static AUDIO_CURSOR cursor;

/// What one read gathers, in the gather buffer.
struct GATHERED {
    uint8_t* buffer;
    size_t capacity, fill;  // bytes
    size_t front;           // bytes ahead of the first wanted one
    size_t block;
};

// ---- open and close

void audio_cursor_close() {
    mem_free(cursor.sums.data());
    mem_free(cursor.carry.data());
    cursor = {};
}

static bool allocate(int frames) {
    const size_t table = size_t(frames) * sizeof(int32_t), carry = display_buffer_size();
    auto* sums = static_cast<int32_t*>(mem_alloc(table));
    auto* bytes = static_cast<uint8_t*>(mem_alloc(carry));
    if (sums) cursor.sums = {sums, size_t(frames)};
    if (bytes) cursor.carry = {bytes, carry};
    return sums && bytes;
}

static int total() { return cursor.sums.empty() ? 0 : cursor.sums.back(); }

int audio_cursor_open(EDIT_STATE* edit, int first, int last) {
    audio_cursor_close();
    const int block = edit->base.audio_header.nBlockAlign;
    const bool sound = (edit->edit_flag & EDIT_OPEN) && (edit->base.media_flag & MEDIA_HAS_AUDIO) && block > 0;
    first = std::max(first, 0);
    last = std::min(last, edit->frame_n - 1);
    if (!sound || last < first) return 0;
    if (!allocate(last - first + 1)) {
        audio_cursor_close();
        return 0;
    }
    cursor.first = first;
    AUDIO_AHEAD ahead;
    audio_ahead_reset(&ahead);
    int64_t sum = 0;
    for (int32_t& frame_end : cursor.sums) {
        sum += audio_measure(edit, first++, AUDIO_FILTERED, &ahead) / block;
        frame_end = int32_t(std::min<int64_t>(sum, INT32_MAX));
    }
    audio_reset(edit, cursor.first, last);
    return total();
}

// ---- read

static int begin_of(int frame) { return frame == 0 ? 0 : cursor.sums[size_t(frame) - 1]; }

static void go_to(int sample, GATHERED* g) {
    if (sample == cursor.next_sample) {
        std::memcpy(g->buffer, cursor.carry.data(), cursor.carried);
        g->fill = cursor.carried;
        return;
    }
    const auto at = std::upper_bound(cursor.sums.begin(), cursor.sums.end(), sample);
    cursor.next_frame = int(at - cursor.sums.begin());
    cursor.next_skip = 0;
    g->front = size_t(sample - begin_of(cursor.next_frame)) * g->block;
}

// Gives up gathered bytes in front of the wanted ones.
static void drop_front(GATHERED* g) {
    const size_t dropped = std::min(g->front, g->fill);
    std::memmove(g->buffer, g->buffer + dropped, g->fill - dropped);
    g->fill -= dropped;
    g->front -= dropped;
}

// A frame goes through the filters whole, unless it alone is larger than the buffer. False: it has to wait.
static bool room_for_next(GATHERED* g) {
    const int frame = cursor.next_frame;
    const int left = std::max(cursor.sums[size_t(frame)] - begin_of(frame) - cursor.next_skip, 0);
    const size_t size = size_t(left) * g->block;
    if (g->capacity - g->fill >= size) return true;
    drop_front(g);
    return g->capacity - g->fill >= size || g->fill == 0;
}

static void gather_next(EDIT_STATE* edit, GATHERED* g) {
    const size_t room = g->capacity - g->fill;
    const int bytes = audio_fetch_part(edit, cursor.first + cursor.next_frame, cursor.next_skip, g->buffer + g->fill,
                                       room, nullptr, AUDIO_FILTERED);
    g->fill += size_t(bytes);
    cursor.next_skip += int(size_t(bytes) / g->block);
    if (bytes == 0 || size_t(bytes) + g->block <= room) {  // more would have fitted
        ++cursor.next_frame;
        cursor.next_skip = 0;
    }
}

// Gathers up to `wanted` bytes behind the front, and says how many there are: fewer when the buffer is full.
static size_t gather(EDIT_STATE* edit, GATHERED* g, size_t wanted) {
    while (cursor.next_frame < int(cursor.sums.size()) && g->fill < g->front + wanted) {
        if (!room_for_next(g)) return g->fill - g->front;
        gather_next(edit, g);
    }
    if (g->fill < g->front + wanted) {  // a source gave less than was measured
        drop_front(g);
        g->front = 0;
        std::memset(g->buffer + g->fill, 0, wanted - g->fill);
        g->fill = wanted;
    }
    return wanted;
}

static void keep_rest(const GATHERED& g, size_t used) {
    cursor.carried = g.fill - used;
    std::memcpy(cursor.carry.data(), g.buffer + used, cursor.carried);
}

static int wanted_samples(int* sample, int n) {
    const int64_t more = *sample < 0 ? -int64_t{*sample} : 0;
    *sample = std::max(*sample, 0);
    return int(std::min<int64_t>(n + more, int64_t{total()} - *sample));
}

uint8_t* audio_cursor_read(EDIT_STATE* edit, int sample, int* n, int* bytes) {
    GATHERED g = {display_buffer(), display_buffer_size(), 0, 0, edit->base.audio_header.nBlockAlign};
    const int wish = wanted_samples(&sample, *n);
    *n = *bytes = 0;
    if (wish <= 0 || g.block == 0) return g.buffer;
    go_to(sample, &g);
    const size_t given = gather(edit, &g, std::min(size_t(wish), g.capacity / g.block) * g.block);
    keep_rest(g, g.front + given);
    *n = int(given / g.block);
    *bytes = int(given);
    cursor.next_sample = sample + *n;
    return g.buffer + g.front;
}
