// The vector arithmetic that the cases of the colour filters share, and the way through RGB. Included once for each
// Highway target by color_simd.cpp; has nothing for HWY_SCALAR. The formulas are those of color_kernels.h.

#if defined(VANTEL_FILTERS_COLOR_RGB_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VANTEL_FILTERS_COLOR_RGB_INL_H
#undef VANTEL_FILTERS_COLOR_RGB_INL_H
#else
#define VANTEL_FILTERS_COLOR_RGB_INL_H
#endif

#include "filters/color_kernels.h"
#include "pixels/blocks-inl.h"
#include "pixels/frame_buffer.h"
#include "pixels/rgb_matrix-inl.h"

HWY_BEFORE_NAMESPACE();
namespace color {
namespace HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR
using namespace pixels::HWY_NAMESPACE;
namespace hn = hwy::HWY_NAMESPACE;

static HWY_INLINE V16 splat(int value) { return hn::Set(D16(), int16_t(value)); }
static HWY_INLINE V16 twice(V16 v) { return hn::SaturatedAdd(v, v); }
static HWY_INLINE V16 times_4(V16 v) { return twice(twice(v)); }

static HWY_INLINE V16 scale(V16 v, V16 gain, V16 offset) {
    return hn::SaturatedAdd(hn::MulHigh(times_4(v), gain), offset);
}

static HWY_INLINE V16 bend(V16 p, V16 pivot) {
    const V16 t = times_4(times_4(hn::SaturatedSub(p, pivot)));
    return hn::Sub(hn::MulHigh(t, t), splat(16384));
}

static HWY_INLINE V16 parabola(V16 p, V16 pivot, V16 minus_k) {
    return hn::SaturatedAdd(p, hn::MulHigh(bend(p, pivot), minus_k));
}

// ---- words

/// What one of R, G, B goes through.
struct CHANNEL {
    V16 gain, offset, bend;  // bend: what mulhi multiplies with, gamma * -1 or * -4
    static HWY_INLINE CHANNEL make(const COLOR_PARAMS& p, int i, int gamma_scale) {
        return {splat(p.rgb_gain[i]), splat(p.rgb_offset[i]), splat(p.rgb_gamma[i] * gamma_scale)};
    }
};

static HWY_INLINE V16 channel_words(V16 v, const CHANNEL& c) {
    return times_4(parabola(scale(v, c.gain, c.offset), splat(2048), c.bend));
}

/// Gain and offset of one of Y, Cb, Cr.
struct COMPONENT {
    V16 gain, offset;
    static HWY_INLINE COMPONENT make(const COLOR_PARAMS& p, int i) { return {splat(p.gain[i]), splat(p.offset[i])}; }
};

static HWY_INLINE V16 component_words(V16 v, const COMPONENT& c) { return times_4(scale(v, c.gain, c.offset)); }

static void rgb_row_words(uint8_t* dst, const uint8_t* src, int n, const COLOR_PARAMS* params) {
    const COLOR_PARAMS& p = *params;
    const COMPONENT luma = COMPONENT::make(p, 0), blueness = COMPONENT::make(p, 1), redness = COMPONENT::make(p, 2);
    const CHANNEL blue = CHANNEL::make(p, 0, -1), green = CHANNEL::make(p, 1, -1), red = CHANNEL::make(p, 2, -1);
    const YC48_TO_RGB_TABLES* to_rgb = opaque(&YC48_TO_RGB);
    const RGB_TO_YC48_TABLES* to_yc48 = opaque(&RGB_TO_YC48);
    const auto* in = reinterpret_cast<const int16_t*>(src);
    auto* out = reinterpret_cast<int16_t*>(dst);
    const auto body = [&](size_t i) HWY_ATTR {
        V16 y, cb, cr, b, g, r;
        load_yc48(in + i * 3, y, cb, cr);
        yc48_to_rgb_words(component_words(y, luma), component_words(cb, blueness), component_words(cr, redness),
                          *to_rgb, b, g, r);
        b = channel_words(b, blue);
        g = channel_words(g, green);
        r = channel_words(r, red);
        store_yc48(rgb_term(b, g, r, to_yc48->y), rgb_term(b, g, r, to_yc48->cb), rgb_term(b, g, r, to_yc48->cr),
                   out + i * 3);
    };
    const int done = int(for_each_step(size_t(n), STEP, body));
    color_kernels_ref(PIXEL_SIZE_YC48)->row[COLOR_RGB](dst + done * 6, src + done * 6, n - done, params);
}

// ---- bytes: words with luma in the low byte and chroma, U and V in turn, in the high one

static constexpr WORD_TABLE HIGH_BYTE_64 = word_table(0x3FC0);

static HWY_INLINE V16 alternate(int even, int odd) { return hn::OddEven(splat(odd), splat(even)); }

/// Gain and offset of samples on their way in. x * 64 - base * 4 cannot saturate.
struct BYTES_IN {
    V16 luma_gain, luma_offset, chroma_gain, chroma_offset;
    static HWY_INLINE BYTES_IN make(const COLOR_PARAMS& p) {
        return {splat(p.gain[0]), splat(p.offset[0]), alternate(p.gain[1], p.gain[2]),
                alternate(p.offset[1], p.offset[2])};
    }
    HWY_INLINE V16 luma(V16 v) const {
        return hn::Add(hn::MulHigh(hn::Sub(low_byte_64(v), splat(256 * 4)), luma_gain), luma_offset);
    }
    HWY_INLINE V16 chroma(V16 v) const {
        const V16 scaled = hn::Sub(high_byte_64(v, HIGH_BYTE_64), splat(2048 * 4));
        return hn::Add(hn::MulHigh(scaled, chroma_gain), chroma_offset);
    }
};

/// Samples taken to 8 bits and put together.
static HWY_INLINE V16 bytes_join(V16 luma, V16 chroma) {
    const auto to8 = [](V16 v) HWY_ATTR { return hn::Min(hn::Max(v, splat(0)), splat(255)); };
    return hn::Or(to8(luma), hn::ShiftLeft<8>(to8(chroma)));
}

static HWY_INLINE V16 bytes_out(V16 luma, V16 chroma) {
    return bytes_join(hn::ShiftRight<4>(hn::Add(luma, splat(256))), hn::ShiftRight<4>(hn::Add(chroma, splat(2048))));
}

// v * 8 * factor >> 16 in words, with w = v * 2, which fits: the factor times 4 may be beyond a word by 65536, and then
// w itself makes up for it.
static constexpr int ONE = 65536;
static constexpr WORD_TABLE L_REST = word_table(LUMA_TO_RGB * 4 - ONE);
static constexpr WORD_TABLE UV_REST = word_table(U_TO_B * 4 - ONE, V_TO_R * 4 - ONE);
static constexpr WORD_TABLE UV_TO_G = word_table(U_TO_G * 4, V_TO_G * 4);

static constexpr BYTE_TABLE EVEN_WORDS = shuffle_table({0, 0, 2, 2, 4, 4, 6, 6});
static constexpr BYTE_TABLE ODD_WORDS = shuffle_table({1, 1, 3, 3, 5, 5, 7, 7});
static constexpr BYTE_TABLE SWAPPED_WORDS = shuffle_table({1, 0, 3, 2, 5, 4, 7, 6});

static HWY_INLINE void bytes_to_rgb(V16 luma, V16 chroma, V16& b, V16& g, V16& r) {
    const V16 y = hn::Add(luma, luma), uv = hn::Add(chroma, chroma);
    const V16 l = hn::Add(y, hn::MulHigh(y, words(L_REST)));
    const V16 br = hn::Add(uv, hn::MulHigh(uv, words(UV_REST)));
    const V16 half_g = hn::MulHigh(uv, words(UV_TO_G));
    b = hn::Add(l, shuffle(br, EVEN_WORDS));
    g = hn::Add(l, hn::Add(half_g, shuffle(half_g, SWAPPED_WORDS)));
    r = hn::Add(l, shuffle(br, ODD_WORDS));
}

using D32 = hn::Repartition<int32_t, D16>;
using V32 = hn::Vec<D32>;

/// q of color_kernels.h is high * 4 + low. Each 32-bit lane holds the words high, low of an even pixel, or of an odd.
struct WIDE {
    V16 even, odd;
};

static HWY_INLINE WIDE channel_bytes(V16 v, const CHANNEL& c) {
    const V16 p = scale(v, c.gain, c.offset);
    const V16 bent = hn::MulHigh(bend(p, splat(2048)), c.bend);
    const V16 high = hn::Add(p, hn::ShiftRight<2>(bent)), low = hn::And(bent, splat(3));
    const hn::RebindToUnsigned<D32> du;
    const auto up = [&](V16 w) HWY_ATTR { return hn::BitCast(D16(), hn::ShiftLeft<16>(hn::BitCast(du, w))); };
    const auto down = [&](V16 w) HWY_ATTR { return hn::BitCast(D16(), hn::ShiftRight<16>(hn::BitCast(du, w))); };
    return {hn::OddEven(up(low), high), hn::OddEven(low, down(high))};
}

struct WIDE_TERM {
    WORD_TABLE b, g, r;
};
static constexpr WIDE_TERM wide_term(const RGB_TERM& m) {
    return {word_table(m.b * 4, m.b), word_table(m.g * 4, m.g), word_table(m.r * 4, m.r)};
}
struct WIDE_TABLES {
    WIDE_TERM luma, u, v;
};
static constexpr WIDE_TABLES WIDE_TO_YUY2 = {wide_term(RGB_TO_LUMA), wide_term(RGB_TO_U), wide_term(RGB_TO_V)};

/// q * 2 * factor >> 16 in 32 bits.
static HWY_INLINE V32 wide_product(V16 q, const WORD_TABLE& factor) {
    const D32 d;
    V32 more = hn::Zero(d);
    const V32 sum = hn::ReorderWidenMulAccumulate(d, q, words(factor), hn::Zero(d), more);
    return hn::ShiftRight<15>(hn::RearrangeToOddPlusEven(sum, more));
}

static HWY_INLINE V32 wide_sum(V16 b, V16 g, V16 r, const WIDE_TERM& m) {
    return hn::Add(wide_product(b, m.b), hn::Add(wide_product(g, m.g), wide_product(r, m.r)));
}

/// The low words of the sums: those fit a word.
static HWY_INLINE V16 pair_up(V32 even, V32 odd) {
    return hn::OddEven(hn::BitCast(D16(), hn::ShiftLeft<16>(odd)), hn::BitCast(D16(), even));
}

static HWY_INLINE V16 wide_to_bytes(const WIDE& b, const WIDE& g, const WIDE& r, const WIDE_TABLES& t) {
    const V16 luma = pair_up(wide_sum(b.even, g.even, r.even, t.luma), wide_sum(b.odd, g.odd, r.odd, t.luma));
    const V16 chroma = pair_up(wide_sum(b.even, g.even, r.even, t.u), wide_sum(b.even, g.even, r.even, t.v));
    static_assert(RGB_TO_U.add == RGB_TO_V.add);
    return bytes_join(hn::ShiftRight<4>(hn::Add(luma, splat(RGB_TO_LUMA.add))),
                      hn::ShiftRight<4>(hn::Add(chroma, splat(RGB_TO_U.add))));
}

static void rgb_row_bytes(uint8_t* dst, const uint8_t* src, int n, const COLOR_PARAMS* params) {
    const COLOR_PARAMS& p = *params;
    const BYTES_IN in = BYTES_IN::make(p);
    const WIDE_TABLES* to_yuy2 = opaque(&WIDE_TO_YUY2);
    const CHANNEL blue = CHANNEL::make(p, 0, -4), green = CHANNEL::make(p, 1, -4), red = CHANNEL::make(p, 2, -4);
    const auto body = [&](size_t i) HWY_ATTR {
        const V16 v = hn::BitCast(D16(), hn::LoadU(D8(), src + i * 4));
        V16 b, g, r;
        bytes_to_rgb(in.luma(v), in.chroma(v), b, g, r);
        const V16 joined =
            wide_to_bytes(channel_bytes(b, blue), channel_bytes(g, green), channel_bytes(r, red), *to_yuy2);
        hn::StoreU(hn::BitCast(D8(), joined), D8(), dst + i * 4);
    };
    const int done = int(for_each_step(size_t(n), STEP / 2, body));
    color_kernels_ref(PIXEL_SIZE_YUY2)->row[COLOR_RGB](dst + done * 4, src + done * 4, n - done, params);
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace color
HWY_AFTER_NAMESPACE();

#endif
