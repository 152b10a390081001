#pragma once

#include <string>

/// The filter of an open dialog (FILE_DIALOG::filter): the patterns of all readers of pictures, or of sound, in one
/// pair, and a second pair for all files. Ends with two NULs. Main thread.
std::string input_file_filter(bool sound);
