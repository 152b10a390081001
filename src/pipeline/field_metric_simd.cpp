#include "pipeline/field_metric.h"
#include "pixels/frame_buffer.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pipeline/field_metric_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace field_metric_impl {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static FIELD_METRIC_ROW row_kernel(int pixel_size) { return field_metric_row_ref(pixel_size); }
#else
namespace hn = hwy::HWY_NAMESPACE;

using WORDS = hn::ScalableTag<int16_t>;
using V = hn::Vec<WORDS>;

static HWY_INLINE V sign(V v) { return hn::ShiftRight<15>(v); }

static HWY_INLINE V comb(V w0, V w1, V w2, V w3) {
    const V flip = sign(hn::SaturatedSub(w1, w2));
    return hn::Max(hn::Xor(hn::SaturatedSub(w0, w1), flip), hn::Xor(hn::SaturatedSub(w2, w3), flip));
}

// Each lane counts downward by the -1 of a true test. A lane takes 65,535 steps; the longest row has 12,285.
struct TALLY {
    V moved, comb, comb_before;
};
static HWY_INLINE TALLY tally_new() {
    const V zero = hn::Zero(WORDS());
    return {zero, zero, zero};
}

template <class LOAD>
static HWY_INLINE void count(TALLY& tally, const LOAD& load, V moved_limit, V comb_limit) {
    const V a = load(FIELD_ROW_A), b = load(FIELD_ROW_B), g1 = load(FIELD_ROW_G1), e = load(FIELD_ROW_E);
    const V step = hn::SaturatedSub(b, e);
    const V moved = hn::VecFromMask(WORDS(), hn::Gt(hn::Xor(step, sign(step)), moved_limit));
    const V smooth = hn::VecFromMask(WORDS(), hn::Gt(comb(a, b, g1, load(FIELD_ROW_G2)), comb_limit));
    const V smooth_before = hn::VecFromMask(WORDS(), hn::Gt(comb(a, e, g1, load(FIELD_ROW_F)), comb_limit));
    tally.moved = hn::Add(tally.moved, moved);
    tally.comb = hn::Add(tally.comb, hn::AndNot(smooth, moved));
    tally.comb_before = hn::Add(tally.comb_before, hn::AndNot(smooth_before, moved));
}

static HWY_INLINE uint32_t total(V lanes) {
    const hn::RepartitionToWide<hn::RebindToUnsigned<WORDS> > d32;
    const auto pairs = hn::BitCast(d32, hn::Neg(lanes));
    const auto sums = hn::Add(hn::And(pairs, hn::Set(d32, 0xFFFF)), hn::ShiftRight<16>(pairs));
    return hn::GetLane(hn::SumOfLanes(d32, sums));
}

static HWY_INLINE void add(FIELD_COUNTS* counts, const TALLY& tally) {
    counts->moved += total(tally.moved);
    counts->comb += total(tally.comb);
    counts->comb_before += total(tally.comb_before);
}

// What is left over goes to the definition: samples must not count twice.
static HWY_INLINE void rest(FIELD_COUNTS* counts, const uint8_t* const* rows, size_t done, size_t bytes,
                            const FIELD_LIMITS& limits, FIELD_METRIC_ROW ref) {
    const uint8_t* left[FIELD_ROW_N];
    for (int k = 0; k < FIELD_ROW_N; ++k) left[k] = rows[k] + done;
    ref(counts, left, bytes - done, limits);
}

static void row_words(FIELD_COUNTS* counts, const uint8_t* const* rows, size_t bytes, const FIELD_LIMITS& limits) {
    const size_t step = hn::Lanes(WORDS()) * sizeof(int16_t);
    const V moved = hn::Set(WORDS(), limits.moved[0]), comb = hn::Set(WORDS(), limits.comb[0]);
    TALLY tally = tally_new();
    size_t i = 0;
    for (; i + step <= bytes; i += step) {
        const auto load = [=](int k)
                              HWY_ATTR { return hn::LoadU(WORDS(), reinterpret_cast<const int16_t*>(rows[k] + i)); };
        count(tally, load, moved, comb);
    }
    add(counts, tally);
    rest(counts, rows, i, bytes, limits, field_metric_row_ref(PIXEL_SIZE_YC48));
}

// The low halves of the words are luma, the high halves chroma.
static void row_bytes(FIELD_COUNTS* counts, const uint8_t* const* rows, size_t bytes, const FIELD_LIMITS& limits) {
    const hn::Repartition<uint8_t, WORDS> d8;
    const hn::RebindToUnsigned<WORDS> du;
    const size_t step = hn::Lanes(d8);
    const V moved_y = hn::Set(WORDS(), limits.moved[0]), comb_y = hn::Set(WORDS(), limits.comb[0]);
    const V moved_c = hn::Set(WORDS(), limits.moved[1]), comb_c = hn::Set(WORDS(), limits.comb[1]);
    TALLY tally = tally_new();
    size_t i = 0;
    for (; i + step <= bytes; i += step) {
        const auto load_luma = [=](int k) HWY_ATTR {
            return hn::And(hn::BitCast(WORDS(), hn::LoadU(d8, rows[k] + i)), hn::Set(WORDS(), 255));
        };
        const auto load_chroma = [=](int k) HWY_ATTR {
            return hn::BitCast(WORDS(), hn::ShiftRight<8>(hn::BitCast(du, hn::LoadU(d8, rows[k] + i))));
        };
        count(tally, load_luma, moved_y, comb_y);
        count(tally, load_chroma, moved_c, comb_c);
    }
    add(counts, tally);
    rest(counts, rows, i, bytes, limits, field_metric_row_ref(PIXEL_SIZE_YUY2));
}

static FIELD_METRIC_ROW row_kernel(int pixel_size) { return pixel_size == PIXEL_SIZE_YUY2 ? row_bytes : row_words; }
#endif
}  // namespace HWY_NAMESPACE
}  // namespace field_metric_impl
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace field_metric_impl {
HWY_EXPORT(row_kernel);
static FIELD_METRIC_ROW row_kernel_best(int pixel_size) { return HWY_DYNAMIC_DISPATCH(row_kernel)(pixel_size); }
}  // namespace field_metric_impl

FIELD_METRIC_ROW field_metric_row_simd(int pixel_size) { return field_metric_impl::row_kernel_best(pixel_size); }
#endif
