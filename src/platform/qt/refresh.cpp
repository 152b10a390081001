#include <QCoreApplication>
#include <QThread>
#include <utility>

#include "platform/qt/qt_window.h"

namespace {

bool running;
bool missed;  // a message waits, or a window was not painted
int paint_depth;

}  // namespace

bool refresh_running() { return running; }
void refresh_miss() { missed = true; }
void refresh_painting(bool begins) { paint_depth += begins ? 1 : -1; }

void window_refresh() {
    const QCoreApplication* app = QCoreApplication::instance();
    if (!app || QThread::currentThread() != app->thread() || running || paint_depth > 0) return;
    running = true;
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    running = false;
    if (!std::exchange(missed, false)) return;
    queue_go_on();
    for (WINDOW* window : window_all())
        if (std::exchange(window->unpainted, false)) window_invalidate(window);
}
