#include "hosts/filter_size_list.h"

#include <cctype>
#include <cstdio>

#include "core/settings.h"

static SIZE_ITEM list_items[SIZE_ITEM_MAX];
static int list_n;

static const char* skip_blanks(const char* text) {
    while (*text == ' ' || *text == '\t') ++text;
    return text;
}

// A number above 0 with the blanks around it; null when there is none, or none that a picture could have.
static const char* parse_number(const char* text, int* number) {
    constexpr int LARGEST = 99'999'999;  // two of these fit a label
    text = skip_blanks(text);
    *number = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        *number = *number * 10 + (*text - '0');
        if (*number > LARGEST) return nullptr;
    }
    return *number > 0 ? skip_blanks(text) : nullptr;
}

static const char* parse_item(const char* text, SIZE_ITEM* item) {
    text = parse_number(text, &item->width);
    if (!text || (*text != 'x' && *text != 'X' && *text != '*')) return nullptr;
    text = parse_number(text + 1, &item->height);
    if (!text || (*text && *text != ',' && *text != ';')) return nullptr;
    std::snprintf(item->label, sizeof item->label, "%dx%d", item->width, item->height);
    return text;
}

int size_list_parse(const char* text, SIZE_ITEM (&items)[SIZE_ITEM_MAX]) {
    int n = 0;
    while (n < SIZE_ITEM_MAX) {
        text = parse_item(text, &items[n]);
        if (!text) break;
        ++n;
        if (!*text++) break;
    }
    return n > 0 ? n : size_list_parse("640x480,352x240,320x240", items);
}

std::span<const SIZE_ITEM> size_list() { return {list_items, size_t(list_n)}; }
void size_list_read() { list_n = size_list_parse(system_settings.resizelist, list_items); }
