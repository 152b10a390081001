#include <QActionGroup>

#include "platform/qt/qt_menu.h"

namespace {

/// What the program set stands in a property, since Qt toggles an entry that the user chooses.
void action_mark(QAction* action, bool on) {
    if (action->isCheckable() && action->isChecked() == on && action->property("mark").toBool() == on) return;
    action->setCheckable(true);
    action->setProperty("mark", on);
    action->setChecked(on);
}

void actions_between(MENU* menu, int first, int last, std::vector<QAction*>* found) {
    for (QAction* action : menu->menu->actions()) {
        const int id = action->data().toInt();
        if (!action->menu() && !action->isSeparator() && id >= first && id <= last) found->push_back(action);
    }
    for (const auto& popup : menu->popups) actions_between(popup.get(), first, last, found);
}

/// Only an entry of a group is drawn with the round mark.
void actions_group(const std::vector<QAction*>& actions) {
    QActionGroup* group = nullptr;
    for (const QAction* action : actions)
        if (action->actionGroup()) group = action->actionGroup();
    if (!group) {
        group = new QActionGroup(actions.front()->parent());
        group->setExclusionPolicy(QActionGroup::ExclusionPolicy::ExclusiveOptional);
    }
    for (QAction* action : actions)
        if (action->actionGroup() != group) group->addAction(action);
}

}  // namespace

bool menu_has(MENU* menu, int id) { return menu_find(menu, id).action != nullptr; }

void menu_check(MENU* menu, int id, bool on) {
    if (QAction* action = menu_find(menu, id).action) action_mark(action, on);
}
bool menu_checked(MENU* menu, int id) {
    const QAction* action = menu_find(menu, id).action;
    return action && action->isChecked();
}

void menu_enable(MENU* menu, int id, bool on) {
    if (QAction* action = menu_find(menu, id).action) action->setEnabled(on);
}
bool menu_enabled(MENU* menu, int id) {
    const MENU_PLACE found = menu_find(menu, id);
    if (!found.action || !found.action->isEnabled()) return false;
    for (const MENU* popup = found.menu; popup; popup = popup->parent)
        if (!popup->menu->menuAction()->isEnabled()) return false;
    return true;
}

void menu_radio(MENU* menu, int first, int last, int id) {
    if (!menu) return;
    std::vector<QAction*> actions;
    actions_between(menu, first, last, &actions);
    if (actions.empty()) return;
    for (QAction* action : actions)
        if (action->data().toInt() != id) action_mark(action, false);
    actions_group(actions);
    for (QAction* action : actions)
        if (action->data().toInt() == id) action_mark(action, true);
}

void menu_enable_popup(MENU* popup, bool on) {
    if (popup) popup->menu->menuAction()->setEnabled(on);
}
