#pragma once

#include <cstdint>

struct EDIT_STATE;

/// The commands that edit the frame list, set what is kept for a frame, or move about, by the numbers that menus, keys
/// and buttons send. Main thread.

enum : int {
    EDIT_COMMAND_UNKNOWN = -1,  // no number of this table
    EDIT_COMMAND_REFUSED = 0,   // no file is open, or a save runs
    EDIT_COMMAND_DONE = 1,      // run, whether it found something to do or not
    EDIT_COMMAND_REDRAW = 2,    // the same, and the picture is to be rendered anew
};
/// Runs a command. parameter: the frame for EDIT_COMMAND_MOVE_TO, else not used. A command that finds nothing to work
/// with, or whose dialog is cancelled, changes nothing.
int edit_command_run(EDIT_STATE* edit, int id, int32_t parameter);
bool edit_command_known(int id);

/// The number of the command that goes to the frame of its parameter.
inline constexpr int EDIT_COMMAND_MOVE_TO = 5145;

/// Makes frame n (held to the table) the current one. With SHIFT down and key `shiftselect` the selection runs from
/// where that movement began to it. 1, or 0 without an open edit.
int move_to(EDIT_STATE* edit, int n);

/// Where a movement with CTRL held stops: the ends of the table and of the selection, marks, changes of profile or
/// compression, key frames of a source that do not follow one.
bool frame_is_stop(EDIT_STATE* edit, int frame);

/// Whether the picture of a frame (held to the table) is a key frame of its source. A source without pictures has
/// nothing else; a number outside the stored frames is none.
bool frame_is_source_key(EDIT_STATE* edit, int frame);
