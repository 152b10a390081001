#include "platform/window_input.h"

#include <QApplication>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPixmap>
#include <QPointer>
#include <QUrl>

#include "platform/qt/qt_window.h"

namespace {

struct INPUT_STATE {
    Qt::KeyboardModifiers keys;    // held by input_key_state
    Qt::KeyboardModifiers during;  // of the event that is being sent
    Qt::MouseButtons buttons;
    QPointer<QWidget> pressed;  // gets the mouse until the release
    POINT pointer{};
    bool pointed = false;
};
INPUT_STATE& input() {
    static auto* const the_state = new INPUT_STATE;
    return *the_state;
}

/// Sends an event while its modifiers count as held.
void input_send(QWidget* target, QEvent* event, Qt::KeyboardModifiers modifiers) {
    const auto outer = std::exchange(input().during, modifiers);
    QCoreApplication::sendEvent(target, event);
    input().during = outer;
}

Qt::KeyboardModifiers modifiers_of(std::initializer_list<int> keys) {
    Qt::KeyboardModifiers all = input().keys;
    for (const int key : keys) all |= key_modifier(key);
    return all;
}

/// Whether a modal dialog keeps the desktop's input from a widget.
bool is_blocked(const QWidget* widget) {
    const QWidget* modal = QApplication::activeModalWidget();
    while (widget && widget != modal) widget = widget->parentWidget();  // beyond windows: what the dialog itself owns
    return modal && !widget;
}
QWidget* input_widget(const WINDOW* window) {
    QWidget* widget = widget_of(window);
    return widget && !is_blocked(widget) ? widget : nullptr;
}

/// An open menu has the keyboard; else what has the focus inside the window, or the control itself.
QWidget* key_target(const WINDOW* window) {
    QWidget* widget = input_widget(window);
    if (!widget) return nullptr;
    if (QWidget* popup = QApplication::activePopupWidget()) return popup;
    QWidget* inside = window->kind == CONTROL_END ? window->frame->focusWidget() : widget->focusWidget();
    return inside ? inside : widget;
}

void key_send(WINDOW* window, int key, bool down, Qt::KeyboardModifiers modifiers) {
    QWidget* target = key_target(window);
    if (!target) return;
    const QT_KEY qt = qt_key(key);
    QString text = modifiers & (Qt::ControlModifier | Qt::AltModifier) ? QString() : qt.text;
    if (modifiers & Qt::ShiftModifier) text = text.toUpper();
    const auto all = qt.keypad ? modifiers | Qt::KeypadModifier : modifiers;
    QKeyEvent event(down ? QEvent::KeyPress : QEvent::KeyRelease, qt.key, all, text);
    input_send(target, &event, modifiers);
}

/// A place in a window, and the widget there.
struct TARGET {
    QWidget* widget = nullptr;
    QPointF at, screen;
};
TARGET mouse_target(const WINDOW* window, POINT at) {
    QWidget* widget = input_widget(window);
    if (!widget) return {};
    const QPoint point(at.x, at.y), screen = widget->mapToGlobal(point);
    input().pointer = {screen.x(), screen.y()};
    input().pointed = true;
    QWidget* inside = widget->childAt(point);
    QWidget* target = input().pressed ? input().pressed.data() : (inside ? inside : widget);
    return {target, target->mapFromGlobal(screen), screen};
}

/// As a click gives it.
void mouse_focus(QWidget* widget) {
    for (; widget; widget = widget->isWindow() ? nullptr : widget->parentWidget())
        if (widget->isEnabled() && widget->focusPolicy() & Qt::ClickFocus) {
            widget->setFocus(Qt::MouseFocusReason);
            return;
        }
}

void mouse_send(const TARGET& to, QEvent::Type type, Qt::MouseButton button, Qt::KeyboardModifiers modifiers) {
    QMouseEvent event(type, to.at, to.screen, button, input().buttons, modifiers);
    input_send(to.widget, &event, modifiers);
}

}  // namespace

