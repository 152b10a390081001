#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/avi_builder.h"

/// Makes PNG, JPEG and BMP files for tests, byte by byte.

struct PNG_BUILD {
    int width = 1, height = 1;
    int depth = 8, color = 2;  // as in the header: 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGB and alpha
    bool interlaced = false;
    BYTES palette = {}, transparency = {};  // of the chunks PLTE and tRNS, when not empty
    uint32_t seed = 1;                      // of the samples; the filters take turns from row to row
    size_t rows_held = SIZE_MAX;            // bytes of the rows that the file really has
};
BYTES png_build(const PNG_BUILD& build);
/// One chunk with its length and check.
BYTES png_chunk(const char* type, const BYTES& data);

struct JPEG_BUILD {
    int width = 8, height = 8;
    uint8_t frame = 0xC0;         // C0 baseline, C2 progressive
    int adobe = -1;               // transform of the Adobe marker, -1 = no marker
    std::vector<int> value = {};  // one sample value a component; the picture is flat
    int empty_scans = 0;          // progressive: scans behind the first that bring nothing
};
BYTES jpeg_build(const JPEG_BUILD& build);

/// Both headers, and behind them palette and rows as given.
BYTES bmp_build(int32_t width, int32_t height, uint16_t bits, const BYTES& data);
