#pragma once

#include <cstddef>
#include <cstdint>

/// Counts how much of a picture moves, and how much of what moves is combed: the raw numbers from which the telecine
/// analysis (frame_analysis.h) finds out which fields belong together.
///
/// A row r is sampled with its neighbours: a, b, g1, g2 are the samples of rows r - 1 .. r + 2 of the picture, e and f
/// those of rows r and r + 2 of the picture before it. A sample is a word of YC48 or a byte of YUY2; differences
/// saturate at 16 bits, and |x| = x < 0 ? ~x : x.
///   moved:                |b - e| above the limit `moved`.
///   combed(w0, w1, w2, w3): with x = w0 - w1 and y = w2 - w3, both complemented (~) where w1 - w2 < 0, max(x, y) is
///                         not above the limit `comb`, which is negative: both steps go back on the one between them.

struct FIELD_COUNTS {
    uint32_t moved;        // samples that moved
    uint32_t comb;         // of these: combed(a, b, g1, g2), against the rows of the same picture
    uint32_t comb_before;  // of these: combed(a, e, g1, f), against the rows of the picture before
};

/// Limits of the samples at even and at odd places of a row: luma and chroma of YUY2, one and the same for YC48.
struct FIELD_LIMITS {
    int16_t moved[2];
    int16_t comb[2];
};

/// With s the threshold. YC48: moved = 4 * s + 64, comb = -moved. YUY2: moved = (s + 16) * 876 / 4080 for luma, with
/// 896 for chroma, comb = -1 - moved.
FIELD_LIMITS field_limits(int threshold, int pixel_size);

/// The part of a picture that is sampled: columns left .. left + width - 1, and every second row from `top` on, `rows`
/// of them. Nothing of it or of the neighbouring rows lies outside the picture.
struct FIELD_AREA {
    int left, width;
    int top, rows;
    int height;  // of the picture without its margins
};

/// margin: kept out on all four sides, where capture noise sits; cut down to half the smaller side less 16 when a side
/// is below 2 * margin + 32. Columns start at the margin rounded down to a multiple of 8. The later field's rows are
/// sampled: from margin + 1 with top_first, else from margin + 2.
FIELD_AREA field_area(int width, int height, int margin, bool top_first);

/// Counts over an area of a picture and the one before it (image origins, geometry of the run), on the worker pool when
/// the area is at least 32 rows high. Same counts for any number of workers. Main thread; allocates nothing.
FIELD_COUNTS field_metric(const uint8_t* picture, const uint8_t* before, const FIELD_AREA& area,
                          const FIELD_LIMITS& limits);

/// Adds the counts of one row. rows: a, b, g1, g2, e, f. bytes may be 0; words lie at even addresses; nothing else is
/// read. Any thread.
using FIELD_METRIC_ROW = void (*)(FIELD_COUNTS* counts, const uint8_t* const* rows, size_t bytes,
                                  const FIELD_LIMITS& limits);
enum { FIELD_ROW_A, FIELD_ROW_B, FIELD_ROW_G1, FIELD_ROW_G2, FIELD_ROW_E, FIELD_ROW_F, FIELD_ROW_N };

/// The row kernel for a pixel size, 6 or 2: the vector form, for rows of up to 524,280 samples, and the definition.
FIELD_METRIC_ROW field_metric_row_simd(int pixel_size);
FIELD_METRIC_ROW field_metric_row_ref(int pixel_size);
