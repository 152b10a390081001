#pragma once

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <memory>

#include "platform/qt/qt_window.h"
#include "platform/window_menu.h"

/// A menu and its popups. Only inside this folder.
struct MENU {
    QMenu* menu = nullptr;    // the entries; those of a whole menu that is attached are shown by `bar`
    QMenuBar* bar = nullptr;  // of the whole
    WINDOW* owner = nullptr;  // of the whole: gets WM_COMMAND
    MENU* parent = nullptr;
    std::vector<std::unique_ptr<MENU>> popups;
};

MENU* menu_root(MENU* menu);
/// Opens the first popup of a window's menu bar that can be chosen, as F10 does.
void menu_bar_open(const WINDOW* window);
/// An item wherever it stands below, with the popup that holds it directly. Null when it is not there.
struct MENU_PLACE {
    MENU* menu = nullptr;
    QAction* action = nullptr;
};
MENU_PLACE menu_find(MENU* menu, int id);
