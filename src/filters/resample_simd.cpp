#include <algorithm>
#include <cstddef>

#include "filters/resample_ref.h"
#include "pixels/frame_buffer.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/resample_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace filters {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static const RESAMPLE_KERNELS* kernels(int pixel_size) { return resample_kernels_ref(pixel_size); }
#else
namespace hn = hwy::HWY_NAMESPACE;

// Pixels of 6 bytes are moved about in blocks of 128 bits; plain rows go by whole vectors (WORDS, BYTES).
using BLOCK = hn::FixedTag<int16_t, 8>;
using BLOCK8 = hn::FixedTag<uint8_t, 16>;
using HALF = hn::Half<BLOCK>;
using HALF8 = hn::Half<BLOCK8>;
using WORDS = hn::ScalableTag<int16_t>;
using BYTES = hn::ScalableTag<uint8_t>;
using V = hn::Vec<BLOCK>;
using V8 = hn::Vec<BLOCK8>;

static HWY_INLINE int16_t* words(uint8_t* row) { return reinterpret_cast<int16_t*>(row); }
static HWY_INLINE const int16_t* words(const uint8_t* row) { return reinterpret_cast<const int16_t*>(row); }

// (c + c + c + side + 2) >> 2 of words
template <class D, class VEC>
static HWY_INLINE VEC lean_word(D d, VEC c, VEC side) {
    const VEC thrice = hn::SaturatedAdd(hn::SaturatedAdd(c, c), c);
    return hn::ShiftRight<2>(hn::SaturatedAdd(hn::SaturatedAdd(thrice, side), hn::Set(d, 2)));
}

// The same of bytes, without widening: with f = floor((c + side) / 2) it is (c + f + 1) >> 1, since taking the odd unit
// off an odd sum never crosses a multiple of 4.
template <class D, class VEC>
static HWY_INLINE VEC lean_byte(D d, VEC c, VEC side) {
    const VEC floor = hn::Sub(hn::AverageRound(c, side), hn::And(hn::Xor(c, side), hn::Set(d, 1)));
    return hn::AverageRound(c, floor);
}

template <class D, class VEC>
static HWY_INLINE VEC mean_word(D d, VEC a, VEC b) {
    return hn::ShiftRight<1>(hn::SaturatedAdd(hn::SaturatedAdd(a, b), hn::Set(d, 1)));
}

// s * 4 + 2, as the fractional passes of YC48 multiply it
template <class D, class VEC>
static HWY_INLINE VEC widen_word(D d, VEC s) {
    const VEC twice = hn::SaturatedAdd(s, s);
    return hn::SaturatedAdd(hn::SaturatedAdd(twice, twice), hn::Set(d, 2));
}

static HWY_INLINE V8 shuffle(V8 v, const uint8_t (&table)[16]) {
    return hn::TableLookupBytes(v, hn::LoadU(BLOCK8(), table));
}
static HWY_INLINE V shuffle(V v, const uint8_t (&table)[16]) {
    return hn::BitCast(BLOCK(), shuffle(hn::BitCast(BLOCK8(), v), table));
}

// Two groups of 4 words, from two places.
static HWY_INLINE V load_two(const int16_t* a, const int16_t* b) {
    return hn::Combine(BLOCK(), hn::LoadU(HALF(), b), hn::LoadU(HALF(), a));
}

// Two pixels of 3 words in the two halves, put side by side; the last two words are of no use.
static HWY_INLINE V pack_pixels(V v) {
    alignas(16) static constexpr uint8_t PACK[16] = {0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, 6, 7, 14, 15};
    return shuffle(v, PACK);
}

