#include "platform/text.h"

#include <iconv.h>

#include <cstring>

namespace {

constexpr unsigned CARRY_LEAD = 0xF0;
constexpr uint32_t CODE_PLANE = 0xF0000;  // private plane: codes of the code page that have no character

// Single bytes that are neither ASCII nor katakana; the mapping gives them these characters.
struct SINGLE {
    uint8_t byte;
    uint16_t character;
};
constexpr SINGLE ODD_SINGLES[] = {{0x80, 0x0080}, {0xA0, 0xF8F0}, {0xFD, 0xF8F1}, {0xFE, 0xF8F2}, {0xFF, 0xF8F3}};

struct TEXT_TABLE {
    uint16_t character[65536];  // by code, single or double; 0 = none
    uint16_t code[65536];       // by character; 0 = cannot be said
};

void table_set(TEXT_TABLE& table, unsigned code, unsigned character) {
    table.character[code] = uint16_t(character);
    // The first code that gives a character is its usual one.
    if (table.code[character] == 0) table.code[character] = uint16_t(code);
}

bool is_carried(unsigned code) { return code >= 0xF040 && code <= 0xF0C0 && text_is_trail(uint8_t(code)); }

void table_add_lead(TEXT_TABLE& table, iconv_t converter, unsigned lead) {
    for (unsigned trail = 0x40; trail <= 0xFC; ++trail) {
        const unsigned code = lead << 8 | trail;
        if (!text_is_trail(uint8_t(trail)) || is_carried(code)) continue;
        char in[2] = {char(lead), char(trail)};
        uint8_t out[8];
        char* from = in;
        char* to = reinterpret_cast<char*>(out);
        size_t from_n = 2, to_n = sizeof out;
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        const bool good = iconv(converter, &from, &from_n, &to, &to_n) != size_t(-1) && to_n == sizeof out - 2;
        if (good) table_set(table, code, unsigned(out[0]) << 8 | out[1]);
    }
}

void table_build(TEXT_TABLE& table) {
    for (unsigned byte = 1; byte < 0x80; ++byte) table_set(table, byte, byte);
    for (unsigned byte = 0xA1; byte <= 0xDF; ++byte) table_set(table, byte, 0xFF61 + byte - 0xA1);
    for (const SINGLE& odd : ODD_SINGLES) table_set(table, odd.byte, odd.character);
    // glibc's CP932 is Microsoft's mapping (0x8160 is U+FF5E). Where a machine lacks it, every other character is
    // carried.
    const iconv_t converter = iconv_open("UTF-16BE", "CP932");
    if (converter == iconv_t(-1)) return;
    // Rows 0xED and 0xEE repeat what stands in 0xFA-0xFC, and lose to it; elsewhere the lower code is the usual one.
    for (unsigned lead = 0x81; lead <= 0xFC; ++lead) {
        if (text_is_lead(uint8_t(lead)) && lead != 0xED && lead != 0xEE) table_add_lead(table, converter, lead);
    }
    table_add_lead(table, converter, 0xED);
    table_add_lead(table, converter, 0xEE);
    iconv_close(converter);
}

const TEXT_TABLE& text_table() {
    static TEXT_TABLE table;
    static const bool built = (table_build(table), true);
    (void)built;
    return table;
}

/// Length and value of the UTF-8 character at the start of s; length 0 when the bytes are none (overlong forms,
/// surrogates and values above U+10FFFF included).
struct UTF8_CHAR {
    size_t size;
    uint32_t value;
};
UTF8_CHAR utf8_read(std::string_view s) {
    static constexpr uint32_t LEAST[] = {0, 0, 0x80, 0x800, 0x10000};
    const uint8_t first = uint8_t(s[0]);
    if (first < 0x80) return {1, first};
    const size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || s.size() < size) return {0, 0};
    uint32_t value = first & (0x7Fu >> size);
    for (size_t i = 1; i < size; ++i) {
        if ((uint8_t(s[i]) & 0xC0) != 0x80) return {0, 0};
        value = value << 6 | (uint8_t(s[i]) & 0x3F);
    }
    if (value < LEAST[size] || value > 0x10FFFF || (value >= 0xD800 && value < 0xE000)) return {0, 0};
    return {size, value};
}

void utf8_write(std::string& out, uint32_t c) {
    if (c < 0x80) {
        out += char(c);
    } else if (c < 0x800) {
        out += {char(0xC0 | c >> 6), char(0x80 | (c & 0x3F))};
    } else if (c < 0x10000) {
        out += {char(0xE0 | c >> 12), char(0x80 | (c >> 6 & 0x3F)), char(0x80 | (c & 0x3F))};
    } else {
        out += {char(0xF0 | c >> 18), char(0x80 | (c >> 12 & 0x3F)), char(0x80 | (c >> 6 & 0x3F)),
                char(0x80 | (c & 0x3F))};
    }
}

