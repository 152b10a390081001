#include "filters/deinterlace_frame.h"

#include <cstring>

#include "filters/deinterlace_kernels.h"
#include "pixels/frame_buffer.h"
#include "pixels/rect.h"

static constexpr int ROWS_MIN = 3;  // what has a row between two kept ones

static ptrdiff_t row_offset(int row) { return ptrdiff_t{row} * frame_geometry.stride; }
static bool is_yuy2() { return frame_geometry.pixel_size == PIXEL_SIZE_YUY2; }
static size_t row_bytes(int w) { return is_yuy2() ? size_t(yuy2_stride(w)) : size_t(w) * sizeof(YC48_PIXEL); }

static void copy_row(uint8_t* image, const uint8_t* cur, int to, int from, size_t bytes) {
    std::memcpy(image + row_offset(to), cur + row_offset(from), bytes);
}

/// A row number up to 2 outside the picture, brought inside without leaving its field. h is at least 3.
static int same_field(int row, int h) { return row < 0 ? row + 2 : row >= h ? row - 2 : row; }

// ---- one field kept

/// The neighbours to the sides are a pixel of YC48 or a pair of YUY2 away; the outermost ones have none on one side.
static void adaptive_row(const DEINTERLACE_KERNELS* kernels, uint8_t* dst, const uint8_t* c, size_t bytes) {
    const size_t unit = is_yuy2() ? 4 : sizeof(YC48_PIXEL);
    const uint8_t *u = c + row_offset(-1), *d = c + row_offset(1);
    const auto part = [=](size_t begin, size_t end) {
        const size_t left = begin == 0 ? begin : begin - unit;
        const size_t right = end == bytes ? begin : begin + unit;
        const uint8_t* rows[] = {c + begin, u + begin, d + begin, u + left, d + left, u + right, d + right};
        kernels->adaptive(dst + begin, rows, end - begin);
    };
    part(0, unit);
    if (bytes > 2 * unit) part(unit, bytes - unit);
    if (bytes > unit) part(bytes - unit, bytes);
}

static void mean_row(const DEINTERLACE_KERNELS* kernels, uint8_t* dst, const uint8_t* c, size_t bytes) {
    const uint8_t* rows[] = {c + row_offset(-1), c + row_offset(1)};
    kernels->mean(dst, rows, bytes);
}

void deinterlace_field(uint8_t* image, const uint8_t* cur, int w, int h, int kept, FIELD_FILL fill) {
    if (h < ROWS_MIN) return frame_copy_rows(image, cur, nullptr, w, h, 1);
    const DEINTERLACE_KERNELS* kernels = deinterlace_kernels(frame_geometry.pixel_size);
    const size_t bytes = row_bytes(w);
    const auto fill_row = [=](int row) {
        const int below = same_field(row + 1, h), above = same_field(row - 1, h);
        if (row % 2 == kept)
            copy_row(image, cur, row, row, bytes);
        else if (fill == FIELD_REPEAT)
            copy_row(image, cur, row, kept ? below : above, bytes);
        else if (row == 0)
            copy_row(image, cur, row, below, bytes);
        else if (row == h - 1)
            copy_row(image, cur, row, above, bytes);
        else
            (fill == FIELD_MEAN ? mean_row : adaptive_row)(kernels, image + row_offset(row), cur + row_offset(row),
                                                           bytes);
    };
    rect_bands(h, h >= RECT_BAND_ROWS, [&](ROW_RANGE range) {
        for (int row = range.begin; row < range.end; ++row) fill_row(row);
    });
}

// ---- both fields used

void deinterlace_double(uint8_t* image, const uint8_t* cur, int w, int h) {
    if (h < ROWS_MIN) return frame_copy_rows(image, cur, nullptr, w, h, 1);
    const DEINTERLACE_KERNELS* kernels = deinterlace_kernels(frame_geometry.pixel_size);
    const size_t bytes = row_bytes(w);
    rect_bands(h, h >= RECT_BAND_ROWS, [=](ROW_RANGE range) {
        for (int row = range.begin; row < range.end; ++row) {
            const uint8_t* c = cur + row_offset(row);
            const bool outer = row == 0 || row == h - 1;
            // Not soften with a repeated row: a mean saturates, so the mean of c with itself is not always c.
            const uint8_t* twice[] = {c, c};
            const uint8_t* rows[] = {c + row_offset(-1), c, c + row_offset(1)};
            if (outer)
                kernels->mean(image + row_offset(row), twice, bytes);
            else
                kernels->soften(image + row_offset(row), rows, bytes);
        }
    });
}

void deinterlace_motion(uint8_t* image, const uint8_t* cur, const uint8_t* prev, int w, int h, bool top_first) {
    if (h < ROWS_MIN) return frame_copy_rows(image, cur, nullptr, w, h, 1);
    const DEINTERLACE_KERNELS* kernels = deinterlace_kernels(frame_geometry.pixel_size);
    const size_t bytes = row_bytes(w);
    // The rows are counted towards the kept row of the pair: complements make the sums differ by direction.
    const int direction = top_first ? -1 : 1;
    rect_bands(h / 2, h >= RECT_BAND_ROWS, [=](ROW_RANGE range) {
        for (int pair = range.begin; pair < range.end; ++pair) {
            const int row = 2 * pair + (top_first ? 1 : 0);
            copy_row(image, cur, row + direction, row + direction, bytes);
            const auto at = [=](const uint8_t* picture, int k) {
                return picture + row_offset(same_field(row + k * direction, h));
            };
            const uint8_t* rows[] = {at(cur, -2), at(cur, -1),  at(cur, 0),  at(cur, 1),
                                     at(cur, 2),  at(prev, -2), at(prev, 0), at(prev, 2)};
            kernels->motion(image + row_offset(row), rows, bytes);
        }
    });
}

void deinterlace_weave(uint8_t* image, const uint8_t* cur, const uint8_t* other, int w, int h, bool top_first) {
    frame_copy_rows(image, top_first ? cur : other, top_first ? other : cur, w, h, 1);
}

void deinterlace_stripes(uint8_t* image, const uint8_t* cur, const uint8_t* other, int w, int h, bool top_first) {
    if (h < ROWS_MIN) return frame_copy_rows(image, cur, nullptr, w, h, 1);
    const DEINTERLACE_KERNELS* kernels = deinterlace_kernels(frame_geometry.pixel_size);
    const size_t bytes = row_bytes(w);
    rect_bands(h, h >= RECT_BAND_ROWS, [=](ROW_RANGE range) {
        for (int row = range.begin; row < range.end; ++row) {
            const bool from_cur = (row % 2 == 0) == top_first;
            const uint8_t *y = from_cur ? cur : other, *x = from_cur ? other : cur;
            const auto at = [=](const uint8_t* picture, int k) { return picture + row_offset(same_field(row + k, h)); };
            const uint8_t* rows[] = {at(y, 2), at(x, 1), at(y, 0), at(x, -1), at(y, -2)};
            kernels->stripes(image + row_offset(row), rows, bytes);
        }
    });
}