static void double_width_yc48(uint8_t* dst, const uint8_t* src, int w) {
    const BLOCK d;
    const int16_t* in = words(src);
    int16_t* out = words(dst);
    // From the two results of two pixels (e e e f f f, o o o p p p): e e e o o o and f f f p p p.
    alignas(16) static constexpr uint8_t SECOND[16] = {6, 7, 8, 9, 10, 11, 6, 7, 8, 9, 10, 11, 0, 0, 0, 0};
    int i = 0;
    // The loads reach the third word of pixel i + 3, the stores the second word of output pixel 2 * i + 4.
    for (; i + 3 <= w; i += 2) {
        const V c = hn::LoadU(d, in + 3 * i);
        const V even = lean_word(d, c, hn::LoadU(d, in + 3 * i - 3));
        const V odd = lean_word(d, c, hn::LoadU(d, in + 3 * i + 3));
        const V second_even = shuffle(even, SECOND);
        const V second_odd = shuffle(odd, SECOND);
        const auto first_half = hn::FirstN(d, 3);
        const V odd_up = hn::ShiftLeftLanes<3>(odd);
        hn::StoreU(hn::IfThenElse(first_half, even, odd_up), d, out + 6 * i);
        hn::StoreU(hn::IfThenElse(first_half, second_even, second_odd), d, out + 6 * i + 6);
    }
    resample_double_width_yc48_ref(dst, src, i, w);
}

static void halve_width_yc48(uint8_t* dst, const uint8_t* src, int w) {
    const BLOCK d;
    int i = 0;
    // A step stores 8 words at output pixel i and has read all it needs; the next reads from pixel 2 * i + 4 on.
    for (; i + 3 <= w / 2; i += 2) {
        const int16_t* in = words(src) + 6 * i;
        const V a = load_two(in, in + 6);
        const V b = load_two(in + 3, in + 9);
        hn::StoreU(pack_pixels(mean_word(d, a, b)), d, words(dst) + 3 * i);
    }
    resample_halve_width_yc48_ref(dst, src, i, w);
}

static void double_width_yuy2(uint8_t* dst, const uint8_t* src, int w) {
    const BLOCK8 d;
    // Of the pairs l, c, r, s in a block: what the outputs of c and r lean on.
    alignas(16) static constexpr uint8_t CENTRE[16] = {4, 5, 4, 7, 6, 5, 6, 7, 8, 9, 8, 11, 10, 9, 10, 11};
    alignas(16) static constexpr uint8_t SIDE[16] = {2, 1, 6, 3, 4, 9, 8, 11, 6, 5, 10, 7, 8, 13, 12, 15};
    int i = 0;
    for (; 2 * i + 4 <= w; i += 2) {  // the load reaches pair i + 2, which exists or is the margin
        const V8 v = hn::LoadU(d, src + 4 * i - 4);
        hn::StoreU(lean_byte(d, shuffle(v, CENTRE), shuffle(v, SIDE)), d, dst + 8 * i);
    }
    resample_double_width_yuy2_ref(dst, src, i, w);
}

static void halve_width_yuy2(uint8_t* dst, const uint8_t* src, int w) {
    const BLOCK8 d;
    alignas(16) static constexpr uint8_t FIRST[16] = {0, 1, 4, 3, 8, 9, 12, 11};
    alignas(16) static constexpr uint8_t SECOND[16] = {2, 5, 6, 7, 10, 13, 14, 15};
    const int whole = (w + 1) / 2 / 2;  // output pairs made of two
    int i = 0;
    for (; i + 4 <= whole; i += 4) {
        const V8 low = hn::LoadU(d, src + 8 * i);
        const V8 high = hn::LoadU(d, src + 8 * i + 16);
        const V8 a = hn::ConcatLowerLower(d, shuffle(high, FIRST), shuffle(low, FIRST));
        const V8 b = hn::ConcatLowerLower(d, shuffle(high, SECOND), shuffle(low, SECOND));
        hn::StoreU(hn::AverageRound(a, b), d, dst + 4 * i);
    }
    resample_halve_width_yuy2_ref(dst, src, i, w);
}

// The source pixels that a set of taps reads, widened to 4 words each, the fourth of no use.
struct SPAN {
    alignas(64) int16_t words[(2 * RESAMPLE_TAPS_MAX + 16) * 4];
};

