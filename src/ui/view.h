#pragma once

#include <cstdint>

#include "core/edit_state.h"
#include "platform/window.h"

/// The look of the main window: bar, sound strip, picture in seven zooms, marks. It works on VIEW_RECORD and on
/// whatever picture it is given. Positions are logical pixels of the client area. Main thread.
///
///     +---------------------------------+
///     |  picture area, the rest         |
///     +---------------------------------+
///     |  sound strip, 64, VIEW_WAVE     |
///     +---------------------------------+
///     |  bar, 32: slider and 4 buttons  |
///     +---------------------------------+

struct MENU;

inline constexpr int VIEW_BAR_HEIGHT = 32;
inline constexpr int VIEW_STRIP_HEIGHT = 64;
inline constexpr int VIEW_ZOOM_FULL = 2;                           // 100 percent
inline constexpr int VIEW_ZOOM_WINDOW = 6;                         // as large as fits
inline constexpr int VIEW_MIN_WIDTH = 480, VIEW_MIN_HEIGHT = 320;  // of the frame, in view_fit

// ---- window and settings (view.cpp, view_settings.cpp)

/// Reads the settings and makes the window, hidden, with its menu (taken over) and controls. Null when there is none.
WINDOW* view_create(VIEW_RECORD* view, WINDOW_PROC proc, MENU* menu);
/// Shows it, maximised when it was.
void view_show(VIEW_RECORD* view);
/// Writes the settings and closes the overlay.
void view_save(VIEW_RECORD* view);
/// Takes the ids of a window that is gone out of the record.
void view_forget(VIEW_RECORD* view);
WINDOW* view_window(const VIEW_RECORD* view);

/// Gets every message of the main window after the program's own handling: check marks, layout, overlay. True asks
/// for a redraw.
bool view_message(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam, VIEW_RECORD* view);
void view_set_flag(VIEW_RECORD* view, uint32_t flag, bool on);
/// Moves a window whose frame lies on no monitor to a place.
void view_keep_on_screen(WINDOW* window, int x, int y);

/// Section "window" of the settings. place: where the frame was and its size.
struct VIEW_PLACE {
    RECT frame;
    bool maximised;
};
VIEW_PLACE view_settings_read(VIEW_RECORD* view);
/// place null: the window is minimised or maximised, and place and zoom stay as they are stored.
void view_settings_write(const VIEW_RECORD* view, const RECT* place, bool maximised);

// ---- the bar (view_bar.cpp)

void view_bar_create(VIEW_RECORD* view);
void view_bar_layout(const VIEW_RECORD* view, int width, int height);
void view_enable(const VIEW_RECORD* view, bool on);
/// Frames first .. n - 1, the current one, and the selected ones (start > end: none).
void view_set_range(const VIEW_RECORD* view, int first, int n);
void view_set_frame(const VIEW_RECORD* view, int frame);
void view_set_selection(const VIEW_RECORD* view, int start, int end);

// ---- sizes and places (view_fit.cpp)

/// A length of the picture as it is shown at the zoom, truncated, and back. Not for VIEW_ZOOM_WINDOW.
int view_zoom_scale(const VIEW_RECORD* view, int n);
int view_zoom_unscale(const VIEW_RECORD* view, int n);
/// Where a picture goes in an area of the client's top left: fills view->draw_rect. What does not fit is cut off on
/// the right and below; only VIEW_ZOOM_WINDOW scales to fit.
void view_place_picture(VIEW_RECORD* view, int area_width, int area_height, int width, int height);
/// Adapts the window to a picture: exactly, or only larger. Where it grows over an edge of the screen it
/// moves back. A maximised window and VIEW_ZOOM_WINDOW stay.
void view_fit(const VIEW_RECORD* view, int width, int height, bool grow_only);
/// A point of the client area, or of the screen, to the pixel of the picture. False while nothing is shown.
bool view_to_picture(const VIEW_RECORD* view, POINT* point);
bool view_screen_to_picture(const VIEW_RECORD* view, POINT* point);

// ---- drawing, inside WM_PAINT (view_paint.cpp, view_marks.cpp)

/// The picture of a header (RGB of 24 bits, bottom-up; with the overlay on YUY2, top-down) with strip and marks. pixels
/// null: nothing is open. wave: the frame's samples, wave_n 16-bit values.
void view_paint(VIEW_RECORD* view, const BITMAPINFOHEADER& header, const uint8_t* pixels, const int16_t* wave,
                int wave_n);
void view_paint_strip(WINDOW* window, int top, int width, const int16_t* wave, int wave_n);
void view_paint_marks(const VIEW_RECORD* view);

// ---- overlay (view_overlay.cpp)

/// Turns it on or off; on failure it stays off. VIEW_OVERLAY, display_code and the menu's mark follow.
void view_overlay_turn(VIEW_RECORD* view, bool on);
/// The marks of the menu follow the flags and the zoom.
void view_mark_menu(const VIEW_RECORD* view);
