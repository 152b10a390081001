#include "resources/language.h"

#include <array>
#include <cstring>

#include "platform/text.h"
#include "resources/strings_ja.h"

namespace {

constexpr int STRING_CACHE_N = 256;
constexpr unsigned STRING_RING_N = 8;
constexpr size_t STRING_SIZE = 260;

using STRING_BUFFER = std::array<char, STRING_SIZE>;

STRING_BUFFER string_cache[STRING_CACHE_N];
STRING_BUFFER string_ring[STRING_RING_N];
unsigned string_ring_next;
LANGUAGE_SOURCE language_source;

// Stores as many whole characters as fit.
void language_store(STRING_BUFFER& slot, const std::string& text) {
    size_t n = 0;
    while (text[n] != 0) {
        const auto step = static_cast<size_t>(text_char_size(text.c_str() + n));
        if (n + step >= STRING_SIZE) break;
        n += step;
    }
    std::memcpy(slot.data(), text.data(), n);
    slot[n] = 0;
}

STRING_BUFFER& language_slot(int id) {
    if (id >= 0 && id < STRING_CACHE_N) return string_cache[id];
    return string_ring[string_ring_next++ % STRING_RING_N];
}

}  // namespace

void language_set_source(LANGUAGE_SOURCE source) { language_source = source; }

std::string language_conversions(std::string_view text) {
    std::string found;
    for (size_t i = text.find('%'); i < text.size(); i = text.find('%', i)) {
        i = text.find_first_not_of("-+ #'0123456789.", i + 1);
        if (i < text.size() && text[i] == '%') {
            ++i;
            continue;
        }
        const size_t end = text.find_first_not_of("hlLqjzt*", i);
        const bool known = end < text.size() && std::strchr("diouxXeEfFgGaAcsp", text[end]) != nullptr;
        found += '%';
        found += known ? text.substr(i, end - i + 1) : "?";
        if (end >= text.size()) break;
        i = known ? end + 1 : end;
    }
    return found;
}

std::string language_text_utf8(int id) {
    const std::string_view own = strings_ja_find(id);
    std::string text;
    if (language_source != nullptr && language_source(id, text) && !text.empty() &&
        // A format goes to printf with arguments that fit the program's own text, so no file may change what it takes.
        language_conversions(text) == language_conversions(own))
        return text;
    return std::string(own);
}

const char* language_string(int id) {
    STRING_BUFFER& slot = language_slot(id);
    const bool cached = id >= 0 && id < STRING_CACHE_N && slot[0] != 0;
    if (cached) return slot.data();
    language_store(slot, text_from_utf8(language_text_utf8(id)));
    return slot.data();
}
