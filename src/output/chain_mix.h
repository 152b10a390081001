#pragma once

#include <cstdint>

struct CHAIN_DIALOG;
struct EDIT_STATE;
struct MIX_DIALOG;

/// Two file tools beside the edit: joining AVI files end to end, and putting the sound of one file to the pictures of
/// another. Nothing is decoded; stored frames and sound are copied into a new AVI file, sound in groups of the edit's
/// interleave ahead of their frames. The edit stays as it is, open or not. Main thread; a run pumps messages, and
/// EDIT_SAVING keeps everything else away meanwhile. Problems are told on the way. Paths are code page 932.

/// The commands: dialog, then run. 1 after a run, also one that was stopped or failed half-way; 0 when there was none.
int avi_chain(EDIT_STATE* edit);
int avi_mix(EDIT_STATE* edit);

/// The run behind the dialog. The same results.
///
/// Joining: the headers are those of the first file. A file whose compressor or picture size differs from it is asked
/// about once; other frame rates and sound formats are not. One file without sound leaves the output without.
int avi_chain_run(EDIT_STATE* edit, const CHAIN_DIALOG& dialog);
/// Mixing: all frames of the video file. Sound that is left behind the last group goes into that group.
int avi_mix_run(EDIT_STATE* edit, const MIX_DIALOG& dialog);

/// What the last run did.
struct CHAIN_MIX_REPORT {
    int frames;   // of the sources
    int written;  // in the file
    bool whole;   // everything is in the file
};
const CHAIN_MIX_REPORT& chain_mix_report();

/// The fields as the dialogs show them first: texts of an open edit, the folder or names of its last output, else of
/// its first file.
void chain_dialog_start(const EDIT_STATE* edit, CHAIN_DIALOG* dialog);
void mix_dialog_start(const EDIT_STATE* edit, MIX_DIALOG* dialog);

/// The buttons of the list. Adding beyond CHAIN_FILE_LIMIT files is told and refused: false.
bool chain_add(CHAIN_DIALOG* dialog, const char* path);
/// The file and every one that follows it by number ("part009.avi", "part010.avi", ...), as long as they exist.
bool chain_add_series(CHAIN_DIALOG* dialog, const char* path);
/// Takes a row out; an index out of range does nothing.
void chain_remove(CHAIN_DIALOG* dialog, int index);
/// Empties the list after a question. True when it is empty now.
bool chain_remove_all(CHAIN_DIALOG* dialog);
