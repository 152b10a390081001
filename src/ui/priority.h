#pragma once

/// The priority of the process as the user chose it, -2 idle .. 3 real-time. Main thread.

/// Applies a level, or the highest below it that the machine allows, and returns what is in force.
int priority_apply(int level);
/// The same by the user: the choice is kept in the settings (edit_settings.priority).
int priority_choose(int level);
