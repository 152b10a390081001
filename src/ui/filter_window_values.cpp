#include <algorithm>
#include <cstdlib>

#include "resources/string_ids.h"
#include "ui/filter_window_parts.h"
#include "ui/filter_window_tools.h"

// ---- tracks

int filter_window_typed(const FILTER* filter, int i, const std::string& text) {
    const int low = filter_low(filter, i), high = filter_high(filter, i);
    // More digits than these make no other value, as strtol stops at its own limits.
    const long value = text.empty() ? filter_default(filter, i) : std::strtol(text.substr(0, 32).c_str(), nullptr, 10);
    return int(std::max<long>(low, std::min<long>(value, high)));
}

static bool is_being_typed(const FILTER* filter, int i) {
    WINDOW* edit = filter_control(filter->track_edits[i]);
    return window_focused() == edit && filter_window_typed(filter, i, control_text(edit)) == filter->track_store[i];
}

void filter_window_blur_track(const FILTER* filter, int i) {
    control_set_text(filter_control(filter->track_edits[i]), std::to_string(filter->track_store[i]));
}

void filter_window_show_track(const FILTER* filter, int i) {
    control_set_value(filter_control(filter->track_bars[i]), filter->track_store[i]);
    if (!is_being_typed(filter, i)) filter_window_blur_track(filter, i);
}

// ---- checks and menus

static void show_menu_entries(FILTER* filter) {
    MENU* menu = static_cast<MENU*>(filter->menu);
    const int first = filter->track_store[1], last = filter->track_store[2];
    if (filter->flags & FILTER_F_MENU_RADIO) {
        menu_radio(menu, first, last, first + filter_selected(filter));
        return;
    }
    for (int i = 0; i < filter->check_count; ++i) menu_check(menu, first + i, filter->check_store[i] != 0);
}

static void show_controls(const FILTER* filter) {
    for (int i = 0; i < filter->track_count; ++i) filter_window_show_track(filter, i);
    for (int i = 0; i < filter->check_count; ++i) {
        if (!filter_is_push_button(filter, i))
            control_check(filter_control(filter->check_boxes[i]), filter->check_store[i] != 0);
    }
    if (filter->active_box) control_check(filter_control(filter->active_box), filter->flags & FILTER_F_ACTIVE);
    filter_window_enable(filter);
}

void filter_window_show_values(FILTER* filter) {
    if (!filter->menu) return;
    menu_check(filter_windows.menu, FILTER_COMMAND_ACTIVE + filter->menu_index, filter->flags & FILTER_F_ACTIVE);
    if (filter_is_menu(filter)) show_menu_entries(filter);
    if (filter->window) show_controls(filter);
}

// ---- enabled or not

/// Checks that mean something only while another one is on.
struct DEPENDENT_CHECK {
    int name;  // of the built-in record
    int check, needs;
};
static constexpr DEPENDENT_CHECK DEPENDENT_CHECKS[] = {{STR_INTER_ODD, 1, 0}, {STR_INTER_EVEN, 1, 0}};

static bool has_meaning(const FILTER* filter, int check) {
    return std::ranges::none_of(DEPENDENT_CHECKS, [&](const DEPENDENT_CHECK& row) {
        return row.check == check && filter == filter_built_in(row.name) && !filter->check_store[row.needs];
    });
}

static void enable(void* control, bool on) {
    if (control) window_enable(filter_control(control), on);
}

void filter_window_enable(const FILTER* filter) {
    const bool on = !filter_windows.disabled;
    enable(filter->active_box, on);
    for (int i = 0; i < filter->track_count; ++i) {
        for (void* control : {filter->track_names[i], filter->track_bars[i], filter->track_lefts[i],
                              filter->track_rights[i], filter->track_edits[i]})
            enable(control, on);
    }
    for (int i = 0; i < filter->check_count; ++i) enable(filter->check_boxes[i], on && has_meaning(filter, i));
    for (int id = FILTER_CONTROL_OWN; WINDOW* own = control_of(filter_window(filter), id); ++id) window_enable(own, on);
}

int filter_enable_windows(bool on) {
    filter_windows.disabled = !on;
    for (FILTER* const* at = filter_list(); *at; ++at) {
        if ((*at)->window) filter_window_enable(*at);
    }
    return 1;
}
