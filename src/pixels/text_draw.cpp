#include "pixels/text_draw.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <string>

#include "pixels/convert.h"
#include "pixels/frame_buffer.h"
#include "pixels/word_math.h"
#include "platform/glyph.h"
#include "platform/text.h"

/// What is the same for all pixels of a text.
struct TEXT_BRUSH {
    uint8_t* frame;
    YC48_PIXEL colour;  // 6-byte mode
    uint8_t pair[4];    // 2-byte mode: Y U Y V
    int opacity;        // 4096 - transparency
};

static TEXT_BRUSH brush_make(uint8_t* frame, int r, int g, int b, int transparency) {
    const uint8_t bgr[6] = {word_to8(b), word_to8(g), word_to8(r), word_to8(b), word_to8(g), word_to8(r)};
    TEXT_BRUSH brush = {frame, {}, {}, 4096 - std::clamp(transparency, 0, 4096)};
    if (frame_geometry.pixel_size == PIXEL_SIZE_YUY2)
        row_rgb_to_frame(brush.pair, bgr, 2);
    else
        row_rgb_to_frame(reinterpret_cast<uint8_t*>(&brush.colour), bgr, 1);
    return brush;
}

static void mix_yc48(const TEXT_BRUSH& brush, YC48_PIXEL* p, int coverage) {
    const int a = coverage * brush.opacity >> 4;
    p->y = word_mix(p->y, 16384 - a, brush.colour.y, a);
    p->cb = word_mix(p->cb, 16384 - a, brush.colour.cb, a);
    p->cr = word_mix(p->cr, 16384 - a, brush.colour.cr, a);
}

static void mix_yuy2(const TEXT_BRUSH& brush, uint8_t* pair, int odd, int coverage) {
    const int a = coverage * brush.opacity;
    const auto mix = [&](int i, int bits) {
        return uint8_t((brush.pair[i] * a + pair[i] * ((1 << bits) - a)) >> bits);
    };
    pair[2 * odd] = mix(2 * odd, 18);
    pair[1] = mix(1, 19);
    pair[3] = mix(3, 19);
}

static void mix_pixel(const TEXT_BRUSH& brush, int x, int y, int coverage) {
    uint8_t* row = brush.frame + ptrdiff_t{y} * frame_geometry.stride;
    if (frame_geometry.pixel_size == PIXEL_SIZE_YUY2)
        mix_yuy2(brush, row + x / 2 * 4, x % 2, coverage);
    else
        mix_yc48(brush, reinterpret_cast<YC48_PIXEL*>(row) + x, coverage);
}

/// left, top: place of the shape's first pixel. 64 bits, since texts may be long and places far out.
static void draw_shape(const TEXT_BRUSH& brush, const GLYPH& glyph, int64_t left, int64_t top) {
    const auto clip = [](int64_t from, int size, int limit) {
        const int64_t begin = std::clamp<int64_t>(-from, 0, size);
        return std::pair(int(begin), int(std::clamp<int64_t>(limit - from, begin, size)));
    };
    const auto [x_begin, x_end] = clip(left, glyph.width, frame_geometry.max_width);
    const auto [y_begin, y_end] = clip(top, glyph.height, frame_geometry.max_height);
    for (int y = y_begin; y < y_end; ++y) {
        const uint8_t* coverage = glyph.coverage.data() + ptrdiff_t{y} * glyph.width;
        for (int x = x_begin; x < x_end; ++x)
            if (coverage[x] != 0) mix_pixel(brush, int(left + x), int(top + y), coverage[x]);
    }
}

/// The code point of one character in UTF-8 as text_to_utf8 gives it; U+FFFD for a byte that it merely carried.
static char32_t first_code_point(const std::string& utf8) {
    static constexpr std::array<uint8_t, 4> MASKS = {0x7F, 0x1F, 0x0F, 0x07};
    const uint8_t lead = utf8.empty() ? 0 : uint8_t(utf8[0]);
    const size_t size = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (size == 0 || size != utf8.size()) return 0xFFFD;
    char32_t code = lead & MASKS[size - 1];
    for (size_t i = 1; i < size; ++i) code = code << 6 | (uint8_t(utf8[i]) & 0x3F);
    return code;
}

static int to_int(int64_t v) { return int(std::min<int64_t>(v, std::numeric_limits<int>::max())); }

void frame_draw_text(uint8_t* frame, int x, int y, const char* text, int r, int g, int b, int transparency,
                     const TEXT_FONT* font, int* out_w, int* out_h) {
    static const TEXT_FONT DEFAULT_FONT;
    const TEXT_FONT& used = font ? *font : DEFAULT_FONT;
    const TEXT_BRUSH brush = brush_make(frame, r, g, b, transparency);
    GLYPH_METRICS metrics = {};
    int64_t pen = 0;
    int64_t line = 0;
    int64_t widest = 0;
    const bool any = text && *text && glyph_metrics(used, &metrics);
    for (const char* c = any ? text : ""; *c; c = text_next(c)) {
        const uint8_t code = uint8_t(*c);
        if (code == '\n') {
            pen = 0;
            line += metrics.height;
        }
        if (code < 32) continue;
        const GLYPH* glyph = glyph_get(used, first_code_point(text_to_utf8({c, size_t(text_char_size(c))})));
        if (!glyph) continue;
        draw_shape(brush, *glyph, x + pen + glyph->left, y + line + glyph->top);
        pen += glyph->advance;
        widest = std::max(widest, pen);
    }
    if (out_w) *out_w = to_int(widest);
    if (out_h) *out_h = any ? to_int(line + metrics.height) : 0;
}
