#pragma once

#include <string>

struct EDIT_STATE;

/// The text of the main window's title: file, sizes, frame and what is special about it. Code page 932. Main thread.
std::string title_text(EDIT_STATE* edit);