// Pixels that the taps may read, and how many of them there are; the ones missing repeat the last.
static HWY_INLINE int span_wanted(const RESAMPLE_TAPS* taps) { return taps->index[taps->count - 1] + 3; }
static HWY_INLINE int span_there(const RESAMPLE_TAPS* taps) { return std::min(span_wanted(taps), taps->last + 1); }
static HWY_INLINE void span_repeat(SPAN* span, int there, int wanted) {
    const HALF d;
    const auto pixel = hn::Load(d, span->words + 4 * (there - 1));
    for (int i = there; i < wanted; ++i) hn::Store(pixel, d, span->words + 4 * i);
}

static HWY_INLINE void span_fill_yc48(SPAN* span, const uint8_t* src, const RESAMPLE_TAPS* taps) {
    alignas(16) static constexpr uint8_t SPREAD[16] = {0, 1, 2, 3, 4, 5, 4, 5, 6, 7, 8, 9, 10, 11, 10, 11};
    const BLOCK d;
    const int there = span_there(taps);
    const int16_t* in = words(src) + 3 * taps->source;
    int i = 0;
    for (; i + 3 <= there; i += 2)  // a load reaches the second word of pixel i + 2
        hn::Store(widen_word(d, shuffle(hn::LoadU(d, in + 3 * i), SPREAD)), d, span->words + 4 * i);
    alignas(16) int16_t rest[8] = {};
    std::copy_n(in + 3 * i, 3 * (there - i), rest);
    hn::Store(widen_word(d, shuffle(hn::Load(d, rest), SPREAD)), d, span->words + 4 * i);
    span_repeat(span, there, span_wanted(taps));
}

// Words of a pixel: luma << 5, U << 4, V << 4. Spans start and end on whole pairs.
static HWY_INLINE void span_fill_yuy2(SPAN* span, const uint8_t* src, const RESAMPLE_TAPS* taps) {
    alignas(16) static constexpr uint8_t LOW[16] = {0, 1, 2, 3, 6, 7, 6, 7, 4, 5, 2, 3, 6, 7, 6, 7};
    alignas(16) static constexpr uint8_t HIGH[16] = {8, 9, 10, 11, 14, 15, 14, 15, 12, 13, 10, 11, 14, 15, 14, 15};
    alignas(16) static constexpr int16_t SCALE[8] = {32, 16, 32, 16, 32, 16, 32, 16};
    const BLOCK d;
    const V scale = hn::Load(d, SCALE);
    const int there = (span_there(taps) + 1) & ~1;
    const uint8_t* in = src + 2 * taps->source;
    int i = 0;
    for (; i + 4 <= there; i += 4) {
        const V v = hn::Mul(hn::PromoteTo(d, hn::LoadU(HALF8(), in + 2 * i)), scale);
        hn::Store(shuffle(v, LOW), d, span->words + 4 * i);
        hn::Store(shuffle(v, HIGH), d, span->words + 4 * i + 8);
    }
    if (i < there) {
        const hn::FixedTag<uint8_t, 4> d4;
        const V v = hn::Mul(hn::PromoteTo(d, hn::ZeroExtendVector(HALF8(), hn::LoadU(d4, in + 2 * i))), scale);
        hn::Store(shuffle(v, LOW), d, span->words + 4 * i);
    }
    span_repeat(span, there, span_wanted(taps));
}

