#pragma once

#include "platform/window.h"
#include "vantel_formats.h"

/// A surface of the graphics card over a part of a window, which takes pictures as YUY2 and converts and scales them by
/// itself. It is a window of the desktop's own within the other one: it covers controls that lie under it, and never
/// gets input or the keyboard. Main thread. Every failure closes the surface; the caller goes on by drawing.

struct OVERLAY_SURFACE;
/// Null when there is no OpenGL that can do it.
OVERLAY_SURFACE* overlay_surface_open(WINDOW* window);
void overlay_surface_close(OVERLAY_SURFACE* surface);
/// A new picture: rows top down, `stride` bytes apart. It is copied and stays until the next one. What is put, placed
/// and marked in one turn of the message loop is shown together, at its end. False: the surface is lost.
bool overlay_surface_put(OVERLAY_SURFACE* surface, int width, int height, const uint8_t* yuy2, size_t stride);
/// Where the picture, or the part `source` of it, is shown in the window's client area.
bool overlay_surface_place(OVERLAY_SURFACE* surface, const RECT& dest, const RECT& source);
void overlay_surface_hide(OVERLAY_SURFACE* surface);
/// Boxes with icons above the picture, in the window's client area: sunken, 24 by 24.
struct OVERLAY_MARK {
    RECT rect;
    const char* icon;
};
void overlay_surface_marks(OVERLAY_SURFACE* surface, std::span<const OVERLAY_MARK> marks);
/// What the screen shows of the picture, for tests: rows of 32 bits (B, G, R, unused), top down, in the size of dest,
/// black where dest lies outside the client area. Empty while nothing is shown or the desktop does not tell (Wayland).
std::vector<uint8_t> overlay_surface_read(OVERLAY_SURFACE* surface, int* width, int* height);
