#pragma once

struct EDIT_STATE;

/// One level of undo. The saved entries live in the unused end of the frame table: entry k in row
/// frame_limit() - 1 - k, its former frame number in frame_field_metric of that row. So the record needs no memory of
/// its own, and holds at most frame_limit() - frame_n - 10 entries. Main thread.

/// Starts a new record with frames first .. first + n - 1 of the table. shift: what an undo of a cut adds to the
/// current frame and to both ends of the selection. When they do not all fit, there is nothing to undo.
void undo_save(const EDIT_STATE* edit, int first, int n, int shift);
void undo_clear();
bool undo_available();
/// Puts the saved frames back and uses the record up. Nothing without an open edit or a record.
void undo_run(EDIT_STATE* edit);
