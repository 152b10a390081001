#include "filters/resample.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "filters/resample_kernels.h"
#include "pixels/frame_buffer.h"
#include "pixels/rect.h"

/// The picture on its way through the passes.
struct RESAMPLE {
    uint8_t* rect;   // corner of the current rectangle
    uint8_t* image;  // origin of the buffer it lies in
    uint8_t* other;  // origin of the buffer that the next pass writes
    int w;
    int h;
    const RESAMPLE_KERNELS* kernels;
};

static constexpr int COLUMN_BLOCK = 64;  // bytes; column bands end on whole cache lines

static ptrdiff_t row_offset(int row) { return ptrdiff_t{row} * frame_geometry.stride; }
static bool is_yuy2() { return frame_geometry.pixel_size == PIXEL_SIZE_YUY2; }
static int whole_pairs(int w) { return is_yuy2() ? (w + 1) & ~1 : w; }

/// The pass has written the other buffer: it is the source of the next one.
static void turn(RESAMPLE* r) {
    std::swap(r->image, r->other);
    r->rect = r->image;
}

/// Calls func(begin, end) for bands of the bytes of a row.
template <typename FUNC>
static void column_bands(const RESAMPLE* r, int rows, const FUNC& func) {
    const int bytes = whole_pairs(r->w) * frame_geometry.pixel_size;
    rect_bands((bytes + COLUMN_BLOCK - 1) / COLUMN_BLOCK, rows >= RECT_BAND_ROWS, [&](ROW_RANGE blocks) {
        const int end = std::min(blocks.end * COLUMN_BLOCK, bytes);
        if (blocks.begin < blocks.end) func(size_t(blocks.begin) * COLUMN_BLOCK, size_t(end));
    });
}

static void double_width(RESAMPLE* r) {
    frame_pad_edges(r->rect, r->w, r->h, 1);
    rect_bands(r->h, r->h >= RECT_BAND_ROWS, [r](ROW_RANGE rows) {
        for (int row = rows.begin; row < rows.end; ++row)
            r->kernels->double_width(r->other + row_offset(row), r->rect + row_offset(row), r->w);
    });
    r->w *= 2;
    turn(r);
}

/// The taps are worked out for a stretch of columns, then serve all rows of the band.
static void fraction_width(RESAMPLE* r, int to) {
    frame_pad_edges(r->rect, r->w, r->h, 1);
    const int last = is_yuy2() ? whole_pairs(r->w) + 1 : r->w;  // what padding has written
    const RESAMPLE_SCALE scale = resample_scale_make(r->w, to, last);
    const int positions = whole_pairs(to);
    rect_bands(r->h, r->h >= RECT_BAND_ROWS, [=](ROW_RANGE rows) {
        RESAMPLE_TAPS taps;
        for (int first = 0; first < positions; first += RESAMPLE_TAPS_MAX) {
            resample_taps_fill(&taps, scale, first, std::min(positions - first, RESAMPLE_TAPS_MAX));
            for (int row = rows.begin; row < rows.end; ++row)
                r->kernels->fraction_width(r->other + row_offset(row), r->rect + row_offset(row), &taps);
        }
    });
    r->w = to;
    turn(r);
}

static void halve_width(RESAMPLE* r) {
    const bool in_place = r->rect == r->image;
    uint8_t* to = in_place ? r->image : r->other;
    rect_bands(r->h, r->h >= RECT_BAND_ROWS, [=](ROW_RANGE rows) {
        for (int row = rows.begin; row < rows.end; ++row)
            r->kernels->halve_width(to + row_offset(row), r->rect + row_offset(row), r->w);
    });
    r->w = (r->w + 1) / 2;
    if (!in_place) turn(r);
}

static void double_height(RESAMPLE* r) {
    frame_pad_edges(r->rect, r->w, r->h, 1);
    const size_t bytes = size_t(whole_pairs(r->w)) * size_t(frame_geometry.pixel_size);
    rect_bands(r->h, r->h >= RECT_BAND_ROWS, [=](ROW_RANGE rows) {
        for (int row = rows.begin; row < rows.end; ++row) {
            const uint8_t* c = r->rect + row_offset(row);
            uint8_t* out = r->other + row_offset(2 * row);
            r->kernels->lean(out, c, c + row_offset(-1), bytes);
            r->kernels->lean(out + row_offset(1), c, c + row_offset(1), bytes);
        }
    });
    r->h *= 2;
    turn(r);
}

static void fraction_height(RESAMPLE* r, int to) {
    frame_pad_edges(r->rect, r->w, r->h, 1);
    const RESAMPLE_SCALE scale = resample_scale_make(r->h, to, r->h);
    column_bands(r, std::max(r->h, to), [=](size_t begin, size_t end) {
        for (int row = 0; row < to; ++row) {
            const RESAMPLE_TAP tap = resample_tap(scale, row);
            const uint8_t* rows[3];
            for (int k = 0; k < 3; ++k) rows[k] = r->rect + row_offset(std::min(tap.index + k, scale.last)) + begin;
            r->kernels->blend(r->other + row_offset(row) + begin, rows, tap.weights, end - begin);
        }
    });
    r->h = to;
    turn(r);
}

/// In place a row is written after it has been read, within a worker's own columns.
static void halve_height(RESAMPLE* r) {
    const bool in_place = r->rect == r->image;
    uint8_t* to = in_place ? r->image : r->other;
    column_bands(r, r->h, [=](size_t begin, size_t end) {
        for (int row = 0; row < (r->h + 1) / 2; ++row) {
            const uint8_t* a = r->rect + row_offset(2 * row) + begin;
            r->kernels->mean(to + row_offset(row) + begin, a, a + row_offset(1), end - begin);
        }
    });
    r->h = (r->h + 1) / 2;
    if (!in_place) turn(r);
}

/// Where the fractional pass goes: the wanted size times the largest power of 2 that keeps it at most the current size.
/// So all that is left after it are exact halvings of even sizes.
static int fraction_target(int current, int wanted) {
    while (wanted <= current / 2) wanted *= 2;
    return wanted;
}

static void resize_width(RESAMPLE* r, int wanted) {
    while (r->w <= wanted / 2) double_width(r);
    const int target = fraction_target(r->w, wanted);
    if (target != r->w) fraction_width(r, target);
    while (wanted <= r->w / 2) halve_width(r);
}

static void resize_height(RESAMPLE* r, int wanted) {
    while (r->h <= wanted / 2) double_height(r);
    const int target = fraction_target(r->h, wanted);
    if (target != r->h) fraction_height(r, target);
    while (wanted <= r->h / 2) halve_height(r);
}

uint8_t* frame_resize(uint8_t* src, int out_w, int out_h, int x, int y, int in_w, int in_h, uint8_t* alt) {
    if (out_w < 1 || out_h < 1 || in_w < 1 || in_h < 1) return src;
    if (is_yuy2()) x &= ~1;
    uint8_t* corner = src + row_offset(y) + ptrdiff_t{x} * frame_geometry.pixel_size;
    RESAMPLE r = {corner, src, alt, in_w, in_h, resample_kernels(frame_geometry.pixel_size)};
    resize_width(&r, out_w);
    resize_height(&r, out_h);
    if (r.rect != r.image) {
        frame_copy_rows(r.other, r.rect, nullptr, r.w, r.h, 1);
        turn(&r);
    }
    return r.image;
}
