#pragma once

#include <string>

/// The filter of an open dialog (FILE_DIALOG::filter): the patterns of all readers of pictures, or of sound, in one
/// pair, and a second pair for all files. Ends with two NULs. Main thread.
std::string input_file_filter(bool sound);
/// The same, whose first pair has the usual films, and for sound also sounds, that the platform's libraries open.
std::string input_media_filter(bool sound);
