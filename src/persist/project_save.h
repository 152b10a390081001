#pragma once

struct EDIT_STATE;

/// Writes the edit as a project file (persist/project_file.h), in one step: a file that was there stays whole until the
/// new one is on the disk. Sources that no frame uses are closed first, and the current profile's values go to its
/// file. name null: a dialog asks, and the answer becomes the edit's project_name. 1; 0 without an open edit, after
/// Cancel, or when the file cannot be written (told). Main thread.
int project_save(EDIT_STATE* edit, const char* name);
