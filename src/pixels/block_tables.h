#pragma once

#include <cstdint>

/// Constants of the vector kernels, written once for 128 bits and stored twice, so that they load as one or two blocks.

struct WORD_TABLE {
    alignas(32) int16_t v[16];
};
struct BYTE_TABLE {
    alignas(32) uint8_t v[32];
};

constexpr WORD_TABLE word_table(int a, int b, int c, int d, int e, int f, int g, int h) {
    const int block[8] = {a, b, c, d, e, f, g, h};
    WORD_TABLE table{};
    for (int i = 0; i < 16; ++i) table.v[i] = int16_t(block[i % 8]);
    return table;
}
/// The same word, pair or quadruple all over.
constexpr WORD_TABLE word_table(int a) { return word_table(a, a, a, a, a, a, a, a); }
constexpr WORD_TABLE word_table(int a, int b) { return word_table(a, b, a, b, a, b, a, b); }
constexpr WORD_TABLE word_table(int a, int b, int c, int d) { return word_table(a, b, c, d, a, b, c, d); }

/// All ones in the lanes of a block whose bits are set.
constexpr WORD_TABLE lanes_table(int lanes) {
    WORD_TABLE table{};
    for (int i = 0; i < 16; ++i) table.v[i] = int16_t(-(lanes >> i % 8 & 1));
    return table;
}

/// The shuffle of a block in which word i is taken from word from[i].
constexpr BYTE_TABLE shuffle_table(const int (&from)[8]) {
    BYTE_TABLE table{};
    for (int i = 0; i < 32; ++i) table.v[i] = uint8_t(from[i % 16 / 2] * 2 + i % 2);
    return table;
}

inline constexpr int NONE = 0x80;  // a byte that becomes 0

/// The shuffle of a block in which byte i is taken from byte from[i], or is 0 where that is NONE.
constexpr BYTE_TABLE shuffle_table(const int (&from)[16]) {
    BYTE_TABLE table{};
    for (int i = 0; i < 32; ++i) table.v[i] = uint8_t(from[i % 16]);
    return table;
}
