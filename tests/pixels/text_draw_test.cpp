#include "pixels/text_draw.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <string>
#include <vector>

#include "pixels/frame_buffer.h"
#include "platform/glyph.h"

static const TEXT_FONT FONT = {"", 24, 400, false};

/// A block with some picture in it, and the model of what a text makes of it: from the shapes, pixel by pixel.
struct TextDraw : testing::TestWithParam<int> {
    std::vector<uint8_t> block;
    GLYPH_METRICS metrics = {};
    void SetUp() override {
        frame_geometry = frame_geometry_make(320, 240, GetParam());
        block.resize(frame_geometry.block_size);
        for (size_t i = 0; i < block.size(); ++i)
            block[i] = uint8_t(GetParam() == 6 && i % 2 ? i * 5 % 13 : i * 37 % 251);
        if (!glyph_metrics(FONT, &metrics)) GTEST_SKIP() << "no font on this machine";
    }
    uint8_t* image(std::vector<uint8_t>& bytes) const { return bytes.data() + frame_geometry.origin; }
    // colour: y, cb, cr (YC48) or y, u, v (YUY2)
    void model(std::vector<uint8_t>& bytes, int64_t x, int64_t y, char32_t character, const int colour[3],
               int opacity) {
        const GLYPH& glyph = *glyph_get(FONT, character);
        for (int row = 0; row < glyph.height; ++row)
            for (int column = 0; column < glyph.width; ++column) {
                const int64_t px = x + glyph.left + column, py = y + glyph.top + row;
                const int c = glyph.coverage.data()[row * glyph.width + column];
                if (px < 0 || py < 0 || px >= 320 || py >= 240 || c == 0) continue;
                uint8_t* line = image(bytes) + py * frame_geometry.stride;
                if (GetParam() == 6) {
                    int16_t* p = reinterpret_cast<int16_t*>(line) + px * 3;
                    const auto part = [](int v, int a) { return std::floor(v * 4 * a / 65536.0); };
                    const int a = c * opacity / 16;
                    for (int k = 0; k < 3; ++k) p[k] = int16_t(part(p[k], 16384 - a) + part(colour[k], a));
                } else {
                    const auto mix = [a = c * opacity](uint8_t& v, int to, int one) {
                        v = uint8_t((to * a + v * (one - a)) / one);
                    };
                    uint8_t* pair = line + px / 2 * 4;
                    mix(pair[px % 2 * 2], colour[0], 262144);
                    for (int k = 1; k < 3; ++k) mix(pair[2 * k - 1], colour[k], 524288);
                }
            }
    }
};
INSTANTIATE_TEST_SUITE_P(PixelSizes, TextDraw, testing::Values(6, 2));

// Pure red and blue as YC48; in YUY2 by the direct conversion.
static const int RED_YC48[3] = {1225, -691, 2048};
static const int RED_YUY2[3] = {(32640 * 2104 / 65536 + 264) / 16, int(std::floor(-32640.0 * 1214 / 65536) + 2056) / 16,
                                (32640 * 3598 / 65536 + 2056) / 16};

TEST_P(TextDraw, MixesByCoverageAndClipsAtAllSides) {
    const int* colour = GetParam() == 6 ? RED_YC48 : RED_YUY2;
    static constexpr int PLACES[][2] = {{50, 60},   {51, 60},  {-9, 100},       {310, 100},      {100, -12},
                                        {100, 230}, {-500, 0}, {2000000000, 5}, {5, -2000000000}};
    for (const auto& [x, y] : PLACES)
        for (const int transparency : {0, 1000, 4096, 9999}) {
            std::vector<uint8_t> got = block, want = block;
            const int opacity = 4096 - std::min(transparency, 4096);
            model(want, x, y, U'W', colour, opacity);
            model(want, int64_t{x} + glyph_get(FONT, U'W')->advance, y, U'q', colour, opacity);
            model(want, x, int64_t{y} + 24, U'\u3042', colour, opacity);
            frame_draw_text(image(got), x, y, "W\x01q\n\x82\xA0", 300, -7, 0, transparency, &FONT, nullptr, nullptr);
            ASSERT_EQ(want, got) << x << ", " << y << " transparency " << transparency;
        }
}

TEST_P(TextDraw, TellsTheExtent) {
    const int advance = glyph_get(FONT, U'M')->advance;
    EXPECT_GT(advance, 0);
    const std::pair<const char*, std::pair<int, int>> cases[] = {
        {"MM\nM", {2 * advance, 48}}, {"M\n", {advance, 48}}, {"", {0, 0}}, {nullptr, {0, 0}}};
    int w = -1, h = -1;
    for (const auto& [text, extent] : cases) {
        frame_draw_text(image(block), 0, 0, text, 0, 0, 0, 0, &FONT, &w, &h);
        EXPECT_EQ(std::pair(w, h), extent);
    }
    frame_draw_text(image(block), 0, 0, "\x82", 0, 0, 0, 0, &FONT, &w, &h);  // a lead byte at the end
    EXPECT_EQ(24, h);
}

TEST(Glyph, ShapesFollowTheFont) {
    GLYPH_METRICS metrics;
    if (!glyph_metrics({}, &metrics)) GTEST_SKIP() << "no font on this machine";
    const auto ink = [](const TEXT_FONT& font, char32_t character) {
        const GLYPH* glyph = glyph_get(font, character);
        EXPECT_EQ(size_t(glyph->width) * size_t(glyph->height), glyph->coverage.size());
        for (const uint8_t c : glyph->coverage) EXPECT_LE(c, 64);
        return std::accumulate(glyph->coverage.begin(), glyph->coverage.end(), 0);
    };
    const int plain = ink({"", 40, 400, false}, U'H');
    EXPECT_GT(plain, 0);
    EXPECT_GT(ink({"", 40, 700, false}, U'H'), plain);
    EXPECT_GT(ink({"", -40, 400, false}, U'H'), ink({"", -20, 400, false}, U'H') * 3);
    EXPECT_EQ(0, ink({"", 40, 400, false}, U' '));
    EXPECT_GT(ink({"no such family", 40, 400, true}, U'\u6F22'), 0);
    EXPECT_GT(ink({"", 40, 400, false}, char32_t{0x10FFFE}), 0);  // no font has it: a box
    for (const int height : {30, -30}) {
        ASSERT_TRUE(glyph_metrics({"", height, 400, false}, &metrics));
        EXPECT_GE(metrics.height, 30);
    }
    for (int height = 1; height < 20; ++height) EXPECT_NE(nullptr, glyph_get({"", height, 400, false}, U'x'));
}
