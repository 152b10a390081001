#pragma once

/// Opening one file, which may take long when it must be listed as a whole: then the window stays alive without its
/// menus, shows how far the listing is, and Esc stops it. Without a window nothing happens. Main thread.

/// Around one opening; nests.
void open_progress_begin();
void open_progress_end();
/// To be asked every few thousand steps, with how far the listing is (0 .. 1). True: it is to stop, and so is
/// everything else up to the end.
bool open_progress_stop(double part);
bool open_progress_stopped();
