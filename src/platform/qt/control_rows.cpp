#include <QComboBox>
#include <QSignalBlocker>

#include "platform/qt/qt_control.h"
#include "platform/window_input.h"

namespace {

QListWidgetItem* list_row(const WINDOW* control, int index) {
    const auto* list = control_as<QListWidget>(control);
    return list ? list->item(index) : nullptr;  // null beyond the rows
}

void list_insert(QListWidget* list, int index, const QString& text) {
    const QSignalBlocker quiet(list);
    auto* row = new QListWidgetItem(text);
    row->setFlags(row->flags() & ~Qt::ItemIsDropEnabled);  // dragged ones go between the others
    if (list->property("marks").toBool()) {
        row->setFlags(row->flags() | Qt::ItemIsUserCheckable);
        row->setCheckState(Qt::Unchecked);
    }
    list->insertItem(index, row);
}

/// A combo chooses its first row by itself as soon as it has one; ours waits to be told.
void combo_insert(QComboBox* combo, int index, const QString& text) {
    const QSignalBlocker quiet(combo);
    const QString typed = combo->isEditable() ? combo->currentText() : QString();
    const bool first = combo->count() == 0;
    combo->insertItem(index, text);
    if (!first) return;
    combo->setCurrentIndex(-1);
    if (combo->isEditable()) combo->setEditText(typed);
}

}  // namespace

void rows_clear(WINDOW* control) {
    if (auto* list = control_as<QListWidget>(control)) {
        const QSignalBlocker quiet(list);
        list->clear();
    }
    if (auto* combo = control_as<QComboBox>(control)) {
        const QSignalBlocker quiet(combo);
        combo->clear();
    }
}

int rows_add(WINDOW* control, const std::string& text) {
    const int index = rows_count(control);
    rows_insert(control, index, text);
    return rows_count(control) > index ? index : -1;
}

void rows_insert(WINDOW* control, int index, const std::string& text) {
    if (auto* list = control_as<QListWidget>(control)) list_insert(list, index, qt_text(text));
    if (auto* combo = control_as<QComboBox>(control)) combo_insert(combo, index, qt_text(text));
}

void rows_remove(WINDOW* control, int index) {
    if (auto* list = control_as<QListWidget>(control)) {
        const QSignalBlocker quiet(list);
        delete list->takeItem(index);
    }
    if (auto* combo = control_as<QComboBox>(control)) {
        const QSignalBlocker quiet(combo);
        combo->removeItem(index);
    }
}

void rows_set_text(WINDOW* control, int index, const std::string& text) {
    if (QListWidgetItem* row = list_row(control, index)) {
        const QSignalBlocker quiet(row->listWidget());
        row->setText(qt_text(text));
    }
    if (auto* combo = control_as<QComboBox>(control)) {
        const QSignalBlocker quiet(combo);
        combo->setItemText(index, qt_text(text));
    }
}

std::string rows_text(const WINDOW* control, int index) {
    if (const QListWidgetItem* row = list_row(control, index)) return row->text().toStdString();
    const auto* combo = control_as<QComboBox>(control);
    return combo ? combo->itemText(index).toStdString() : std::string();
}

int rows_count(const WINDOW* control) {
    if (const auto* list = control_as<QListWidget>(control)) return list->count();
    const auto* combo = control_as<QComboBox>(control);
    return combo ? combo->count() : 0;
}

int rows_selected(const WINDOW* control) {
    if (const auto* list = control_as<QListWidget>(control)) {
        if (rows_is_selected(control, list->currentRow())) return list->currentRow();
        for (int i = 0; i < list->count(); ++i)
            if (list->item(i)->isSelected()) return i;
        return -1;
    }
    const auto* combo = control_as<QComboBox>(control);
    return combo ? combo->currentIndex() : -1;
}

void rows_select(WINDOW* control, int index) {
    if (auto* list = control_as<QListWidget>(control)) {
        const QSignalBlocker quiet(list);
        list->setCurrentRow(index);
        if (index < 0) list->clearSelection();
    }
    if (auto* combo = control_as<QComboBox>(control)) {
        const QSignalBlocker quiet(combo);
        combo->setCurrentIndex(index);
    }
}

bool rows_is_selected(const WINDOW* control, int index) {
    const QListWidgetItem* row = list_row(control, index);
    return row && row->isSelected();
}

bool rows_marked(const WINDOW* control, int index) {
    const QListWidgetItem* row = list_row(control, index);
    return row && row->checkState() == Qt::Checked;
}

void rows_mark(WINDOW* control, int index, bool on) {
    QListWidgetItem* row = list_row(control, index);
    if (!row || !(row->flags() & Qt::ItemIsUserCheckable)) return;
    const QSignalBlocker quiet(row->listWidget());
    row->setCheckState(on ? Qt::Checked : Qt::Unchecked);
}

bool rows_moved(const WINDOW* control, int* from, int* to) {
    const auto* list = control_as<QListWidget>(control);
    const QVariant moved = list ? list->property("moved") : QVariant();
    if (!moved.isValid()) return false;
    *from = moved.toPoint().x();
    *to = moved.toPoint().y();
    return true;
}

// Qt's own drag asks the desktop; what it does in the end is this.
void input_drag_row(WINDOW* control, int from, int to) {
    auto* list = control_as<QListWidget>(control);
    if (!list || list->dragDropMode() != QAbstractItemView::InternalMove || from == to) return;
    if (!list_row(control, from) || !list_row(control, to)) return;
    list->setCurrentRow(from);
    list->model()->moveRow({}, from, {}, to > from ? to + 1 : to);
}
