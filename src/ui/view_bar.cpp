#include <algorithm>
#include <cstdlib>

#include "core/settings.h"
#include "platform/handle.h"
#include "platform/window_control.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "ui/view.h"

static constexpr int SLIDER_SPARE = 122, BUTTON_SIZE = 24, BUTTON_RISE = 28;

static constexpr struct {
    uint32_t VIEW_RECORD::*id;
    int command;
    const char* icon;
    int from_right;
    int name;
} BUTTON_TABLE[] = {
    {&VIEW_RECORD::button_back, 9001, "ICON_BACK", 119, STR_MENU_PREVIOUS_FRAME},
    {&VIEW_RECORD::button_forward, 9002, "ICON_FORWARD", 91, STR_MENU_NEXT_FRAME},
    {&VIEW_RECORD::button_in, 9003, "ICON_IN", 61, STR_MENU_SET_START},
    {&VIEW_RECORD::button_out, 9004, "ICON_OUT", 33, STR_MENU_SET_END},
};

static WINDOW* slider_of(const VIEW_RECORD* view) { return static_cast<WINDOW*>(handle_get(view->trackbar)); }

static WINDOW* make_control(WINDOW* window, CONTROL_KIND kind, int id, const char* text, int name) {
    CONTROL_LINE line{};
    line.kind = kind;
    line.id = id;
    line.text = text;
    line.unit = language_text_utf8(name);
    WINDOW* control = control_create(window, line, {0, 0, BUTTON_SIZE, BUTTON_SIZE});
    if (control) window_set_name(control, line.unit);
    return control;
}

void view_bar_create(VIEW_RECORD* view) {
    WINDOW* window = view_window(view);
    view->trackbar = handle_new(make_control(window, CONTROL_SLIDER, 0, "", STR_MENU_GO_TO));
    for (const auto& row : BUTTON_TABLE)
        view->*row.id = handle_new(make_control(window, CONTROL_ICON_BUTTON, row.command, row.icon, row.name));
    view_set_range(view, 0, 0);
}

void view_bar_layout(const VIEW_RECORD* view, int width, int height) {
    if (WINDOW* slider = slider_of(view))
        // Never narrower than high: the slider would stand upright.
        control_place(slider,
                      {0, height - VIEW_BAR_HEIGHT, std::max(width - SLIDER_SPARE, VIEW_BAR_HEIGHT), VIEW_BAR_HEIGHT});
    for (const auto& row : BUTTON_TABLE)
        if (auto* button = static_cast<WINDOW*>(handle_get(view->*row.id)))
            control_place(button, {width - row.from_right, height - BUTTON_RISE, BUTTON_SIZE, BUTTON_SIZE});
}

void view_enable(const VIEW_RECORD* view, bool on) {
    if (WINDOW* slider = slider_of(view)) window_enable(slider, on);
    for (const auto& row : BUTTON_TABLE)
        if (auto* button = static_cast<WINDOW*>(handle_get(view->*row.id))) window_enable(button, on);
}

void view_set_range(const VIEW_RECORD* view, int first, int n) {
    WINDOW* slider = slider_of(view);
    const int64_t page = std::min<int64_t>(std::abs(int64_t{system_settings.moveA}), INT32_MAX);
    slider_set_steps(slider, int(page), (n - first) / 2);
    control_set_range(slider, first, std::max(n - 1, first));
}

void view_set_frame(const VIEW_RECORD* view, int frame) {
    WINDOW* slider = slider_of(view);
    if (control_value(slider) != frame) control_set_value(slider, frame);
}

void view_set_selection(const VIEW_RECORD* view, int start, int end) {
    slider_set_selection(slider_of(view), start, end);
}
