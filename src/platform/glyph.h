#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Shapes of characters for text drawn into pictures, from the fonts that fontconfig knows. Only the thread that drives
/// rendering may call this. Works without any font: then there is no shape.

/// What kind of letters are wanted. fontconfig chooses the nearest font it has.
struct TEXT_FONT {
    std::string name;     // family name in code page 932; empty: the usual Japanese sans serif
    int height = 16;      // pixels; above 0 of a whole line (ascent and descent), below 0 of the em square; 0 is 16.
                          // Taken into -1000 .. 1000
    int weight = 400;     // 400 normal, 700 bold, ... 1 .. 1000
    bool italic = false;  // slanted by arithmetic when the font has no such face; bold likewise
    bool operator==(const TEXT_FONT&) const = default;
};

struct GLYPH_METRICS {
    int ascent;  // rows from the top of a line to the base line
    int height;  // rows from line to line; font.height itself when that is above 0
};

/// One shape: width x height coverages of 0 (outside) .. 64 (inside), rows from the top, without gaps. An empty shape
/// (a space) has width 0.
struct GLYPH {
    int left;     // from the pen to the first column; may be negative
    int top;      // from the line's top to the first row; may be negative
    int advance;  // the pen's way to the next character
    int width;
    int height;
    std::vector<uint8_t> coverage;
};

/// False when no font can be had.
bool glyph_metrics(const TEXT_FONT& font, GLYPH_METRICS* metrics);

/// The shape of a Unicode character, from the first of the matching fonts that has it; else the box that the first font
/// shows for absent characters. Null when no font can be had or memory is short. The result stays valid until the next
/// call of this header.
const GLYPH* glyph_get(const TEXT_FONT& font, char32_t character);
