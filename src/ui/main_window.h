#pragma once

#include <string>
#include <vector>

#include "platform/window.h"

struct EDIT_STATE;

/// The main window: every input of the user ends here in a command, a command changes the edit, and nearly every path
/// ends in a redraw. Main thread, inside the message loop; long runs pump messages through ui_hooks.pump.

/// Fills the entries of ui_hooks by which start_up makes the window. Before start_up(true), with the window system
/// running.
void main_window_install();

/// Makes the window with its menu, shows it, and fills all of ui_hooks that needs it. Null when it cannot be made.
WINDOW* main_window_create(EDIT_STATE* edit);
WINDOW* main_window();
intptr_t main_window_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam);

/// Runs a command line once the message loop runs. The exit code of the loop tells whether all of it was done: 0, or 1.
void main_window_run_later(std::vector<std::string> tokens);
/// Runs it now (command 5180); false when the program is to end.
bool main_window_run_command_line(EDIT_STATE* edit);

/// The two steps of a redraw: the frame is rendered and shown, with title, menus and word to the filters. While a save
/// runs the last picture is shown again.
void main_redraw(EDIT_STATE* edit);
/// Stops the long run that waits inside ui_hooks.pump, like Esc.
inline constexpr int MAIN_COMMAND_STOP = 1009;
/// Whether a save or another long run holds the edit, so that commands have to wait.
bool main_busy();
