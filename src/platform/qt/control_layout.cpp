#include <QBoxLayout>
#include <QEvent>
#include <QFormLayout>
#include <QFrame>
#include <QGroupBox>
#include <QLabel>
#include <QStyle>
#include <QTabWidget>

#include "platform/qt/qt_control.h"

namespace {

/// An open CONTROL_COLUMN .. CONTROL_PAGE.
struct LEVEL {
    CONTROL_KIND kind;
    QWidget* parent;              // of the controls inside
    QBoxLayout* box;              // null: a form
    QFormLayout* form = nullptr;  // null: a box
    QLabel* row_label = nullptr;  // of a row in a form: what stands in the form's column of labels
    QTabWidget* tabs = nullptr;   // that a page which follows at once joins
};

struct LAYOUT_RUN {
    WINDOW* holder;
    std::vector<LEVEL> levels;
    QLabel* loose = nullptr;  // a label with the mark of a letter, which the next control gets
};

bool level_empty(const LEVEL& level) { return level.box && level.box->isEmpty() && !level.row_label; }
bool level_is_form_row(const LAYOUT_RUN& run) {
    const size_t n = run.levels.size();
    return n >= 2 && run.levels[n - 1].kind == CONTROL_ROW && run.levels[n - 2].form;
}

void level_add(LEVEL& level, QWidget* widget) {
    level.tabs = nullptr;
    if (level.form)
        level.form->addRow(widget);
    else
        level.box->addWidget(widget);
}
void level_add(LEVEL& level, QLayout* layout) {
    level.tabs = nullptr;
    if (level.form)
        level.form->addRow(layout);
    else
        level.box->addLayout(layout);
}

QWidget* rule_make(const LEVEL& level) {
    auto* rule = new QFrame(level.parent);
    rule->setFrameShape(level.kind == CONTROL_ROW ? QFrame::VLine : QFrame::HLine);
    rule->setFrameShadow(QFrame::Sunken);
    return rule;
}

void space_add(LEVEL& level) {
    level.tabs = nullptr;
    if (level.form)
        level.form->addItem(new QSpacerItem(0, 0, QSizePolicy::Minimum, QSizePolicy::Expanding));
    else
        level.box->addStretch(1);
}

/// Opens what lies on a widget of its own: a titled frame or a page.
void inner_open(LAYOUT_RUN& run, const CONTROL_LINE& line) {
    LEVEL& level = run.levels.back();
    QWidget* inner = nullptr;
    if (line.kind == CONTROL_GROUP) {
        inner = new QGroupBox(qt_text(line.text), level.parent);
        level_add(level, inner);
    } else {
        QTabWidget* tabs = level.tabs;
        if (!tabs) {
            tabs = new QTabWidget(level.parent);
            level_add(level, tabs);
            level.tabs = tabs;
        }
        inner = new QWidget(tabs);
        tabs->addTab(inner, qt_text(line.text));
    }
    run.levels.push_back({line.kind, inner, new QVBoxLayout(inner)});
}

void level_open(LAYOUT_RUN& run, const CONTROL_LINE& line) {
    if (line.kind == CONTROL_GROUP || line.kind == CONTROL_PAGE) return inner_open(run, line);
    LEVEL& level = run.levels.back();
    LEVEL inner{line.kind, level.parent, nullptr};
    if (line.kind == CONTROL_FORM) {
        inner.form = new QFormLayout;
        level_add(level, inner.form);
    } else {
        inner.box = line.kind == CONTROL_ROW ? static_cast<QBoxLayout*>(new QHBoxLayout) : new QVBoxLayout;
        // A row of a form is added when its label is known.
        if (!(level.form && line.kind == CONTROL_ROW)) level_add(level, inner.box);
    }
    run.levels.push_back(inner);
}

void level_close(LAYOUT_RUN& run) {
    if (run.levels.size() < 2) return;
    const bool form_row = level_is_form_row(run);
    const LEVEL closed = run.levels.back();
    run.levels.pop_back();
    if (!form_row) return;
    if (closed.row_label)
        run.levels.back().form->addRow(closed.row_label, closed.box);
    else
        run.levels.back().form->addRow(closed.box);
}

bool wants_width(const QWidget* widget) { return widget->sizePolicy().horizontalPolicy() & QSizePolicy::ExpandFlag; }

/// A field with its unit, which takes the room behind it when the field does not.
QBoxLayout* field_row(QWidget* field, QLabel* unit) {
    auto* row = new QHBoxLayout;
    row->addWidget(field);
    if (unit) row->addWidget(unit);
    if (!wants_width(field)) row->addStretch(1);
    return row;
}

/// A field in a column stands behind its label; a tall one under it.
void field_add_to_column(LEVEL& level, CONTROL_KIND kind, QWidget* field, QLabel* label, QLabel* unit) {
    const bool tall = kind == CONTROL_LIST || kind == CONTROL_TEXT;
    if (tall && label) level_add(level, label);
    if (tall || (!label && !unit && wants_width(field))) return level_add(level, field);
    QBoxLayout* row = field_row(field, unit);
    if (label) row->insertWidget(0, label);
    level_add(level, row);
}

void field_add(LAYOUT_RUN& run, const CONTROL_LINE& line, QWidget* field, QLabel* label, QLabel* unit) {
    LEVEL& level = run.levels.back();
    if (level.form) {
        level.form->addRow(label, field_row(field, unit));
    } else if (level.kind == CONTROL_ROW) {
        const bool lead = label && level_is_form_row(run) && level_empty(level);
        if (lead) level.row_label = label;
        if (label && !lead) level.box->addWidget(label);
        level.box->addWidget(field);
        if (unit) level.box->addWidget(unit);
    } else {
        field_add_to_column(level, line.kind, field, label, unit);
    }
}

QLabel* text_label(QWidget* parent, const std::string& text) {
    if (text.empty()) return nullptr;
    auto* label = new QLabel(qt_text(text), parent);
    label->setTextFormat(Qt::PlainText);
    return label;
}

void control_add(LAYOUT_RUN& run, const CONTROL_LINE& line) {
    LEVEL& level = run.levels.back();
    QLabel* label = control_has_label(line.kind) ? text_label(level.parent, line.text) : nullptr;
    const WINDOW* control = control_make(run.holder, level.parent, line);
    if (!control) return;
    QWidget* field = control->widget;
    if (line.kind == CONTROL_LABEL) {
        auto* text = static_cast<QLabel*>(field);
        if (line.text.find('&') != std::string::npos) run.loose = text;
        if (level_is_form_row(run) && level_empty(level))
            level.row_label = text;
        else
            level_add(level, text);
        return;
    }
    const bool field_kind = control_has_label(line.kind);
    QLabel* unit = field_kind ? text_label(level.parent, line.unit) : nullptr;
    control_join_texts(field, label, unit);
    if (run.loose && field->focusPolicy() != Qt::NoFocus) std::exchange(run.loose, nullptr)->setBuddy(field);
    if (field_kind)
        field_add(run, line, field, label, unit);
    else
        level_add(level, field);
}

void line_add(LAYOUT_RUN& run, const CONTROL_LINE& line) {
    switch (line.kind) {
        case CONTROL_COLUMN:
        case CONTROL_ROW:
        case CONTROL_FORM:
        case CONTROL_GROUP:
        case CONTROL_PAGE: return level_open(run, line);
        case CONTROL_END: return level_close(run);
        case CONTROL_SPACE: return space_add(run.levels.back());
        case CONTROL_RULE: return level_add(run.levels.back(), rule_make(run.levels.back()));
        default: return control_add(run, line);
    }
}

/// The controls of a layout stand on a sheet of their own, which goes when another one comes.
constexpr char SHEET[] = "control_sheet";

/// Keeps the client area of a window at the size that its controls need, which changes with their texts and font.
struct CLIENT_SIZE : QObject {
    QWidget* sheet;
    QSize known;
    explicit CLIENT_SIZE(QWidget* of) : QObject(of), sheet(of) { sheet->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::LayoutRequest) renew();
        return false;
    }
    void renew() {
        WINDOW* window = window_of(sheet->parentWidget());  // null once it has been destroyed, which the sheet outlives
        if (!window || sheet->objectName() != SHEET) return;
        const QSize need = sheet->layout()->totalMinimumSize();
        if (std::exchange(known, need) == need) return;
        window_set_min_client(window, need.width(), need.height());  // which makes a smaller one larger
    }
};

