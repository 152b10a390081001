#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <deque>
#include <mutex>
#include <utility>

#include "platform/qt/qt_window.h"

namespace {

/// Asks for the next message to be handled. One a turn of Qt's loop, and behind Qt's own events: so input that waits at
/// the desktop joins the queue in between, where window_waiting sees it. Modal loops of Qt take these events as well.
struct QUEUE_WAKE : QObject {
    bool event(QEvent* event) override;
};

struct QUEUE {
    std::mutex mutex;
    std::deque<QUEUED_MESSAGE> waiting;  // under mutex, as are the next two
    QUEUE_WAKE* wake = nullptr;
    bool woken = false;
    // main thread
    bool handling_input = false;
    Qt::KeyboardModifiers modifiers;
};
QUEUE& queue() {
    static auto* const the_queue = new QUEUE;
    return *the_queue;
}

/// With the mutex held.
void queue_wake(QUEUE& q) {
    if (!q.wake || q.woken || q.waiting.empty()) return;
    q.woken = true;
    QCoreApplication::postEvent(q.wake, new QEvent(QEvent::User), Qt::LowEventPriority);
}

bool QUEUE_WAKE::event(QEvent* event) {
    if (event->type() != QEvent::User) return QObject::event(event);
    if (refresh_running()) {
        refresh_miss();
        return true;
    }
    {
        const std::lock_guard lock(queue().mutex);
        queue().woken = false;
    }
    queue_handle_one();
    return true;
}

void queue_put(const QUEUED_MESSAGE& message) {
    QUEUE& q = queue();
    const std::lock_guard lock(q.mutex);
    q.waiting.push_back(message);
    queue_wake(q);
}

/// With nothing changed but the place.
bool same_movement(const QUEUED_MESSAGE& a, const QUEUED_MESSAGE& b) {
    return a.window == b.window && a.message == b.message && a.wparam == b.wparam && a.modifiers == b.modifiers;
}

void queue_handle(const QUEUED_MESSAGE& m) {
    QUEUE& q = queue();
    const bool outer = std::exchange(q.handling_input, m.input);
    const auto outer_modifiers = std::exchange(q.modifiers, m.modifiers);
    window_call(m.window, m.message, m.wparam, m.lparam);
    q.handling_input = outer;
    q.modifiers = outer_modifiers;
}

}  // namespace

void queue_start() {
    const std::lock_guard lock(queue().mutex);
    queue().wake = new QUEUE_WAKE;
    queue().woken = false;
    queue_wake(queue());
}

void queue_stop() {
    const std::lock_guard lock(queue().mutex);
    delete std::exchange(queue().wake, nullptr);
    queue().waiting.clear();
}

void queue_go_on() {
    QUEUE& q = queue();
    const std::lock_guard lock(q.mutex);
    q.woken = false;
    queue_wake(q);
}

bool queue_handle_one() {
    QUEUE& q = queue();
    QUEUED_MESSAGE message;
    {
        const std::lock_guard lock(q.mutex);
        if (q.waiting.empty()) return false;
        message = q.waiting.front();
        q.waiting.pop_front();
        queue_wake(q);  // before the message is handled, which may take a loop of its own
    }
    queue_handle(message);
    return true;
}

void queue_input(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam, Qt::KeyboardModifiers modifiers,
                 bool wait) {
    QUEUE& q = queue();
    const QUEUED_MESSAGE made{window, message, wparam, lparam, true, modifiers};
    {
        const std::lock_guard lock(q.mutex);
        // Behind a slow filter movements would pile up, and the picture follow the pointer seconds later.
        if (message == WM_MOUSEMOVE && !q.waiting.empty() && same_movement(q.waiting.back(), made)) {
            q.waiting.back() = made;
            return;
        }
        wait = wait || !q.waiting.empty();
    }
    if (wait)
        queue_put(made);
    else
        queue_handle(made);
}

void queue_forget(const WINDOW* window) {
    const std::lock_guard lock(queue().mutex);
    std::erase_if(queue().waiting, [window](const QUEUED_MESSAGE& m) { return m.window == window; });
}

bool queue_modifiers(Qt::KeyboardModifiers* modifiers) {
    *modifiers = queue().modifiers;
    return queue().handling_input;
}

void window_post(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    QUEUED_MESSAGE made{window, message, wparam, lparam, false, {}};
    const QCoreApplication* app = QCoreApplication::instance();
    if (app && QThread::currentThread() == app->thread()) made.input = queue_modifiers(&made.modifiers);
    queue_put(made);
}

bool window_waiting(WINDOW* window, uint32_t message) {
    const std::lock_guard lock(queue().mutex);
    for (const QUEUED_MESSAGE& m : queue().waiting)
        if (m.window == window && m.message == message) return true;
    return false;
}
