#pragma once

#include "platform/window_menu.h"

struct EDIT_STATE;

/// The menu bar: its lists (recent files, profiles), marks, keys and what can be chosen. Main thread.

/// A new menu; it becomes the window's.
MENU* main_menu_create();
MENU* main_menu();
/// Its window is gone.
void main_menu_forget();
/// Shows the keys; everything that adds entries at start-up has done so.
void main_menu_started();

/// What can be chosen: with or without an open edit; busy: while a save or another long run holds the edit.
void main_menu_enable(bool open, bool busy);
/// Lists and marks follow the recent files, the profiles and the current frame. Cheap when nothing changed.
void main_menu_follow(const EDIT_STATE* edit);
void main_menu_mark_priority(int level);

/// The context menu of the picture, at a place of the screen.
void main_menu_context(WINDOW* window, const EDIT_STATE* edit, POINT screen);