// The sums of taps i and i + 1: a pixel of 4 words in each half.
template <bool THREE>
static HWY_INLINE V tap_pair(const SPAN& span, const RESAMPLE_TAPS* taps, int i) {
    const BLOCK d;
    const auto quads = [](V v) HWY_ATTR { return hn::BitCast(hn::Repartition<uint64_t, BLOCK>(), v); };
    const int16_t* a = span.words + ptrdiff_t{taps->index[i]} * 4;
    const int16_t* b = span.words + ptrdiff_t{taps->index[i + 1]} * 4;
    const auto near_a = quads(hn::MulHigh(hn::LoadU(d, a), hn::Load(d, taps->near[i])));
    const auto near_b = quads(hn::MulHigh(hn::LoadU(d, b), hn::Load(d, taps->near[i + 1])));
    const hn::Repartition<uint64_t, BLOCK> d64;
    const V sum = hn::SaturatedAdd(hn::BitCast(d, hn::InterleaveLower(d64, near_a, near_b)),
                                   hn::BitCast(d, hn::InterleaveUpper(d64, near_a, near_b)));
    if constexpr (!THREE) return sum;
    return hn::SaturatedAdd(sum, hn::MulHigh(load_two(a + 8, b + 8), hn::Load(d, taps->third[i])));
}

template <bool THREE>
static void fraction_yc48(uint8_t* dst, const uint8_t* src, const RESAMPLE_TAPS* taps) {
    SPAN span;
    span_fill_yc48(&span, src, taps);
    int16_t* out = words(dst) + 3 * taps->first;
    int i = 0;
    for (; i + 3 <= taps->count; i += 2)  // a store of 8 words reaches the second word of tap i + 2
        hn::StoreU(pack_pixels(tap_pair<THREE>(span, taps, i)), BLOCK(), out + 3 * i);
    alignas(16) int16_t rest[8];
    hn::Store(pack_pixels(tap_pair<THREE>(span, taps, i)), BLOCK(), rest);
    std::copy_n(rest, 3 * (taps->count - i), out + 3 * i);
}

static void fraction_width_yc48(uint8_t* dst, const uint8_t* src, const RESAMPLE_TAPS* taps) {
    (taps->three ? fraction_yc48<true> : fraction_yc48<false>)(dst, src, taps);
}

template <bool THREE>
static void fraction_yuy2(uint8_t* dst, const uint8_t* src, const RESAMPLE_TAPS* taps) {
    // Of Y U V . Y' U' V' . : Y U Y' V and, to add to it, 0 U' 0 V'.
    alignas(16) static constexpr uint8_t FIRST[16] = {0, 1, 2, 3, 8, 9, 4, 5};
    alignas(16) static constexpr uint8_t SECOND[16] = {0x80, 0x80, 10, 11, 0x80, 0x80, 12, 13};
    const BLOCK d;
    const hn::FixedTag<uint8_t, 4> d4;
    SPAN span;
    span_fill_yuy2(&span, src, taps);
    const auto second = hn::Load(BLOCK8(), SECOND);
    for (int i = 0; i < taps->count; i += 2) {
        const V v = tap_pair<THREE>(span, taps, i);
        const V more = hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(BLOCK8(), v), second));
        const V sum = hn::Add(hn::Add(shuffle(v, FIRST), more), hn::Set(d, 4));
        const auto bytes = hn::DemoteTo(HALF8(), hn::ShiftRight<3>(sum));
        hn::StoreU(hn::LowerHalf(d4, bytes), d4, dst + 2 * (taps->first + i));
    }
}

static void fraction_width_yuy2(uint8_t* dst, const uint8_t* src, const RESAMPLE_TAPS* taps) {
    (taps->three ? fraction_yuy2<true> : fraction_yuy2<false>)(dst, src, taps);
}

static void lean_yc48(uint8_t* dst, const uint8_t* c, const uint8_t* side, size_t bytes) {
    const WORDS d;
    const size_t step = 2 * hn::Lanes(d);
    size_t i = 0;
    for (; i + step <= bytes; i += step)
        hn::StoreU(lean_word(d, hn::LoadU(d, words(c + i)), hn::LoadU(d, words(side + i))), d, words(dst + i));
    resample_lean_yc48_ref(dst, c, side, i, bytes);
}

