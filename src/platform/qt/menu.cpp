#include <QApplication>
#include <QFontMetrics>
#include <QLayout>
#include <QMainWindow>
#include <QToolButton>
#include <algorithm>

#include "platform/qt/qt_menu.h"

namespace {

/// A path may be longer than the screen is wide; its middle says least.
QString shortened(const QString& text) {
    constexpr int CHARS = 100;
    const QFontMetrics font(QApplication::font("QMenu"));
    return font.elidedText(text, Qt::ElideMiddle, CHARS * font.averageCharWidth(), Qt::TextShowMnemonic);
}

void action_set_text(QAction* action, const QString& text, const QString& keys) {
    action->setText(keys.isEmpty() ? shortened(text) : shortened(text) + '\t' + keys);
}

/// The marks as the program set them: Qt changes them by itself when an entry is chosen.
void marks_restore(MENU* menu) {
    for (QAction* action : menu->menu->actions())
        if (action->isCheckable() && !action->property("mark").toBool()) action->setChecked(false);
    for (QAction* action : menu->menu->actions())
        if (action->isCheckable() && action->property("mark").toBool()) action->setChecked(true);
}

void action_chosen(MENU* menu, const QAction* action) {
    marks_restore(menu);
    window_post(menu_root(menu)->owner, WM_COMMAND, uintptr_t(action->data().toInt() & 0xFFFF), 0);
}

QAction* item_make(MENU* menu, int id, const std::string& text, const std::string& keys) {
    auto* action = new QAction(menu->menu);
    action->setData(id);
    action->setMenuRole(QAction::NoRole);
    action_set_text(action, QString::fromStdString(text), QString::fromStdString(keys));
    QObject::connect(action, &QAction::triggered, action, [menu, action] { action_chosen(menu, action); });
    return action;
}

MENU* popup_make(MENU* parent, const std::string& text) {
    MENU* popup = parent->popups.emplace_back(std::make_unique<MENU>()).get();
    popup->parent = parent;
    popup->menu = new QMenu(QString::fromStdString(text), parent->menu);
    popup->menu->menuAction()->setData(0);
    return popup;
}

/// In front of `before`; null: at the end.
void action_insert(MENU* menu, QAction* before, QAction* action) {
    menu->menu->insertAction(before, action);
    if (menu->bar) menu->bar->insertAction(before, action);
}

/// The place in front of item `before`, which may stand deeper inside.
MENU_PLACE place_before(MENU* menu, int before) {
    const MENU_PLACE found = before ? menu_find(menu, before) : MENU_PLACE{};
    return found.action ? found : MENU_PLACE{menu, nullptr};
}

/// Later, since choosing the entry itself may have led here.
void action_remove(MENU* menu, QAction* action) {
    menu->menu->removeAction(action);
    if (menu->bar) menu->bar->removeAction(action);
    const auto popup =
        std::ranges::find_if(menu->popups, [action](const auto& inner) { return inner->menu->menuAction() == action; });
    if (popup == menu->popups.end()) {
        action->disconnect();
        action->deleteLater();
        return;
    }
    menu_clear(popup->get());
    (*popup)->menu->deleteLater();
    menu->popups.erase(popup);
}

std::string without_mark(QString text) { return text.remove('&').toStdString(); }

/// Lines from `line` up to the END of this popup. Returns the line behind.
size_t menu_fill(MENU* menu, const MENU_TEMPLATE& lines, size_t line) {
    while (line < lines.size()) {
        const MENU_LINE& l = lines[line++];
        if (l.kind == MENU_LINE::END) break;
        if (l.kind == MENU_LINE::ITEM) menu_insert(menu, 0, l.id, l.text, l.keys);
        if (l.kind == MENU_LINE::SEPARATOR) menu_insert_separator(menu, 0);
        if (l.kind == MENU_LINE::POPUP) line = menu_fill(menu_insert_popup(menu, 0, l.text), lines, line);
    }
    return line;
}

}  // namespace

MENU* menu_root(MENU* menu) {
    while (menu->parent) menu = menu->parent;
    return menu;
}

MENU_PLACE menu_find(MENU* menu, int id) {
    if (!menu) return {};
    for (QAction* action : menu->menu->actions())
        if (!action->menu() && !action->isSeparator() && action->data().toInt() == id) return {menu, action};
    for (const auto& popup : menu->popups)
        if (const MENU_PLACE found = menu_find(popup.get(), id); found.action) return found;
    return {};
}

