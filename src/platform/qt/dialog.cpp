#include <QAccessible>
#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QEventLoop>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <map>
#include <memory>

#include "platform/qt/qt_control.h"

namespace {

std::map<const WINDOW*, DIALOG_BOX>& dialogs() {
    static auto* const boxes = new std::map<const WINDOW*, DIALOG_BOX>;
    return *boxes;
}
std::vector<WINDOW*>& modal_dialogs() {
    static std::vector<WINDOW*> stack;
    return stack;
}

void dialog_command(WINDOW* window, int id) {
    if (window_exists(window)) window_call(window, WM_COMMAND, uintptr_t(id), 0);
}

/// The procedure of all dialogs: theirs, and what is usual for messages that it leaves alone.
intptr_t dialog_procedure(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const auto found = dialogs().find(window);
    if (found == dialogs().end()) return window_default(window, message, wparam, lparam);
    const DIALOG_BOX box = found->second;  // the procedure may take the entry away
    const intptr_t handled = box.proc ? box.proc(window, message, wparam, lparam, box.data) : 0;
    if (message == WM_DESTROY) dialogs().erase(window);
    if (handled || !window_exists(window) || !dialogs().contains(window)) return handled;
    if (message == WM_CLOSE) {
        dialog_command(window, ID_CANCEL);
        return 0;
    }
    if (message == WM_COMMAND && command_note(wparam) == NOTE_CLICKED) {
        const int id = command_id(wparam);
        if (id == ID_OK || id == ID_CANCEL) dialog_end(window, id);
        return 0;
    }
    return window_default(window, message, wparam, lparam);
}

/// A dialog's top-level widget. Enter is the button with the keyboard, else the one that shows itself as the usual one,
/// else ID_OK; Esc is ID_CANCEL.
struct DIALOG_FRAME : QDialog {
    WINDOW* window = nullptr;
    explicit DIALOG_FRAME(QWidget* parent) : QDialog(parent) {}

  protected:
    void keyPressEvent(QKeyEvent* event) override {
        const int key = event->key();
        if (key == Qt::Key_Escape) return dialog_command(window, ID_CANCEL);
        if (key != Qt::Key_Return && key != Qt::Key_Enter) return QDialog::keyPressEvent(event);
        if (auto* button = dynamic_cast<QPushButton*>(focusWidget())) return button->click();
        for (QPushButton* button : findChildren<QPushButton*>())
            if (button->isDefault() && button->isVisible()) return button->isEnabled() ? button->click() : void();
        dialog_command(window, ID_OK);
    }
    void closeEvent(QCloseEvent* event) override {
        event->ignore();
        if (window_exists(window)) window_call(window, WM_CLOSE, 0, 0);
    }
    void reject() override { dialog_command(window, ID_CANCEL); }
};

/// The last row, in the order that the desktop is used to.
void buttons_add(WINDOW* window, QDialog* frame, QVBoxLayout* column, std::span<const CONTROL_LINE> lines) {
    if (lines.empty()) return;
    auto* row = new QDialogButtonBox(frame);
    for (const CONTROL_LINE& line : lines) {
        const WINDOW* control = control_make(window, row, line);
        auto* button = control ? dynamic_cast<QPushButton*>(control->widget) : nullptr;
        if (!button) continue;
        button->setAutoDefault(true);
        row->addButton(button, line.id == ID_OK       ? QDialogButtonBox::AcceptRole
                               : line.id == ID_CANCEL ? QDialogButtonBox::RejectRole
                                                      : QDialogButtonBox::ActionRole);
        button->setDefault(line.id == ID_OK);
    }
    column->addWidget(row);
}

/// The keyboard goes to the first control, with its text selected.
void focus_first(const WINDOW* window) {
    for (const WINDOW* control : window->children) {
        if (control->widget->focusPolicy() == Qt::NoFocus || !control->widget->isEnabled()) continue;
        control->widget->setFocus(Qt::TabFocusReason);
        return;
    }
}

/// A field without a label stands for what the dialog is about: its title names it for screen readers.
void name_by_title(const WINDOW* window) {
    for (const WINDOW* control : window->children) {
        if (!control_has_label(control->kind)) continue;
        const QAccessibleInterface* known = QAccessible::queryAccessibleInterface(control->widget);
        if (known && known->text(QAccessible::Name).isEmpty())
            control->widget->setAccessibleName(window->frame->windowTitle());
    }
}

WINDOW* dialog_build(const DIALOG_TEMPLATE& dialog, WINDOW* parent, DIALOG_BOX box) {
    if (!window_system_running()) return nullptr;
    auto* frame = new DIALOG_FRAME(frame_of(parent));
    frame->setWindowTitle(qt_text(dialog.title));
    if (box.modal) {
        frame->setWindowModality(Qt::ApplicationModal);
        box.answer = [frame](int result) { frame->done(result); };
    } else {
        box.answer = [frame](int) { window_destroy(frame->window); };
    }
    frame->window = dialog_enter(parent, frame, frame, box);
    auto* column = new QVBoxLayout(frame);
    controls_lay_out(frame->window, frame, column, dialog.lines);
    buttons_add(frame->window, frame, column, dialog.buttons);
    name_by_title(frame->window);
    return frame->window;
}

/// Tells the procedure that the controls stand. The keyboard's place is chosen before, so that it may choose another.
bool dialog_start(WINDOW* window, void* data) {
    focus_first(window);
    window_call(window, WM_INITDIALOG, 0, reinterpret_cast<intptr_t>(data));
    return window_exists(window);
}

}  // namespace