Qt::KeyboardModifiers input_modifiers() { return input().keys | input().during; }
bool input_pointer(POINT* place) {
    *place = input().pointer;
    return input().pointed;
}
void input_clear() { input() = INPUT_STATE{}; }

void input_key(WINDOW* window, int key, std::initializer_list<int> modifiers) {
    key_send(window, key, true, modifiers_of(modifiers));
    key_send(window, key, false, modifiers_of(modifiers));
}

void input_key_state(WINDOW* window, int key, bool down) {
    const auto before = input().keys;  // a modifier's own event tells what was held before it
    input().keys.setFlag(key_modifier(key), down && key_modifier(key));
    key_send(window, key, down, before);
}

void input_text(WINDOW* control, const std::string& utf8) {
    const QString text = QString::fromStdString(utf8);
    for (const char32_t letter : text.toStdU32String()) {
        QWidget* target = key_target(control);
        if (!target) return;
        const QString unit = QString::fromUcs4(&letter, 1);
        QKeyEvent down(QEvent::KeyPress, Qt::Key_unknown, {}, unit);
        input_send(target, &down, {});
        QKeyEvent up(QEvent::KeyRelease, Qt::Key_unknown, {}, unit);
        input_send(target, &up, {});
    }
}

void input_press(WINDOW* window, POINT at, INPUT_BUTTON button, std::initializer_list<int> modifiers) {
    const TARGET to = mouse_target(window, at);
    if (!to.widget) return;
    input().buttons |= Qt::MouseButton(button);
    input().pressed = to.widget;
    mouse_focus(to.widget);
    mouse_send(to, QEvent::MouseButtonPress, Qt::MouseButton(button), modifiers_of(modifiers));
}

void input_release(WINDOW* window, POINT at, INPUT_BUTTON button) {
    const TARGET to = mouse_target(window, at);
    if (!to.widget) return;
    input().buttons &= ~Qt::MouseButtons(Qt::MouseButton(button));
    if (!input().buttons) input().pressed = nullptr;
    mouse_send(to, QEvent::MouseButtonRelease, Qt::MouseButton(button), input().keys);
}

void input_double(WINDOW* window, POINT at) {
    input_press(window, at, INPUT_LEFT);
    input_release(window, at, INPUT_LEFT);
    const TARGET to = mouse_target(window, at);
    if (!to.widget) return;
    input().buttons |= Qt::LeftButton;
    mouse_send(to, QEvent::MouseButtonDblClick, Qt::LeftButton, input().keys);
    input_release(window, at, INPUT_LEFT);
}

void input_move(WINDOW* window, POINT at) {
    const TARGET to = mouse_target(window, at);
    if (to.widget) mouse_send(to, QEvent::MouseMove, Qt::NoButton, input().keys);
}

void input_wheel(WINDOW* window, POINT at, int turn) {
    const TARGET to = mouse_target(window, at);
    if (!to.widget) return;
    QWheelEvent event(to.at, to.screen, {}, QPoint(0, turn), input().buttons, input().keys, Qt::NoScrollPhase, false);
    input_send(to.widget, &event, input().keys);
}

void input_drop(WINDOW* window, const std::vector<std::string>& paths, std::initializer_list<int> modifiers) {
    QWidget* widget = input_widget(window);
    if (!widget) return;
    QMimeData data;
    QList<QUrl> urls;
    for (const std::string& path : paths) urls.push_back(QUrl::fromLocalFile(QString::fromStdString(path)));
    data.setUrls(urls);
    const QPoint at = widget->rect().center();
    const auto keys = modifiers_of(modifiers);
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::NoButton, keys);
    enter.ignore();
    input_send(widget, &enter, keys);
    if (!enter.isAccepted()) return;
    QDropEvent drop(at, Qt::CopyAction, &data, Qt::NoButton, keys);
    input_send(widget, &drop, keys);
}

bool window_picture(WINDOW* window, const std::string& png_path) {
    QWidget* frame = frame_of(window);
    return frame && frame->grab().save(QString::fromStdString(png_path), "PNG");
}
