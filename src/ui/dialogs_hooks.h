#pragma once

#include "core/ui_hooks.h"

/// The entries of ui_hooks, by the file that has them; what they mean is told there. Inside the dialogs only.

// dialog_box.cpp
void dialog_warn(const char* text);
void dialog_warn_file(const char* text, const char* detail);
bool dialog_ask(const char* text);
bool dialog_ask_continue(const char* text);
bool dialog_ask_text(int title_id, char* buffer, size_t size);
/// What ask_continue needs to reach the main thread from another one.
void dialog_box_start();
void dialog_box_stop();

// dialog_file.cpp
bool dialog_file(FILE_DIALOG* dialog);
bool dialog_relink(RELINK_DIALOG* dialog);

// dialog_edit.cpp
bool dialog_range(RANGE_DIALOG* dialog);
bool dialog_frame(int* shown);
bool dialog_inter(INTER_DIALOG* dialog);
bool dialog_play_rate(PLAY_RATE_DIALOG* dialog);
bool dialog_size(SIZE_DIALOG* dialog);

// dialog_clipboard.cpp
bool dialog_put_picture(const CLIPBOARD_PICTURE& picture);
bool dialog_take_picture(CLIPBOARD_PICTURE* picture);
bool dialog_put_text(const char* text);
