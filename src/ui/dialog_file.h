#pragma once

#include "platform/path.h"
#include "platform/window_box.h"

/// File dialogs by the program's rules. Texts are code page 932. Main thread.

/// A box for one file. filter: pairs as in FILE_DIALOG, null or "" for all files; the pair that knows the extension of
/// the start name is chosen, the first extension of the first pair is the one added to a bare name. start: a path or a
/// folder, null or "" for the last path used. Saving asks before overwriting, unless key `overwritecheck` says not to.
FILE_BOX dialog_file_box(const char* title, const char* filter, const char* start, bool save);
/// Shows the box and stores the chosen path, which becomes the last one used. False: cancelled, or told to be too long.
bool dialog_file_choose(const FILE_BOX& box, char path[PATH_SIZE]);
