#pragma once

#include <cstddef>
#include <cstdint>

/// The display tool STR_FILTER_HISTOGRAM without its window: three bar graphs of the shown picture, one below the
/// other. Main thread.

enum HISTOGRAM_MODE : int { HISTOGRAM_RGB = 0, HISTOGRAM_YCBCR = 1 };

inline constexpr int HISTOGRAM_PANELS = 3;  // red, green, blue; or Y, Cb, Cr
inline constexpr int HISTOGRAM_LEVELS = 256;
inline constexpr int HISTOGRAM_HEIGHT = 80;      // of a panel, pixels
inline constexpr int HISTOGRAM_PANEL_STEP = 81;  // from panel to panel
inline constexpr int HISTOGRAM_WINDOW_HEIGHT = 242;
inline constexpr size_t HISTOGRAM_PANEL_BYTES = size_t{HISTOGRAM_LEVELS} * 3 * HISTOGRAM_HEIGHT;

/// Samples of each level, which histogram_scale turns into heights of bars.
struct HISTOGRAM {
    int32_t level[HISTOGRAM_PANELS][HISTOGRAM_LEVELS];
};

/// Counts a picture: a 24-bit DIB, or YUY2 (by whole pairs of pixels). What was counted before is forgotten.
void histogram_count_rgb(HISTOGRAM* histogram, const uint8_t* dib, int w, int h);
void histogram_count_yuy2(HISTOGRAM* histogram, const uint8_t* yuy2, int w, int h);
/// Counts of a w x h picture to heights in pixels: 3/128 of the panel's samples are 80. They may be larger.
///     count * 256 / d / w * 80 / h, each division truncating; d = 6, and 3 for the halved chroma
void histogram_scale(HISTOGRAM* histogram, HISTOGRAM_MODE mode, int w, int h);
/// Draws a panel as a 256 x 80 24-bit DIB (bottom-up rows of 768 bytes); heights are cut to 80. With YCbCr the first
/// levels outside the range of video are marked: 15, and 236 (Y) or 241.
void histogram_draw(uint8_t* dib, const int32_t (&heights)[HISTOGRAM_LEVELS], HISTOGRAM_MODE mode, int panel);

/// What the window shows: heights of the last frame that was counted, all 0 before there is one.
struct HISTOGRAM_VIEW {
    HISTOGRAM_MODE mode;
    HISTOGRAM heights;
};
extern HISTOGRAM_VIEW histogram_view;
