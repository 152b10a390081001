#include <QApplication>
#include <QLayout>
#include <QScreen>
#include <QTabWidget>
#include <QWindow>
#include <algorithm>

#include "platform/qt/qt_window.h"

namespace {

bool is_control(const WINDOW* window) { return window->kind != CONTROL_END; }

/// A control's rectangle within the client area of its holder.
QRect control_rect(const WINDOW* control) {
    const QWidget* holder = widget_of(control->parent);
    const QWidget* widget = control->widget;
    const QPoint at = holder && holder->isAncestorOf(widget) ? widget->mapTo(holder, QPoint(0, 0)) : widget->pos();
    return {at, widget->size()};
}

/// Turns to the tab on which a control lies.
void show_page_of(QWidget* widget) {
    for (QWidget* page = widget; page && !page->isWindow(); page = page->parentWidget()) {
        QWidget* stack = page->parentWidget();
        if (auto* tabs = qobject_cast<QTabWidget*>(stack ? stack->parentWidget() : nullptr))
            tabs->setCurrentWidget(page);
    }
}

void layouts_activate(QWidget* widget) {
    widget->ensurePolished();
    if (!widget->layout()) return;
    widget->layout()->invalidate();
    widget->layout()->activate();
}

}  // namespace

void window_lay_out(const WINDOW* window) {
    QWidget* frame = frame_of(window);
    if (!frame || frame == window->widget) return;
    layouts_activate(frame);
    if (window->widget->parentWidget() != frame) layouts_activate(window->widget->parentWidget());
}

RECT window_frame(const WINDOW* window) {
    const QWidget* frame = frame_of(window);
    if (!frame) return {};
    return rect_of(is_control(window) ? control_rect(window) : frame->frameGeometry());
}

RECT window_client(const WINDOW* window) {
    const QWidget* widget = widget_of(window);
    if (!widget) return {};
    if (is_control(window)) return rect_of(control_rect(window));
    return rect_of({widget->mapToGlobal(QPoint(0, 0)), widget->size()});
}

void window_move(WINDOW* window, int x, int y) {
    QWidget* frame = frame_of(window);
    if (!frame) return;
    frame->move(x, y);
    window_tell_place(window);
}

void window_resize_client(WINDOW* window, int width, int height) {
    QWidget* frame = frame_of(window);
    if (!frame) return;
    const QSize wish = QSize(width, height).expandedTo(window->widget->minimumSize()).expandedTo({0, 0});
    if (frame == window->widget) {
        frame->resize(wish);
        return;
    }
    if (frame->isMaximized() || frame->isFullScreen()) return;
    // A least size keeps the client area larger than the frame's room for it, which must not count.
    const QSize least = window->widget->minimumSize();
    window->widget->setMinimumSize(0, 0);
    // Twice: a menu bar takes more rows in a narrow window.
    for (int round = 0; round < 2; ++round) {
        window_lay_out(window);
        const QSize size = (frame->size() + wish - window->widget->size()).expandedTo({1, 1});
        if (window->sizable)
            frame->resize(size);
        else
            frame->setFixedSize(size);
    }
    window->widget->setMinimumSize(least);
    window_lay_out(window);
    window_tell_size(window);
}

void window_set_min_client(WINDOW* window, int width, int height) {
    QWidget* widget = widget_of(window);
    if (!widget) return;
    const QSize now = widget->size();  // setting the least size grows the widget alone
    widget->setMinimumSize(std::max(width, 0), std::max(height, 0));
    const QSize least = now.expandedTo(widget->minimumSize());
    if (least != now) window_resize_client(window, least.width(), least.height());
}

POINT window_to_screen(const WINDOW* window, POINT point) {
    const QWidget* widget = widget_of(window);
    if (!widget) return point;
    const QPoint at = widget->mapToGlobal(QPoint(point.x, point.y));
    return {at.x(), at.y()};
}
POINT window_from_screen(const WINDOW* window, POINT point) {
    const QWidget* widget = widget_of(window);
    if (!widget) return point;
    const QPoint at = widget->mapFromGlobal(QPoint(point.x, point.y));
    return {at.x(), at.y()};
}

void frame_renew(QWidget* frame) {
    if (QGuiApplication::platformName().startsWith("wayland")) frame->update(0, 0, 1, 1);
}

