#include "ui/dialogs.h"

#include "core/message.h"
#include "platform/text.h"
#include "resources/string_ids.h"
#include "resources/templates.h"
#include "ui/dialogs_hooks.h"
#include "ui/dialogs_output.h"

static WINDOW* main_window;

void dialogs_install(WINDOW* window) {
    main_window = window;
    dialog_box_start();
    ui_hooks.warn = dialog_warn;
    ui_hooks.warn_file = dialog_warn_file;
    ui_hooks.ask = dialog_ask;
    ui_hooks.ask_continue = dialog_ask_continue;
    ui_hooks.ask_text = dialog_ask_text;
    ui_hooks.file_dialog = dialog_file;
    ui_hooks.relink = dialog_relink;
    ui_hooks.ask_range = dialog_range;
    ui_hooks.ask_frame = dialog_frame;
    ui_hooks.choose_inter = dialog_inter;
    ui_hooks.ask_play_rate = dialog_play_rate;
    ui_hooks.ask_size = dialog_size;
    ui_hooks.clipboard_put_picture = dialog_put_picture;
    ui_hooks.clipboard_take_picture = dialog_take_picture;
    ui_hooks.clipboard_put_text = dialog_put_text;
    dialogs_install_output(window);
}

void dialogs_remove() {
    ui_hooks = {};
    dialog_box_stop();
    main_window = nullptr;
}

WINDOW* dialogs_owner() {
    WINDOW* modal = dialog_current();
    return modal ? modal : main_window;
}

intptr_t dialogs_proc(WINDOW* dialog, uint32_t message, uintptr_t wparam, intptr_t, void* data) {
    const auto* steps = static_cast<const DIALOG_STEPS*>(data);
    if (message == WM_INITDIALOG && steps->init) steps->init(dialog);
    if (message != WM_COMMAND) return 0;
    const int id = command_id(wparam);
    if (id == ID_OK) return steps->take && !steps->take(dialog);
    if (id == ID_CANCEL || !steps->command) return 0;
    steps->command(dialog, id, command_note(wparam));
    return 1;
}

bool dialogs_run_titled(const char* name, const std::string& title, const DIALOG_STEPS& steps) {
    DIALOG_TEMPLATE dialog = language_dialog(name);
    dialog.title = title;
    return dialog_run(dialog, dialogs_owner(), dialogs_proc, const_cast<DIALOG_STEPS*>(&steps)) == ID_OK;
}

bool dialogs_run(const char* name, const DIALOG_STEPS& steps) {
    return dialogs_run_titled(name, language_dialog(name).title, steps);
}

bool dialogs_take_text(WINDOW* field, char* buffer, size_t size) {
    const std::string text = text_from_utf8(control_text(field));
    if (text.size() < size) return text_copy(buffer, size, text);
    window_focus(field);
    message_warn(STR_TEXT_TOO_LONG, text.c_str(), int(size - 1));
    return false;
}