WINDOW* dialog_enter(WINDOW* owner, QWidget* widget, QWidget* frame, const DIALOG_BOX& box) {
    WINDOW* window = window_enter(owner, widget, frame);
    window->proc = dialog_procedure;
    dialogs()[window] = box;
    return window;
}

void dialog_wait(QDialog* dialog, WINDOW* window) {
    QEventLoop loop;
    QObject::connect(dialog, &QDialog::finished, &loop, &QEventLoop::quit);
    QObject::connect(dialog, &QObject::destroyed, &loop, &QEventLoop::quit);
    // The loop may handle more before it sees that it is to end, and that must not find an answered dialog.
    const auto leave = [window] { std::erase(modal_dialogs(), window); };
    QObject::connect(dialog, &QDialog::finished, &loop, leave);
    modal_dialogs().push_back(window);
    loop.exec(QEventLoop::DialogExec);
    leave();
}

int dialog_run(const DIALOG_TEMPLATE& dialog, WINDOW* parent, DIALOG_PROC proc, void* data) {
    WINDOW* window = dialog_build(dialog, parent, {proc, data, {}, true});
    if (!window) return ID_CANCEL;
    int result = ID_CANCEL;
    bool ended = false;
    auto* frame = static_cast<DIALOG_FRAME*>(window->frame);
    QObject::connect(frame, &QDialog::finished, [&](int given) {
        result = given;
        ended = true;
    });
    // The procedure may end it before it is seen.
    if (dialog_start(window, data) && !ended) {
        frame->show();
        dialog_wait(frame, window);
    }
    window_destroy(window);
    return result;
}

WINDOW* dialog_open(const DIALOG_TEMPLATE& dialog, WINDOW* parent, DIALOG_PROC proc, void* data) {
    WINDOW* window = dialog_build(dialog, parent, {proc, data, {}, false});
    if (!window || !dialog_start(window, data)) return nullptr;
    window->frame->show();
    return window;
}

void dialog_end(WINDOW* dialog, int result) {
    if (!window_exists(dialog)) return;
    const auto found = dialogs().find(dialog);
    if (found == dialogs().end() || !found->second.answer) return;
    const auto answer = found->second.answer;  // which may take the entry away
    answer(result);
}

WINDOW* dialog_current() { return modal_dialogs().empty() ? nullptr : modal_dialogs().back(); }
