#include <algorithm>
#include <cstring>

#include "core/edit_state.h"
#include "core/ui_hooks.h"
#include "filters/geometry.h"
#include "filters/resample.h"
#include "hosts/filter.h"
#include "hosts/filter_functions.h"
#include "hosts/filter_size_list.h"

// Entry 0 stands for no change, the last one for a typed size, those between for the size list.

/// The filter's extra_data: the size in use, from which the dialog starts.
struct SIZE_STORED {
    int32_t width, height;
};
static_assert(sizeof(SIZE_STORED) == 8);

static SIZE_STORED stored_get(const FILTER* filter) {
    SIZE_STORED stored;
    std::memcpy(&stored, filter->extra_data, sizeof stored);
    return stored;
}

static void stored_set(FILTER* filter, SIZE_STORED stored) { std::memcpy(filter->extra_data, &stored, sizeof stored); }

static SIZE_STORED limited(SIZE_STORED size) {
    return {std::clamp(size.width, GEOMETRY_SIZE_MIN, frame_geometry.max_width),
            std::clamp(size.height, GEOMETRY_SIZE_MIN, frame_geometry.max_height)};
}

static SIZE_STORED chosen_size(const FILTER* filter, int selected) {
    const auto sizes = size_list();
    const bool listed = selected > 0 && selected < filter->check_count - 1 && size_t(selected) <= sizes.size();
    if (!listed) return stored_get(filter);
    const SIZE_ITEM& item = sizes[size_t(selected) - 1];
    return {item.width, item.height};
}

int size_change_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    const int selected = filter_selected(filter);
    if (selected == 0) {
        stored_set(filter, {param->source_width, param->source_height});
        return 1;
    }
    SIZE_STORED size = limited(chosen_size(filter, selected));
    stored_set(filter, size);
    const bool same = size.width == param->width && size.height == param->height;
    if (same || !geometry_possible(param)) return 1;
    size.width = geometry_even(size.width);
    stored_set(filter, size);
    uint8_t *image = geometry_image(param), *scratch = geometry_scratch(param);
    if (frame_resize(image, size.width, size.height, 0, 0, param->width, param->height, scratch) == scratch)
        geometry_swap(param);
    param->width = size.width;
    param->height = size.height;
    return 1;
}

static bool asking;  // a click while the dialog is open asks no second time

static void ask(FILTER* filter) {
    if (asking || !ui_hooks.ask_size) return;
    const SIZE_STORED stored = stored_get(filter);
    SIZE_DIALOG dialog{stored.width, stored.height};
    asking = true;
    const bool answered = ui_hooks.ask_size(&dialog);
    asking = false;
    if (answered) stored_set(filter, limited({dialog.width, dialog.height}));
}

/// A clicked entry makes the window fit the new picture. Values that came from elsewhere do not: profiles may change
/// from frame to frame, and the window would follow each of them.
int size_change_update(FILTER* filter, int32_t status) {
    if (!(status & FILTER_UPDATE_CHECK)) return 1;
    if ((status & ~FILTER_UPDATE_CHECK) == filter->check_count - 1) ask(filter);
    if (edit_state) edit_state->edit_flag |= EDIT_RELAYOUT;
    return 1;
}
