#pragma once

struct SAVE;

/// Works out what a save writes: the save context, the formats, the flags. False when there is nothing to write, when
/// the user (asked about frames that cannot be copied) or the rule against writing over a source says no.
bool save_plan(SAVE* save);
