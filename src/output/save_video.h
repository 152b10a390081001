#pragma once

struct SAVE;

/// The video half of a save's frame loop. f: frame of the edit, index: its place in the selection. False with
/// save->error set when the loop ends.
bool save_put_video(SAVE* save, int f, int index);

/// Notes the result of a writer that refused; false, for the caller to return.
bool save_fail_write(SAVE* save, int result);

/// The log beside the output (EDIT_SAVE_LOG): which frames came out as nothing. Errors are silent.
void save_log_open(SAVE* save);
void save_log_close(SAVE* save);
