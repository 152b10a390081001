#include <algorithm>

#include "core/settings.h"
#include "platform/ini.h"
#include "platform/text.h"
#include "ui/filter_window_parts.h"

static constexpr int DEFAULT_WIDTH = 314, LARGEST = 16384;
static constexpr int ROW_TRACK = 24, ROW_CHECK = 20;  // the room that a filter may count on
static constexpr int PLACE_WIDTH = 157, PLACE_HEIGHT = 24;

// ---- places and sizes

POINT filter_window_place(int k, int desktop_height) {
    const int rows = std::max(desktop_height / PLACE_HEIGHT, 1);
    return {k / rows * PLACE_WIDTH, k % rows * PLACE_HEIGHT};
}

int filter_window_size(uint32_t word, int base, int frame) {
    const int pixels = int(std::min<uint32_t>(word & 0x0FFFFFFF, LARGEST));
    const int outside = word & FILTER_SIZE_CLIENT ? 0 : frame;
    if (word & FILTER_SIZE_ADD) return std::max(base + pixels - outside, 1);
    return pixels == 0 ? base : std::max(pixels - outside, 1);
}

static int default_height(const FILTER* filter) {
    const int corner = filter->flags & FILTER_F_ALWAYS_ON ? 14 : 18;
    return filter->track_count * ROW_TRACK + filter->check_count * ROW_CHECK + corner;
}

// No number of the file is beyond any screen so far that sums with it would not fit.
static int stored(const FILTER* filter, const char* key, int def) {
    constexpr int FARTHEST = 1 << 20;
    return std::clamp(ini_read_int(settings_file(), filter_section(filter).c_str(), key, def), -FARTHEST, FARTHEST);
}

// ---- making

static uint32_t window_flags(const FILTER* filter) {
    uint32_t flags = 0;
    if (filter->flags & FILTER_F_SIZABLE) flags |= WINDOW_F_SIZABLE;
    if (filter->flags & FILTER_F_HSCROLL) flags |= WINDOW_F_HSCROLL;
    if (filter->flags & FILTER_F_VSCROLL) flags |= WINDOW_F_VSCROLL;
    return flags;
}

static WINDOW* create(const FILTER* filter, POINT place) {
    const std::string title = text_to_utf8(filter_section(filter));
    return window_create({.kind = WINDOW_TOOL,
                          .flags = window_flags(filter),
                          .title = title.c_str(),
                          .owner = filter_windows.main,
                          .proc = filter_window_proc,
                          .x = stored(filter, "x", place.x),
                          .y = stored(filter, "y", place.y),
                          .width = DEFAULT_WIDTH,
                          .height = default_height(filter)});
}

static uint32_t word_of(const FILTER* filter, int32_t own) {
    return filter->flags & FILTER_F_OWN_SIZE ? uint32_t(own) : uint32_t{FILTER_SIZE_CLIENT};
}

// Native controls may need more room than a filter counts on; what it adds comes on top of that.
static void set_size(FILTER* filter) {
    WINDOW* window = filter_window(filter);
    window_resize_client(window, DEFAULT_WIDTH, default_height(filter));
    const RECT base = window_client(window), frame = window_frame(window);
    int w = filter_window_size(word_of(filter, filter->pos_x), base.width, frame.width - base.width);
    int h = filter_window_size(word_of(filter, filter->pos_y), base.height, frame.height - base.height);
    if (filter->flags & FILTER_F_SIZABLE) {
        w = std::clamp(stored(filter, "w", w), 1, LARGEST);
        h = std::clamp(stored(filter, "h", h), 1, LARGEST);
    }
    window_resize_client(window, w, h);
}

static void note_place(FILTER* filter) {
    const RECT frame = window_frame(filter_window(filter));
    filter->pos_x = frame.left;
    filter->pos_y = frame.top;
}

static void show_first(FILTER* filter) {
    const bool shown = stored(filter, "disp", 0) != 0 && filter_window_filled(filter);
    filter->flags = shown ? filter->flags | FILTER_F_SHOWN : filter->flags & ~uint32_t{FILTER_F_SHOWN};
    menu_check(filter_windows.menu, FILTER_COMMAND_SHOW + filter->menu_index, shown);
    if (!shown) return;
    window_show(filter_window(filter), true);
    window_repaint(filter_window(filter));
}

void filter_window_make(FILTER* filter) {
    filter->main_window = filter_windows.main;
    filter_menu_make(filter);
    if (!filter_has_window(filter)) return;
    const POINT place = filter_window_place(++filter_windows.window_n, screen_desktop().height);
    WINDOW* window = create(filter, place);
    if (!window) return;
    filter->window = window;
    filter_window_controls(filter);
    set_size(filter);
    if (!screen_holds(window_frame(window))) window_move(window, place.x, place.y);
    note_place(filter);
    show_first(filter);
}

// ---- shut-down

void filter_window_store(FILTER* filter) {
    if (!filter->window) return;
    note_place(filter);
    const std::string section = filter_section(filter);
    const auto write = [&](const char* key, int value) { ini_write_int(settings_file(), section.c_str(), key, value); };
    ini_batch_begin(settings_file());
    write("x", filter->pos_x);
    write("y", filter->pos_y);
    write("disp", filter->flags & FILTER_F_SHOWN ? 1 : 0);
    if (filter->flags & FILTER_F_SIZABLE) {
        const RECT client = window_client(filter_window(filter));
        write("w", client.width);
        write("h", client.height);
    }
    ini_batch_end(settings_file());
}

void filter_window_forget(FILTER* filter) {
    if (!filter->window) return;
    WINDOW* window = filter_window(filter);
    filter->window = filter->active_box = nullptr;
    for (void** controls : {filter->track_names, filter->track_bars, filter->track_lefts, filter->track_rights,
                            filter->track_edits, filter->check_boxes})
        std::fill_n(controls, FILTER_TRACK_MAX, nullptr);
    window_destroy(window);
}

// ---- arranging

int filter_windows_arrange(WINDOW* main_window) {
    if (main_window) window_move(main_window, 0, 0);
    int k = 0;
    for (FILTER* const* at = filter_list(); *at; ++at) {
        if (!filter_has_window(*at)) continue;
        const POINT place = filter_window_place(++k, screen_desktop().height);
        if (!(*at)->window) continue;
        window_move(filter_window(*at), place.x, place.y);
        note_place(*at);
    }
    return 1;
}
