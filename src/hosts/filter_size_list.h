#pragma once

#include <span>

/// The picture sizes that the size filters offer: key `resizelist`.
struct SIZE_ITEM {
    int width, height;
    char label[24];  // "640x480"
};
inline constexpr int SIZE_ITEM_MAX = 32;

/// Parses a list text: width, 'x', 'X' or '*', height, blanks round each allowed; items separated by ',' or ';'. The
/// first item that does not fit ends the list. Without any item the list is 640x480, 352x240, 320x240. Returns the
/// number of items, at most 32.
int size_list_parse(const char* text, SIZE_ITEM (&items)[SIZE_ITEM_MAX]);

/// The list of this run. It is parsed when the built-in filters are made.
std::span<const SIZE_ITEM> size_list();
void size_list_read();
