#pragma once

#include <string>

struct EDIT_STATE;

/// What command 1006 shows of the open file: lines of "label : value", code page 932. Main thread.
std::string file_information_text(const EDIT_STATE* edit);