// In a title "[*]" stands for a mark of the desktop's; doubled it stands for itself.
void window_set_title(WINDOW* window, const std::string& title) {
    QWidget* frame = frame_of(window);
    if (!frame) return;
    const QString before = frame->windowTitle();
    frame->setWindowTitle(QString::fromStdString(title).replace("[*]", "[*][*]"));
    if (frame->windowTitle() != before) frame_renew(frame);
}
std::string window_title(const WINDOW* window) {
    const QWidget* frame = frame_of(window);
    return frame ? frame->windowTitle().replace("[*][*]", "[*]").toStdString() : std::string();
}

void window_set_name(WINDOW* window, const std::string& name) {
    if (!window_exists(window)) return;
    for (QWidget* widget : {window->frame, window->widget}) {
        widget->setObjectName(QString::fromStdString(name));
        widget->setAccessibleName(QString::fromStdString(name));
    }
}

void window_show(WINDOW* window, bool show) {
    QWidget* frame = frame_of(window);
    if (frame) frame->setVisible(show);
}
bool window_shown(const WINDOW* window) {
    const QWidget* frame = frame_of(window);
    if (!frame) return false;
    const QWidget* holder = is_control(window) ? widget_of(window->parent) : nullptr;
    return holder ? frame->isVisibleTo(holder) : frame->isVisible();
}

void window_enable(WINDOW* window, bool enable) {
    QWidget* frame = frame_of(window);
    if (frame) frame->setEnabled(enable);
}
bool window_enabled(const WINDOW* window) {
    const QWidget* frame = frame_of(window);
    return frame && frame->isEnabledTo(is_control(window) ? widget_of(window->parent) : nullptr);
}

void window_activate(WINDOW* window) {
    QWidget* frame = frame_of(window);
    if (!frame) return;
    frame->window()->raise();
    frame->window()->activateWindow();
    if (is_control(window)) frame->setFocus();
}

void window_focus(WINDOW* window) {
    QWidget* widget = widget_of(window);
    if (!widget) return;
    show_page_of(widget);
    widget->setFocus();
    // From one of our windows to another; never away from another program.
    if (!widget->window()->isActiveWindow() && QApplication::activeWindow()) widget->window()->activateWindow();
}
WINDOW* window_focused() { return window_around(QApplication::focusWidget()); }

void window_on_top(WINDOW* window, bool on) {
    QWidget* frame = frame_of(window);
    if (!frame || is_control(window) || frame->windowFlags().testFlag(Qt::WindowStaysOnTopHint) == on) return;
    // Not every desktop lets a window that is shown change this, so it goes and comes again in its place.
    window->quiet = true;
    const bool shown = frame->isVisible();
    const QPoint place = frame->pos();
    frame->setWindowFlag(Qt::WindowStaysOnTopHint, on);
    frame->move(place);
    if (shown) frame->show();
    window->quiet = false;
}

void window_flash(WINDOW* window) {
    if (QWidget* frame = frame_of(window)) QApplication::alert(frame->window());
}

WINDOW_STATE window_state(const WINDOW* window) {
    const QWidget* frame = frame_of(window);
    if (!frame) return WINDOW_NORMAL;
    if (frame->isMinimized()) return WINDOW_MINIMISED;
    return frame->isMaximized() || frame->isFullScreen() ? WINDOW_MAXIMISED : WINDOW_NORMAL;
}

void window_set_state(WINDOW* window, WINDOW_STATE state) {
    QWidget* frame = frame_of(window);
    if (!frame || is_control(window)) return;
    const Qt::WindowStates kept = frame->windowState() & Qt::WindowMaximized;
    if (state == WINDOW_MINIMISED)
        frame->setWindowState(kept | Qt::WindowMinimized);
    else
        frame->setWindowState(state == WINDOW_MAXIMISED ? Qt::WindowMaximized : Qt::WindowNoState);
    window_tell_size(window);
}

void window_capture(WINDOW* window, bool on) {
    QWidget* widget = widget_of(window);
    if (!widget) return;
    if (!on && QWidget::mouseGrabber() == widget) widget->releaseMouse();
    // While a button is down the desktop itself sends all to the window where it was pressed.
    if (on && QGuiApplication::mouseButtons() == Qt::NoButton) widget->grabMouse();
}

void window_accept_drops(WINDOW* window, bool on) {
    QWidget* widget = widget_of(window);
    if (!widget) return;
    window->drops = on;
    widget->setAcceptDrops(on);
}

void window_invalidate(WINDOW* window) {
    if (QWidget* widget = widget_of(window)) widget->update();
}
void window_repaint(WINDOW* window) {
    if (QWidget* widget = widget_of(window)) widget->repaint();
}
