#pragma once

#include "platform/window.h"

/// Menus: a menu bar, its popups, and context menus. Main thread. A chosen entry comes as WM_COMMAND to the window that
/// owns the menu, through the queue.

/// What a menu is made of, in order. Popups nest; an item's `keys` is shown beside it and does nothing by itself.
struct MENU_LINE {
    enum KIND { ITEM, SEPARATOR, POPUP, END } kind;
    int id;            // ITEM
    std::string text;  // ITEM, POPUP: '&' marks the key of the menu
    std::string keys;  // "Ctrl+O"
};
using MENU_TEMPLATE = std::vector<MENU_LINE>;

/// A menu or one of its popups. Popups belong to their menu; a menu given to menu_attach belongs to the window.
struct MENU;
MENU* menu_create(const MENU_TEMPLATE& lines);
void menu_destroy(MENU* menu);
/// The window's menu bar; the window takes the menu over, an earlier one is destroyed.
void menu_attach(WINDOW* window, MENU* menu);
/// Opens as a context menu at a place of the screen and returns when it has closed. WM_COMMAND goes to the window.
void menu_popup(WINDOW* window, MENU* menu, int x, int y);

/// The popup that holds an item directly, or null; the popup of a text (without '&') directly inside, or null.
MENU* menu_holding(MENU* menu, int id);
MENU* menu_named(MENU* menu, const std::string& text);

/// New entries, in front of item `before` (0: at the end of this popup). When `before` stands deeper inside, the entry
/// goes into the popup that holds it.
void menu_insert(MENU* menu, int before, int id, const std::string& text, const std::string& keys = "");
MENU* menu_insert_popup(MENU* menu, int before, const std::string& text);
void menu_insert_separator(MENU* menu, int before);
/// Removes an item wherever it stands below; and all entries of a popup.
void menu_remove(MENU* menu, int id);
void menu_clear(MENU* popup);

/// All of these look for the item wherever it stands below, and pass over an id that is not there.
bool menu_has(MENU* menu, int id);
void menu_set_text(MENU* menu, int id, const std::string& text);
void menu_set_keys(MENU* menu, int id, const std::string& keys);
void menu_check(MENU* menu, int id, bool on);
bool menu_checked(MENU* menu, int id);
void menu_enable(MENU* menu, int id, bool on);
bool menu_enabled(MENU* menu, int id);
/// The radio mark within ids first .. last moves to id; 0 takes it away.
void menu_radio(MENU* menu, int first, int last, int id);
/// A popup as a whole, with everything in it.
void menu_enable_popup(MENU* popup, bool on);
