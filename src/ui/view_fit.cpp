#include <algorithm>

#include "ui/view.h"

int view_zoom_scale(const VIEW_RECORD* view, int n) {
    return view->zoom >= VIEW_ZOOM_FULL ? (view->zoom - 1) * n : n / ((2 - view->zoom) * 2);
}

int view_zoom_unscale(const VIEW_RECORD* view, int n) {
    return view->zoom >= VIEW_ZOOM_FULL ? n / (view->zoom - 1) : (2 - view->zoom) * n * 2;
}

// ---- the picture in its area

struct PLACED {
    int at, shown, source;
};

// One direction. A cut picture shows a whole number of its pixels.
static PLACED place_scaled(const VIEW_RECORD* view, int area, int n) {
    const int shown = view_zoom_scale(view, n);
    if (shown <= area) return {(area - shown) / 2, shown, n};
    const int source = view_zoom_unscale(view, area);
    return {0, view_zoom_scale(view, source), source};
}

static void set_rect(VIEW_RECORD* view, const PLACED& x, const PLACED& y) {
    const int rect[6] = {x.at, y.at, x.shown, y.shown, x.source, y.source};
    std::copy(std::begin(rect), std::end(rect), view->draw_rect);
}

void view_place_picture(VIEW_RECORD* view, int area_width, int area_height, int width, int height) {
    area_width = std::max(area_width, 0);
    area_height = std::max(area_height, 0);
    if (view->zoom != VIEW_ZOOM_WINDOW) {
        set_rect(view, place_scaled(view, area_width, width), place_scaled(view, area_height, height));
    } else if (int64_t{area_height} * width >= int64_t{area_width} * height) {
        const int shown = int(int64_t{area_width} * height / width);
        set_rect(view, {0, area_width, width}, {(area_height - shown) / 2, shown, height});
    } else {
        const int shown = int(int64_t{area_height} * width / height);
        set_rect(view, {(area_width - shown) / 2, shown, width}, {0, area_height, height});
    }
}

bool view_to_picture(const VIEW_RECORD* view, POINT* point) {
    const int32_t* r = view->draw_rect;
    if (r[2] <= 0 || r[3] <= 0 || r[4] <= 0 || r[5] <= 0) return false;
    point->x = int(int64_t{point->x - r[0]} * r[4] / r[2]);
    point->y = int(int64_t{point->y - r[1]} * r[5] / r[3]);
    return true;
}

bool view_screen_to_picture(const VIEW_RECORD* view, POINT* point) {
    const WINDOW* window = view_window(view);
    if (!window) return false;
    *point = window_from_screen(window, *point);
    return view_to_picture(view, point);
}

// ---- the window round a picture

// What grew over the right or lower edge of the screen moves back as far as it can, so that its bar stays in reach.
static void pull_in(WINDOW* window, const RECT& frame, const RECT& desktop) {
    const int x = frame.left - desktop.left, y = frame.top - desktop.top;
    if (x < 0 || y < 0 || x >= desktop.width || y >= desktop.height) return;  // on another screen
    const int in_x = std::max(std::min(x, desktop.width - frame.width), 0);
    const int in_y = std::max(std::min(y, desktop.height - frame.height), 0);
    if (in_x != x || in_y != y) window_move(window, desktop.left + in_x, desktop.top + in_y);
}

void view_fit(const VIEW_RECORD* view, int width, int height, bool grow_only) {
    WINDOW* window = view_window(view);
    if (!window || view->zoom == VIEW_ZOOM_WINDOW || window_state(window) != WINDOW_NORMAL) return;
    const RECT client = window_client(window), frame = window_frame(window);
    const int strip = view->view_flag & VIEW_WAVE ? VIEW_STRIP_HEIGHT : 0;
    int w = view_zoom_scale(view, width), h = view_zoom_scale(view, height) + VIEW_BAR_HEIGHT + strip;
    if (grow_only && client.width >= w && client.height >= h) return;
    // A window larger than the screen would have its bar where nobody can reach it.
    const RECT desktop = screen_desktop();
    const int across = frame.width - client.width, down = frame.height - client.height;
    w = std::max(std::min(w, desktop.width - across), VIEW_MIN_WIDTH - across);
    h = std::max(std::min(h, desktop.height - down), VIEW_MIN_HEIGHT - down);
    if (grow_only) {  // the user's own size stays, also over several screens
        w = std::max(w, client.width);
        h = std::max(h, client.height);
    }
    if (w == client.width && h == client.height) return;
    window_resize_client(window, w, h);
    if (w > client.width || h > client.height) pull_in(window, {frame.left, frame.top, w + across, h + down}, desktop);
}

void view_keep_on_screen(WINDOW* window, int x, int y) {
    if (!screen_holds(window_frame(window))) window_move(window, x, y);
}
