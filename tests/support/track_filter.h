#pragma once

#include "hosts/filter.h"

/// A filter record with one track, 5 at first and within -1000 .. 1000, that can run and has no window: its value tells
/// whose settings are in memory.
inline FILTER track_filter(const char* name) {
    static const int32_t defaults[] = {5}, lows[] = {-1000}, highs[] = {1000};
    static const char* labels[] = {"t"};
    FILTER filter{};
    filter.flags = FILTER_F_NO_WINDOW;
    filter.name = name;
    filter.func_proc = [](FILTER*, FILTER_PROC_PARAM*) { return 1; };
    filter.track_count = 1;
    filter.track_labels = labels;
    filter.track_defaults = defaults;
    filter.track_lows = lows;
    filter.track_highs = highs;
    return filter;
}
