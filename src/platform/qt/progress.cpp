#include <QMainWindow>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>

#include "platform/qt/qt_window.h"

namespace {

constexpr int BAR_HEIGHT = 3;

/// Lies above the frame's other widgets, so that nothing moves when it comes and goes.
struct PROGRESS_BAR : QWidget {
    int permille = 0;
    explicit PROGRESS_BAR(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAttribute(Qt::WA_OpaquePaintEvent);
    }
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), palette().mid());
        painter.fillRect(0, 0, width() * permille / 1000, height(), palette().highlight());
    }
};

}  // namespace

/// Over the lower edge of the menu bar; without one, over the upper edge of the client area.
void window_place_progress(WINDOW* window) {
    if (!window->progress) return;
    const int top = window->widget->mapTo(window->frame, QPoint(0, 0)).y();
    window->progress->setGeometry(0, std::max(top - BAR_HEIGHT, 0), window->frame->width(), BAR_HEIGHT);
    window->progress->raise();
}

void window_set_progress(WINDOW* window, int permille) {
    if (!window_exists(window) || !window->canvas) return;
    if (permille < 0) {
        if (window->progress) window->progress->hide();
        return;
    }
    if (!window->progress) window->progress = new PROGRESS_BAR(window->frame);
    auto* bar = static_cast<PROGRESS_BAR*>(window->progress);
    if (bar->isHidden()) {
        window_place_progress(window);
        bar->show();
    }
    if (std::exchange(bar->permille, std::min(permille, 1000)) != bar->permille) bar->update();
}
