#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <algorithm>

#include "platform/qt/qt_control.h"

namespace {

/// Text of each class of widgets that has one. A setter says nothing to the holder.
template <class FIELD>
struct TEXT_OF {
    static QString get(const FIELD& field) { return field.text(); }
    static void set(FIELD& field, const QString& text) { field.setText(text); }
};
/// Of a long text the beginning is shown.
template <>
struct TEXT_OF<QLineEdit> {
    static QString get(const QLineEdit& field) { return field.text(); }
    static void set(QLineEdit& field, const QString& text) {
        field.setText(text);
        field.home(false);
    }
};
template <>
struct TEXT_OF<QComboBox> {
    static QString get(const QComboBox& field) { return field.currentText(); }
    static void set(QComboBox& field, const QString& text) {
        if (field.isEditable())
            TEXT_OF<QLineEdit>::set(*field.lineEdit(), text);
        else
            field.setCurrentIndex(field.findText(text));
    }
};
template <>
struct TEXT_OF<QPlainTextEdit> {
    static QString get(const QPlainTextEdit& field) { return field.toPlainText(); }
    static void set(QPlainTextEdit& field, const QString& text) { field.setPlainText(text); }
};
template <>
struct TEXT_OF<NUMBER_FIELD> {
    static QString get(const NUMBER_FIELD& field) { return field.text(); }
    static void set(NUMBER_FIELD& field, const QString& text) {
        auto* edit = field.findChild<QLineEdit*>();
        // An empty text would count as half typed, and be made a number when the field hides.
        const QSignalBlocker quiet(text.isEmpty() ? edit : nullptr);
        edit->setText(text);
        field.told = field.number();
    }
};

template <class FIELD>
bool text_get(const WINDOW* control, std::string* text) {
    const auto* field = control_as<FIELD>(control);
    if (field) *text = TEXT_OF<FIELD>::get(*field).toStdString();
    return field;
}
template <class FIELD>
bool text_set(WINDOW* control, const QString& text) {
    auto* field = control_as<FIELD>(control);
    if (!field) return false;
    const QSignalBlocker quiet(field);
    TEXT_OF<FIELD>::set(*field, text);
    return true;
}

}  // namespace

NUMBER_FIELD::NUMBER_FIELD(QWidget* parent, const CONTROL_LINE& line) : QSpinBox(parent), chars(line.width) {
    setRange(line.low, line.high);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setCorrectionMode(QAbstractSpinBox::CorrectToNearestValue);
    told = number();
}

int NUMBER_FIELD::number() const {
    // Numbers beyond 64 bits cannot be typed, see validate.
    bool good = false;
    const qlonglong typed = locale().toLongLong(text(), &good);
    return good ? int(std::clamp<qlonglong>(typed, minimum(), maximum())) : std::clamp(0, minimum(), maximum());
}

QValidator::State NUMBER_FIELD::validate(QString& text, int&) const {
    constexpr qsizetype LONGEST = 11;  // digits and sign of any int
    if (text.isEmpty() || (text == "-" && minimum() < 0)) return QValidator::Intermediate;
    bool good = false;
    const qlonglong typed = locale().toLongLong(text, &good);
    if (!good || text.size() > LONGEST) return QValidator::Invalid;
    return typed < minimum() || typed > maximum() ? QValidator::Intermediate : QValidator::Acceptable;
}

void NUMBER_FIELD::fixup(QString& text) const { text = locale().toString(number()).remove(locale().groupSeparator()); }

void NUMBER_FIELD::showEvent(QShowEvent* event) {
    const QString shown = text();
    QSpinBox::showEvent(event);  // which writes the value anew, and an empty text has none
    if (text() != shown) lineEdit()->setText(shown);
}

QSize NUMBER_FIELD::sizeHint() const {
    QSize size = QSpinBox::sizeHint();
    if (chars > 0) size.setWidth(chars * fontMetrics().horizontalAdvance('0') + 2 * size.height());
    return size;
}

