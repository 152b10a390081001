#include <qdrawutil.h>
#include <QAbstractButton>
#include <QIcon>
#include <QKeyEvent>
#include <QPainter>
#include <QTimer>

#include "platform/qt/qt_control.h"

namespace {

constexpr int USUAL_SIDE = 20;

/// Fires at the press and repeats like a key while it is held.
struct ICON_BUTTON : QAbstractButton {
    QSize wish;
    QTimer repeat;

    ICON_BUTTON(QWidget* parent, const CONTROL_LINE& line) : QAbstractButton(parent) {
        wish = QSize(line.width > 0 ? line.width : USUAL_SIDE, line.height > 0 ? line.height : USUAL_SIDE);
        setIcon(program_icon(line.text.c_str()));
        setFocusPolicy(Qt::TabFocus);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        // The keyboard and helps for access press and release it at once.
        connect(this, &QAbstractButton::pressed, [this] { fire(); });
        connect(&repeat, &QTimer::timeout, [this] { again(); });
    }
    QSize sizeHint() const override { return wish; }
    QSize minimumSizeHint() const override { return wish; }

    /// By the queue: a command may run for long, and the press must have been handled by then.
    void fire() {
        WINDOW* control = window_of(this);
        if (control)
            window_post(control->parent, WM_COMMAND, uintptr_t(control->id & 0xFFFF),
                        reinterpret_cast<intptr_t>(control));
    }
    void again() {
        repeat.setInterval(key_repeat_interval());
        const WINDOW* control = window_of(this);
        // A command that takes longer than the interval must not pile up.
        if (control && !window_waiting(control->parent, WM_COMMAND)) fire();
    }
    void stop() {
        if (!isDown()) return;
        repeat.stop();
        setDown(false);
        const WINDOW* control = window_of(this);
        if (control && hasFocus()) window_focus(control->parent);
    }

  protected:
    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() != Qt::LeftButton) return QAbstractButton::mousePressEvent(event);
        setFocus(Qt::MouseFocusReason);
        setDown(true);
        fire();
        repeat.start(key_repeat_delay());
    }
    void mouseMoveEvent(QMouseEvent*) override {}  // leaving it cancels nothing
    void mouseReleaseEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton) stop();
    }
    void focusOutEvent(QFocusEvent* event) override {
        stop();
        QAbstractButton::focusOutEvent(event);
    }
    void hideEvent(QHideEvent* event) override {
        stop();
        QAbstractButton::hideEvent(event);
    }
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        icon().paint(&painter, rect().adjusted(1, 1, -1, -1), Qt::AlignCenter,
                     isEnabled() ? QIcon::Normal : QIcon::Disabled);
        qDrawWinButton(&painter, rect(), palette(), isDown());
        if (!hasFocus() || isDown()) return;
        painter.setPen(palette().color(QPalette::Highlight));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }
};

}  // namespace

QWidget* icon_button_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) {
    auto* button = new ICON_BUTTON(parent, line);
    button->setAccessibleName(qt_text(line.unit.empty() ? line.text : line.unit));
    button->setToolTip(qt_text(line.unit));
    return button;
}
