#pragma once

#include "platform/window.h"

/// Controls in windows and dialogs, and dialogs as a whole. Main thread. Texts are UTF-8.

enum CONTROL_KIND {
    // layout: everything up to the matching CONTROL_END stands below each other, beside each other, in two columns of
    // labels and fields, inside a titled frame, or on a page of tabs (its text is the tab's)
    CONTROL_COLUMN,
    CONTROL_ROW,
    CONTROL_FORM,
    CONTROL_GROUP,
    CONTROL_PAGE,
    CONTROL_END,
    CONTROL_SPACE,  // takes the room that is left
    CONTROL_RULE,   // a line
    // controls
    CONTROL_LABEL,  // text, which may be long and then wraps; low = 1: at the right
    CONTROL_CHECK,
    CONTROL_RADIO,
    CONTROL_BUTTON,       // push button
    CONTROL_ICON_BUTTON,  // icon in `text`, `unit`: what it does; fires at the press and repeats like a key while held
    CONTROL_EDIT,         // one line of text; low = 1: read only
    CONTROL_TEXT,         // several lines of text, low = 1: read only
    CONTROL_NUMBER,       // whole number from low to high with steps
    CONTROL_COMBO,        // choice of one; low = 1: free text as well
    CONTROL_LIST,         // rows; low = 1: several may be selected, 2: a mark in front of each, 3: may be dragged
    CONTROL_SLIDER,       // low .. high
    CONTROL_PICTURE,      // painted by the window that holds it: WM_PAINT goes there with lparam = the control
};

/// One line of a dialog or of a window's controls. `text` of a field is its label, placed in front; `unit` stands
/// behind.
struct CONTROL_LINE {
    CONTROL_KIND kind;
    int id = 0;
    std::string text = {};
    std::string unit = {};
    int low = 0, high = 0;
    int width = 0;  // wished width in characters (fields) or pixels (pictures), 0 = usual; height for LIST, TEXT: rows
    int height = 0;
};
struct DIALOG_TEMPLATE {
    std::string title;
    std::vector<CONTROL_LINE> lines;
    std::vector<CONTROL_LINE>
        buttons;  // of the last row: CONTROL_BUTTON, ids 1 (default) and 2 (cancel) have their usual meaning
};

/// Notes in WM_COMMAND.
enum CONTROL_NOTE {
    NOTE_CLICKED = 0,    // buttons, checks (already toggled), radios; menus
    NOTE_SELECTED = 1,   // lists and combos: another row
    NOTE_ACTIVATED = 2,  // list: double click or Enter
    NOTE_MOVED = 3,      // list: a row was dragged, see rows_moved; the list is not to be filled anew meanwhile
    NOTE_FOCUS = 0x100,  // edits and combos with free text; a menu that is open takes nothing from them
    NOTE_BLUR = 0x200,
    NOTE_CHANGED = 0x400,  // edits, numbers: by the user; not by control_set_...
};
enum : int { ID_OK = 1, ID_CANCEL = 2 };

/// A dialog's procedure: non-zero = handled. What it leaves alone is done as usual: ID_OK and ID_CANCEL end the dialog.
using DIALOG_PROC = intptr_t (*)(WINDOW* dialog, uint32_t message, uintptr_t wparam, intptr_t lparam, void* data);
/// Runs a dialog until dialog_end; returns its result, ID_CANCEL when it could not be shown.
int dialog_run(const DIALOG_TEMPLATE& dialog, WINDOW* parent, DIALOG_PROC proc, void* data);
void dialog_end(WINDOW* dialog, int result);
/// The same, without waiting. Ends with window_destroy.
WINDOW* dialog_open(const DIALOG_TEMPLATE& dialog, WINDOW* parent, DIALOG_PROC proc, void* data);
/// The topmost modal dialog, null when there is none.
WINDOW* dialog_current();

/// Lays controls out in a window of window_create, over its whole client area, which takes the size that they need at
/// least. Messages of the controls go to the window's procedure.
void window_set_controls(WINDOW* window, std::span<const CONTROL_LINE> lines);
/// One control at a rectangle, outside of any layout.
WINDOW* control_create(WINDOW* parent, const CONTROL_LINE& line, const RECT& rect);
void control_place(WINDOW* control, const RECT& rect);

/// A control by its number; and the n-th of those that have the number, from 0. Null when there is none.
WINDOW* control_of(WINDOW* window, int id, int n = 0);
int control_id(const WINDOW* control);

// Each of these does nothing, or gives nothing, with a null control or one of another kind.
std::string control_text(const WINDOW* control);
void control_set_text(WINDOW* control, const std::string& text);
void control_select_all(WINDOW* control);
bool control_checked(const WINDOW* control);
void control_check(WINDOW* control, bool on);
/// Numbers and sliders. An empty number field gives 0, or what is nearest to it in the range.
int control_value(const WINDOW* control);
void control_set_value(WINDOW* control, int value);
void control_set_range(WINDOW* control, int low, int high);
/// Sliders: page step, distance of marks (0: none), and the range shown as selected (start > end: none).
void slider_set_steps(WINDOW* slider, int page, int ticks);
void slider_set_selection(WINDOW* slider, int start, int end);

/// Rows of lists and combos. Index -1: none.
void rows_clear(WINDOW* control);
int rows_add(WINDOW* control, const std::string& text);
void rows_insert(WINDOW* control, int index, const std::string& text);
void rows_remove(WINDOW* control, int index);
void rows_set_text(WINDOW* control, int index, const std::string& text);
std::string rows_text(const WINDOW* control, int index);
int rows_count(const WINDOW* control);
int rows_selected(const WINDOW* control);
void rows_select(WINDOW* control, int index);
bool rows_is_selected(const WINDOW* control, int index);  // lists with several
bool rows_marked(const WINDOW* control, int index);       // lists with marks
void rows_mark(WINDOW* control, int index, bool on);
/// The last row that was dragged: where it stood and where it stands now. False: none was.
bool rows_moved(const WINDOW* control, int* from, int* to);
