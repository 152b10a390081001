#pragma once

struct EDIT_STATE;

/// The functions behind the rows of the command table, by subject. Inside the edit commands only. `value` is what the
/// row says, plus the place of the command's number in the row. The edit is open where the row asks for that.

/// Frames first .. first + n - 1 of the table; n is 0 for a selection that lies outside or is turned round.
struct FRAME_RANGE {
    int first, n;
};
FRAME_RANGE command_selection(const EDIT_STATE* edit);
void command_select_all(EDIT_STATE* edit);
/// Tells the window that frames, selection or current frame changed.
void command_changed();
/// The same after frame numbers have come to mean other pictures: filters forget what they keep by number.
void command_pictures_changed();

// edit_commands_select.cpp
void command_set_start(EDIT_STATE* edit, int value);
void command_set_end(EDIT_STATE* edit, int value);
void command_go_start(EDIT_STATE* edit, int value);
void command_go_end(EDIT_STATE* edit, int value);
void command_select_everything(EDIT_STATE* edit, int value);
void command_select_range(EDIT_STATE* edit, int value);
void command_cut_out(EDIT_STATE* edit, int value);
void command_delete(EDIT_STATE* edit, int value);

// edit_commands_clip.cpp
void command_copy_entry(EDIT_STATE* edit, int value);
void command_paste_frame(EDIT_STATE* edit, int value);
void command_paste_selection(EDIT_STATE* edit, int value);
void command_copy_source(EDIT_STATE* edit, int value);
void command_copy_output(EDIT_STATE* edit, int value);
void command_paste_picture(EDIT_STATE* edit, int value);
void command_copy_number(EDIT_STATE* edit, int value);

// edit_commands_frame.cpp: value is the flag, the interlace mode or the profile index
void command_toggle_flag(EDIT_STATE* edit, int value);
void command_set_inter(EDIT_STATE* edit, int value);
void command_set_profile(EDIT_STATE* edit, int value);
void command_choose_inter(EDIT_STATE* edit, int value);
void command_new_profile(EDIT_STATE* edit, int value);
void command_new_compression(EDIT_STATE* edit, int value);
void command_video_setting(EDIT_STATE* edit, int value);
void command_audio_setting(EDIT_STATE* edit, int value);

// edit_commands_rate.cpp
void command_play_rate(EDIT_STATE* edit, int value);

// edit_commands_move.cpp: value is the direction, 1 or -1, unless told
void command_step(EDIT_STATE* edit, int value);
void command_go_first(EDIT_STATE* edit, int value);
void command_go_last(EDIT_STATE* edit, int value);
void command_go_dialog(EDIT_STATE* edit, int value);
void command_go_frame(EDIT_STATE* edit, int value);  // the frame
void command_next_saved(EDIT_STATE* edit, int value);
void command_next_key(EDIT_STATE* edit, int value);
void command_next_mark(EDIT_STATE* edit, int value);
void command_next_setting(EDIT_STATE* edit, int value);
void command_next_break(EDIT_STATE* edit, int value);
void command_jump(EDIT_STATE* edit, int value);  // 0 .. 7: forward and back by moveA, moveB, moveC, moveD

// edit_commands_undo.cpp
void command_undo(EDIT_STATE* edit, int value);
