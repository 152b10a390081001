#pragma once

#include <functional>
#include <string>

#include "platform/window_control.h"

/// The dialogs of the program: how the engine's questions (core/ui_hooks.h) reach the user. Main thread.

/// Fills the entries of ui_hooks for boxes, questions, file dialogs, texts, the clipboard and all dialogs.
void dialogs_install(WINDOW* main_window);
/// Empties the whole of ui_hooks; questions of workers that still wait are answered with No.
void dialogs_remove();

/// Command 108, the system settings. True after OK: the values are stored and at work, and what shows them (picture,
/// slider steps, frame numbers) is to be renewed by the caller.
bool dialog_system_run();
/// Commands 5139 (sound false) and 5181. True after OK: the chain has changed.
bool dialog_filter_order_run(bool sound);

// ---- for the dialogs themselves

/// What boxes and dialogs belong to: the topmost modal dialog, else the main window.
WINDOW* dialogs_owner();

/// What a dialog does, besides closing by its buttons. Each may be empty.
struct DIALOG_STEPS {
    std::function<void(WINDOW* dialog)> init;                       // its controls stand
    std::function<bool(WINDOW* dialog)> take;                       // OK; false keeps it open
    std::function<void(WINDOW* dialog, int id, int note)> command;  // all other WM_COMMAND
};
/// The procedure for it, with `data` a pointer to the DIALOG_STEPS.
intptr_t dialogs_proc(WINDOW* dialog, uint32_t message, uintptr_t wparam, intptr_t lparam, void* data);
/// Runs a dialog by the name of its template. True: OK.
bool dialogs_run(const char* name, const DIALOG_STEPS& steps);
/// The same with a title of its own (UTF-8).
bool dialogs_run_titled(const char* name, const std::string& title, const DIALOG_STEPS& steps);
/// Takes the text of a field into a buffer of code page 932. False: it is too long; the user has been told, and the
/// field has the keyboard.
bool dialogs_take_text(WINDOW* field, char* buffer, size_t size);
