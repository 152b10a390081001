#pragma once

#include "core/settings.h"

/// What the settings dialog shows and what its OK does. The dialog works on a record of its own; nothing changes before
/// settings_store. Main thread, with no save running.

/// Puts the running values to work that take effect at once: vector forms, limits of YUY2, write unit, the rate list.
void settings_apply();
/// The worker threads that the running values ask for, in place of those that run.
void settings_start_workers();

/// The values to show: the running ones, but of those that wait for a restart the file's, so that an earlier change of
/// this run is shown and stays.
SYSTEM_SETTINGS settings_shown();

/// Brings all values within their bounds and writes those that have a control to the file. The ones that take effect at
/// once become the running values and are put to work: vector forms, limits of YUY2, write unit, worker threads, the
/// rate list. False when the file could not be written; the running values have changed nevertheless. What is left to
/// the caller is to draw again.
bool settings_store(const SYSTEM_SETTINGS& wanted);
