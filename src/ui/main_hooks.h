#pragma once

struct EDIT_STATE;
struct WINDOW;

/// The entries of ui_hooks that are about the main window itself: title, bar, menus, painting, and the message pump of
/// long runs. Inside the main window only.

void main_hooks_install(WINDOW* window);
/// Everything is loaded: menus and bar take the state that fits.
void main_hooks_started();
/// Whether a run other than a save holds the edit.
bool main_hooks_busy();
/// The user wants a run to stop. False when no pump is there to hear it.
bool main_hooks_stop();
/// Whether shown_pixels is what the window shows, converted a moment ago.
bool main_hooks_pixels_ready(const EDIT_STATE* edit);
