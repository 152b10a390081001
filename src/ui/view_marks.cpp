#include <span>

#include "platform/window_draw.h"
#include "ui/view.h"
#include "ui/view_overlay.h"

static constexpr int MARK_SIZE = 24, MARK_INSET = 6;

static int list_marks(const VIEW_RECORD* view, OVERLAY_MARK marks[3]) {
    const int left = view->draw_rect[0] + MARK_INSET, top = view->draw_rect[1] + MARK_INSET;
    const int right = view->draw_rect[0] + view->draw_rect[2] - MARK_INSET - MARK_SIZE;
    const bool in = view->view_flag & VIEW_AT_START;
    int n = 0;
    if (in) marks[n++] = {{left, top, MARK_SIZE, MARK_SIZE}, "ICON_IN"};
    if ((view->view_flag & VIEW_SHOW_DROPS) && (view->view_flag & VIEW_IS_DROP))
        marks[n++] = {{left + (in ? MARK_SIZE : 0), top, MARK_SIZE, MARK_SIZE}, "ICON_DEL"};
    if (view->view_flag & VIEW_AT_END) marks[n++] = {{right, top, MARK_SIZE, MARK_SIZE}, "ICON_OUT"};
    return n;
}

void view_paint_marks(const VIEW_RECORD* view) {
    WINDOW* window = view_window(view);
    OVERLAY_MARK marks[3];
    const int n = list_marks(view, marks);
    if (view->view_flag & VIEW_OVERLAY) {
        overlay_marks(window, {marks, size_t(n)});
        return;
    }
    for (const OVERLAY_MARK& mark : std::span(marks, size_t(n))) {
        draw_fill(window, mark.rect, theme_colour(COLOUR_FACE));
        draw_edge(window, mark.rect, true);
        draw_icon(window, mark.rect, mark.icon);
    }
}
