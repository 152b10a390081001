#pragma once

struct EDIT_STATE;

/// Section `edit` of the settings file: what the program remembers from run to run. Main thread.
struct EDIT_SETTINGS {
    char audioext[260];  // extension of the last sound file
    char keyfrext[260];  // extension of the last key-frame list
    int priority;        // of the process, -2 .. 3
};
extern EDIT_SETTINGS edit_settings;

/// Reads the section: also the edit's file_name and project_name, and the history. Applies the priority.
void edit_settings_read(EDIT_STATE* edit);
void edit_settings_write(const EDIT_STATE* edit);
