#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>
#include <vector>

#include "audio/level.h"
#include "pixels/dib_zoom.h"
#include "pixels/frame_buffer.h"
#include "pixels/wave_column.h"
#include "platform/window_draw.h"
#include "ui/view.h"
#include "ui/view_overlay.h"

static BITMAPINFOHEADER rgb_header(int width, int height) {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    return header;
}

static void fill(WINDOW* window, const RECT& rect) {
    if (rect.width > 0 && rect.height > 0) draw_fill(window, rect, theme_colour(COLOUR_FACE));
}

// ---- the sound strip

static constexpr int STRIP_WIDTH = 2048, STRIP_ROWS = VIEW_STRIP_HEIGHT - 1;  // the 64th row of the DIB is not shown
static constexpr int LEVEL_UNIT = 1024;

void view_paint_strip(WINDOW* window, int top, int width, const int16_t* wave, int wave_n) {
    static std::vector<uint8_t> strip(size_t(dib24_stride(STRIP_WIDTH)) * VIEW_STRIP_HEIGHT);
    static std::array<int, STRIP_WIDTH> drawn;  // level + 1, negative without sound; 0: nothing yet
    const int columns = std::clamp(width, 0, STRIP_WIDTH);
    const bool sound = wave && wave_n > 0;
    for (int x = 0; x < columns; ++x) {
        int level = 0;
        if (sound) {
            const int64_t first = int64_t{x} * wave_n / columns, last = int64_t{x + 1} * wave_n / columns;
            level = audio_peak(wave + first, size_t(std::max<int64_t>(last - first, 1))) / LEVEL_UNIT;
        }
        const int shown = sound ? level + 1 : -1;
        if (std::exchange(drawn[size_t(x)], shown) == shown) continue;
        wave_column(strip.data() + size_t(x) * 3, STRIP_WIDTH, VIEW_STRIP_HEIGHT, level,
                    sound ? WAVE_COLUMN_SOUND : WAVE_COLUMN_BLANK, WAVE_COLUMN_BLANK);
    }
    fill(window, {0, top, width, 1});
    fill(window, {columns, top + 1, width - columns, STRIP_ROWS});
    draw_picture(window, {0, top + 1, columns, STRIP_ROWS}, rgb_header(STRIP_WIDTH, VIEW_STRIP_HEIGHT), strip.data(),
                 {0, 1, columns, STRIP_ROWS}, false);
}

// ---- the picture

struct PICTURE {
    WINDOW* window;
    const BITMAPINFOHEADER& header;
    const uint8_t* pixels;
    RECT dest, source;
};

static uint8_t* scaled_buffer(int width, int height) {
    static std::vector<uint8_t> buffer;
    const size_t size = size_t(dib24_stride(width)) * size_t(height);
    if (buffer.size() < size) buffer.resize(size);
    return buffer.data();
}

// Rows of the DIB count from below.
static int memory_row(const PICTURE& p, int top, int rows) { return std::abs(p.header.biHeight) - top - rows; }

static void draw_scaled(const PICTURE& p, int x, int y, int width, int height, const uint8_t* scaled) {
    draw_picture(p.window, {p.dest.left + x, p.dest.top + y, width, height}, rgb_header(width, height), scaled,
                 {0, 0, width, height}, false);
}

static void draw_reduced(const PICTURE& p, int step) {
    const int width = p.source.width / step, height = p.source.height / step;
    if (width < 1 || height < 1) return;
    uint8_t* scaled = scaled_buffer(width, height);
    dib_zoom_down(scaled, p.pixels, 0, memory_row(p, 0, p.source.height), p.source.width, p.source.height,
                  p.header.biWidth, step);
    draw_scaled(p, 0, 0, width, height, scaled);
}

// In tiles, none larger than the largest picture.
static void draw_enlarged(const PICTURE& p, int factor) {
    const int tile_width = frame_geometry.max_width / factor, tile_height = frame_geometry.max_height / factor;
    for (int y = 0; y < p.source.height; y += tile_height) {
        const int h = std::min(tile_height, p.source.height - y);
        for (int x = 0; x < p.source.width; x += tile_width) {
            const int w = std::min(tile_width, p.source.width - x);
            uint8_t* scaled = scaled_buffer(w * factor, h * factor);
            dib_zoom_up(scaled, p.pixels, x, memory_row(p, y, h), w, h, p.header.biWidth, factor);
            draw_scaled(p, x * factor, y * factor, w * factor, h * factor, scaled);
        }
    }
}

static void draw(const PICTURE& p, int zoom) {
    switch (zoom) {
        case 0: draw_reduced(p, 4); break;
        case 1: draw_reduced(p, 2); break;
        case 2: draw_picture(p.window, p.dest, p.header, p.pixels, p.source, false); break;
        case VIEW_ZOOM_WINDOW: draw_picture(p.window, p.dest, p.header, p.pixels, p.source, true); break;
        default: draw_enlarged(p, zoom - 1); break;
    }
}

static void fill_margins(WINDOW* window, int width, int height, const RECT& shown) {
    const int right = shown.left + shown.width, bottom = shown.top + shown.height;
    fill(window, {0, 0, width, shown.top});
    fill(window, {0, bottom, width, height - bottom});
    fill(window, {0, shown.top, shown.left, shown.height});
    fill(window, {right, shown.top, width - right, shown.height});
}

static void paint_nothing(VIEW_RECORD* view, WINDOW* window, int width, int height) {
    fill(window, {0, 0, width, height});
    if (view->view_flag & VIEW_OVERLAY) overlay_hide(window);
    view->draw_rect[4] = view->draw_rect[5] = 0;
}

static bool show_in_overlay(VIEW_RECORD* view, const PICTURE& p) {
    if (overlay_show_frame(p.window, p.dest, p.source, p.header, p.pixels)) return true;
    view_overlay_turn(view, false);
    window_invalidate(p.window);  // to be drawn, from another format
    return false;
}

void view_paint(VIEW_RECORD* view, const BITMAPINFOHEADER& header, const uint8_t* pixels, const int16_t* wave,
                int wave_n) {
    WINDOW* window = view_window(view);
    const RECT client = window_client(window);
    int height = client.height - VIEW_BAR_HEIGHT;
    fill(window, {0, height, client.width, VIEW_BAR_HEIGHT});
    if (!pixels || header.biWidth < 1 || header.biHeight == 0) {
        paint_nothing(view, window, client.width, height);
        return;
    }
    if (view->view_flag & VIEW_WAVE) {
        height -= VIEW_STRIP_HEIGHT;
        view_paint_strip(window, height, client.width, wave, wave_n);
    }
    view_place_picture(view, client.width, height, header.biWidth, std::abs(header.biHeight));
    const int32_t* r = view->draw_rect;
    const PICTURE picture = {window, header, pixels, {r[0], r[1], r[2], r[3]}, {0, 0, r[4], r[5]}};
    fill_margins(window, client.width, height, picture.dest);
    if (!(view->view_flag & VIEW_OVERLAY))
        draw(picture, view->zoom);
    else if (!show_in_overlay(view, picture))
        return;
    view_paint_marks(view);
}
