#pragma once

#include <cstdint>

#include "vantel_filter.h"

/// A filter's own cache of pictures as they reach it, for filters that need their input of other frames. A miss renders
/// the chain up to the filter in two frame buffers of the filter's own, so reading never disturbs the caller's walk.
/// Main thread.

/// Sizes the cache: room for `depth` pictures of w x h pixels, both at most 32768. flags: FILTER_CACHE_MARGIN. Memory
/// is taken while the filter is active. 1; 0 while a picture is being rendered for it, with sizes below 1, or when
/// memory is short (told). Without a change nothing happens. depth 0 gives the memory back.
int filter_cache_configure(FILTER* filter, int w, int h, int depth, int flags);

/// Frame n (clamped) as it reaches the filter. Rows lie cache_width * pixel_size bytes apart. The sizes, where wanted,
/// are those of the rendered picture, given also when there is no store to keep it; what the store had no room for is
/// cut. Null without an open edit, a store or memory. Valid until the entry is replaced: the one not asked for longest
/// goes first.
uint8_t* filter_cache_read_sized(FILTER* filter, EDIT_STATE* edit, int n, int* w, int* h);
uint8_t* filter_cache_read(FILTER* filter, EDIT_STATE* edit, int n);

/// Empties the caches of all filters, or of the other filters at or behind a filter's place: nothing for an audio
/// filter or a display tool. A cache whose fill is in progress is left alone.
void filter_cache_clear_all();
void filter_cache_clear_after(const FILTER* filter);

/// The filter's two frame buffers, made at first use; i is 0 or 1. Null when memory is short (told).
uint8_t* filter_cache_frame(FILTER* filter, int i);

/// For the switch of a filter: takes the memory that was asked for and is missing (false: memory is short, told); gives
/// it back. What a render in progress still uses goes when that has ended.
bool filter_cache_allocate(FILTER* filter);
void filter_cache_release(FILTER* filter);

/// Makes a profile current when it is not, while a render may be in progress.
void filter_profile_switch(const char* name);

/// The state of running fills. A call into a filter that was abandoned leaves fills open that it had begun: restoring
/// the mark taken before the call closes them.
struct FILTER_CACHE_MARK {
    int fill_n, hold_n;
};
FILTER_CACHE_MARK filter_cache_mark();
void filter_cache_restore(FILTER_CACHE_MARK mark);
