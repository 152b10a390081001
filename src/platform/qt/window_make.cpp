#include <QGridLayout>
#include <QIcon>
#include <QMainWindow>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>

#include "platform/qt/qt_menu.h"

namespace {

QWidget* canvas_make(QWidget* parent) {
    auto* canvas = new QWidget(parent);
    canvas->setAttribute(Qt::WA_OpaquePaintEvent);
    canvas->setMouseTracking(true);
    canvas->setFocusPolicy(Qt::StrongFocus);
    canvas->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    return canvas;
}

Qt::WindowFlags window_flags(const WINDOW_MAKE& make) {
    const Qt::WindowFlags usual =
        Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;
    if (make.kind == WINDOW_MAIN) return Qt::Window;
    if (make.kind == WINDOW_TOOL) return Qt::Tool | usual;
    const Qt::WindowFlags sizes = Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint;
    return Qt::Window | usual | (make.flags & WINDOW_F_SIZABLE ? sizes : Qt::WindowMinimizeButtonHint);
}

/// What a step of the bar is called. The place stands in the upper half, as far as it fits.
void scroll_post(WINDOW* window, int bar, int code) {
    const auto place = uintptr_t(uint32_t(window->bars[bar]->sliderPosition()));
    window_post(window, bar ? WM_VSCROLL : WM_HSCROLL, uintptr_t(code) | place << 16, 0);
}

int scroll_code(int action) {
    switch (action) {
        case QAbstractSlider::SliderSingleStepAdd: return SCROLL_LINE_MORE;
        case QAbstractSlider::SliderSingleStepSub: return SCROLL_LINE_LESS;
        case QAbstractSlider::SliderPageStepAdd: return SCROLL_PAGE_MORE;
        case QAbstractSlider::SliderPageStepSub: return SCROLL_PAGE_LESS;
        case QAbstractSlider::SliderToMinimum:
        case QAbstractSlider::SliderToMaximum: return SCROLL_THUMB_DONE;
        default: return SCROLL_THUMB_MOVES;
    }
}

void scroll_bar_make(WINDOW* window, int bar, QWidget* body) {
    auto* made = new QScrollBar(bar ? Qt::Vertical : Qt::Horizontal, body);
    window->bars[bar] = made;
    QObject::connect(made, &QScrollBar::actionTriggered, [=](int action) {
        if (action != QAbstractSlider::SliderNoAction) scroll_post(window, bar, scroll_code(action));
    });
    QObject::connect(made, &QScrollBar::sliderReleased, [=] {
        scroll_post(window, bar, SCROLL_THUMB_DONE);
        scroll_post(window, bar, SCROLL_ENDS);
    });
}

/// The client area with its scroll bars fills the frame.
void body_lay_out(WINDOW* window, QWidget* body, uint32_t flags) {
    auto* grid = new QGridLayout(body);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(0);
    grid->addWidget(window->widget, 0, 0);
    if (flags & WINDOW_F_HSCROLL) scroll_bar_make(window, 0, body);
    if (flags & WINDOW_F_VSCROLL) scroll_bar_make(window, 1, body);
    if (window->bars[0]) grid->addWidget(window->bars[0], 1, 0);
    if (window->bars[1]) grid->addWidget(window->bars[1], 0, 1);
}

}  // namespace

WINDOW* window_create(const WINDOW_MAKE& make) {
    if (!window_system_running()) return nullptr;
    QWidget* owner = frame_of(make.owner);
    QWidget* frame =
        make.kind == WINDOW_MAIN ? new QMainWindow(owner, window_flags(make)) : new QWidget(owner, window_flags(make));
    QWidget* body = make.kind == WINDOW_MAIN ? new QWidget(frame) : frame;
    WINDOW* window = window_enter(owner ? make.owner : nullptr, canvas_make(body), frame);
    window->proc = make.proc;
    window->canvas = true;
    window->sizable = make.flags & WINDOW_F_SIZABLE;
    body_lay_out(window, body, make.flags);
    if (make.kind == WINDOW_MAIN) static_cast<QMainWindow*>(frame)->setCentralWidget(body);
    if (make.flags & WINDOW_F_ICON) frame->setWindowIcon(program_icon("ICON"));
    window_set_title(window, make.title ? make.title : "");
    window->widget->setFocus();
    window->quiet = true;  // WM_CREATE comes first
    window_resize_client(window, make.width, make.height);
    window_move(window, make.x, make.y);
    window->quiet = false;
    window_call(window, WM_CREATE, 0, 0);
    if (!window_exists(window)) return nullptr;
    window_tell_size(window);
    window_tell_place(window);
    return window_exists(window) ? window : nullptr;
}

void window_destroy(WINDOW* window) {
    QWidget* frame = frame_of(window);
    if (frame && window->leaving) return;
    window_forget(window);
    if (!frame) return;
    // Later, since an event of the widget itself may have led here.
    frame->hide();
    frame->deleteLater();
}

/// F10 opens the menu bar, with Shift the context menu.
static void f10_pressed(WINDOW* window) {
    if (key_held(KEY_CONTROL) || key_held(KEY_MENU)) return;
    if (key_held(KEY_SHIFT))
        window_call(window, WM_CONTEXTMENU, reinterpret_cast<uintptr_t>(window), -1);
    else
        menu_bar_open(window);
}

intptr_t window_default(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (!window_exists(window)) return 0;
    switch (message) {
        case WM_CLOSE: window_destroy(window); return 0;
        case WM_PAINT:
            if (QPainter* painter = window_painter(window); painter && window->canvas)
                painter->fillRect(window->widget->rect(), window->widget->palette().window());
            return 0;
        case WM_SYSKEYDOWN:
            if (wparam == KEY_F1 + 9) f10_pressed(window);
            return 0;
        case WM_RBUTTONUP: {
            const POINT at = window_to_screen(window, {message_x(lparam), message_y(lparam)});
            return window_call(window, WM_CONTEXTMENU, reinterpret_cast<uintptr_t>(window), message_point(at.x, at.y));
        }
        default: return 0;
    }
}

void window_scroll_range(WINDOW* window, bool vertical, int low, int high, int page) {
    QScrollBar* bar = window_exists(window) ? window->bars[vertical] : nullptr;
    if (!bar) return;
    // `high` is the last place of the whole content, of which the bar shows a page.
    bar->setRange(low, std::max(low, high - std::max(page - 1, 0)));
    bar->setPageStep(std::max(page, 1));
}
void window_scroll_set(WINDOW* window, bool vertical, int place) {
    if (window_exists(window) && window->bars[vertical]) window->bars[vertical]->setValue(place);
}
int window_scroll_place(const WINDOW* window, bool vertical) {
    return window_exists(window) && window->bars[vertical] ? window->bars[vertical]->sliderPosition() : 0;
}
