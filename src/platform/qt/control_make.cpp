#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <algorithm>

#include "platform/qt/qt_control.h"

namespace {

constexpr int WRAP_FROM = 48;  // characters; shorter labels stay on one line

using EDIT_FIELD = SIZED_FIELD<QLineEdit>;
using TEXT_FIELD = SIZED_FIELD<QPlainTextEdit>;
using LIST_FIELD = SIZED_FIELD<QListWidget>;

/// By the widget, for its record may be gone before it.
void notify(const QWidget* widget, int note) {
    if (WINDOW* control = window_of(widget)) control_notify(control, note);
}

/// Tells the holder that an edit got or lost the keyboard. An open menu has the keys, not the focus: what it copies and
/// pastes must still be selected then.
struct FOCUS_NOTES : QObject {
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::FocusIn && event->type() != QEvent::FocusOut) return false;
        const auto* focus = static_cast<QFocusEvent*>(event);
        if (focus->reason() == Qt::PopupFocusReason || focus->reason() == Qt::MenuBarFocusReason) return false;
        notify(static_cast<QWidget*>(watched), focus->gotFocus() ? NOTE_FOCUS : NOTE_BLUR);
        return false;
    }
};
void focus_notes(QWidget* widget) { widget->installEventFilter(new FOCUS_NOTES(widget)); }

/// Tells the holder of Enter in a list; what the holder does not take presses the dialog's button, as elsewhere.
struct LIST_ENTER : QObject {
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::KeyPress) return false;
        const int key = static_cast<QKeyEvent*>(event)->key();
        const WINDOW* control = window_of(static_cast<QWidget*>(watched));
        if ((key != Qt::Key_Return && key != Qt::Key_Enter) || rows_selected(control) < 0) return false;
        const auto wparam = uintptr_t(control->id & 0xFFFF) | uintptr_t(NOTE_ACTIVATED) << 16;
        return window_call(control->parent, WM_COMMAND, wparam, reinterpret_cast<intptr_t>(control)) != 0;
    }
};

/// Its holder paints it: the record of the control takes WM_PAINT on to it.
struct PICTURE_FIELD : QWidget {
    QSize wish;
    PICTURE_FIELD(QWidget* parent, const CONTROL_LINE& line) : QWidget(parent), wish(line.width, line.height) {}
    QSize sizeHint() const override { return wish; }
    QSize minimumSizeHint() const override { return wish; }
};

QWidget* label_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) {
    auto* label = new QLabel(qt_text(line.text), parent);
    label->setTextFormat(Qt::PlainText);
    if (line.low == 1) label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setWordWrap(line.text.size() > WRAP_FROM);
    if (line.width > 0) label->setMinimumWidth(line.width * label->fontMetrics().horizontalAdvance('0'));
    if (label->wordWrap()) label->setMinimumWidth(WRAP_FROM * label->fontMetrics().averageCharWidth());
    return label;
}

QWidget* check_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) {
    return new QCheckBox(qt_text(line.text), parent);
}
QWidget* radio_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) {
    return new QRadioButton(qt_text(line.text), parent);
}
QWidget* button_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) {
    auto* button = new QPushButton(qt_text(line.text), parent);
    button->setAutoDefault(false);  // a dialog would make the first such button the one of Enter
    return button;
}
/// `clicked` comes by the user's hand alone, after the toggle.
void button_connect(QWidget* widget) {
    QObject::connect(static_cast<QAbstractButton*>(widget), &QAbstractButton::clicked,
                     [widget] { notify(widget, NOTE_CLICKED); });
}

QWidget* edit_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) {
    auto* edit = new EDIT_FIELD(parent, line);
    edit->setReadOnly(line.low == 1);
    // A field for a short number would look odd at the width of its window.
    constexpr int SHORT = 12;
    if (line.width > 0 && line.width <= SHORT) edit->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    return edit;
}
void edit_connect(QWidget* widget) {
    QObject::connect(static_cast<QLineEdit*>(widget), &QLineEdit::textEdited,
                     [widget] { notify(widget, NOTE_CHANGED); });
    focus_notes(widget);
}

QWidget* text_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) {
    auto* text = new TEXT_FIELD(parent, line);
    text->setReadOnly(line.low == 1);
    text->setTabChangesFocus(true);
    return text;
}
void text_connect(QWidget* widget) {
    QObject::connect(static_cast<QPlainTextEdit*>(widget), &QPlainTextEdit::textChanged,
                     [widget] { notify(widget, NOTE_CHANGED); });
    focus_notes(widget);
}

QWidget* number_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) { return new NUMBER_FIELD(parent, line); }
void number_connect(QWidget* widget) {
    auto* field = static_cast<NUMBER_FIELD*>(widget);
    const auto tell = [field] {
        const int number = field->number();
        if (std::exchange(field->told, number) != number) notify(field, NOTE_CHANGED);
    };
    QObject::connect(field->findChild<QLineEdit*>(), &QLineEdit::textEdited, field, tell);
    QObject::connect(field, &QSpinBox::valueChanged, field, tell);
    focus_notes(widget);
}

