#include "filters/color_kernels.h"
#include "pixels/frame_buffer.h"
#include "pixels/rgb_matrix.h"
#include "pixels/word_math.h"

static int16_t scale(int v, int gain) { return word_mulhi(word_saturate(v * 4), gain); }

static int bend(int p, int pivot) {
    const int t = word_saturate(word_sub(p, pivot) * 16);
    return word_mulhi(t, t) - 16384;
}

static int16_t parabola(int p, int pivot, int k) { return word_add(p, word_mulhi(bend(p, pivot), -k)); }

/// COLOR_SCALE and COLOR_GAMMA: component i of a pixel. gamma 0 bends nothing.
static int16_t component(int v, int i, const COLOR_PARAMS& params) {
    const int16_t scaled = word_add(scale(v, params.gain[i]), params.offset[i]);
    return params.kind == COLOR_GAMMA && i == 0 ? parabola(scaled, params.pivot, params.gamma) : scaled;
}

/// Gain and offset of component i of B, G, R.
static int16_t rgb_scaled(int v, int i, const COLOR_PARAMS& params) {
    return word_add(scale(v, params.rgb_gain[i]), params.rgb_offset[i]);
}

// ---- words

static YC48_PIXEL components(YC48_PIXEL v, const COLOR_PARAMS& params) {
    return {component(v.y, 0, params), component(v.cb, 1, params), component(v.cr, 2, params)};
}

static YC48_PIXEL brighten(YC48_PIXEL v, const COLOR_PARAMS& params) {
    return {word_add(v.y, params.brighten), v.cb, v.cr};
}

static YC48_PIXEL through_rgb(YC48_PIXEL v, const COLOR_PARAMS& params) {
    const auto times_4 = [](int word) { return word_saturate(word * 4); };
    const auto channel = [&](int word, int i) {
        return times_4(parabola(rgb_scaled(word, i, params), 2048, params.rgb_gamma[i]));
    };
    v = components(v, params);
    const RGB_WORDS rgb = yc48_to_rgb_words(times_4(v.y), times_4(v.cb), times_4(v.cr));
    const int b = channel(rgb.b, 0), g = channel(rgb.g, 1), r = channel(rgb.r, 2);
    return {rgb_term(RGB_TO_Y, b, g, r), rgb_term(RGB_TO_CB, b, g, r), rgb_term(RGB_TO_CR, b, g, r)};
}

// ---- bytes

struct PAIR {
    uint8_t y0, u, y1, v;
};

static constexpr int LUMA_BASE = 256, CHROMA_BASE = 2048;
static int base(int i) { return i == 0 ? LUMA_BASE : CHROMA_BASE; }

static int16_t sample_in(int x, int i, const COLOR_PARAMS& params) { return component(x * 16 - base(i), i, params); }

static PAIR components(PAIR p, const COLOR_PARAMS& params) {
    const auto sample = [&](int x, int i) { return word_to8((sample_in(x, i, params) + base(i)) >> 4); };
    return {sample(p.y0, 0), sample(p.u, 1), sample(p.y1, 0), sample(p.v, 2)};
}

static PAIR brighten(PAIR p, const COLOR_PARAMS& params) {
    return {word_to8(p.y0 + params.brighten), p.u, word_to8(p.y1 + params.brighten), p.v};
}

struct RGB_WIDE {
    int b, g, r;  // a byte times 128
};

static RGB_WIDE to_rgb(int y, int u, int v, const COLOR_PARAMS& params) {
    const auto term = [](int word, int factor) { return word * 8 * factor >> 16; };
    const auto channel = [&](int word, int i) {
        const int p = rgb_scaled(word, i, params);
        return (p * 4 + word_mulhi(bend(p, 2048), params.rgb_gamma[i] * -4)) * 2;
    };
    const int l = term(y, LUMA_TO_RGB);
    return {channel(l + term(u, U_TO_B), 0), channel(l + term(u, U_TO_G) + term(v, V_TO_G), 1),
            channel(l + term(v, V_TO_R), 2)};
}

static uint8_t to_sample(const RGB_WIDE& rgb, const RGB_TERM& m) {
    return word_to8(((rgb.b * m.b >> 16) + (rgb.g * m.g >> 16) + (rgb.r * m.r >> 16) + m.add) >> 4);
}

static PAIR through_rgb(PAIR p, const COLOR_PARAMS& params) {
    const int u = sample_in(p.u, 1, params), v = sample_in(p.v, 2, params);
    const RGB_WIDE even = to_rgb(sample_in(p.y0, 0, params), u, v, params);
    const RGB_WIDE odd = to_rgb(sample_in(p.y1, 0, params), u, v, params);
    return {to_sample(even, RGB_TO_LUMA), to_sample(even, RGB_TO_U), to_sample(odd, RGB_TO_LUMA),
            to_sample(even, RGB_TO_V)};
}

// ---- rows

template <typename UNIT, UNIT (*OPERATION)(UNIT, const COLOR_PARAMS&)>
static void row(uint8_t* dst, const uint8_t* src, int n, const COLOR_PARAMS* params) {
    for (int i = 0; i < n; ++i)
        reinterpret_cast<UNIT*>(dst)[i] = OPERATION(reinterpret_cast<const UNIT*>(src)[i], *params);
}

template <typename UNIT>
static constexpr COLOR_KERNELS KERNELS = {
    {row<UNIT, brighten>, row<UNIT, components>, row<UNIT, components>, row<UNIT, through_rgb>}};

const COLOR_KERNELS* color_kernels_ref(int pixel_size) {
    return pixel_size == PIXEL_SIZE_YUY2 ? &KERNELS<PAIR> : &KERNELS<YC48_PIXEL>;
}
