#pragma once

#include <cstdint>

/// One row of 24-bit RGB (bytes B, G, R) as the screen takes it: words 0xFFRRGGBB. width pixels, `bgr` at any
/// alignment, no overlap; width may be 0. Reads exactly width * 3 bytes. The _ref form is the definition. Any thread.
void rgb_row_to_screen(uint32_t* screen, const uint8_t* bgr, int width);
void rgb_row_to_screen_ref(uint32_t* screen, const uint8_t* bgr, int width);
