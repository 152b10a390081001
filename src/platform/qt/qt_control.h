#pragma once

#include <QDialog>
#include <QListWidget>
#include <QPixmap>
#include <QSlider>
#include <QSpinBox>
#include <functional>

#include "platform/qt/qt_window.h"
#include "platform/window_box.h"

class QBoxLayout;
class QLabel;

/// What the controls and dialogs share. Only inside this folder.

inline QString qt_text(const std::string& text) { return QString::fromStdString(text); }

/// Makes the control of a line as a child of `parent` and enters it among the children of `holder`. Null for a line
/// that only lays out. The label in front and the unit behind are the layout's business.
WINDOW* control_make(WINDOW* holder, QWidget* parent, const CONTROL_LINE& line);
/// Whether `text` of this kind is a label in front of it.
bool control_has_label(CONTROL_KIND kind);
/// Joins a control and the texts around it: the label's mnemonic leads to the control, the label names it for screen
/// readers, and both are enabled and shown with it. Either may be null.
void control_join_texts(QWidget* control, QLabel* label, QLabel* unit);

/// Lays lines out in `into`, from top to bottom.
void controls_lay_out(WINDOW* holder, QWidget* parent, QBoxLayout* into, std::span<const CONTROL_LINE> lines);

/// The widget behind a control, when it is of that class; else null.
template <class FIELD>
FIELD* control_as(const WINDOW* control) {
    return window_exists(control) ? dynamic_cast<FIELD*>(control->widget) : nullptr;
}

/// A field whose size is told in characters and rows of its font, so that it follows the font.
template <class BASE>
struct SIZED_FIELD : BASE {
    int chars = 0, rows = 0;
    SIZED_FIELD(QWidget* parent, const CONTROL_LINE& line) : BASE(parent), chars(line.width), rows(line.height) {}
    QSize sizeHint() const override { return sized(BASE::sizeHint(), rows); }
    QSize minimumSizeHint() const override { return sized(BASE::minimumSizeHint(), rows > 3 ? 3 : rows); }

  private:
    QSize sized(QSize size, int shown_rows) const {
        const int frame = 2 * this->style()->pixelMetric(QStyle::PM_DefaultFrameWidth) + 8;
        const QFontMetrics font = this->fontMetrics();
        if (chars > 0) size.setWidth(chars * font.horizontalAdvance('0') + frame);
        if (shown_rows > 0) size.setHeight(shown_rows * (font.lineSpacing() + 2) + frame);
        return size;
    }
};

/// A whole number. Any number may stand in it while the user types; leaving it brings it into the range.
struct NUMBER_FIELD : QSpinBox {
    int chars = 0;
    int told = 0;  // the value of the last note
    NUMBER_FIELD(QWidget* parent, const CONTROL_LINE& line);
    int number() const;  // as typed, in the range; as near to 0 as it allows when empty
    using QSpinBox::textFromValue;
    QValidator::State validate(QString& text, int& place) const override;
    void fixup(QString& text) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void showEvent(QShowEvent* event) override;
};

/// A slider with marks and a range shown as selected.
struct SLIDER_FIELD : QSlider {
    int ticks = 0, start = 0, end = -1;
    SLIDER_FIELD(QWidget* parent, const CONTROL_LINE& line);
    void turn(Qt::Orientation orientation);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    /// What the slider looks like behind its handle depends on this. A style's rounded groove is slow to draw, and the
    /// handle moves with every frame.
    struct BACK_LOOK {
        QSize size;
        qreal scale = 0;
        qint64 palette = 0;
        int state = 0, direction = 0, low = 0, high = 0, ticks = 0, start = 0, end = 0;
        bool operator==(const BACK_LOOK&) const = default;
    };
    QPixmap back;
    BACK_LOOK back_look;
    int pixel_of(int value, const QRect& groove, int handle) const;
    void back_draw(QPainter* painter, const QStyleOptionSlider& option) const;
};
QWidget* slider_make(WINDOW* holder, QWidget* parent, const CONTROL_LINE& line);
void slider_connect(QWidget* slider);

QWidget* icon_button_make(WINDOW* holder, QWidget* parent, const CONTROL_LINE& line);

/// A modal box around any dialog of Qt's. `answer` is called for dialog_end and for ID_OK and ID_CANCEL that the
/// procedure leaves alone.
struct DIALOG_BOX {
    DIALOG_PROC proc = nullptr;
    void* data = nullptr;
    std::function<void(int result)> answer;
    bool modal = true;
};
/// Enters a dialog: makes its record, whose procedure is the box's, for as long as the widget lives.
WINDOW* dialog_enter(WINDOW* owner, QWidget* widget, QWidget* frame, const DIALOG_BOX& box);
/// Shows it and waits until it hides or is gone. Counts as dialog_current meanwhile.
void dialog_wait(QDialog* dialog, WINDOW* window);
