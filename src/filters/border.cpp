#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "filters/geometry.h"
#include "hosts/filter_functions.h"
#include "pixels/rect.h"

enum { TRACK_TOP, TRACK_BOTTOM, TRACK_LEFT, TRACK_RIGHT };
enum { CHECK_CENTER, CHECK_EDGE_COLOR };

/// The border of one direction. A positive side lies over the picture, a negative one beside it.
struct BORDER_SIDES {
    int first, second;
};

/// Where the picture goes in one direction: `size` pixels from `from` on are kept, and come to lie between two margins.
struct BORDER_SPAN {
    int from, size;
    int first, second;
    int total() const { return first + size + second; }
    int end() const { return first + size; }
};

/// Keeps the border within a picture of `size` pixels, and the new picture within `largest`. The second side gives way.
static BORDER_SIDES limited(BORDER_SIDES sides, int size, int largest) {
    sides.first = std::clamp(sides.first, size - largest, size);
    sides.second = std::clamp(sides.second, size - largest, size);
    if (sides.first + sides.second > size) sides.second = size - sides.first;
    return {sides.first, std::max(sides.second, size - largest - sides.first)};
}

/// Whole pairs. Rounding down widens a border beside the picture, so the room is looked at again, in whole pairs too.
static BORDER_SIDES limited_pairs(BORDER_SIDES sides, int size, int largest) {
    const int least = ((size + 1) & ~1) - largest;
    sides.first = std::max(sides.first & ~1, least);
    return {sides.first, std::max({sides.second & ~1, least, least - sides.first})};
}

static BORDER_SPAN span_of(BORDER_SIDES sides, int size) {
    const int from = std::max(sides.first, 0);
    return {from, size - from - std::max(sides.second, 0), std::abs(sides.first), std::abs(sides.second)};
}

static void center(BORDER_SPAN* span, int first) {
    span->second += span->first - first;
    span->first = first;
}

static BORDER_SPAN columns_of(const FILTER* filter, int w) {
    BORDER_SIDES sides{filter->track_values[TRACK_LEFT], filter->track_values[TRACK_RIGHT]};
    sides = limited(sides, w, frame_geometry.max_width);
    if (geometry_is_yuy2()) sides = limited_pairs(sides, w, frame_geometry.max_width);
    return span_of(sides, w);
}

static BORDER_SPAN rows_of(const FILTER* filter, int h) {
    const BORDER_SIDES sides{filter->track_values[TRACK_TOP], filter->track_values[TRACK_BOTTOM]};
    return span_of(limited(sides, h, frame_geometry.max_height), h);
}

// ---- painting

static void paint_black(uint8_t* image, const BORDER_SPAN& x, const BORDER_SPAN& y) {
    frame_fill_blank(geometry_at(image, 0, y.first), x.first, y.size);
    frame_fill_blank(geometry_at(image, x.end(), y.first), x.second, y.size);
    frame_fill_blank(image, x.total(), y.first);
    frame_fill_blank(geometry_at(image, 0, y.end()), x.total(), y.second);
}

/// Repeats UNIT bytes at `from` in the bytes begin .. end - 1 of a row.
template <int UNIT>
static void repeat(uint8_t* row, int begin, int end, int from) {
    uint8_t unit[UNIT];
    std::memcpy(unit, row + from, UNIT);
    for (int i = begin; i < end; i += UNIT) std::memcpy(row + i, unit, UNIT);
}

/// Repeats the outermost pixels of the kept picture, which has at least one, pairs in the 2-byte mode; then its
/// outermost rows, with what stands at their sides.
static void paint_edges(uint8_t* image, const BORDER_SPAN& x, const BORDER_SPAN& y) {
    const int step = geometry_is_yuy2() ? 2 : 1, pixel = frame_geometry.pixel_size;
    const int left = x.first * pixel, end = x.total() * pixel, unit = step * pixel;
    const auto repeat_unit = geometry_is_yuy2() ? repeat<4> : repeat<sizeof(YC48_PIXEL)>;
    const int right = (x.first + std::max(x.size, step)) * pixel;  // a lone pixel has its pair's second one with it
    rect_bands(y.size, y.size >= RECT_BAND_ROWS, [=](ROW_RANGE range) {
        for (int row = range.begin; row < range.end; ++row) {
            uint8_t* at = geometry_at(image, 0, y.first + row);
            repeat_unit(at, 0, left, left);
            repeat_unit(at, right, end, right - unit);
        }
    });
    const int bytes = (x.total() + step - 1) / step * unit;
    const auto copy_row = [=](int to, int from) {
        std::memcpy(geometry_at(image, 0, to), geometry_at(image, 0, from), size_t(bytes));
    };
    for (int row = 0; row < y.first; ++row) copy_row(row, y.first);
    for (int row = y.end(); row < y.total(); ++row) copy_row(row, y.end() - 1);
}

int border_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    if (!geometry_possible(param)) return 0;
    BORDER_SPAN x = columns_of(filter, param->width), y = rows_of(filter, param->height);
    if (filter->check_values[CHECK_CENTER]) {
        center(&x, geometry_even((x.first + x.second) / 2));
        center(&y, (y.first + y.second) / 2);
    }
    const bool kept = x.size > 0 && y.size > 0;
    if (kept && (x.first != x.from || y.first != y.from)) {
        frame_copy_rows(geometry_at(geometry_scratch(param), x.first, y.first),
                        geometry_at(geometry_image(param), x.from, y.from), nullptr, x.size, y.size, 1);
        geometry_swap(param);
    }
    param->width = x.total();
    param->height = y.total();
    const bool edges = filter->check_values[CHECK_EDGE_COLOR] && kept;
    (edges ? paint_edges : paint_black)(geometry_image(param), x, y);
    return 1;
}
