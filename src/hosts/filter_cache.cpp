#include "hosts/filter_cache.h"

#include <algorithm>
#include <cstring>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/memory.h"
#include "core/message.h"
#include "core/profile.h"
#include "hosts/filter.h"
#include "pipeline/frame_renderer.h"
#include "pixels/frame_buffer.h"
#include "pixels/rect.h"
#include "resources/string_ids.h"

static constexpr int FILL_MAX = 8;
static constexpr int SIDE_MAX = 32768;  // the widest picture of the settings and its margin

// Head of the entry store, one a picture; the pictures stand behind all of them.
struct CACHE_ENTRY {
    int32_t key;    // frame number + 1, 0 = empty
    int32_t stamp;  // the highest was asked for last
    int32_t width, height;
};
static_assert(sizeof(CACHE_ENTRY) == 16);

static FILTER* fill_stack[FILL_MAX];  // filters whose cache fill is in progress
static int fill_n;
static int hold_n;  // above 0: frame buffers may be in use by a walk, whoever is switched off

static bool is_filling(const FILTER* filter) {
    return std::find(fill_stack, fill_stack + fill_n, filter) != fill_stack + fill_n;
}

// ---- memory

static CACHE_ENTRY* entries_of(const FILTER* filter) { return static_cast<CACHE_ENTRY*>(filter->cache_store); }

static size_t row_size(const FILTER* filter) { return size_t(filter->cache_width) * size_t(filter->pixel_size); }
static size_t room_size(const FILTER* filter) { return row_size(filter) * size_t(filter->cache_height); }

static uint8_t* entry_image(const FILTER* filter, int index) {
    uint8_t* rooms = reinterpret_cast<uint8_t*>(entries_of(filter) + filter->cache_depth);
    const bool margin = filter->cache_flags & FILTER_CACHE_MARGIN;
    const size_t origin = margin ? size_t(filter->cache_width + 1) * 4 * size_t(filter->pixel_size) + 8 : 0;
    return rooms + room_size(filter) * size_t(index) + origin;
}

uint8_t* filter_cache_frame(FILTER* filter, int i) {
    void*& frame = i ? filter->cache_frame_b : filter->cache_frame_a;
    if (!frame) {
        frame = frame_buffer_new();
        if (!frame) message_warn(STR_ERR_OUT_OF_MEMORY);
    }
    return static_cast<uint8_t*>(frame);
}

static void release_frames(FILTER* filter) {
    for (void** frame : {&filter->cache_frame_a, &filter->cache_frame_b}) {
        frame_buffer_free(static_cast<uint8_t*>(*frame));
        *frame = nullptr;
    }
}

static void release_store(FILTER* filter) {
    mem_free(filter->cache_store);
    filter->cache_store = nullptr;
}

bool filter_cache_allocate(FILTER* filter) {
    if (filter->cache_depth == 0 || filter->cache_store) return true;
    // At most (6 * 2^30 + 16) * 2^31 bytes, which 64 bits hold.
    const size_t size = (room_size(filter) + sizeof(CACHE_ENTRY)) * size_t(filter->cache_depth);
    filter->cache_store = mem_alloc(size);
    if (filter->cache_store && filter_cache_frame(filter, 0) && filter_cache_frame(filter, 1)) return true;
    release_store(filter);
    return false;
}

void filter_cache_release(FILTER* filter) {
    if (is_filling(filter)) return;  // the end of the fill looks again
    release_store(filter);
    if (hold_n == 0) release_frames(filter);
}

static bool sizes_possible(int w, int h, int depth) {
    return depth == 0 || (depth > 0 && w > 0 && h > 0 && w <= SIDE_MAX && h <= SIDE_MAX);
}

int filter_cache_configure(FILTER* filter, int w, int h, int depth, int flags) {
    if (filter->cache_width == w && filter->cache_height == h && filter->cache_depth == depth &&
        filter->cache_flags == flags)
        return 1;
    const bool filling = is_filling(filter);
    if ((filling && filter->cache_store) || !sizes_possible(w, h, depth)) return 0;
    release_store(filter);
    if (!filling) release_frames(filter);
    filter->cache_width = w;
    filter->cache_height = h;
    filter->cache_depth = depth;
    filter->cache_flags = flags;
    return !(filter->flags & FILTER_F_ACTIVE) || filter_cache_allocate(filter);
}

// ---- emptying

static void clear(FILTER* filter) {
    if (!filter->cache_store || is_filling(filter)) return;
    std::fill_n(entries_of(filter), filter->cache_depth, CACHE_ENTRY{});
}

void filter_cache_clear_all() {
    for (FILTER* const* at = filter_list(); *at; ++at) clear(*at);
}

