#include "pixels/convert.h"

#include <cstring>

#include "pixels/frame_buffer.h"
#include "pixels/rect.h"
#include "pixels/rgb_row.h"
#include "pixels/rgb_yuy2_row.h"
#include "pixels/yc48_709_row.h"
#include "pixels/yuy2_709_row.h"
#include "pixels/yuy2_row.h"

bool yuy2_limit = false;

static bool is_yuy2() { return frame_geometry.pixel_size == PIXEL_SIZE_YUY2; }
static int pairs_of(int width) { return (width + 1) / 2; }
static YC48_PIXEL* pixels_of(uint8_t* row) { return reinterpret_cast<YC48_PIXEL*>(row); }
static const YC48_PIXEL* pixels_of(const uint8_t* row) { return reinterpret_cast<const YC48_PIXEL*>(row); }

/// Calls row(to, from) for each of h rows that lie the given strides apart, in bands when the picture is high enough.
template <typename ROW>
static void convert_rows(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src, ptrdiff_t src_stride, int h,
                         const ROW& row) {
    rect_bands(h, h >= RECT_BAND_ROWS, [&](ROW_RANGE range) {
        for (ptrdiff_t i = range.begin; i < range.end; ++i) row(dst + i * dst_stride, src + i * src_stride);
    });
}

void row_rgb_to_frame(uint8_t* frame_row, const uint8_t* rgb_row, int w) {
    if (w < 1) return;
    if (is_yuy2())
        rgb_row_to_yuy2(frame_row, rgb_row, w);
    else
        rgb_row_to_yc48(pixels_of(frame_row), rgb_row, w);
}

void row_frame_to_rgb(uint8_t* rgb_row, const uint8_t* frame_row, int w) {
    if (w < 1) return;
    if (is_yuy2())
        yuy2_row_to_rgb(rgb_row, frame_row, w);
    else
        yc48_row_to_rgb(rgb_row, pixels_of(frame_row), w);
}

void rgb24_to_frame(uint8_t* frame, const uint8_t* dib, int w, int h) {
    if (w < 1 || h < 1) return;
    const ptrdiff_t stride = dib24_stride(w);
    convert_rows(frame, frame_geometry.stride, dib + stride * (h - 1), -stride, h,
                 [w](uint8_t* to, const uint8_t* from) { row_rgb_to_frame(to, from, w); });
}

void frame_to_rgb24(uint8_t* dib, const uint8_t* frame, int w, int h) {
    if (w < 1 || h < 1) return;
    const ptrdiff_t stride = dib24_stride(w);
    convert_rows(dib + stride * (h - 1), -stride, frame, frame_geometry.stride, h,
                 [w](uint8_t* to, const uint8_t* from) { row_frame_to_rgb(to, from, w); });
}

void yuy2_to_frame(uint8_t* frame, const uint8_t* yuy2, int w, int h) {
    if (w < 1 || h < 1) return;
    const int stride = yuy2_stride(w);
    if (is_yuy2()) {
        rect_copy_strided(frame, yuy2, size_t(stride), h, frame_geometry.stride, stride);
        return;
    }
    convert_rows(frame, frame_geometry.stride, yuy2, stride, h,
                 [w](uint8_t* to, const uint8_t* from) { yuy2_row_to_yc48(pixels_of(to), from, pairs_of(w)); });
}

void yuy2_709_to_frame(uint8_t* frame, const uint8_t* yuy2, int w, int h) {
    if (w < 1 || h < 1) return;
    convert_rows(frame, frame_geometry.stride, yuy2, yuy2_stride(w), h,
                 [w](uint8_t* to, const uint8_t* from) { yuy2_709_row_to_yc48(pixels_of(to), from, pairs_of(w)); });
}

/// Each row is limited right after it is made, while it is in the cache.
template <typename ROW>
static void convert_to_yuy2(uint8_t* yuy2, const uint8_t* frame, int w, int h, const ROW& row) {
    if (w < 1 || h < 1) return;
    const bool limit = yuy2_limit;
    const int pairs = pairs_of(w);
    convert_rows(yuy2, yuy2_stride(w), frame, frame_geometry.stride, h, [&](uint8_t* to, const uint8_t* from) {
        row(to, from, pairs);
        if (limit) yuy2_row_clamp_limit(to, pairs);
    });
}

void frame_to_yuy2(uint8_t* yuy2, const uint8_t* frame, int w, int h) {
    if (is_yuy2())
        convert_to_yuy2(yuy2, frame, w, h,
                        [](uint8_t* to, const uint8_t* from, int pairs) { std::memcpy(to, from, size_t(pairs) * 4); });
    else
        convert_to_yuy2(yuy2, frame, w, h, [](uint8_t* to, const uint8_t* from, int pairs) {
            yc48_row_to_yuy2(to, pixels_of(from), pairs);
        });
}

void frame_to_yuy2_709(uint8_t* yuy2, const uint8_t* frame, int w, int h) {
    convert_to_yuy2(yuy2, frame, w, h, [](uint8_t* to, const uint8_t* from, int pairs) {
        yc48_row_to_yuy2_709(to, pixels_of(from), pairs);
    });
}

void yuy2_clamp_limit(uint8_t* yuy2, int w, int h) {
    if (w < 1 || h < 1) return;
    const int stride = yuy2_stride(w);
    convert_rows(yuy2, stride, yuy2, stride, h,
                 [w](uint8_t* row, const uint8_t*) { yuy2_row_clamp_limit(row, pairs_of(w)); });
}

void yc48_709_to_frame(uint8_t* frame, const uint8_t* yc48, int w, int h) {
    if (w < 1 || h < 1) return;
    convert_rows(frame, frame_geometry.stride, yc48, ptrdiff_t{w} * 6, h,
                 [w](uint8_t* to, const uint8_t* from) { yc48_709_row_to_yc48(pixels_of(to), pixels_of(from), w); });
}

void frame_to_yc48_709(uint8_t* yc48, const uint8_t* frame, int w, int h) {
    if (w < 1 || h < 1) return;
    convert_rows(yc48, ptrdiff_t{w} * 6, frame, frame_geometry.stride, h,
                 [w](uint8_t* to, const uint8_t* from) { yc48_row_to_yc48_709(pixels_of(to), pixels_of(from), w); });
}

void yc48_to_frame(uint8_t* frame, const uint8_t* yc48, int w, int h) {
    if (w > 0) rect_copy_strided(frame, yc48, size_t(w) * 6, h, frame_geometry.stride, yc48_stride(w));
}

void frame_to_yc48(uint8_t* yc48, const uint8_t* frame, int w, int h) {
    if (w > 0) rect_copy_strided(yc48, frame, size_t(w) * 6, h, yc48_stride(w), frame_geometry.stride);
}
