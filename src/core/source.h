#pragma once

#include <cstdint>

struct EDIT_STATE;

/// The edit layer: which slot a file takes, what it does to `base`, and the frame entries it gets. Main thread.

/// open_file flags.
enum : uint32_t {
    OPEN_APPEND = 0x02,
    OPEN_SOUND = 0x10,  // sound only; implies OPEN_APPEND
    OPEN_INTO_SELECTION = 0x100,
    OPEN_PROJECT = 0x200,
    OPEN_ASK = 0x10000,             // show the file dialog even though a path is given
    OPEN_INNER = 0x10000000,        // called from inside another operation: no history entry
    OPEN_INNER_BATCH = 0x20000000,  // the same, for a job of the batch
};

/// Opens a file as a new edit, or appends it. path null: the file dialog asks. 1, or 0 after a message. A failed append
/// leaves the edit as it was; a failed new open leaves no edit.
int open_file(EDIT_STATE* edit, const char* path, uint32_t flags);

/// Why the last media_open failed: the number of a text.
int source_open_reason();
/// A picture size against the largest of the settings and the smallest that can be edited.
enum SOURCE_SIZE { SOURCE_SIZE_GOOD, SOURCE_SIZE_LARGE, SOURCE_SIZE_SMALL };
SOURCE_SIZE source_size_check(int width, int height);

/// What follows when sources came into the edit: caches and undo are emptied, the window is told. fresh: the edit is
/// another one than before.
void source_edit_opened(EDIT_STATE* edit, bool fresh);

/// Closes the edit. 1; 0 while saving.
int close_edit(EDIT_STATE* edit);

/// Closes the sources that no frame refers to.
void close_unused_sources(EDIT_STATE* edit);

/// Asks before the edit is discarded, when the settings want that. 1: the caller may go on.
int confirm_close(EDIT_STATE* edit);
