#pragma once

#include <cstdint>

struct EDIT_STATE;
struct PROJECT_HEAD;

/// Opens a project file (persist/project_file.h) in place of the current edit, which is closed first. path null, or
/// OPEN_ASK: a dialog asks. Afterwards the project is open as a whole, with all its sources, or no edit is open. A
/// source that cannot be opened is asked for (ui_hooks.relink). A profile comes as a temporary one of the edit, unless
/// key `projectonfig` keeps its own. With OPEN_APPEND, OPEN_SOUND or one of the inner flags the recent files stay, and
/// project_name is what the file says.
/// 1; 0 while saving, after Cancel, or when the file or a source cannot be read (told). Main thread.
int project_load(EDIT_STATE* edit, const char* path, uint32_t flags);
/// The same from a file that is open for reading and stays open; path is its name.
int project_load_open(EDIT_STATE* edit, int file, const char* path, uint32_t flags);

/// Reads the plain part of a project file, texts ended. False when it cannot be read or is no project (told).
bool project_peek(const char* path, PROJECT_HEAD* head);
/// Rewrites the plain part of a project file that is open for writing. False on a write error.
bool project_put_head(int file, const PROJECT_HEAD* head);
