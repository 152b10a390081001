#pragma once

struct EDIT_STATE;

/// The one fixed order of start-up and shut-down. Main thread, once per process.

/// window_mode: the program itself, whose settings, profiles and history are kept; false: the engine as a reader
/// module, which writes nothing and reaches nobody. The main window is made on the way when ui_hooks.window_make is
/// set. Returns the edit state, null when it exists already, memory is short or there is no window to be had.
EDIT_STATE* start_up(bool window_mode);
void shut_down();

/// Whether start_up ran in window mode.
bool start_up_window_mode();
