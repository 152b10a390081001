#include "core/text_line.h"

bool text_line_take(std::string_view* rest, std::string* line, size_t limit) {
    line->clear();
    if (rest->empty()) return false;
    size_t at = 0;
    while (at < rest->size()) {
        const char c = (*rest)[at++];
        if (c == '\n' || c == '\0') break;
        if (line->size() >= limit) continue;
        if (c == '\t')
            *line += ' ';
        else if (static_cast<unsigned char>(c) >= 32)
            *line += c;
    }
    rest->remove_prefix(at);
    return true;
}
