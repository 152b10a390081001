#pragma once

struct EDIT_STATE;

/// Fills save_name from the pattern of key `defaultsavefile`: with '*' in front always, else only when save_name is
/// empty. %p folder and %f bare name of the edit's file, %a bare name of the project, %c profile of the first selected
/// frame without its group, %t and %b first and last selected frame as shown, %w and %h output size, %e nothing; any
/// other character behind a '%' stands for itself. A name in the result gets the extension ".xxx", which the output's
/// own replaces. Returns 1, or 0 when the result has more than 259 bytes (told): save_name is then "". Needs an open
/// edit. Main thread.
int save_resolve_name(EDIT_STATE* edit);
