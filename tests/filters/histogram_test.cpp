#include "filters/histogram.h"

#include <gtest/gtest.h>

#include <numeric>
#include <set>
#include <vector>

#include "core/edit_state.h"
#include "hosts/filter_functions.h"
#include "hosts/shown_pixels.h"
#include "pixels/convert.h"
#include "pixels/frame_buffer.h"
#include "platform/handle.h"
#include "resources/string_ids.h"

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
    EXPECT_EQ(h.level[2][1], 6);
    EXPECT_EQ(h.level[1][2], 6);
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
    EXPECT_EQ(scaled(HISTOGRAM_RGB, 2, 7199, 640, 480), 79);
    // 1000 * 256 / 6 = 42666; / 353 = 120; * 80 / 241 = 39; in one division it would be 40
    EXPECT_EQ(scaled(HISTOGRAM_RGB, 1, 1000, 353, 241), 39);
    EXPECT_EQ(scaled(HISTOGRAM_YCBCR, 0, 1000, 353, 241), 39);
    EXPECT_EQ(scaled(HISTOGRAM_YCBCR, 1, 1000, 353, 241), 80);           // 85333 / 353 = 241
    EXPECT_EQ(scaled(HISTOGRAM_RGB, 0, 4096 * 4096, 4096, 4096), 3413);  // * 256 passes 32 bits
}

static uint32_t colour_at(const std::vector<uint8_t>& dib, int x, int y) {
    const uint8_t* p = dib.data() + (y * HISTOGRAM_LEVELS + x) * 3;
    return uint32_t(p[0] | p[1] << 8 | p[2] << 16);
}

TEST(Histogram, DrawsBarsFromTheBottomAndMarks) {
    std::vector<uint8_t> dib(HISTOGRAM_PANEL_BYTES);
    int32_t heights[HISTOGRAM_LEVELS] = {};
    heights[0] = 1, heights[15] = 3, heights[255] = 5000;
    const uint32_t bars[2][3][2] = {{{0xCF0000, 0xCF0000}, {0x00AF00, 0x00AF00}, {0x0000DF, 0x0000DF}},
                                    {{0x6F6F6F, 0x000000}, {0x0000DF, 0x00006F}, {0xCF0000, 0x8F0000}}};
    for (int mode = 0; mode < 2; ++mode) {
        for (int panel = 0; panel < 3; ++panel) {
            histogram_draw(dib.data(), heights, HISTOGRAM_MODE(mode), panel);
            EXPECT_EQ(colour_at(dib, 0, 0), bars[mode][panel][0]);
            EXPECT_EQ(colour_at(dib, 0, 1), 0xDFDFDFu);
            EXPECT_EQ(colour_at(dib, 255, 79), bars[mode][panel][0]);
            EXPECT_EQ(colour_at(dib, 15, 2), bars[mode][panel][1]);
            std::set<int> marks;
            for (int x = 0; x < 255; ++x)
                if (colour_at(dib, x, 79) == 0xBFBFBF) marks.insert(x);
            const std::set<int> want = {15, panel == 0 ? 236 : 241};
            EXPECT_EQ(marks, mode ? want : std::set<int>{});
        }
    }
}

struct HistogramProc : testing::Test {
    std::vector<uint8_t> block;
    std::vector<EDIT_STATE> edit = std::vector<EDIT_STATE>(1);
    uint32_t image_id = 0;
    FILTER filter{};
    FILTER_PROC_PARAM param{};

    void SetUp() override {
        frame_geometry = frame_geometry_make(320, 240, PIXEL_SIZE_YC48);
        block.resize(frame_geometry.block_size);
        image_id = handle_new(block.data() + frame_geometry.origin);
        edit[0].out_width = 64;
        edit[0].out_height = 48;
        edit[0].shown_image = image_id;
        edit[0].shown_pixels = 1234;
        std::vector<uint8_t> yuy2(size_t(yuy2_stride(64)) * 48);
        for (size_t i = 0; i < yuy2.size(); ++i) yuy2[i] = i % 2 ? 128 : 16;  // video black
        yuy2_to_frame(block.data() + frame_geometry.origin, yuy2.data(), 64, 48);
        filter.flags = FILTER_F_SHOWN;
        param.edit = edit.data();
        histogram_view = {};
    }
    void TearDown() override { handle_free(image_id); }
    int bars(int panel) const {
        const auto& level = histogram_view.heights.level[panel];
        return int(HISTOGRAM_LEVELS - std::count(level, level + 256, 0));
    }
};

TEST_F(HistogramProc, CountsTheShownPictureInTheModeOfTheWindow) {
    EXPECT_EQ(histogram_proc(&filter, &param), 1);
    for (int panel = 0; panel < 3; ++panel) {
        EXPECT_EQ(bars(panel), 1);
        EXPECT_GE(histogram_view.heights.level[panel][0], HISTOGRAM_HEIGHT);
    }
    histogram_view.mode = HISTOGRAM_YCBCR;
    histogram_proc(&filter, &param);
    EXPECT_GE(histogram_view.heights.level[0][16], HISTOGRAM_HEIGHT);
    EXPECT_GE(histogram_view.heights.level[1][128], HISTOGRAM_HEIGHT);
    EXPECT_EQ(bars(0) + bars(1) + bars(2), 3);
    EXPECT_EQ(edit[0].shown_pixels, 1234u);  // the edit's own record stays
}

TEST_F(HistogramProc, DoesNothingHiddenOrWithoutAPicture) {
    filter.flags = 0;
    EXPECT_EQ(histogram_proc(&filter, &param), 1);
    filter.flags = FILTER_F_SHOWN;
    edit[0].shown_image = 0;
    EXPECT_EQ(histogram_proc(&filter, &param), 1);
    EXPECT_EQ(bars(0) + bars(1) + bars(2), 0);
    EXPECT_EQ(shown_pixels_copy(edit.data(), 0), nullptr);
}
