#include <QMessageBox>
#include <QPushButton>

#include "platform/qt/qt_control.h"

namespace {

QMessageBox::Icon box_icon(BOX_ICON icon) {
    switch (icon) {
        case BOX_WARNING: return QMessageBox::Warning;
        case BOX_QUESTION: return QMessageBox::Question;
        case BOX_STOP: return QMessageBox::Critical;
        default: return QMessageBox::NoIcon;
    }
}

struct BOX_ANSWERS {
    QMessageBox::StandardButton yes, no;  // no: what Esc means
};
constexpr BOX_ANSWERS ANSWERS[] = {
    {QMessageBox::Ok, QMessageBox::Ok},
    {QMessageBox::Ok, QMessageBox::Cancel},
    {QMessageBox::Yes, QMessageBox::No},
};

}  // namespace

bool message_box(WINDOW* owner, const std::string& title, const std::string& text, BOX_ICON icon, BOX_BUTTONS buttons,
                 const std::string& detail) {
    const BOX_ANSWERS answers = ANSWERS[buttons];
    if (!window_system_running()) return buttons == BOX_OK;
    auto* box =
        new QMessageBox(box_icon(icon), qt_text(title), qt_text(text), answers.yes | answers.no, frame_of(owner));
    box->setTextFormat(Qt::PlainText);
    box->setInformativeText(qt_text(detail));
    box->setTextInteractionFlags(Qt::TextSelectableByMouse);
    box->setDefaultButton(answers.yes);
    box->setEscapeButton(answers.no);
    box->setWindowModality(Qt::ApplicationModal);
    const auto press = [box, answers](int result) { box->button(result == ID_OK ? answers.yes : answers.no)->click(); };
    WINDOW* window = dialog_enter(owner, box, box, {nullptr, nullptr, press, true});
    bool yes = buttons == BOX_OK;
    QObject::connect(box, &QDialog::finished,
                     [&yes, box, answers](int) { yes = box->clickedButton() == box->button(answers.yes); });
    box->show();
    dialog_wait(box, window);
    window_destroy(window);
    return yes;
}

void information_box(WINDOW* owner, const std::string& title, const std::string& text) {
    constexpr int CHARS = 72, ROWS = 20;
    enum { TEXT_ID = 100 };
    const DIALOG_TEMPLATE dialog{
        title,
        {{.kind = CONTROL_TEXT, .id = TEXT_ID, .text = {}, .unit = {}, .low = 1, .width = CHARS, .height = ROWS}},
        {{.kind = CONTROL_BUTTON, .id = ID_OK, .text = "OK", .unit = {}}}};
    const DIALOG_PROC proc = [](WINDOW* window, uint32_t message, uintptr_t, intptr_t, void* data) -> intptr_t {
        if (message != WM_INITDIALOG) return 0;
        WINDOW* shown = control_of(window, TEXT_ID);
        control_set_text(shown, *static_cast<const std::string*>(data));
        window_set_name(shown, window_title(window));
        window_focus(control_of(window, ID_OK));
        return 1;
    };
    std::string shown = text;
    dialog_run(dialog, owner, proc, &shown);
}
