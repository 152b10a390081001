#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Takes the next line off a text: up to LF, a zero byte or the end. A tab becomes a blank, all other bytes below 32
/// (CR among them) are dropped. limit: bytes that a line may have, what is above is dropped. The text may be in any
/// encoding that keeps ASCII apart. False when nothing is left; the line is then "". Pure.
bool text_line_take(std::string_view* rest, std::string* line, size_t limit);
