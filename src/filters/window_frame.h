#pragma once

#include "filters/window_taps.h"
#include "pixels/frame_buffer.h"
#include "pixels/rect.h"

/// Runs row kernels that look at a window around each sample over whole pictures. Beyond its edges a picture goes on
/// with its outermost pixel of YC48, or pair of YUY2, and that for windows of every reach; margins are not touched.

/// Part of the rows around a row, with what continues them to both sides.
struct WINDOW_TILE {
    static constexpr int ROW = 256;
    uint8_t bytes[WINDOW_ROWS_MAX][ROW];
    const uint8_t* rows[WINDOW_ROWS_MAX];
};

/// The ends of a row, bytes on each side, go through a tile; a row below three times that as a whole.
inline constexpr int WINDOW_END = 64;
static_assert(3 * WINDOW_END + 2 * WINDOW_REACH_MAX * int(sizeof(YC48_PIXEL)) <= WINDOW_TILE::ROW);

/// Copies the bytes begin .. end - 1 of 2 * reach + 1 rows of `bytes` bytes, and `reach` steps to both sides of them;
/// tile->rows then lead to byte `begin`. end - begin is at most 3 * WINDOW_END.
void window_tile_fill(WINDOW_TILE* tile, const uint8_t* const* rows, int bytes, int begin, int end, int reach);

/// The rows row_n - reach .. row_n + reach of a picture of h rows; those outside it are its first and last.
void window_rows(const uint8_t** rows, const uint8_t* src, int row_n, int h, int reach);

/// The bytes of a row of w pixels, in the 2-byte mode of whole pairs.
int window_row_bytes(int w);

/// Calls row(dst, rows, bytes) so that each byte of a w x h picture (w and h at least 1) is covered once: `bytes` bytes
/// are to be written at dst, out of the 2 * reach + 1 pointers rows, top to bottom, each to the place of dst in its row
/// and readable `reach` steps (WINDOW_STEP) to both sides. Parts begin at even samples. src and dst are image origins
/// of different FRAME_BUFFERs. 32 rows or more go to the worker pool: only the thread that drives rendering may call
/// this, and row is called from several threads at once. Allocates nothing.
template <typename ROW>
void window_frame(uint8_t* dst, const uint8_t* src, int w, int h, int reach, const ROW& row) {
    const int bytes = window_row_bytes(w);
    const auto band = [&](ROW_RANGE range) {
        WINDOW_TILE tile;
        const uint8_t* rows[WINDOW_ROWS_MAX];
        for (int row_n = range.begin; row_n < range.end; ++row_n) {
            uint8_t* to = dst + ptrdiff_t{row_n} * frame_geometry.stride;
            window_rows(rows, src, row_n, h, reach);
            const auto tiled = [&](int begin, int end) {
                window_tile_fill(&tile, rows, bytes, begin, end, reach);
                row(to + begin, tile.rows, size_t(end - begin));
            };
            if (bytes <= 3 * WINDOW_END) {
                tiled(0, bytes);
                continue;
            }
            tiled(0, WINDOW_END);
            tiled(bytes - WINDOW_END, bytes);
            for (int i = 0; i <= 2 * reach; ++i) rows[i] += WINDOW_END;
            row(to + WINDOW_END, rows, size_t(bytes - 2 * WINDOW_END));
        }
    };
    rect_bands(h, h >= RECT_BAND_ROWS, band);
}
