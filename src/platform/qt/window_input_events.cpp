#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyleHints>

#include "platform/qt/qt_window.h"

namespace {

uintptr_t mouse_bits(Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {
    unsigned bits = 0;
    if (buttons & Qt::LeftButton) bits |= MOUSE_LEFT;
    if (buttons & Qt::RightButton) bits |= MOUSE_RIGHT;
    if (buttons & Qt::MiddleButton) bits |= MOUSE_MIDDLE;
    if (modifiers & Qt::ShiftModifier) bits |= MOUSE_SHIFT;
    if (modifiers & Qt::ControlModifier) bits |= MOUSE_CTRL;
    return bits;
}

struct BUTTON_MESSAGES {
    Qt::MouseButton button;
    uint32_t down, up, twice;
};
constexpr BUTTON_MESSAGES BUTTONS[] = {
    {Qt::LeftButton, WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK},
    {Qt::RightButton, WM_RBUTTONDOWN, WM_RBUTTONUP, WM_RBUTTONDOWN},
    {Qt::MiddleButton, WM_MBUTTONDOWN, WM_MBUTTONUP, WM_MBUTTONDOWN},
};

uint32_t button_message(const QMouseEvent& event) {
    for (const BUTTON_MESSAGES& row : BUTTONS) {
        if (row.button != event.button()) continue;
        if (event.type() == QEvent::MouseButtonRelease) return row.up;
        return event.type() == QEvent::MouseButtonPress ? row.down : row.twice;
    }
    return 0;
}

bool mouse_event(WINDOW* window, const QMouseEvent& event) {
    const bool moves = event.type() == QEvent::MouseMove;
    const uint32_t message = moves ? WM_MOUSEMOVE : button_message(event);
    if (!message) return false;
    const QPoint at = event.position().toPoint();
    if (event.type() == QEvent::MouseButtonRelease && event.buttons() == Qt::NoButton) window_capture(window, false);
    queue_input(window, message, mouse_bits(event.buttons(), event.modifiers()), message_point(at.x(), at.y()),
                event.modifiers(), moves);
    return true;
}

/// Turns finer than a notch are saved up until they make one.
bool wheel_event(WINDOW* window, const QWheelEvent& event) {
    constexpr int NOTCH = 120;
    // With Alt held the turn comes as a sideways one.
    const int turn = event.angleDelta().y() ? event.angleDelta().y()
                                            : (event.modifiers() & Qt::AltModifier ? event.angleDelta().x() : 0);
    if ((turn < 0) != (window->wheel_rest < 0)) window->wheel_rest = 0;
    window->wheel_rest += turn;
    const int whole = window->wheel_rest / NOTCH * NOTCH;
    if (!whole) return true;
    window->wheel_rest -= whole;
    const QPoint at = event.globalPosition().toPoint();
    const auto wparam = mouse_bits(event.buttons(), event.modifiers()) | uintptr_t(uint16_t(whole)) << 16;
    queue_input(window, WM_MOUSEWHEEL, wparam, message_point(at.x(), at.y()), event.modifiers(), true);
    return true;
}

/// The modifiers with the key itself: Qt tells those before the event.
Qt::KeyboardModifiers modifiers_after(const QKeyEvent& event, int key) {
    const Qt::KeyboardModifier own = key_modifier(key);
    if (!own) return event.modifiers();
    return event.type() == QEvent::KeyPress ? event.modifiers() | own : event.modifiers() & ~own;
}

bool key_event(WINDOW* window, const QKeyEvent& event) {
    constexpr intptr_t REPEATS = intptr_t(1) << 30, RELEASED = intptr_t(3) << 30;
    const bool down = event.type() == QEvent::KeyPress;
    const int key = virtual_key(event);
    if (key == KEY_TAB && !window->children.empty()) return false;  // on to the controls
    const auto modifiers = modifiers_after(event, key);
    const bool alt = event.modifiers() & Qt::AltModifier && !(event.modifiers() & Qt::ControlModifier);
    const bool system = alt || key == KEY_MENU || key == KEY_F1 + 9;
    if (!down && event.isAutoRepeat()) return true;  // the key is still held
    if (!down) {
        if (key) queue_input(window, system ? WM_SYSKEYUP : WM_KEYUP, uintptr_t(key), 1 | RELEASED, modifiers, false);
        return true;
    }
    const intptr_t repeats = 1 | (event.isAutoRepeat() ? REPEATS : 0);
    if (key) queue_input(window, system ? WM_SYSKEYDOWN : WM_KEYDOWN, uintptr_t(key), repeats, modifiers, false);
    if (alt) return true;
    for (const QChar unit : event.text()) queue_input(window, WM_CHAR, unit.unicode(), repeats, modifiers, false);
    return true;
}

bool context_event(WINDOW* window, const QContextMenuEvent& event) {
    // A click of the mouse comes as the button's own messages.
    if (event.reason() == QContextMenuEvent::Keyboard)
        queue_input(window, WM_CONTEXTMENU, reinterpret_cast<uintptr_t>(window), -1, event.modifiers(), false);
    return true;
}

}  // namespace

bool window_input_event(WINDOW* window, QEvent* event) {
    if (!window->frame->isEnabled()) return false;
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove: return mouse_event(window, *static_cast<QMouseEvent*>(event));
        case QEvent::Wheel: return wheel_event(window, *static_cast<QWheelEvent*>(event));
        case QEvent::KeyPress:
        case QEvent::KeyRelease: return key_event(window, *static_cast<QKeyEvent*>(event));
        case QEvent::ContextMenu: return context_event(window, *static_cast<QContextMenuEvent*>(event));
        default: return false;
    }
}

POINT pointer_place() {
    POINT place;
    if (input_pointer(&place)) return place;
    const QPoint at = QCursor::pos();
    return {at.x(), at.y()};
}

bool key_held(int key) {
    Qt::KeyboardModifiers modifiers;
    // Without a display there is no keyboard beside input_...
    if (!queue_modifiers(&modifiers) && window_system_visible()) modifiers = QGuiApplication::queryKeyboardModifiers();
    return (modifiers | input_modifiers()) & key_modifier(key);
}

// Qt tells the rate alone; the delay is the one that desktops start with.
int key_repeat_delay() { return 500; }
int key_repeat_interval() {
    constexpr int USUAL_RATE = 30;  // a second
    const int rate = window_system_running() ? QGuiApplication::styleHints()->keyboardAutoRepeatRate() : 0;
    return 1000 / (rate > 0 ? rate : USUAL_RATE);
}
