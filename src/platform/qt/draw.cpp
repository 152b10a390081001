#include "platform/window_draw.h"

#include <qdrawutil.h>
#include <QApplication>
#include <QIcon>
#include <QPainter>
#include <QPalette>

#include "platform/qt/qt_window.h"

uint32_t theme_colour(THEME_COLOUR colour) {
    constexpr QPalette::ColorRole ROLES[] = {QPalette::Window, QPalette::WindowText, QPalette::Base,
                                             QPalette::Text,   QPalette::Highlight,  QPalette::HighlightedText};
    return QApplication::palette().color(ROLES[colour]).rgb() & 0xFFFFFF;
}

bool theme_dark() {
    const QPalette palette = QApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

void draw_fill(WINDOW* window, const RECT& rect, uint32_t colour) {
    if (QPainter* painter = window_painter(window)) painter->fillRect(qt_rect(rect), QColor::fromRgb(colour));
}

void draw_icon(WINDOW* window, const RECT& rect, const char* icon) {
    if (QPainter* painter = window_painter(window))
        program_icon(icon).paint(painter, qt_rect(rect), Qt::AlignCenter,
                                 window->widget->isEnabled() ? QIcon::Normal : QIcon::Disabled);
}

void draw_edge(WINDOW* window, const RECT& rect, bool sunken) {
    if (QPainter* painter = window_painter(window))
        qDrawShadePanel(painter, qt_rect(rect), window->widget->palette(), sunken);
}

void draw_text(WINDOW* window, const RECT& rect, const std::string& text, uint32_t colour, TEXT_PLACE place) {
    QPainter* painter = window_painter(window);
    if (!painter) return;
    constexpr Qt::Alignment PLACES[] = {Qt::AlignLeft, Qt::AlignHCenter, Qt::AlignRight};
    const QString line = painter->fontMetrics().elidedText(QString::fromStdString(text), Qt::ElideRight, rect.width);
    painter->setPen(QColor::fromRgb(colour));
    painter->drawText(qt_rect(rect), int(PLACES[place] | Qt::AlignVCenter) | Qt::TextSingleLine, line);
}

POINT text_size(const WINDOW* window, const std::string& text) {
    const QWidget* widget = widget_of(window);
    if (!widget) return {};
    const QFontMetrics metrics = widget->fontMetrics();
    return {metrics.horizontalAdvance(QString::fromStdString(text)), metrics.height()};
}