void code_write(std::string& out, unsigned code) {
    if (code > 0xFF) out += char(code >> 8);
    out += char(code);
}

/// The code of a character, 0 when it has none.
unsigned code_of(const TEXT_TABLE& table, uint32_t c) {
    if (c < 0x10000) return table.code[c];
    const uint32_t code = c - CODE_PLANE;
    const bool is_double = code <= 0xFFFF && text_is_lead(uint8_t(code >> 8)) && text_is_trail(uint8_t(code));
    return is_double && table.character[code] == 0 && !is_carried(code) ? code : 0;
}

void carry_write(std::string& out, uint8_t byte) {
    const unsigned trail = 0x40 + byte - 0x80u;
    out += {char(CARRY_LEAD), char(trail < 0x7F ? trail : trail + 1)};
}

uint8_t carry_read(unsigned code) {
    const unsigned trail = code & 0xFF;
    return uint8_t(0x80 + (trail < 0x7F ? trail : trail - 1) - 0x40);
}

char fold(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

}  // namespace

std::string text_from_utf8(std::string_view utf8) {
    const TEXT_TABLE& table = text_table();
    std::string out;
    out.reserve(utf8.size());
    while (!utf8.empty()) {
        const UTF8_CHAR c = utf8_read(utf8);
        const unsigned code = c.size != 0 ? code_of(table, c.value) : 0;
        if (code != 0 || utf8[0] == 0) {
            code_write(out, code);
        } else {
            for (size_t i = 0; i == 0 || i < c.size; ++i) carry_write(out, uint8_t(utf8[i]));
        }
        utf8.remove_prefix(c.size != 0 ? c.size : 1);
    }
    return out;
}

std::string text_to_utf8(std::string_view cp932) {
    const TEXT_TABLE& table = text_table();
    std::string out;
    out.reserve(cp932.size() + cp932.size() / 2);
    for (size_t i = 0; i < cp932.size(); ++i) {
        unsigned code = uint8_t(cp932[i]);
        if (text_is_lead(uint8_t(code))) {
            if (i + 1 == cp932.size() || !text_is_trail(uint8_t(cp932[i + 1]))) {
                out += char(code);  // no UTF-8, so it is carried on the way back
                continue;
            }
            code = code << 8 | uint8_t(cp932[++i]);
        }
        if (is_carried(code)) {
            out += char(carry_read(code));
        } else if (table.character[code] != 0 || code == 0) {
            utf8_write(out, table.character[code]);
        } else {
            utf8_write(out, CODE_PLANE + code);
        }
    }
    return out;
}

int text_char_size(const char* text) {
    if (*text == 0) return 0;
    return text_is_lead(uint8_t(text[0])) && text_is_trail(uint8_t(text[1])) ? 2 : 1;
}

const char* text_find(const char* text, char c) {
    for (; *text != 0; text = text_next(text)) {
        if (*text == c) return text;
    }
    return nullptr;
}

const char* text_find_last(const char* text, char c) {
    const char* last = nullptr;
    for (; *text != 0; text = text_next(text)) {
        if (*text == c) last = text;
    }
    return last;
}

bool text_copy(char* dst, size_t size, std::string_view text) {
    if (text.size() >= size || text.find('\0') != std::string_view::npos) {
        dst[0] = 0;
        return false;
    }
    if (!text.empty()) memmove(dst, text.data(), text.size());
    dst[text.size()] = 0;
    return true;
}

int text_compare_nocase(const char* a, const char* b) {
    for (;;) {
        const int a_size = text_char_size(a), b_size = text_char_size(b);
        const char ca = a_size == 1 ? fold(*a) : *a, cb = b_size == 1 ? fold(*b) : *b;
        if (ca != cb) return uint8_t(ca) < uint8_t(cb) ? -1 : 1;
        if (a_size == 0) return 0;
        if (a_size == 2 && b_size == 2 && a[1] != b[1]) return uint8_t(a[1]) < uint8_t(b[1]) ? -1 : 1;
        if (a_size != b_size) return a_size < b_size ? -1 : 1;
        a += a_size;
        b += b_size;
    }
}

bool text_match(const char* pattern, const char* text) {
    const char* star = nullptr;  // after the last '*' met, and the text that it may still take in
    const char* rest = nullptr;
    while (*text != 0) {
        const int size = text_char_size(text);
        if (*pattern == '*') {
            star = ++pattern;
            rest = text;
        } else if (*pattern == '?' || (text_char_size(pattern) == size && fold(*pattern) == fold(*text) &&
                                       (size == 1 || pattern[1] == text[1]))) {
            pattern = text_next(pattern);
            text += size;
        } else if (star != nullptr) {
            pattern = star;
            text = rest = text_next(rest);
        } else {
            return false;
        }
    }
    while (*pattern == '*') ++pattern;
    return *pattern == 0;
}