MENU* menu_create(const MENU_TEMPLATE& lines) {
    if (!window_system_running()) return nullptr;
    auto* menu = new MENU;
    menu->menu = new QMenu;
    menu_fill(menu, lines, 0);
    return menu;
}

void menu_destroy(MENU* menu) {
    if (!menu || menu->parent) return;
    if (window_exists(menu->owner) && menu->owner->menu == menu) menu->owner->menu = nullptr;
    menu_clear(menu);
    if (menu->bar) menu->bar->deleteLater();
    menu->menu->hide();
    menu->menu->deleteLater();
    delete menu;
}

void menu_attach(WINDOW* window, MENU* menu) {
    QWidget* frame = frame_of(window);
    if (!frame || !menu || window->menu == menu) return;
    window_lay_out(window);
    const QSize client = window->widget->size();
    const bool was_quiet = std::exchange(window->quiet, true);  // the client area keeps its size
    if (window->menu) menu_destroy(window->menu);
    window->menu = menu;
    menu->owner = window;
    menu->bar = new QMenuBar(frame);
    // What leads to popups without room has a picture that is dark in every theme; an arrow has the theme's colour.
    if (auto* more = menu->bar->findChild<QToolButton*>()) more->setArrowType(Qt::DownArrow);
    menu->bar->addActions(menu->menu->actions());
    if (auto* main = dynamic_cast<QMainWindow*>(frame))
        main->setMenuBar(menu->bar);
    else
        frame->layout()->setMenuBar(menu->bar);
    menu->bar->show();  // at once, or its room would be counted only later
    window_resize_client(window, client.width(), client.height());
    window->quiet = was_quiet;
    window_tell_size(window);
}

void menu_popup(WINDOW* window, MENU* menu, int x, int y) {
    if (!menu || !window_exists(window)) return;
    MENU* root = menu_root(menu);
    if (!root->bar) root->owner = window;
    menu->menu->exec(QPoint(x, y));
}

void menu_bar_open(const WINDOW* window) {
    if (!window->menu || !window->menu->bar) return;
    for (QAction* action : window->menu->bar->actions())
        if (action->isEnabled() && action->menu()) return window->menu->bar->setActiveAction(action);
}

MENU* menu_holding(MENU* menu, int id) { return menu_find(menu, id).menu; }

MENU* menu_named(MENU* menu, const std::string& text) {
    if (!menu) return nullptr;
    const std::string wanted = without_mark(QString::fromStdString(text));
    for (const auto& popup : menu->popups)
        if (without_mark(popup->menu->title()) == wanted) return popup.get();
    return nullptr;
}

void menu_insert(MENU* menu, int before, int id, const std::string& text, const std::string& keys) {
    if (!menu) return;
    const MENU_PLACE place = place_before(menu, before);
    action_insert(place.menu, place.action, item_make(place.menu, id, text, keys));
}

MENU* menu_insert_popup(MENU* menu, int before, const std::string& text) {
    if (!menu) return nullptr;
    const MENU_PLACE place = place_before(menu, before);
    MENU* popup = popup_make(place.menu, text);
    action_insert(place.menu, place.action, popup->menu->menuAction());
    return popup;
}

void menu_insert_separator(MENU* menu, int before) {
    if (!menu) return;
    const MENU_PLACE place = place_before(menu, before);
    auto* separator = new QAction(place.menu->menu);
    separator->setSeparator(true);
    action_insert(place.menu, place.action, separator);
}

void menu_remove(MENU* menu, int id) {
    if (const MENU_PLACE found = menu_find(menu, id); found.action) action_remove(found.menu, found.action);
}

void menu_clear(MENU* popup) {
    if (!popup) return;
    for (QAction* action : popup->menu->actions()) action_remove(popup, action);
}

void menu_set_text(MENU* menu, int id, const std::string& text) {
    if (QAction* action = menu_find(menu, id).action)
        action_set_text(action, QString::fromStdString(text), action->text().section('\t', 1));
}
void menu_set_keys(MENU* menu, int id, const std::string& keys) {
    if (QAction* action = menu_find(menu, id).action)
        action_set_text(action, action->text().section('\t', 0, 0), QString::fromStdString(keys));
}
