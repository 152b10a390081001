#pragma once

struct EDIT_STATE;

/// The key-frame list: a text file with one decimal frame number a line, as the display shows it (frame + startframe).
/// Both functions ask for a path when name (code page 932) is null and then keep its extension for the next time. They
/// give 1, or 0 when cancelled or when the file cannot be opened, made or written (told). Main thread.

/// Writes the frames with FRAME_KEY, lines ending in CR LF; an empty file when no edit is open. A file that is there is
/// written over. After a failed write the file is incomplete.
int key_list_export(const EDIT_STATE* edit, const char* name);

/// Gives FRAME_KEY to the frames of a list and takes it from all others. The digits at the start of a line count, a
/// line without any and numbers outside the edit are passed over. A file that cannot be read changes nothing.
int key_list_import(EDIT_STATE* edit, const char* name);
