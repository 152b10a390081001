#pragma once

/// The recently opened files: `loadhistory` paths, newest first, kept in section `edit` of the settings. Main thread.
inline constexpr int HISTORY_MAX = 10;

void history_read();
void history_write();
/// Puts a path at the top; an entry that is there already moves up.
void history_add(const char* path);
void history_clear();
/// Entry i, "" when there is none.
const char* history_entry(int i);
