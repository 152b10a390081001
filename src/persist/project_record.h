#pragma once

#include <cstdint>

struct EDIT_STATE;

/// The record of an edit on its way into a file and out of it. Main thread.

/// Takes out of a copy of the record what means something in this process only: ids of live objects and "open" marks of
/// codecs. A clip that is there gets 1 in place of its id. So an edit is stored as the same bytes whoever stores it.
void project_record_strip(EDIT_STATE* record);

/// Makes a record that came from a file safe: texts ended, sizes within their blocks, numbers within their ranges,
/// nothing open or shown, slots without a path empty, all clips 0. edit_flag keeps EDIT_OPEN (set in any case), the
/// options of the save dialog and the result marks of a batch job. Picture sizes of the edit are left alone.
void project_record_clean(EDIT_STATE* record);

/// Gives a cleaned record its n frames (at least 1): current frame and selection are held to them, and the entries of
/// the frame table to what the record has. A reference to a slot that is not in use becomes the lowest one of the first
/// slot in use: its first picture, and silence. False when no slot is in use.
bool project_frames_clean(EDIT_STATE* record, int n);
