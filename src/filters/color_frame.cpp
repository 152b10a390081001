#include "filters/color_frame.h"

#include <utility>

#include "filters/color_kernels.h"
#include "pixels/frame_buffer.h"
#include "pixels/rect.h"

static void run_rows(uint8_t* dst, const uint8_t* src, int w, int h, const COLOR_PARAMS& params) {
    const COLOR_ROW row_func = color_kernels(frame_geometry.pixel_size)->row[params.kind];
    const int units = frame_geometry.pixel_size == PIXEL_SIZE_YUY2 ? (w + 1) / 2 : w;
    rect_bands(h, h >= RECT_BAND_ROWS, [=, &params](ROW_RANGE range) {
        for (int row = range.begin; row < range.end; ++row) {
            const ptrdiff_t offset = ptrdiff_t{row} * frame_geometry.stride;
            row_func(dst + offset, src + offset, units, &params);
        }
    });
}

void color_frame(FILTER_PROC_PARAM* param, const COLOR_PARAMS& params) {
    if (params.kind == COLOR_NOTHING || param->width < 1 || param->height < 1) return;
    const bool in_place = params.kind != COLOR_RGB;
    auto* src = reinterpret_cast<uint8_t*>(param->image);
    auto* dst = in_place ? src : reinterpret_cast<uint8_t*>(param->scratch);
    run_rows(dst, src, param->width, param->height, params);
    if (!in_place) std::swap(param->image, param->scratch);
}