QWidget* combo_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) {
    auto* combo = new QComboBox(parent);
    combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    if (line.width > 0) combo->setMinimumContentsLength(line.width);
    combo->setEditable(line.low == 1);
    combo->setInsertPolicy(QComboBox::NoInsert);
    if (line.low == 1) combo->setCompleter(nullptr);
    return combo;
}
void combo_connect(QWidget* widget) {
    auto* combo = static_cast<QComboBox*>(widget);
    // Under a typed text the row that was chosen before may be chosen again.
    const auto chosen = combo->lineEdit() ? &QComboBox::activated : &QComboBox::currentIndexChanged;
    QObject::connect(combo, chosen, [widget] { notify(widget, NOTE_SELECTED); });
    if (!combo->lineEdit()) return;
    QObject::connect(combo->lineEdit(), &QLineEdit::textEdited, [widget] { notify(widget, NOTE_CHANGED); });
    focus_notes(widget);
}

QWidget* list_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) {
    auto* list = new LIST_FIELD(parent, line);
    list->setSelectionMode(line.low == 1 ? QAbstractItemView::ExtendedSelection : QAbstractItemView::SingleSelection);
    list->setProperty("marks", line.low == 2);
    if (line.low == 3) list->setDragDropMode(QAbstractItemView::InternalMove);
    return list;
}
void list_connect(QWidget* widget) {
    auto* list = static_cast<QListWidget*>(widget);
    QObject::connect(list, &QListWidget::itemSelectionChanged, [widget] { notify(widget, NOTE_SELECTED); });
    QObject::connect(list, &QListWidget::itemDoubleClicked, [widget] { notify(widget, NOTE_ACTIVATED); });
    QObject::connect(list, &QListWidget::itemChanged, [widget] { notify(widget, NOTE_CLICKED); });
    QObject::connect(list->model(), &QAbstractItemModel::rowsMoved, list,
                     [list](const QModelIndex&, int from, int, const QModelIndex&, int before) {
                         list->setProperty("moved", QPoint(from, before > from ? before - 1 : before));
                         notify(list, NOTE_MOVED);
                     });
    list->installEventFilter(new LIST_ENTER(list));
}

QWidget* picture_make(WINDOW*, QWidget* parent, const CONTROL_LINE& line) { return new PICTURE_FIELD(parent, line); }

/// One row a kind.
struct CONTROL_FACTORY {
    CONTROL_KIND kind;
    bool label;  // its text stands in front of it
    QWidget* (*make)(WINDOW* holder, QWidget* parent, const CONTROL_LINE& line);
    void (*connect)(QWidget* widget);  // null: no notes
};
constexpr CONTROL_FACTORY FACTORY[] = {
    {CONTROL_LABEL, false, label_make, nullptr},
    {CONTROL_CHECK, false, check_make, button_connect},
    {CONTROL_RADIO, false, radio_make, button_connect},
    {CONTROL_BUTTON, false, button_make, button_connect},
    {CONTROL_ICON_BUTTON, false, icon_button_make, nullptr},
    {CONTROL_EDIT, true, edit_make, edit_connect},
    {CONTROL_TEXT, true, text_make, text_connect},
    {CONTROL_NUMBER, true, number_make, number_connect},
    {CONTROL_COMBO, true, combo_make, combo_connect},
    {CONTROL_LIST, true, list_make, list_connect},
    {CONTROL_SLIDER, true, slider_make, slider_connect},
    {CONTROL_PICTURE, true, picture_make, nullptr},
};
const CONTROL_FACTORY* factory_of(CONTROL_KIND kind) {
    const auto* found = std::ranges::find(FACTORY, kind, &CONTROL_FACTORY::kind);
    return found == std::end(FACTORY) ? nullptr : found;
}

/// Enables and shows a label and a unit with their control.
struct TEXTS_FOLLOW : QObject {
    QWidget* follower;
    TEXTS_FOLLOW(QWidget* control, QWidget* text) : QObject(text), follower(text) { control->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto* control = static_cast<QWidget*>(watched);
        if (event->type() == QEvent::EnabledChange) follower->setEnabled(control->isEnabled());
        if (event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent)
            follower->setVisible(!control->isHidden());
        return false;
    }
};

/// A label's text as a name: without the mark of its letter and the colon behind it.
QString name_of_label(QString text) {
    text.remove('&');
    while (text.endsWith(u':') || text.endsWith(u'：') || text.endsWith(u' ')) text.chop(1);
    return text;
}

}  // namespace

bool control_has_label(CONTROL_KIND kind) {
    const CONTROL_FACTORY* factory = factory_of(kind);
    return factory && factory->label;
}

WINDOW* control_make(WINDOW* holder, QWidget* parent, const CONTROL_LINE& line) {
    const CONTROL_FACTORY* factory = factory_of(line.kind);
    if (!factory) return nullptr;
    QWidget* widget = factory->make(holder, parent, line);
    WINDOW* control = window_enter(holder, widget, widget);
    control->id = line.id;
    control->kind = line.kind;
    if (factory->label && !line.text.empty()) widget->setAccessibleName(name_of_label(qt_text(line.text)));
    if (factory->connect) factory->connect(widget);
    return control;
}

void control_join_texts(QWidget* control, QLabel* label, QLabel* unit) {
    if (label) {
        label->setBuddy(control);
        if (control->accessibleName().isEmpty()) control->setAccessibleName(name_of_label(label->text()));
        new TEXTS_FOLLOW(control, label);
    }
    if (unit) new TEXTS_FOLLOW(control, unit);
}
