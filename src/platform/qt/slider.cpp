#include <QPainter>
#include <QStyleOptionSlider>
#include <QWheelEvent>

#include "platform/qt/qt_control.h"

namespace {

constexpr int LENGTH = 120;     // usual, in pixels
constexpr int MARK_LIMIT = 64;  // marks closer to each other than this many a slider tell nothing

/// The code of a message for what the user did; movements by the pointer come without one.
int scroll_code(int action) {
    switch (action) {
        case QAbstractSlider::SliderSingleStepSub: return SCROLL_LINE_LESS;
        case QAbstractSlider::SliderSingleStepAdd: return SCROLL_LINE_MORE;
        case QAbstractSlider::SliderPageStepSub: return SCROLL_PAGE_LESS;
        case QAbstractSlider::SliderPageStepAdd: return SCROLL_PAGE_MORE;
        default: return SCROLL_THUMB_MOVES;
    }
}

/// Into the holder's queue. The place is cut to its low 16 bits; control_value tells it whole.
void slider_post(const SLIDER_FIELD* field, int code) {
    WINDOW* slider = window_of(field);
    if (!slider) return;
    const uint32_t message = field->orientation() == Qt::Horizontal ? WM_HSCROLL : WM_VSCROLL;
    const auto wparam = uintptr_t(code) | uintptr_t(field->sliderPosition() & 0xFFFF) << 16;
    window_post(slider->parent, message, wparam, reinterpret_cast<intptr_t>(slider));
}

/// Many styles fill the groove up to the handle, which would look like a selection: so at its low end and in grey.
void groove_draw(QPainter* painter, QStyleOptionSlider option, const QWidget* slider) {
    option.subControls = QStyle::SC_SliderGroove;
    option.sliderPosition = option.sliderValue = option.minimum;
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        option.palette.setColor(group, QPalette::Highlight, option.palette.color(group, QPalette::Mid));
    slider->style()->drawComplexControl(QStyle::CC_Slider, &option, painter, slider);
}

}  // namespace

SLIDER_FIELD::SLIDER_FIELD(QWidget* parent, const CONTROL_LINE& line) : QSlider(parent) {
    setRange(line.low, line.high);
    turn(line.height > line.width ? Qt::Vertical : Qt::Horizontal);
    const int length = std::max(line.width, line.height);
    if (orientation() == Qt::Horizontal)
        setMinimumWidth(length > 0 ? length : LENGTH);
    else
        setMinimumHeight(length > 0 ? length : LENGTH);
}

void SLIDER_FIELD::turn(Qt::Orientation orientation) {
    setOrientation(orientation);
    // The low end of an upright one is at its top.
    setInvertedAppearance(orientation == Qt::Vertical);
    setInvertedControls(orientation == Qt::Vertical);
}

/// The middle of the handle at a value, along the slider.
int SLIDER_FIELD::pixel_of(int value, const QRect& groove, int handle) const {
    const bool across = orientation() == Qt::Horizontal;
    const int room = (across ? groove.width() : groove.height()) - handle;
    const int offset = QStyle::sliderPositionFromValue(minimum(), maximum(), value, room);
    return (across ? groove.left() : groove.top()) + handle / 2 + offset;
}

void SLIDER_FIELD::back_draw(QPainter* painter, const QStyleOptionSlider& option) const {
    groove_draw(painter, option, this);
    const QRect groove = style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderGroove, this);
    const QRect handle = style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
    const bool across = orientation() == Qt::Horizontal;
    const int length = across ? handle.width() : handle.height();
    const int middle = across ? groove.center().y() : groove.center().x();
    const auto bar = [&](int from, int to, int side, int thick) {
        return across ? QRect(from, middle + side, to - from + 1, thick)
                      : QRect(middle + side, from, thick, to - from + 1);
    };
    if (start <= end) {
        QColor colour = palette().color(QPalette::Highlight);
        if (!isEnabled()) colour.setAlphaF(0.4F);
        painter->fillRect(bar(pixel_of(start, groove, length), pixel_of(end, groove, length), -2, 5), colour);
    }
    if (ticks <= 0 || (qint64(maximum()) - minimum()) / ticks > MARK_LIMIT) return;
    const int edge = (across ? height() - middle : width() - middle) - 4;
    for (qint64 value = minimum(); value <= maximum(); value += ticks) {
        const int at = pixel_of(int(value), groove, length);
        painter->fillRect(bar(at, at, edge, 3), palette().color(QPalette::WindowText));
    }
}

void SLIDER_FIELD::paintEvent(QPaintEvent*) {
    QStyleOptionSlider option;
    initStyleOption(&option);
    option.tickPosition = NoTicks;
    const BACK_LOOK look{size(),
                         devicePixelRatio(),
                         palette().cacheKey(),
                         int(option.state & ~QStyle::State_MouseOver),
                         option.direction,
                         minimum(),
                         maximum(),
                         ticks,
                         start,
                         end};
    if (back.isNull() || look != back_look) {
        back_look = look;
        back = QPixmap(size() * look.scale);
        back.setDevicePixelRatio(look.scale);
        back.fill(Qt::transparent);
        QPainter painter(&back);
        back_draw(&painter, option);
    }
    QPainter painter(this);
    painter.drawPixmap(0, 0, back);
    option.subControls = QStyle::SC_SliderHandle;
    style()->drawComplexControl(QStyle::CC_Slider, &option, &painter, this);
}

void SLIDER_FIELD::changeEvent(QEvent* event) {
    back = {};  // the style may be another one
    QSlider::changeEvent(event);
}

/// The wheel belongs to the window: over a slider it would change values by accident.
void SLIDER_FIELD::wheelEvent(QWheelEvent* event) { event->ignore(); }

QWidget* slider_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) { return new SLIDER_FIELD(parent, line); }

void slider_connect(QWidget* widget) {
    auto* field = static_cast<SLIDER_FIELD*>(widget);
    auto code = std::make_shared<int>(SCROLL_THUMB_MOVES);
    // The action comes before the value has changed; of a value that stays there is nothing to tell.
    QObject::connect(field, &QSlider::actionTriggered, [code](int action) { *code = scroll_code(action); });
    QObject::connect(field, &QSlider::valueChanged, [code, field] {
        const bool moved = field->isSliderDown();
        slider_post(field, moved ? SCROLL_THUMB_MOVES : *code);
        if (!moved) slider_post(field, SCROLL_ENDS);
    });
    QObject::connect(field, &QSlider::sliderReleased, [field] {
        slider_post(field, SCROLL_THUMB_DONE);
        slider_post(field, SCROLL_ENDS);
    });
}

void slider_set_steps(WINDOW* slider, int page, int ticks) {
    auto* field = control_as<SLIDER_FIELD>(slider);
    if (!field) return;
    field->setSingleStep(1);
    field->setPageStep(std::max(page, 1));
    field->ticks = ticks;
    field->update();
}

void slider_set_selection(WINDOW* slider, int start, int end) {
    auto* field = control_as<SLIDER_FIELD>(slider);
    if (!field) return;
    field->start = start;
    field->end = end;
    field->update();
}
