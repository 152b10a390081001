#pragma once

#include <cstdint>

/// One column of the strip that shows the sound: a 24-bit DIB, `width` pixels wide.
inline constexpr uint32_t WAVE_COLUMN_SOUND = 0x3FFF3F;
inline constexpr uint32_t WAVE_COLUMN_BLANK = 0x3F3F3F;

/// Writes the column that starts at `column`, its pixel in the first row in memory. With c = (height - 1) / 2 the rows
/// 0 .. 2 * c are written: row c and `level` rows (0 .. c, cut) on each side of it in `colour`, the others in
/// `back`. Colours are 0xRRGGBB. Any thread.
void wave_column(uint8_t* column, int width, int height, int level, uint32_t colour, uint32_t back);
