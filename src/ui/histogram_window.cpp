#include "core/settings.h"
#include "filters/histogram.h"
#include "hosts/filter.h"
#include "platform/ini.h"
#include "platform/window_draw.h"
#include "resources/templates.h"
#include "ui/filter_window_tools.h"

static constexpr int ID_RGB = 100, ID_YCBCR = 101;

static MENU* menu;  // the window's

static void show_mode() { menu_radio(menu, ID_RGB, ID_YCBCR, ID_RGB + histogram_view.mode); }

static void make(WINDOW* window, const FILTER* filter) {
    const int mode = ini_read_int(settings_file(), filter_section(filter).c_str(), "mode", HISTOGRAM_RGB);
    histogram_view = {.mode = mode == HISTOGRAM_YCBCR ? HISTOGRAM_YCBCR : HISTOGRAM_RGB, .heights = {}};
    menu = menu_create(language_menu("HIST"));
    menu_attach(window, menu);
    window_resize_client(window, HISTOGRAM_LEVELS, HISTOGRAM_WINDOW_HEIGHT);
    show_mode();
    window_invalidate(window);
}

static void paint(WINDOW* window) {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = HISTOGRAM_LEVELS;
    header.biHeight = HISTOGRAM_HEIGHT;
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biSizeImage = HISTOGRAM_PANEL_BYTES;
    for (int i = 0; i < HISTOGRAM_PANELS; ++i) {
        uint8_t dib[HISTOGRAM_PANEL_BYTES];
        histogram_draw(dib, histogram_view.heights.level[i], histogram_view.mode, i);
        draw_picture(window, {0, i * HISTOGRAM_PANEL_STEP, HISTOGRAM_LEVELS, HISTOGRAM_HEIGHT}, header, dib,
                     {0, 0, HISTOGRAM_LEVELS, HISTOGRAM_HEIGHT}, false);
    }
}

// The counts are those of the other mode until the next frame is counted, so they go.
static int choose(WINDOW* window, int id) {
    if (id != ID_RGB && id != ID_YCBCR) return 0;
    histogram_view = {.mode = HISTOGRAM_MODE(id - ID_RGB), .heights = {}};
    show_mode();
    window_invalidate(window);
    return 1;
}

int histogram_window_proc(void* handle, uint32_t message, uintptr_t wparam, intptr_t, EDIT_STATE*, FILTER* filter) {
    WINDOW* window = static_cast<WINDOW*>(handle);
    switch (message) {
        case FILTER_MSG_STARTED: make(window, filter); return 0;
        case WM_PAINT: paint(window); return 0;
        case WM_COMMAND: return choose(window, command_id(wparam));
        case FILTER_MSG_FILE_CLOSING:
            histogram_view.heights = {};
            window_invalidate(window);
            return 0;
        case FILTER_MSG_STOPPING:
            ini_write_int(settings_file(), filter_section(filter).c_str(), "mode", histogram_view.mode);
            return 0;
        case FILTER_MSG_WINDOW_CHANGED: return bool(filter->flags & FILTER_F_SHOWN);
        default: return 0;
    }
}
