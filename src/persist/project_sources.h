#pragma once

struct EDIT_STATE;

/// Opens every slot that has a path, as its closed record says that it was opened when the project was stored: double
/// rate, numbered sequence, rate adjusted to the sound; without the video bit for its sound alone. A file that cannot
/// be opened, or has no picture (no sound) of an allowed size any more, is asked for, and the answer takes its place.
/// False when nobody answers: that slot and all later ones are then empty. Main thread.
bool project_sources_open(EDIT_STATE* edit);
