#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Code page 932 (Microsoft's mapping) and UTF-8. Inside the program text is code page 932; at the edge of the machine
/// it is UTF-8. Everything here is pure and may be called from any thread.
///
/// Any byte string whatever survives text_to_utf8(text_from_utf8(s)) == s. A character that code page 932 has is
/// encoded directly. Of everything else (characters it lacks, bytes that are no UTF-8) each byte b, always 0x80-0xFF,
/// becomes one double byte of the user-defined area: number b - 0x80 counted from 0xF040 over the legal trail bytes, so
/// 0xF040-0xF0C0. These 128 codes stand for carried bytes only; the characters U+E000-U+E07F, which they would mean
/// otherwise, are carried like foreign characters.
///
/// The other way, text_from_utf8(text_to_utf8(t)) == t holds for what text_from_utf8 makes and for every code that is
/// not named here: codes without a character go by way of U+F0000 + code and come back, as do the bytes 0x80, 0xA0,
/// 0xFD, 0xFE, 0xFF (U+0080, U+F8F0-U+F8F3). What does not come back: a duplicate code becomes the usual code of its
/// character (0x8790 to 0x81E0, 0xED40 to 0xFA5C); a lead byte without a legal trail byte comes back carried; carried
/// bytes that together make a character of the code page come back as that character.

/// To code page 932. At most 2 bytes for each byte given.
std::string text_from_utf8(std::string_view utf8);
/// To UTF-8, or to the very bytes that were carried. At most 4 bytes for each double byte, 3 for each single byte.
std::string text_to_utf8(std::string_view cp932);

/// First byte of a double byte: 0x81-0x9F, 0xE0-0xFC.
constexpr bool text_is_lead(uint8_t byte) { return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC); }
/// Second byte of a double byte: 0x40-0x7E, 0x80-0xFC. It may look like '\\', '|' or a letter, never like '/', '.' or
/// '"'.
constexpr bool text_is_trail(uint8_t byte) { return byte >= 0x40 && byte <= 0xFC && byte != 0x7F; }

/// Bytes of the character at a position: 0 at the NUL, 2 for a lead byte with a legal trail byte after it, else 1. A
/// lead byte without one stands alone, here and in the conversion, so no scan can step over a separator or the NUL.
int text_char_size(const char* text);
/// The next character; stays at the NUL.
inline const char* text_next(const char* text) { return text + text_char_size(text); }
inline char* text_next(char* text) { return text + text_char_size(text); }

/// First or last place of an ASCII character that is not half of a double byte. Null when there is none.
const char* text_find(const char* text, char c);
const char* text_find_last(const char* text, char c);
inline char* text_find(char* text, char c) { return const_cast<char*>(text_find(static_cast<const char*>(text), c)); }
inline char* text_find_last(char* text, char c) {
    return const_cast<char*>(text_find_last(static_cast<const char*>(text), c));
}

/// Copies text and a NUL into size bytes (size > 0). Text that does not fit, or has a NUL inside, is refused, never
/// cut: false, and dst is then "". text may lie in dst.
bool text_copy(char* dst, size_t size, std::string_view text);

/// As strcmp, with 'A'-'Z' equal to 'a'-'z'; the bytes of double bytes are compared as they are.
int text_compare_nocase(const char* a, const char* b);

/// True when the whole of text matches a pattern of '*' (any characters), '?' (one character) and plain characters,
/// case ignored as above.
bool text_match(const char* pattern, const char* text);
