#include "filters/histogram.h"

#include <algorithm>

#include "core/edit_state.h"
#include "hosts/filter.h"
#include "hosts/filter_functions.h"
#include "hosts/shown_pixels.h"
#include "pixels/frame_buffer.h"

HISTOGRAM_VIEW histogram_view;

// ---- counting

void histogram_count_rgb(HISTOGRAM* histogram, const uint8_t* dib, int w, int h) {
    *histogram = {};
    auto& [red, green, blue] = histogram->level;
    for (int y = 0; y < h; ++y, dib += dib24_stride(w)) {
        for (int x = 0; x < w; ++x) {
            ++blue[dib[3 * x]];
            ++green[dib[3 * x + 1]];
            ++red[dib[3 * x + 2]];
        }
    }
}

void histogram_count_yuy2(HISTOGRAM* histogram, const uint8_t* yuy2, int w, int h) {
    *histogram = {};
    auto& [luma, cb, cr] = histogram->level;
    for (int y = 0; y < h; ++y, yuy2 += yuy2_stride(w)) {
        for (const uint8_t* pair = yuy2; pair < yuy2 + w / 2 * 4; pair += 4) {
            ++luma[pair[0]];
            ++cb[pair[1]];
            ++luma[pair[2]];
            ++cr[pair[3]];
        }
    }
}

void histogram_scale(HISTOGRAM* histogram, HISTOGRAM_MODE mode, int w, int h) {
    if (w < 1 || h < 1) return;
    for (int panel = 0; panel < HISTOGRAM_PANELS; ++panel) {
        const int divisor = mode == HISTOGRAM_YCBCR && panel > 0 ? 3 : 6;
        // One level may hold all the pixels of a large picture, which times 256 is more than 32 bits.
        for (int32_t& n : histogram->level[panel]) n = int32_t(int64_t{n} * 256 / divisor / w * HISTOGRAM_HEIGHT / h);
    }
}

// ---- drawing

struct PANEL_LOOK {
    uint32_t bar, marked_bar;
    int marks[2];  // -1: none
};
static constexpr PANEL_LOOK PANEL_LOOKS[2][HISTOGRAM_PANELS] = {
    {{0xCF0000, 0xCF0000, {-1, -1}}, {0x00AF00, 0x00AF00, {-1, -1}}, {0x0000DF, 0x0000DF, {-1, -1}}},
    {{0x6F6F6F, 0x000000, {15, 236}}, {0x0000DF, 0x00006F, {15, 241}}, {0xCF0000, 0x8F0000, {15, 241}}}};
static constexpr uint32_t BACKGROUND = 0xDFDFDF, MARKED_BACKGROUND = 0xBFBFBF;

void histogram_draw(uint8_t* dib, const int32_t (&heights)[HISTOGRAM_LEVELS], HISTOGRAM_MODE mode, int panel) {
    const PANEL_LOOK& look = PANEL_LOOKS[mode == HISTOGRAM_YCBCR][panel];
    for (int y = 0; y < HISTOGRAM_HEIGHT; ++y) {
        for (int x = 0; x < HISTOGRAM_LEVELS; ++x, dib += 3) {
            const bool marked = x == look.marks[0] || x == look.marks[1], bar = y < heights[x];
            const uint32_t colour =
                bar ? (marked ? look.marked_bar : look.bar) : (marked ? MARKED_BACKGROUND : BACKGROUND);
            dib[0] = uint8_t(colour);
            dib[1] = uint8_t(colour >> 8);
            dib[2] = uint8_t(colour >> 16);
        }
    }
}

// ---- the filter

int histogram_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    static constexpr uint32_t FCC_YUY2 = VANTEL_FOURCC('Y', 'U', 'Y', '2');
    if (!(filter->flags & FILTER_F_SHOWN)) return 1;
    const bool ycbcr = histogram_view.mode == HISTOGRAM_YCBCR;
    const uint8_t* pixels = shown_pixels_copy(param->edit, ycbcr ? FCC_YUY2 : 0);
    if (!pixels) return 1;
    const int w = param->edit->out_width, h = param->edit->out_height;
    (ycbcr ? histogram_count_yuy2 : histogram_count_rgb)(&histogram_view.heights, pixels, w, h);
    histogram_scale(&histogram_view.heights, histogram_view.mode, w, h);
    if (filter_window_hooks.repaint) filter_window_hooks.repaint(filter);
    return 1;
}
