#pragma once

struct SAVE;

/// Makes the save context: the edit's formats, the output size, the lasting settings as the working ones.
void save_plan_begin(SAVE* save);

/// Works out what a save writes, from the working and lasting settings: the formats, the flags. False when there is
/// nothing to write, when the user (asked about frames that cannot be copied) or the rule against writing over a source
/// says no.
bool save_plan(SAVE* save);