std::string control_text(const WINDOW* control) {
    std::string text;
    (void)(text_get<QLineEdit>(control, &text) || text_get<QAbstractButton>(control, &text) ||
           text_get<QLabel>(control, &text) || text_get<QComboBox>(control, &text) ||
           text_get<QPlainTextEdit>(control, &text) || text_get<NUMBER_FIELD>(control, &text));
    return text;
}

void control_set_text(WINDOW* control, const std::string& text) {
    const QString shown = qt_text(text);
    (void)(text_set<QLineEdit>(control, shown) || text_set<QAbstractButton>(control, shown) ||
           text_set<QLabel>(control, shown) || text_set<QComboBox>(control, shown) ||
           text_set<QPlainTextEdit>(control, shown) || text_set<NUMBER_FIELD>(control, shown));
}

void control_select_all(WINDOW* control) {
    if (auto* edit = control_as<QLineEdit>(control)) edit->selectAll();
    if (auto* text = control_as<QPlainTextEdit>(control)) text->selectAll();
    if (auto* number = control_as<QSpinBox>(control)) number->selectAll();
    if (auto* list = control_as<QListWidget>(control)) {
        const QSignalBlocker quiet(list);
        list->selectAll();
    }
    if (auto* combo = control_as<QComboBox>(control); combo && combo->lineEdit()) combo->lineEdit()->selectAll();
}

bool control_checked(const WINDOW* control) {
    const auto* button = control_as<QAbstractButton>(control);
    return button && button->isChecked();
}

void control_check(WINDOW* control, bool on) {
    auto* button = control_as<QAbstractButton>(control);
    if (!button || !button->isCheckable()) return;
    const QSignalBlocker quiet(button);
    // The checked one of an exclusive group refuses to be cleared by itself.
    const bool exclusive = button->autoExclusive();
    if (!on) button->setAutoExclusive(false);
    button->setChecked(on);
    button->setAutoExclusive(exclusive);
}

int control_value(const WINDOW* control) {
    if (const auto* number = control_as<NUMBER_FIELD>(control)) return number->number();
    if (const auto* slider = control_as<QSlider>(control)) return slider->sliderPosition();
    return 0;
}

void control_set_value(WINDOW* control, int value) {
    if (auto* number = control_as<NUMBER_FIELD>(control)) {
        const QSignalBlocker quiet(number);
        number->setValue(value);
        // The value may stand already while another text is shown: an empty one, or one beyond the range.
        number->findChild<QLineEdit*>()->setText(number->textFromValue(number->value()));
        number->told = number->number();
    }
    if (auto* slider = control_as<QSlider>(control)) {
        const QSignalBlocker quiet(slider);
        slider->setValue(value);
    }
}

void control_set_range(WINDOW* control, int low, int high) {
    if (auto* number = control_as<NUMBER_FIELD>(control)) {
        const QSignalBlocker quiet(number);
        number->setRange(low, high);
        number->told = number->number();
    }
    if (auto* slider = control_as<QSlider>(control)) {
        const QSignalBlocker quiet(slider);
        slider->setRange(low, high);
        slider->update();
    }
}

WINDOW* control_of(WINDOW* window, int id, int n) {
    if (!window_exists(window)) return nullptr;
    for (WINDOW* child : window->children)
        if (child->kind != CONTROL_END && child->id == id && n-- == 0) return child;
    return nullptr;
}

int control_id(const WINDOW* control) { return window_exists(control) ? control->id : 0; }

WINDOW* control_create(WINDOW* parent, const CONTROL_LINE& line, const RECT& rect) {
    if (!window_exists(parent)) return nullptr;
    WINDOW* control = control_make(parent, parent->widget, line);
    if (!control) return nullptr;
    control_place(control, rect);
    control->widget->show();
    return control;
}

void control_place(WINDOW* control, const RECT& rect) {
    QWidget* widget = widget_of(control);
    if (!widget || control->kind == CONTROL_END) return;
    if (auto* slider = control_as<SLIDER_FIELD>(control))
        slider->turn(rect.height > rect.width ? Qt::Vertical : Qt::Horizontal);
    widget->setGeometry(rect.left, rect.top, rect.width, rect.height);
}
