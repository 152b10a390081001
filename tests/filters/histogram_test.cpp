#include "filters/histogram.h"

#include <memory>
#include <numeric>

#include "core/edit_state.h"
#include "filters/picture_fixture.h"
#include "hosts/filter_functions.h"
#include "pixels/convert.h"
#include "platform/handle.h"

static int total(const int32_t (&level)[HISTOGRAM_LEVELS]) { return std::accumulate(level, level + 256, 0); }

TEST(Histogram, CountsSamplesAndNoPadding) {
    HISTOGRAM h{};
    const int w = 3, rows = 2;
    std::vector<uint8_t> dib(size_t(dib24_stride(w)) * rows, 77);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t* p = dib.data() + y * dib24_stride(w) + 3 * x;
            p[0] = 1, p[1] = 2, p[2] = uint8_t(10 + x);
        }
    histogram_count_rgb(&h, dib.data(), w, rows);
    EXPECT_EQ(h.level[2][1] * 10 + h.level[1][2], 66);
    EXPECT_EQ(h.level[0][10] * 100 + h.level[0][11] * 10 + h.level[0][12], 222);
    std::vector<uint8_t> yuy2(size_t(yuy2_stride(5)) * 2, 99);
    for (int y = 0; y < 2; ++y)
        for (int pair = 0; pair < 2; ++pair) {
            const uint8_t bytes[4] = {16, 100, 17, 200};
            std::copy_n(bytes, 4, yuy2.data() + y * yuy2_stride(5) + 4 * pair);
        }
    histogram_count_yuy2(&h, yuy2.data(), 5, 2);
    EXPECT_EQ(h.level[0][16] * 100 + h.level[0][17], 404);
    EXPECT_EQ(h.level[1][100] * 100 + h.level[2][200], 404);
    EXPECT_EQ(total(h.level[0]), 8);  // the odd column is no pair, and the count before is forgotten
    EXPECT_EQ(total(h.level[1]), 4);
}

/// Each division truncates by itself, so their order shows in the numbers.
TEST(Histogram, ScalesWithTruncationAtEveryStep) {
    HISTOGRAM h{};
    const auto scaled = [&](HISTOGRAM_MODE mode, int panel, int n, int w, int rows) {
        h = {};
        h.level[panel][9] = n;
        histogram_scale(&h, mode, w, rows);
        return h.level[panel][9];
    };
    // 7201 * 256 = 1843456; / 6 = 307242; / 640 = 480; * 80 = 38400; / 480 = 80
    EXPECT_EQ(scaled(HISTOGRAM_RGB, 0, 7201, 640, 480), 80);
    // 1000 * 256 / 6 = 42666; / 353 = 120; * 80 / 241 = 39; in one division it would be 40
    EXPECT_EQ(scaled(HISTOGRAM_RGB, 1, 1000, 353, 241), 39);
    EXPECT_EQ(scaled(HISTOGRAM_YCBCR, 1, 1000, 353, 241), 80);           // 85333 / 353 = 241
    EXPECT_EQ(scaled(HISTOGRAM_RGB, 0, 4096 * 4096, 4096, 4096), 3413);  // * 256 passes 32 bits
}

TEST(Histogram, DrawsBarsFromTheBottomAndMarks) {
    std::vector<uint8_t> dib(HISTOGRAM_PANEL_BYTES);
    const auto colour = [&](int x, int y) {
        const uint8_t* p = dib.data() + (y * HISTOGRAM_LEVELS + x) * 3;
        return uint32_t(p[0] | p[1] << 8 | p[2] << 16);
    };
    int32_t heights[HISTOGRAM_LEVELS] = {};
    heights[0] = 1, heights[15] = 3, heights[255] = 5000;
    const uint32_t bars[2][3] = {{0xCF0000, 0x00AF00, 0x0000DF}, {0x6F6F6F, 0x0000DF, 0xCF0000}};
    const uint32_t on_marks[3] = {0x000000, 0x00006F, 0x8F0000};
    for (int mode = 0; mode < 2; ++mode)
        for (int panel = 0; panel < 3; ++panel) {
            histogram_draw(dib.data(), heights, HISTOGRAM_MODE(mode), panel);
            for (const auto& [x, y] : {std::pair{0, 0}, {255, 79}}) EXPECT_EQ(colour(x, y), bars[mode][panel]);
            EXPECT_EQ(colour(15, 2), mode ? on_marks[panel] : bars[mode][panel]);
            EXPECT_EQ(colour(0, 1), 0xDFDFDFu);
            for (int x = 0; x < 255; ++x) {
                const bool mark = mode && (x == 15 || x == (panel ? 241 : 236));
                EXPECT_EQ(colour(x, 79), mark ? 0xBFBFBFu : 0xDFDFDFu) << x;
            }
        }
}

TEST(Histogram, CountsTheShownPictureWhileItIsShown) {
    frame_geometry = frame_geometry_make(320, 240, PIXEL_SIZE_YC48);
    const FRAME frame;
    std::vector<uint8_t> black(size_t(yuy2_stride(64)) * 48);
    for (size_t i = 0; i < black.size(); ++i) black[i] = i % 2 ? 128 : 16;
    yuy2_to_frame(frame.image, black.data(), 64, 48);
    const auto edit = std::make_unique<EDIT_STATE>();
    const uint32_t id = handle_new(frame.image);
    edit->out_width = 64, edit->out_height = 48;
    FILTER filter{};
    FILTER_PROC_PARAM param{};
    param.edit = edit.get();
    for (const auto& [mode, levels] :
         {std::pair{HISTOGRAM_RGB, std::array{0, 0, 0}}, {HISTOGRAM_YCBCR, {16, 128, 128}}})
        for (const bool shown : {false, true})
            for (const bool there : {false, true}) {
                histogram_view = {mode, {}};
                filter.flags = shown ? FILTER_F_SHOWN : 0;
                edit->shown_image = there ? id : 0;
                EXPECT_EQ(histogram_proc(&filter, &param), 1);
                for (size_t panel = 0; panel < 3; ++panel) {
                    const auto& heights = histogram_view.heights.level[panel];
                    EXPECT_EQ(heights[levels[panel]] >= HISTOGRAM_HEIGHT, shown && there) << panel;
                    EXPECT_EQ(std::count(heights, heights + HISTOGRAM_LEVELS, 0), shown && there ? 255 : 256);
                }
            }
    handle_free(id);
}
