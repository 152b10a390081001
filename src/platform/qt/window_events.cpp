#include <QApplication>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QPainter>
#include <QUrl>
#include <utility>

#include "platform/qt/qt_window.h"

namespace {

std::vector<std::string> dropped_files;

std::vector<std::string> local_files(const QMimeData& data) {
    std::vector<std::string> paths;
    for (const QUrl& url : data.urls())
        if (url.isLocalFile()) paths.push_back(url.toLocalFile().toStdString());
    return paths;
}

void tell_shown(WINDOW* window, bool shown) {
    if (window->quiet) return;
    window_call(window, WM_SHOWWINDOW, shown, 0);
    window_tell_size(window);
    window_tell_place(window);
}

void tell_settings(WINDOW* window) {
    if (!window_waiting(window, WM_SETTINGCHANGE)) window_post(window, WM_SETTINGCHANGE, 0, 0);
}

bool frame_event(WINDOW* window, const QEvent& event) {
    switch (event.type()) {
        case QEvent::Show:
            if (!event.spontaneous()) tell_shown(window, true);
            return false;
        case QEvent::Hide:
            if (!event.spontaneous()) tell_shown(window, false);
            return false;
        case QEvent::Move: window_tell_place(window); return false;
        case QEvent::WindowStateChange: window_tell_size(window); return false;
        case QEvent::PaletteChange:
        case QEvent::FontChange:
        case QEvent::StyleChange:
        case QEvent::ScreenChangeInternal: tell_settings(window); return false;
        default: return false;
    }
}

bool close_event(WINDOW* window, QEvent* event) {
    event->ignore();
    if (window->frame->isEnabled()) window_post(window, WM_CLOSE, 0, 0);
    return true;
}

/// A menu that is open has the keys, not the focus.
bool focus_event(WINDOW* window, const QFocusEvent& event) {
    if (event.reason() == Qt::PopupFocusReason || event.reason() == Qt::MenuBarFocusReason) return false;
    window_call(window, event.gotFocus() ? WM_SETFOCUS : WM_KILLFOCUS, 0, 0);
    return false;
}

bool canvas_event(WINDOW* window, QWidget* canvas, QEvent* event) {
    switch (event->type()) {
        case QEvent::Paint: window_paint(window, canvas); return true;
        case QEvent::Resize:
            window_tell_size(window);
            if (window_exists(window)) window_place_progress(window);
            return false;
        case QEvent::FocusIn:
        case QEvent::FocusOut: return focus_event(window, *static_cast<QFocusEvent*>(event));
        default: return window_input_event(window, event);
    }
}

}  // namespace

bool window_event(WINDOW* window, QWidget* widget, QEvent* event) {
    if (window->leaving) return false;
    if (window->drops && widget == window->widget && window_drop_event(window, event)) return true;
    if (window->canvas && widget == window->frame && event->type() == QEvent::Close) return close_event(window, event);
    if (window->canvas && widget == window->frame) return frame_event(window, *event);
    if (window->canvas) return canvas_event(window, widget, event);
    if (window->kind == CONTROL_PICTURE && event->type() == QEvent::Paint) {
        window_paint(window, widget);
        return true;
    }
    return false;
}

bool window_drop_event(WINDOW* window, QEvent* event) {
    const auto type = event->type();
    if (type != QEvent::DragEnter && type != QEvent::DragMove && type != QEvent::Drop) return false;
    auto* drop = static_cast<QDropEvent*>(event);
    std::vector<std::string> paths = local_files(*drop->mimeData());
    if (paths.empty() || !window->widget->isEnabled() || QApplication::activeModalWidget()) {
        drop->ignore();
        return true;
    }
    // The files stay where they are, whatever the other side offers.
    drop->setDropAction(drop->possibleActions() & Qt::CopyAction ? Qt::CopyAction : drop->proposedAction());
    drop->accept();
    if (type != QEvent::Drop) return true;
    dropped_files = std::move(paths);
    queue_input(window, WM_DROPFILES, 0, 0, drop->modifiers(), true);
    return true;
}

const std::vector<std::string>& window_dropped_files() { return dropped_files; }

void window_tell_size(WINDOW* window) {
    if (!window_exists(window) || !window->canvas || window->quiet) return;
    const QSize size = window->widget->size();
    const WINDOW_STATE state = window_state(window);
    if (size == window->told_size && state == window->told_state) return;
    window->told_size = size;
    window->told_state = state;
    window_call(window, WM_SIZE, state, message_point(size.width(), size.height()));
}

void window_tell_place(WINDOW* window) {
    if (!window_exists(window) || !window->canvas || window->quiet) return;
    const QPoint place = window->frame->pos();
    if (std::exchange(window->told_place, place) == place) return;
    window_call(window, WM_MOVE, 0, message_point(place.x(), place.y()));
}

void window_paint(WINDOW* window, QWidget* widget) {
    if (refresh_running()) {
        window->unpainted = true;
        refresh_miss();
        return;
    }
    refresh_painting(true);
    QPainter painter(widget);
    QPainter* outer = std::exchange(window->painter, &painter);
    // A picture among the controls is painted by the window that holds it.
    if (window->kind == CONTROL_PICTURE)
        window_call(window->parent, WM_PAINT, 0, reinterpret_cast<intptr_t>(window));
    else
        window_call(window, WM_PAINT, 0, 0);
    if (window_exists(window)) window->painter = outer;
    refresh_painting(false);
}

QPainter* window_painter(WINDOW* window) { return window_exists(window) ? window->painter : nullptr; }
