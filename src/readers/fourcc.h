#pragma once

#include <cstdint>
#include <cstring>

#include "vantel_formats.h"

/// Four-character codes as they lie in a file, first character in the low byte. They compare without regard to the case
/// of the letters a-z.

inline constexpr uint32_t fourcc(const char (&text)[5]) { return VANTEL_FOURCC(text[0], text[1], text[2], text[3]); }

/// The code with its small letters made capital; no other byte changes.
inline constexpr uint32_t fourcc_fold(uint32_t code) {
    uint32_t folded = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        uint32_t byte = code >> shift & 0xFF;
        if (byte >= 'a' && byte <= 'z') byte -= 'a' - 'A';
        folded |= byte << shift;
    }
    return folded;
}

inline constexpr bool fourcc_equal(uint32_t a, uint32_t b) { return fourcc_fold(a) == fourcc_fold(b); }

/// Whether a handler or a compression means uncompressed RGB: 0, "DIB" and "DIB " are one.
inline constexpr bool fourcc_is_plain_dib(uint32_t code) {
    const uint32_t folded = fourcc_fold(code);
    return folded == 0 || folded == VANTEL_FOURCC('D', 'I', 'B', 0) || folded == VANTEL_FOURCC('D', 'I', 'B', ' ');
}

/// Little-endian numbers at any alignment.
inline uint16_t bytes_u16(const uint8_t* p) { return uint16_t(p[0] | p[1] << 8); }
inline uint32_t bytes_u32(const uint8_t* p) { return bytes_u16(p) | uint32_t(bytes_u16(p + 2)) << 16; }
inline uint64_t bytes_u64(const uint8_t* p) { return bytes_u32(p) | uint64_t(bytes_u32(p + 4)) << 32; }
