#pragma once

#include <string>

#include "resources/language.h"

/// The filter of a file dialog (FILE_DIALOG::filter) with one pair: a description by its string number, and patterns.
inline std::string file_filter_one(int description, const char* patterns) {
    return std::string(language_string(description)) + '\0' + patterns + '\0';
}
