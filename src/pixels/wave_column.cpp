#include "pixels/wave_column.h"

#include <algorithm>
#include <cstdlib>

#include "pixels/frame_buffer.h"

void wave_column(uint8_t* column, int width, int height, int level, uint32_t colour, uint32_t back) {
    if (height < 1) return;
    const int middle = (height - 1) / 2, reach = std::clamp(level, 0, middle);
    for (int row = 0; row <= 2 * middle; ++row, column += dib24_stride(width)) {
        const uint32_t rgb = std::abs(row - middle) <= reach ? colour : back;
        column[0] = uint8_t(rgb);
        column[1] = uint8_t(rgb >> 8);
        column[2] = uint8_t(rgb >> 16);
    }
}
