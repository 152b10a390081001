#include "filters/window_frame.h"

#include <algorithm>
#include <cstring>

static bool is_yuy2() { return frame_geometry.pixel_size == PIXEL_SIZE_YUY2; }
static int step_bytes() { return int(is_yuy2() ? WINDOW_STEP<uint8_t> : WINDOW_STEP<int16_t>); }

int window_row_bytes(int w) { return is_yuy2() ? yuy2_stride(w) : w * int(sizeof(YC48_PIXEL)); }

void window_tile_fill(WINDOW_TILE* tile, const uint8_t* const* rows, int bytes, int begin, int end, int reach) {
    const int step = step_bytes();
    const int from = begin - reach * step, to = end + reach * step;
    const int first = std::max(from, 0), last = std::min(to, bytes);
    for (int i = 0; i <= 2 * reach; ++i) {
        const uint8_t* row = rows[i];
        uint8_t* out = tile->bytes[i];
        tile->rows[i] = out + reach * step;
        for (int at = from; at < 0; at += step, out += step) std::memcpy(out, row, size_t(step));
        std::memcpy(out, row + first, size_t(last - first));
        out += last - first;
        for (int at = bytes; at < to; at += step, out += step) std::memcpy(out, row + bytes - step, size_t(step));
    }
}

void window_rows(const uint8_t** rows, const uint8_t* src, int row_n, int h, int reach) {
    for (int i = 0; i <= 2 * reach; ++i)
        rows[i] = src + ptrdiff_t{std::clamp(row_n - reach + i, 0, h - 1)} * frame_geometry.stride;
}
