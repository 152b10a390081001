#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/window_menu.h"

/// Which key of the main window posts which command. Main thread.

enum KEY_MODIFIER : uint32_t { KEY_MODIFIER_SHIFT = 1, KEY_MODIFIER_CTRL = 2, KEY_MODIFIER_ALT = 4 };
struct KEY_BINDING {
    uint32_t modifiers;  // KEY_MODIFIER_...
    uint32_t key;        // virtual key
    uint32_t command;    // 0: a free entry
};
inline constexpr int KEY_TABLE_MAX = 512;

/// Puts the program's own bindings into the table.
void key_table_reset();
std::span<const KEY_BINDING> key_table();

/// WM_KEYDOWN or WM_SYSKEYDOWN of the main window: posts the command that is bound to the key. A binding of exactly
/// the modifiers that are held goes before one without any, which serves for all. A repeat is dropped while the
/// window has not caught up with the one before. Always 0.
int key_dispatch(WINDOW* window, uint32_t message, uintptr_t key, intptr_t lparam);

/// "Ctrl+O" in UTF-8; "" for a key without a name.
std::string key_binding_text(const KEY_BINDING& binding);
/// Shows the bindings beside the entries of a menu.
void key_table_show(MENU* menu);