static void lean_yuy2(uint8_t* dst, const uint8_t* c, const uint8_t* side, size_t bytes) {
    const BYTES d;
    size_t i = 0;
    for (; i + hn::Lanes(d) <= bytes; i += hn::Lanes(d))
        hn::StoreU(lean_byte(d, hn::LoadU(d, c + i), hn::LoadU(d, side + i)), d, dst + i);
    resample_lean_yuy2_ref(dst, c, side, i, bytes);
}

static void mean_yc48(uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t bytes) {
    const WORDS d;
    const size_t step = 2 * hn::Lanes(d);
    size_t i = 0;
    for (; i + step <= bytes; i += step)
        hn::StoreU(mean_word(d, hn::LoadU(d, words(a + i)), hn::LoadU(d, words(b + i))), d, words(dst + i));
    resample_mean_yc48_ref(dst, a, b, i, bytes);
}

static void mean_yuy2(uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t bytes) {
    const BYTES d;
    size_t i = 0;
    for (; i + hn::Lanes(d) <= bytes; i += hn::Lanes(d))
        hn::StoreU(hn::AverageRound(hn::LoadU(d, a + i), hn::LoadU(d, b + i)), d, dst + i);
    resample_mean_yuy2_ref(dst, a, b, i, bytes);
}

static void blend_yc48(uint8_t* dst, const uint8_t* const rows[3], const int16_t weights[4], size_t bytes) {
    const WORDS d;
    const size_t step = 2 * hn::Lanes(d);
    const auto term = [&](int k, size_t i) HWY_ATTR {
        return hn::MulHigh(widen_word(d, hn::LoadU(d, words(rows[k] + i))), hn::Set(d, weights[k]));
    };
    const bool three = weights[2] != 0;
    size_t i = 0;
    for (; i + step <= bytes; i += step) {
        auto sum = hn::SaturatedAdd(term(0, i), term(1, i));
        if (three) sum = hn::SaturatedAdd(sum, term(2, i));
        hn::StoreU(sum, d, words(dst + i));
    }
    resample_blend_yc48_ref(dst, rows, weights, i, bytes);
}

static void blend_yuy2(uint8_t* dst, const uint8_t* const rows[3], const int16_t weights[4], size_t bytes) {
    const WORDS d;
    const hn::Rebind<uint8_t, WORDS> d8;
    const auto term = [&](int k, size_t i) HWY_ATTR {
        const auto wide = hn::PromoteTo(d, hn::LoadU(d8, rows[k] + i));
        return hn::MulHigh(hn::ShiftLeft<4>(wide), hn::Set(d, weights[k]));
    };
    size_t i = 0;
    for (; i + hn::Lanes(d) <= bytes; i += hn::Lanes(d)) {
        const auto sum = hn::Add(hn::Add(term(0, i), term(1, i)), hn::Add(term(2, i), hn::Set(d, 2)));
        hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<2>(sum)), d8, dst + i);
    }
    resample_blend_yuy2_ref(dst, rows, weights, i, bytes);
}

static const RESAMPLE_KERNELS* kernels(int pixel_size) {
    static constexpr RESAMPLE_KERNELS YC48 = {double_width_yc48, halve_width_yc48, fraction_width_yc48,
                                              lean_yc48,         mean_yc48,        blend_yc48};
    static constexpr RESAMPLE_KERNELS YUY2 = {double_width_yuy2, halve_width_yuy2, fraction_width_yuy2,
                                              lean_yuy2,         mean_yuy2,        blend_yuy2};
    return pixel_size == PIXEL_SIZE_YUY2 ? &YUY2 : &YC48;
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace filters
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace filters {
HWY_EXPORT(kernels);
static const RESAMPLE_KERNELS* kernels_best(int pixel_size) { return HWY_DYNAMIC_DISPATCH(kernels)(pixel_size); }
}  // namespace filters

const RESAMPLE_KERNELS* resample_kernels(int pixel_size) {
    return simd_enabled ? filters::kernels_best(pixel_size) : resample_kernels_ref(pixel_size);
}
#endif
