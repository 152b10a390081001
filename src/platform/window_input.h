#pragma once

#include "platform/window.h"

/// Input as if it came from the desktop, and pictures of windows: for tests and documentation. Main thread.

/// A key pressed and released with modifiers (KEY_SHIFT, KEY_CONTROL, KEY_MENU in any order).
void input_key(WINDOW* window, int key, std::initializer_list<int> modifiers = {});
/// Only down or up.
void input_key_state(WINDOW* window, int key, bool down);
void input_text(WINDOW* control, const std::string& utf8);
enum INPUT_BUTTON { INPUT_LEFT = 1, INPUT_RIGHT = 2, INPUT_MIDDLE = 4 };
void input_press(WINDOW* window, POINT at, INPUT_BUTTON button, std::initializer_list<int> modifiers = {});
void input_release(WINDOW* window, POINT at, INPUT_BUTTON button);
void input_double(WINDOW* window, POINT at);
void input_move(WINDOW* window, POINT at);
void input_wheel(WINDOW* window, POINT at, int turn);
/// A row of a list dragged to the place of another one. Nothing happens where rows cannot be dragged.
void input_drag_row(WINDOW* list, int from, int to);
void input_drop(WINDOW* window, const std::vector<std::string>& paths, std::initializer_list<int> modifiers = {});

/// The window with its menu bar and controls as PNG. False when it cannot be written.
bool window_picture(WINDOW* window, const std::string& png_path);
