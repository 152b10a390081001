#pragma once

#include "core/edit_state.h"
#include "platform/window.h"

/// How the main window's messages are handled, by subject. Inside the main window only.

struct MAIN_MESSAGE {
    WINDOW* window;
    uint32_t message;
    uintptr_t wparam;
    intptr_t lparam;
    EDIT_STATE* edit;
};

/// What is to follow a message.
enum MAIN_STEP : unsigned {
    STEP_GO_ON = 0,
    STEP_REDRAW = 1,
    STEP_HANDLED = 2,  // nothing else is done with the message, the default included
    STEP_LEAVE = 4,    // no redraw, whatever else asks for one
};

/// Handles a message of the main window, with the view's part and the redraw. Non-zero: handled.
intptr_t main_dispatch(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit);

unsigned main_pointer(const MAIN_MESSAGE& m);       // main_pointer.cpp
unsigned main_wheel(const MAIN_MESSAGE& m);         // main_pointer.cpp
unsigned main_context_menu(const MAIN_MESSAGE& m);  // main_pointer.cpp
unsigned main_drop(const MAIN_MESSAGE& m);          // main_drop.cpp
unsigned main_slider(const MAIN_MESSAGE& m);        // main_slider.cpp
unsigned main_command(const MAIN_MESSAGE& m);       // command_table.cpp

/// The open or append of a file that came from outside (dropped, or chosen among the recent ones).
void main_open_file(EDIT_STATE* edit, const char* path, uint32_t flags);

/// Calls visit for every command whose work is still missing: their entries stay grey. command_table.cpp
void main_command_each_missing(void (*visit)(int id));
