#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/parallel.h"

/// Rectangle primitives: copy, weave, blend, fill, edge padding. Frame pointers lead to a pixel inside a FRAME_BUFFER
/// (the image origin or the corner of a rectangle); rows lie frame_geometry.stride bytes apart and a pixel has
/// frame_geometry.pixel_size bytes. In the 2-byte mode widths stand for whole pairs of pixels: an odd width is taken as
/// the next even one, and rectangles start at even pixels.
///
/// All sizes are at least 1; a size of 0 or below does nothing. Rectangles are inside their buffers (margins included):
/// the callers clip. No errors. Work of 32 rows or more goes to the worker pool, so only the thread that drives
/// rendering may call these, and not from a worker.

/// Bands are worth their hand-over from this many rows on.
inline constexpr int RECT_BAND_ROWS = 32;

/// Calls func(ROW_RANGE) for the parts of 0 .. count - 1: one part for each worker with use_threads, else one for all.
/// func is called from several threads at once, must not throw, and may see empty ranges.
template <typename FUNC>
void rect_bands(int count, bool use_threads, const FUNC& func) {
    struct JOB {
        int count;
        const FUNC* func;
    } job{count, &func};
    const auto run = [](int thread_i, int thread_n, void* data) {
        const auto* job = static_cast<const JOB*>(data);
        (*job->func)(parallel_rows(job->count, thread_i, thread_n));
    };
    parallel_run_if(use_threads, run, &job);
}

/// Plain row copy between any two memories. Strides are in bytes and may be negative (bottom-up rows). The rectangles
/// may be the same memory with the same stride, else they do not overlap.
void rect_copy_strided(void* dst, const void* src, size_t row_bytes, int rows, ptrdiff_t dst_stride,
                       ptrdiff_t src_stride);

/// Writes the rows 0, step, 2 * step ... of a w x h rectangle, (h + step - 1) / step rows. With an odd step and a
/// second source the sources take turns, a first; with b null or an even step all rows come from a. A row is read at
/// the same row offset at which it is written, so a source pointer one row away doubles a field or weaves two frames.
/// Rows read and rows written are different rows or the very same.
void frame_copy_rows(uint8_t* dst, const uint8_t* a, const uint8_t* b, int w, int h, int step);

/// dst = mulhi16(src * 4, (4096 - t) * 4) + mulhi16(dst * 4, t * 4), multiplications by 4 and the sum saturating, for
/// each word of YC48 or each byte of YUY2 (as a word, then cut to 8 bits). transparency t: 0 (src replaces dst) .. 4096
/// (dst stays), clamped to that. The rectangles are the same or do not overlap.
void frame_blend_rows(uint8_t* dst, const uint8_t* src, int w, int h, int transparency);

/// One row of frame_blend_rows: n samples, any alignment, writes exactly n samples.
void rect_blend_row_yc48(int16_t* dst, const int16_t* src, size_t n, int transparency);
void rect_blend_row_yc48_ref(int16_t* dst, const int16_t* src, size_t n, int transparency);
void rect_blend_row_yuy2(uint8_t* dst, const uint8_t* src, size_t n, int transparency);
void rect_blend_row_yuy2_ref(uint8_t* dst, const uint8_t* src, size_t n, int transparency);

/// Fills with black: zero words in YC48; Y 0 (not 16) and chroma 128 in the 2-byte mode.
void frame_fill_blank(uint8_t* dst, int w, int h);

/// Fills a margin of n pixels around a w x h picture (n 0 .. FRAME_MARGIN): first the first and last pixel of each row
/// are repeated outwards, then the first and last row, margins included, are copied to the n rows above and below. In
/// the 2-byte mode n pixels are (n + 1) / 2 pairs, and pairs are what is repeated. Runs on the calling thread.
void frame_pad_edges(uint8_t* frame, int w, int h, int n);