void filter_cache_clear_after(const FILTER* filter) {
    if (filter->flags & (FILTER_F_AUDIO | FILTER_F_DISPLAY)) return;
    for (FILTER* const* at = filter_list(); *at; ++at) {
        if (*at != filter && (*at)->chain_order >= filter->chain_order) clear(*at);
    }
}

// ---- entries

static int32_t highest_stamp(const FILTER* filter) {
    const CACHE_ENTRY* entries = entries_of(filter);
    const auto older = [](const CACHE_ENTRY& a, const CACHE_ENTRY& b) { return a.stamp < b.stamp; };
    return std::max_element(entries, entries + filter->cache_depth, older)->stamp;
}

static int find_entry(const FILTER* filter, int n) {
    if (!filter->cache_store) return -1;
    for (int i = 0; i < filter->cache_depth; ++i) {
        if (entries_of(filter)[i].key == n + 1) return i;
    }
    return -1;
}

// An empty entry has stamp 0 and goes first.
static int oldest_entry(const FILTER* filter) {
    const CACHE_ENTRY* entries = entries_of(filter);
    const auto older = [](const CACHE_ENTRY& a, const CACHE_ENTRY& b) { return a.stamp < b.stamp; };
    return int(std::min_element(entries, entries + filter->cache_depth, older) - entries);
}

static void copy_picture(const FILTER* filter, uint8_t* dst, const uint8_t* src, int w, int h) {
    const int margin = filter->cache_flags & FILTER_CACHE_MARGIN ? 2 * FRAME_MARGIN : 0;
    if (filter->pixel_size == PIXEL_SIZE_YUY2) w = (w + 1) & ~1;  // pixels come in pairs
    w = std::min(w, filter->cache_width - margin);
    h = std::min(h, filter->cache_height - margin);
    if (w <= 0 || h <= 0) return;
    rect_copy_strided(dst, src, size_t(w) * size_t(filter->pixel_size), h, ptrdiff_t(row_size(filter)),
                      frame_geometry.stride);
}

static uint8_t* store_picture(FILTER* filter, int n, const uint8_t* image, int w, int h) {
    const int index = oldest_entry(filter);
    entries_of(filter)[index] = {n + 1, highest_stamp(filter) + 1, w, h};
    uint8_t* stored = entry_image(filter, index);
    copy_picture(filter, stored, image, w, h);
    return stored;
}

// ---- filling

static bool fill_push(FILTER* filter) {
    if (fill_n >= FILL_MAX || is_filling(filter)) return false;
    fill_stack[fill_n++] = filter;
    return true;
}

static void fill_pop() {
    FILTER* filter = fill_stack[--fill_n];
    if (!(filter->flags & FILTER_F_ACTIVE)) filter_cache_release(filter);
}

void filter_profile_switch(const char* name) {
    if (std::strcmp(profile_current(), name) == 0) return;
    ++hold_n;
    profile_make_current(name);
    --hold_n;
}

static uint8_t* render_for(FILTER* filter, EDIT_STATE* edit, int n, FILTER_PROC_PARAM* param) {
    // A fill inside a fill of the same filter would go round for ever: it ends at the source.
    if (!fill_push(filter)) return render_source(edit, n, param);
    char profile[PATH_SIZE];
    std::strncpy(profile, profile_current(), sizeof profile - 1);
    profile[sizeof profile - 1] = 0;
    uint8_t* image = render_filtered(edit, n, param, filter);
    filter_profile_switch(profile);
    fill_pop();
    return image;
}

uint8_t* filter_cache_read_sized(FILTER* filter, EDIT_STATE* edit, int n, int* w, int* h) {
    if (!(edit->edit_flag & EDIT_OPEN)) return nullptr;
    n = frame_clamp(edit, n);
    int width, height;
    uint8_t* stored = nullptr;
    const int found = find_entry(filter, n);
    if (found >= 0) {
        CACHE_ENTRY& entry = entries_of(filter)[found];
        entry.stamp = highest_stamp(filter) + 1;
        width = entry.width;
        height = entry.height;
        stored = entry_image(filter, found);
    } else {
        FILTER_PROC_PARAM param{};
        const uint8_t* image = render_for(filter, edit, n, &param);
        if (!image) return nullptr;
        width = param.width;
        height = param.height;
        if (filter->cache_store) stored = store_picture(filter, n, image, width, height);
    }
    if (w) *w = width;
    if (h) *h = height;
    return stored;
}

uint8_t* filter_cache_read(FILTER* filter, EDIT_STATE* edit, int n) {
    return filter_cache_read_sized(filter, edit, n, nullptr, nullptr);
}

// ---- abandoned calls

FILTER_CACHE_MARK filter_cache_mark() { return {fill_n, hold_n}; }

void filter_cache_restore(FILTER_CACHE_MARK mark) {
    while (fill_n > mark.fill_n) fill_pop();
    hold_n = mark.hold_n;
}
