#pragma once

struct EDIT_STATE;

/// Shows the box of an information command: 100 (version), 101, 103, 105, 107, 110 (lists of plug-ins), 104 (overlay)
/// or 1006 (the open file). Anything else does nothing. Main thread.
void information_show(const EDIT_STATE* edit, int command);
