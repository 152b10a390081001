#include <algorithm>

#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "ui/filter_window_parts.h"

static constexpr int ID_NAME = 13200;  // + index: labels, which send nothing
static constexpr int NUMBER_CHARS = 5;

std::string filter_text(const char* text) { return text ? text_to_utf8(text) : std::string(); }

static int active_id(const FILTER* filter) { return FILTER_COMMAND_ACTIVE + filter->menu_index; }

// ---- lines

static CONTROL_LINE plain(CONTROL_KIND kind) { return {kind, 0, {}, {}}; }

// Sliders of all rows begin at the same column. Code page 932 has one byte a column.
static int label_columns(const FILTER* filter) {
    size_t columns = 0;
    for (int i = 0; i < filter->track_count; ++i)
        columns = std::max(columns, std::string_view(filter->track_labels[i] ? filter->track_labels[i] : "").size());
    return int(std::min<size_t>(columns, 40)) + 1;
}

static void add_track(std::vector<CONTROL_LINE>& lines, const FILTER* filter, int i, int columns) {
    lines.push_back(plain(CONTROL_ROW));
    lines.push_back({CONTROL_LABEL, ID_NAME + i, filter_text(filter->track_labels[i]), {}, 0, 0, columns});
    lines.push_back({CONTROL_SLIDER, FILTER_CONTROL_TRACK, {}, {}, filter_low(filter, i), filter_high(filter, i)});
    lines.push_back({CONTROL_ICON_BUTTON, FILTER_CONTROL_LESS, "ICON_LEFT", {}});
    lines.push_back({CONTROL_ICON_BUTTON, FILTER_CONTROL_MORE, "ICON_RIGHT", {}});
    lines.push_back({CONTROL_EDIT, FILTER_CONTROL_EDIT + i, {}, {}, 0, 0, NUMBER_CHARS});
    lines.push_back(plain(CONTROL_END));
}

static void add_check(std::vector<CONTROL_LINE>& lines, const FILTER* filter, int i) {
    const std::string text = filter_text(filter->check_labels[i]);
    if (filter_is_push_button(filter, i))
        lines.push_back({CONTROL_BUTTON, FILTER_CONTROL_BUTTON + i, text, {}});
    else
        lines.push_back({CONTROL_CHECK, FILTER_CONTROL_CHECK, text, {}});
}

static std::vector<CONTROL_LINE> lines_of(const FILTER* filter) {
    std::vector<CONTROL_LINE> lines;
    if (!(filter->flags & FILTER_F_ALWAYS_ON)) {
        lines.push_back(plain(CONTROL_ROW));
        lines.push_back(plain(CONTROL_SPACE));
        lines.push_back({CONTROL_CHECK, active_id(filter), {}, {}});
        lines.push_back(plain(CONTROL_END));
    }
    const int columns = label_columns(filter);
    for (int i = 0; i < filter->track_count; ++i) add_track(lines, filter, i, columns);
    for (int i = 0; i < filter->check_count; ++i) add_check(lines, filter, i);
    if (!lines.empty()) lines.push_back(plain(CONTROL_SPACE));
    return lines;
}

// ---- into the record

static void take_track(FILTER* filter, int i) {
    WINDOW* window = filter_window(filter);
    filter->track_names[i] = control_of(window, ID_NAME + i);
    filter->track_bars[i] = control_of(window, FILTER_CONTROL_TRACK, i);
    filter->track_lefts[i] = control_of(window, FILTER_CONTROL_LESS, i);
    filter->track_rights[i] = control_of(window, FILTER_CONTROL_MORE, i);
    filter->track_edits[i] = control_of(window, FILTER_CONTROL_EDIT + i);
    WINDOW *bar = filter_control(filter->track_bars[i]), *edit = filter_control(filter->track_edits[i]);
    const int low = filter_low(filter, i);
    slider_set_steps(bar, 1, int((int64_t{filter_high(filter, i)} - low) / 2));
    control_set_value(bar, low);
    control_set_text(edit, "0");
    const std::string name = filter_text(filter->track_labels[i]);
    for (void* control : {filter->track_bars[i], filter->track_edits[i]})
        window_set_name(filter_control(control), name);
    window_set_name(filter_control(filter->track_lefts[i]), name + " -");
    window_set_name(filter_control(filter->track_rights[i]), name + " +");
}

void filter_window_controls(FILTER* filter) {
    const std::vector<CONTROL_LINE> lines = lines_of(filter);
    if (lines.empty()) return;
    WINDOW* window = filter_window(filter);
    window_set_controls(window, lines);
    for (int i = 0; i < filter->track_count; ++i) take_track(filter, i);
    int check = 0;
    for (int i = 0; i < filter->check_count; ++i)
        filter->check_boxes[i] = filter_is_push_button(filter, i) ? control_of(window, FILTER_CONTROL_BUTTON + i)
                                                                  : control_of(window, FILTER_CONTROL_CHECK, check++);
    if (filter->flags & FILTER_F_ALWAYS_ON) return;
    filter->active_box = control_of(window, active_id(filter));
    window_set_name(filter_control(filter->active_box), language_text_utf8(STR_MENU_FILTER_TOGGLE));
}
