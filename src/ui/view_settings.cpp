#include <algorithm>

#include "core/settings.h"
#include "platform/ini.h"
#include "ui/view.h"

static constexpr char SECTION[] = "window";
static constexpr int DEFAULT_WIDTH = 640, DEFAULT_HEIGHT = 480, LARGEST = 16384, FARTHEST = 1 << 20;

static constexpr struct {
    const char* key;
    uint32_t flag;
    bool on;
} FLAG_TABLE[] = {
    {"audio", VIEW_WAVE, true},
    {"preview", VIEW_SAVE_PREVIEW, false},
    {"deleteframe", VIEW_SHOW_DROPS, false},
    {"avikeyframe", VIEW_MARK_KEYS, false},
    {"recompressframe", VIEW_MARK_RECOMPRESS, false},
    {"overlay", VIEW_OVERLAY, false},
    {"alwaystop", VIEW_ON_TOP, false},
    {"time", VIEW_SHOW_TIME, false},
    {"nofilter", VIEW_FILTER_ON_SAVE, false},
    {"datarate", VIEW_DATA_RATE, false},
};

static int read(const char* key, int def) { return ini_read_int(settings_file(), SECTION, key, def); }
static void write(const char* key, int value) { ini_write_int(settings_file(), SECTION, key, value); }

static int read_size(const char* key, int def) {
    const int value = read(key, def);
    return value < 0 || value > LARGEST ? def : value;
}
// A place far beyond all screens, at which sums still fit: the window is then put back on one.
static int read_place(const char* key) { return std::clamp(read(key, 0), -FARTHEST, FARTHEST); }

VIEW_PLACE view_settings_read(VIEW_RECORD* view) {
    VIEW_PLACE place{};
    place.frame = {read_place("x"), read_place("y"), read_size("w", DEFAULT_WIDTH), read_size("h", DEFAULT_HEIGHT)};
    place.maximised = read("maximize", 0) != 0;
    const int zoom = read("zoom", VIEW_ZOOM_FULL);
    view->zoom = zoom < 0 || zoom > VIEW_ZOOM_WINDOW ? VIEW_ZOOM_WINDOW : zoom;
    for (const auto& row : FLAG_TABLE) view_set_flag(view, row.flag, read(row.key, row.on) != 0);
    return place;
}

void view_settings_write(const VIEW_RECORD* view, const RECT* place, bool maximised) {
    ini_batch_begin(settings_file());
    if (place) {
        write("x", place->left);
        write("y", place->top);
        write("w", place->width);
        write("h", place->height);
        write("zoom", view->zoom);
    }
    for (const auto& row : FLAG_TABLE) write(row.key, (view->view_flag & row.flag) != 0);
    write("maximize", maximised);
    ini_batch_end(settings_file());
}
