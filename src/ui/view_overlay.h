#pragma once

#include <span>
#include <string>

#include "platform/overlay.h"

/// The overlay: pictures as YUY2 straight to the graphics card, which converts and scales them. Two windows of the
/// program may use it, each over its own picture. Main thread. A failure closes the window's share; the caller then
/// draws.

enum OVERLAY_OWNER { OVERLAY_PLAY = 0, OVERLAY_MAIN = 1 };

/// four_cc: the format of the pictures, "YUY2". False when there is none to be had.
bool overlay_open(WINDOW* window, uint32_t four_cc, OVERLAY_OWNER owner);
void overlay_close(WINDOW* window);
/// A picture (rows of yuy2_stride, top-down) and where it goes, from a part of it. False: closed.
bool overlay_show_frame(WINDOW* window, const RECT& dest, const RECT& source, const BITMAPINFOHEADER& header,
                        const uint8_t* pixels);
/// The same picture at another place.
bool overlay_move(WINDOW* window, const RECT& dest, const RECT& source);
void overlay_hide(WINDOW* window);
void overlay_marks(WINDOW* window, std::span<const OVERLAY_MARK> marks);
/// Format and size of what is shown, or that nothing is, for the user; code page 932.
std::string overlay_info();
