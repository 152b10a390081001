#pragma once

#include <cstdint>
#include <span>

#include "hosts/filter.h"

/// What stands behind a FILTER of the list: the host's own storage. Only the files of the filter table include this.

struct FILTER_TRACK_ROW {
    int label;  // number of the text
    int32_t low, high, value;
};
struct FILTER_CHECK_ROW {
    int label;
    int32_t value;  // negative: cannot be selected
};

/// One built-in filter. Functions come from filter_functions.h.
struct FILTER_BUILT_IN {
    int name;  // number of the text
    uint32_t flags;
    std::span<const FILTER_TRACK_ROW> tracks = {};
    std::span<const FILTER_CHECK_ROW> checks = {};
    int32_t pos_x = 0, pos_y = 0;
    // Takes a chain place by its nature. Default places count it even in a build that lacks its func_proc, so the
    // places that settings files hold stay what they are.
    bool in_chain = false;
    std::span<const uint8_t> extra_defaults = {};
    decltype(FILTER::func_proc) func_proc = nullptr;
    decltype(FILTER::func_init) func_init = nullptr;
    decltype(FILTER::func_update) func_update = nullptr;
    decltype(FILTER::func_WndProc) func_WndProc = nullptr;
    decltype(FILTER::func_save_start) func_save_start = nullptr;
    decltype(FILTER::func_save_end) func_save_end = nullptr;
};
inline constexpr int FILTER_BUILT_IN_N = 27;
extern const FILTER_BUILT_IN FILTER_BUILT_IN_TABLE[FILTER_BUILT_IN_N];  // in list order

inline constexpr int FILTER_EXTRA_MAX = 256;  // bytes of extra_data of a built-in record

struct FILTER_RECORD {
    FILTER filter;               // first, so that filter_record can go back from it
    const FILTER_BUILT_IN* row;  // null: from a plug-in
    const char* track_label[FILTER_TRACK_MAX];
    int32_t track_default[FILTER_TRACK_MAX];
    int32_t track_low[FILTER_TRACK_MAX];
    int32_t track_high[FILTER_TRACK_MAX];
    const char* check_label[FILTER_CHECK_MAX];
    int32_t check_default[FILTER_CHECK_MAX];
    alignas(8) uint8_t extra[FILTER_EXTRA_MAX];
    char path[260];  // of the plug-in's file
    int name_id;     // text number that `name` held, 0 = none
};

inline FILTER_RECORD* filter_record(FILTER* filter) { return reinterpret_cast<FILTER_RECORD*>(filter); }
inline const FILTER_RECORD* filter_record(const FILTER* filter) {
    return reinterpret_cast<const FILTER_RECORD*>(filter);
}

/// The built-in records, filled from the table when that has not been done yet; and forgotten, for the next start.
FILTER_RECORD* filter_built_in_records();
void filter_built_in_forget();

/// Deinterlace methods by number. filter_deinterlace_register also lists the method's name under the holder of the
/// choice, as far as that has room.
void filter_deinterlace_clear();
void filter_deinterlace_register(FILTER* method);
