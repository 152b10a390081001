#include <QTimerEvent>
#include <algorithm>

#include "platform/qt/qt_window.h"

namespace {

struct WINDOW_TIMER {
    WINDOW* window;
    int number;
    int qt_id;
};

/// Holds the timers of all windows.
struct TIMER_TABLE : QObject {
    std::vector<WINDOW_TIMER> rows;

    void timerEvent(QTimerEvent* event) override {
        const auto row = std::ranges::find(rows, event->timerId(), &WINDOW_TIMER::qt_id);
        if (row == rows.end()) return;
        const WINDOW_TIMER timer = *row;  // the procedure may change the table
        window_call(timer.window, WM_TIMER, uintptr_t(timer.number), 0);
    }
    template <class MATCH>
    void remove(MATCH match) {
        std::erase_if(rows, [&](const WINDOW_TIMER& timer) {
            if (!match(timer)) return false;
            killTimer(timer.qt_id);
            return true;
        });
    }
};
TIMER_TABLE& timers() {
    static auto* const the_timers = new TIMER_TABLE;
    return *the_timers;
}

}  // namespace

void timer_start(WINDOW* window, int number, int milliseconds) {
    if (!window_exists(window)) return;
    timer_stop(window, number);
    const int id = timers().startTimer(std::max(milliseconds, 1), Qt::PreciseTimer);
    if (id) timers().rows.push_back({window, number, id});
}

void timer_stop(WINDOW* window, int number) {
    timers().remove([=](const WINDOW_TIMER& timer) { return timer.window == window && timer.number == number; });
}

void timer_forget(const WINDOW* window) {
    timers().remove([=](const WINDOW_TIMER& timer) { return timer.window == window; });
}
void timer_clear() {
    timers().remove([](const WINDOW_TIMER&) { return true; });
}
