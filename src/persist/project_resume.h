#pragma once

struct EDIT_STATE;

/// With key `editresume`, the edit of the last run comes back: it is kept as vantel.vtp in the program's folder. Nobody
/// is asked anything meanwhile, so a project whose sources are gone does not open. Main thread.

/// At the end of start-up: opens the file, when it exists, and renders the current frame.
void project_resume_load(EDIT_STATE* edit);
/// At the beginning of shut-down: stores the open edit; without one deletes the file.
void project_resume_save(EDIT_STATE* edit);
