#include "pixels/dib_zoom.h"

#include <cstring>

#include "pixels/frame_buffer.h"

static const uint8_t* pixel_at(const uint8_t* src, int x, int y, int src_width) {
    return src + size_t(y) * size_t(dib24_stride(src_width)) + size_t(x) * 3;
}

// Rows of 24 bits have no whole words: a pixel is written as three bytes, `factor` times.
static void zoom_row_up(uint8_t* dst, const uint8_t* src, int w, int factor) {
    for (int i = 0; i < w; ++i, src += 3) {
        for (int k = 0; k < factor; ++k, dst += 3) {
            dst[0] = src[0];
            dst[1] = src[1];
            dst[2] = src[2];
        }
    }
}

void dib_zoom_up(uint8_t* dst, const uint8_t* src, int x, int y, int w, int h, int src_width, int factor) {
    if (w < 1 || h < 1 || factor < 1) return;
    const auto stride = size_t(dib24_stride(w * factor)), bytes = size_t(w) * size_t(factor) * 3;
    for (int row = 0; row < h; ++row) {
        zoom_row_up(dst, pixel_at(src, x, y + row, src_width), w, factor);
        for (int k = 1; k < factor; ++k) std::memcpy(dst + size_t(k) * stride, dst, bytes);
        dst += size_t(factor) * stride;
    }
}

void dib_zoom_down(uint8_t* dst, const uint8_t* src, int x, int y, int w, int h, int src_width, int step) {
    if (step < 1) return;
    const int columns = w / step, rows = h / step;
    const auto stride = size_t(dib24_stride(columns > 0 ? columns : 0));
    for (int row = 0; row < rows; ++row, dst += stride) {
        const uint8_t* from = pixel_at(src, x, y + row * step, src_width);
        for (int i = 0; i < columns; ++i, from += 3 * size_t(step)) std::memcpy(dst + size_t(i) * 3, from, 3);
    }
}
