#include <algorithm>
#include <deque>
#include <memory>
#include <unordered_map>
#include <unordered_set>

#include "platform/qt/qt_window.h"
#include "platform/window_menu.h"

namespace {

// A dead record's address is not given to a new window before so many others have died, so that an old pointer finds a
// dead window and not a stranger.
constexpr size_t DEAD_KEPT = 8192;

/// Every entered widget is watched by this one.
struct WINDOW_WATCH : QObject {
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (!watched->isWidgetType()) return false;
        auto* widget = static_cast<QWidget*>(watched);
        WINDOW* window = window_of(widget);
        return window && window_event(window, widget, event);
    }
};

struct WINDOW_TABLE {
    std::unordered_set<const WINDOW*> living;
    std::unordered_map<const QWidget*, WINDOW*> by_widget;
    std::deque<std::unique_ptr<WINDOW>> dead;
    WINDOW_WATCH watch;
};
WINDOW_TABLE& table() {
    static auto* const the_table = new WINDOW_TABLE;
    return *the_table;
}

void forget_owned(const WINDOW* owner) {
    for (WINDOW* window : window_all())
        if (window_exists(window) && window->parent == owner && window->kind == CONTROL_END) window_destroy(window);
}

void bury(WINDOW* window) {
    WINDOW_TABLE& t = table();
    std::erase_if(t.by_widget, [window](const auto& entry) { return entry.second == window; });
    t.living.erase(window);
    if (window->widget) window->widget->removeEventFilter(&t.watch);
    if (window->frame) window->frame->removeEventFilter(&t.watch);
    if (window_exists(window->parent)) std::erase(window->parent->children, window);
    *window = WINDOW{};
    t.dead.emplace_back(window);
    if (t.dead.size() > DEAD_KEPT) t.dead.pop_front();
}

}  // namespace

WINDOW* window_enter(WINDOW* parent, QWidget* widget, QWidget* frame) {
    WINDOW_TABLE& t = table();
    auto* window = new WINDOW;
    window->widget = widget;
    window->frame = frame;
    window->parent = parent;
    t.living.insert(window);
    t.by_widget[widget] = window;
    t.by_widget[frame] = window;
    widget->installEventFilter(&t.watch);
    if (frame != widget) frame->installEventFilter(&t.watch);
    if (parent && !frame->isWindow()) parent->children.push_back(window);
    QObject::connect(widget, &QObject::destroyed, &t.watch, [window] {
        if (!window_exists(window)) return;
        window->widget = window->frame = nullptr;
        window_forget(window);
    });
    return window;
}

void window_forget(WINDOW* window) {
    if (!window_exists(window) || window->leaving) return;
    window->leaving = true;
    forget_owned(window);
    if (window->kind == CONTROL_END) window_call(window, WM_DESTROY, 0, 0);
    while (!window->children.empty()) {
        WINDOW* last = window->children.back();
        window_forget(last);
        if (!window->children.empty() && window->children.back() == last) window->children.pop_back();
    }
    timer_forget(window);
    queue_forget(window);
    if (window->menu) menu_destroy(window->menu);
    bury(window);
}

WINDOW* window_of(const QWidget* widget) {
    const auto found = table().by_widget.find(widget);
    return found == table().by_widget.end() ? nullptr : found->second;
}
WINDOW* window_around(const QWidget* widget) {
    for (; widget; widget = widget->parentWidget())
        if (WINDOW* window = window_of(widget)) return window;
    return nullptr;
}

bool window_exists(const WINDOW* window) { return window && table().living.contains(window); }
QWidget* widget_of(const WINDOW* window) { return window_exists(window) ? window->widget : nullptr; }
QWidget* frame_of(const WINDOW* window) { return window_exists(window) ? window->frame : nullptr; }

std::vector<WINDOW*> window_all() {
    std::vector<WINDOW*> all;
    for (const auto& [widget, window] : table().by_widget)
        if (std::ranges::find(all, window) == all.end()) all.push_back(window);
    return all;
}

void window_table_clear() {
    for (WINDOW* window : window_all()) window_destroy(window);
    table().dead.clear();
}

intptr_t window_call(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (!window_exists(window)) return 0;
    if (refresh_running()) {
        refresh_miss();
        if (message != WM_TIMER || !window_waiting(window, WM_TIMER)) window_post(window, message, wparam, lparam);
        return 0;
    }
    if (window->proc) return window->proc(window, message, wparam, lparam);
    return window_default(window, message, wparam, lparam);
}

void control_notify(WINDOW* control, int note) {
    if (!window_exists(control)) return;
    const auto wparam = uintptr_t(control->id & 0xFFFF) | uintptr_t(note & 0xFFFF) << 16;
    window_call(control->parent, WM_COMMAND, wparam, reinterpret_cast<intptr_t>(control));
}

intptr_t window_send(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    return window_call(window, message, wparam, lparam);
}

void window_set_data(WINDOW* window, void* data) {
    if (window_exists(window)) window->data = data;
}
void* window_data(const WINDOW* window) { return window_exists(window) ? window->data : nullptr; }
WINDOW* window_parent(const WINDOW* window) { return window_exists(window) ? window->parent : nullptr; }
