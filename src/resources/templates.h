#pragma once

#include "platform/window_control.h"
#include "platform/window_menu.h"

/// Menus and dialogs by name, from plain text (menus_ja.cpp, dialogs_ja.cpp), so that a language can replace them one
/// by one. An unknown name gives an empty template. Main thread only.
///
/// A text has one line for each entry, blanks in front are free, '#' begins a remark:
///
///     menu CONTEXT                        dialog SELECT "title"
///       popup "text (&T)"                   form
///         item 5097 "text(&O)..." "Ctrl+O"    number 32000 "label" 0 9999999 "unit"
///         --                                end
///       end                               buttons 1 "OK" 2 "Cancel"
///     end                               end
///
/// Lines of a dialog: column, row, form, group "title", page "tab", end; space, rule; then, each with its number first
/// and its text second: label, check, radio, button, icon, edit [width], text [width rows], number low high ["unit"
/// [width]], combo [width], list [width rows], slider low high, picture [width height]. `-readonly`, `-free`,
/// `-several`, `-marks` and `-movable` at the end of a line set `low` as CONTROL_KIND tells.
MENU_TEMPLATE language_menu(const char* name);
DIALOG_TEMPLATE language_dialog(const char* name);

/// The same from a text. Damaged lines are left out.
MENU_TEMPLATE menu_from_text(std::string_view text, std::string_view name);
DIALOG_TEMPLATE dialog_from_text(std::string_view text, std::string_view name);

/// The program's own texts.
extern const char MENUS_JA[];
extern const char DIALOGS_JA[];
extern const char DIALOGS_OUTPUT_JA[];  // of compression and output
