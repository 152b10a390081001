#include <algorithm>
#include <cstring>

#include "hosts/filter.h"
#include "hosts/filter_cache.h"

static void show(FILTER* filter) {
    if (filter_window_hooks.show) filter_window_hooks.show(filter);
}

// ---- one of several

static bool is_one_of_several(const FILTER* filter) {
    return filter->flags & (FILTER_F_MENU_RADIO | FILTER_F_RADIO_CHECKS);
}

static int32_t check_default(const FILTER* filter, int index) {
    return filter->check_defaults && index < filter->check_count ? filter->check_defaults[index] : 0;
}

// The first entry with a value of 1 or more, else the fallback, if that can be selected, else the first one that can
// be, else -1.
static int first_selection(const FILTER* filter, int fallback) {
    int possible = check_default(filter, fallback) >= 0 ? fallback : -1;
    for (int i = 0; i < filter->check_count; ++i) {
        if (check_default(filter, i) < 0) continue;
        if (filter->check_store[i] >= 1) return i;
        if (possible < 0) possible = i;
    }
    return possible;
}

static void set_selection(FILTER* filter, int selected) {
    for (int i = 0; i < filter->check_count; ++i) {
        const int32_t fixed = check_default(filter, i);
        filter->check_store[i] = fixed < 0 ? fixed : i == selected;
    }
    if (filter->flags & FILTER_F_MENU_RADIO) filter->track_store[0] = std::max(selected, 0);
}

int filter_selected(const FILTER* filter) { return filter->track_store[0]; }

void filter_check_update(FILTER* filter, int index) {
    if (index < 0 || index >= filter->check_count) return;
    if (is_one_of_several(filter)) {
        const bool clicked = check_default(filter, index) >= 0 && filter->check_store[index] != 0;
        set_selection(filter, clicked ? index : first_selection(filter, index));
    }
    show(filter);
}

void filter_select(FILTER* filter, int index) {
    if (index < 0 || index >= filter->check_count || check_default(filter, index) < 0) return;
    filter->check_store[index] = 1;
    filter_check_update(filter, index);
}

// ---- defaults

void filter_set_defaults(FILTER* filter) {
    if (filter->track_defaults) std::copy_n(filter->track_defaults, filter->track_count, filter->track_store);
    if (filter->check_defaults) std::copy_n(filter->check_defaults, filter->check_count, filter->check_store);
    if (is_one_of_several(filter)) set_selection(filter, first_selection(filter, 0));
    if ((filter->flags & FILTER_F_EXTRA_DATA) && filter->extra_defaults && filter->extra_data && filter->extra_size > 0)
        std::memcpy(filter->extra_data, filter->extra_defaults, size_t(filter->extra_size));
    show(filter);
}

int filter_reset(FILTER* filter) {
    filter_set_defaults(filter);
    return filter_notify_update(filter, 0);
}

// ---- the user's switch

void filter_set_active(FILTER* filter, bool on) {
    if (on == bool(filter->flags & FILTER_F_ACTIVE)) return;
    filter->flags ^= FILTER_F_ACTIVE;
    if (on)
        filter_cache_allocate(filter);
    else
        filter_cache_release(filter);
    filter_cache_clear_after(filter);
    show(filter);
    if (!filter_headless() && filter->func_WndProc && filter_window_hooks.post)
        filter_window_hooks.post(filter, FILTER_MSG_ACTIVE_CHANGED, 0);
}

int filter_all_off() {
    for (FILTER* const* at = filter_list(); *at; ++at) {
        if (!((*at)->flags & FILTER_F_ALWAYS_ON)) filter_set_active(*at, false);
    }
    return 1;
}
