#pragma once

/// A frame may take seconds: slow filters, or many pictures to decode from the last key frame. Nothing can be handled
/// in the middle of that, but the desktop must not take the window for dead, and what came out from under another
/// window is to be seen again. So whoever works long on the main thread calls ui_breathe between steps. It does
/// something (UI_HOOKS::breathe) at most every BREATH_MS; no message reaches a window.

inline constexpr int BREATH_MS = 30;

void ui_breathe();
/// The messages have just been looked at, so there is no hurry.
void ui_breath_taken();
/// Whether anybody is there who needs it.
bool ui_breath_needed();
