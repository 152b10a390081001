#pragma once

#include <span>
#include <string_view>

/// The program's own texts, in Japanese. Constant data, any thread.

/// One text under its number (string_ids.h). UTF-8, ended by a zero byte that the view does not count; every character
/// exists in code page 932. printf conversions stand in the order of the arguments and are part of the text's contract.
struct STRING_TEXT {
    int number;
    std::string_view text;
};

/// All texts, by rising number.
std::span<const STRING_TEXT> strings_ja();
/// The text of a number, empty when there is none.
std::string_view strings_ja_find(int number);
