#pragma once

#include <cstdint>

struct EDIT_STATE;

/// The two clipboards: one frame's picture inside the program, and the system's through UI_HOOKS. Main thread.

/// Empties the frame clipboard: what it names belongs to an edit that is gone.
void frame_clipboard_clear();
bool frame_clipboard_filled();

/// Puts a 24-bit picture (bottom-up rows of dib24_stride) on the system's clipboard. 1; 0 without one.
int clip_put_picture(const uint8_t* rows, int width, int height);
/// Pastes the picture of the system's clipboard onto the current frame, when it has 24 bits and exactly the edit's
/// size; otherwise nothing happens. 1; 0 when all 255 places for such pictures are taken.
int clip_take_picture(EDIT_STATE* edit);
