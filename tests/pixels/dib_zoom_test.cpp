#include "pixels/dib_zoom.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "pixels/frame_buffer.h"
#include "pixels/wave_column.h"

using BYTES = std::vector<uint8_t>;
static constexpr uint8_t FREE = 0xEE;  // what nobody may have written over

static size_t place(int row, int width, int byte) { return size_t(row) * size_t(dib24_stride(width)) + size_t(byte); }

static BYTES numbered(int w, int h) {
    BYTES dib(size_t(dib24_stride(w)) * size_t(h), FREE);
    for (int y = 0; y < h; ++y)
        for (int i = 0; i < 3 * w; ++i) dib[place(y, w, i)] = uint8_t(y * 40 + i);
    return dib;
}
static BYTES blank(int w, int h) { return BYTES(size_t(dib24_stride(w)) * size_t(h) + 8, FREE); }

/// A zoom of a part by up / down, where one of them is 1; the padding stays alone.
static void expect_zoom(decltype(dib_zoom_up)& zoom, int part, int rows, int up, int down) {
    const int w = 15, x = 2, y = 1, out_w = part * up / down, out_h = rows * up / down;
    BYTES got = blank(out_w, out_h), want = got;
    zoom(got.data(), numbered(w, 6).data(), x, y, part, rows, w, up * down);
    for (int r = 0; r < out_h; ++r)
        for (int c = 0; c < 3 * out_w; ++c)
            want[place(r, out_w, c)] = uint8_t((y + r * down / up) * 40 + 3 * (x + c / 3 * down / up) + c % 3);
    EXPECT_EQ(got, want) << "width " << part << " by " << up << " / " << down;
}

TEST(DibZoom, UpRepeatsAndDownKeepsTheFirstOfWholeBlocks) {
    for (int factor = 2; factor <= 4; ++factor)
        for (int part = 0; part <= 4; ++part) expect_zoom(dib_zoom_up, part, 3, factor, 1);  // every kind of padding
    for (const int step : {2, 4}) expect_zoom(dib_zoom_down, 13, 5, 1, step);
}

/// The column as a text, one letter a row: '#' sound, '-' back, ' ' not written.
static std::string column_text(int height, int level) {
    const int width = 3;
    BYTES strip = blank(width, height);
    wave_column(strip.data() + 3, width, height, level, 0x102030, 0x3F3E3D);
    std::string text;
    for (int y = 0; y < height; ++y) {
        const uint8_t* p = strip.data() + place(y, width, 0);
        EXPECT_TRUE(p[2] == FREE && p[6] == FREE) << "a neighbour of row " << y;
        const bool sound = p[3] == 0x30 && p[4] == 0x20 && p[5] == 0x10;
        const bool back = p[3] == 0x3D && p[4] == 0x3E && p[5] == 0x3F;
        text += sound ? '#' : back ? '-' : p[3] == FREE && p[4] == FREE && p[5] == FREE ? ' ' : '?';
    }
    return text;
}

TEST(WaveColumn, LevelGoesBothWaysFromTheMiddleRow) {
    EXPECT_EQ(column_text(8, 0), "---#--- ");  // the last row of an even height is not shown
    EXPECT_EQ(column_text(8, 1), "--###-- ");
    EXPECT_EQ(column_text(8, 3), "####### ");
    EXPECT_EQ(column_text(8, 32), "####### ");
    EXPECT_EQ(column_text(7, 2), "-#####-");
    EXPECT_EQ(column_text(8, -1), "---#--- ");
}