void sheet_remove(WINDOW* window) {
    auto* sheet = window->widget->findChild<QWidget*>(SHEET, Qt::FindDirectChildrenOnly);
    if (!sheet) return;
    const std::vector<WINDOW*> controls = window->children;
    for (WINDOW* control : controls)
        if (sheet->isAncestorOf(control->widget)) window_destroy(control);
    delete window->widget->layout();
    sheet->setObjectName({});
    sheet->hide();
    sheet->deleteLater();  // an event of a control may have led here
}

}  // namespace

void controls_lay_out(WINDOW* holder, QWidget* parent, QBoxLayout* into, std::span<const CONTROL_LINE> lines) {
    LAYOUT_RUN run{holder, {{CONTROL_COLUMN, parent, into}}};
    for (const CONTROL_LINE& line : lines) line_add(run, line);
    while (run.levels.size() > 1) level_close(run);
}

void window_set_controls(WINDOW* window, std::span<const CONTROL_LINE> lines) {
    if (!window_exists(window)) return;
    sheet_remove(window);
    auto* sheet = new QWidget(window->widget);
    sheet->setObjectName(SHEET);
    sheet->setMouseTracking(true);  // what it does not want itself goes on to the window
    auto* around = new QVBoxLayout(window->widget);
    around->setContentsMargins(0, 0, 0, 0);
    around->addWidget(sheet);
    constexpr int MARGIN = 6;
    auto* column = new QVBoxLayout(sheet);
    column->setContentsMargins(MARGIN, MARGIN, MARGIN, MARGIN);
    controls_lay_out(window, sheet, column, lines);
    (new CLIENT_SIZE(sheet))->renew();
    if (window->frame->isVisible()) sheet->show();
}
