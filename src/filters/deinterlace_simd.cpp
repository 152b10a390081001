#include "filters/deinterlace_kernels.h"
#include "pixels/frame_buffer.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/deinterlace_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace deinterlace {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static const DEINTERLACE_KERNELS* kernels(int pixel_size) { return deinterlace_kernels_ref(pixel_size); }
#else
namespace hn = hwy::HWY_NAMESPACE;

using WORDS = hn::ScalableTag<int16_t>;
using V = hn::Vec<WORDS>;

template <int VALUE>
static HWY_INLINE V plus(V v) {
    if constexpr (VALUE == 0) return v;
    return hn::SaturatedAdd(v, hn::Set(WORDS(), VALUE));
}

// HALF is 0 for words and 1 for bytes.
template <int HALF>
static HWY_INLINE V mean(V a, V b) {
    return hn::ShiftRight<1>(plus<HALF>(hn::SaturatedAdd(a, b)));
}

static HWY_INLINE V sign(V v) { return hn::ShiftRight<15>(v); }
static HWY_INLINE V magnitude(V v) { return hn::Xor(v, sign(v)); }

static HWY_INLINE V comb(V r0, V r1, V r2, V r3, V r4) {
    const V b = hn::SaturatedSub(r1, r2), c = hn::SaturatedSub(r2, r3);
    const V rises = sign(b), rises_on = sign(c);
    const V a = hn::Xor(hn::SaturatedSub(r0, r1), rises);
    const V e = hn::Xor(hn::SaturatedSub(r3, r4), rises_on);
    return hn::Min(hn::Max(a, hn::Xor(c, rises)), hn::Max(hn::Xor(b, rises_on), e));
}

// The largest tolerance of several combs is that of the lowest comb, and ~t >= 0 exactly where t < 0.
static HWY_INLINE V tolerance(V t) { return hn::Not(hn::Min(t, hn::Set(WORDS(), -1))); }

static HWY_INLINE V shrink(V d, V t) {
    const V side = sign(d);
    return hn::Xor(hn::Max(hn::SaturatedSub(hn::Xor(d, side), t), hn::Zero(WORDS())), side);
}

// Each operation gets the samples of row k by load(k).

template <int HALF>
struct MEAN {
    template <class LOAD>
    static HWY_INLINE V sample(const LOAD& load) {
        return mean<HALF>(load(0), load(1));
    }
};

template <int HALF>
struct SOFTEN {
    template <class LOAD>
    static HWY_INLINE V sample(const LOAD& load) {
        return mean<HALF>(load(1), mean<HALF>(load(0), load(2)));
    }
};

template <int HALF>
struct ADAPTIVE {
    static HWY_INLINE V pick(V x, V c, V m, V limit) {
        return hn::IfThenElse(hn::Gt(magnitude(hn::SaturatedSub(c, x)), limit), m, x);
    }
    template <class LOAD>
    static HWY_INLINE V sample(const LOAD& load) {
        const V c = load(0), u = load(1), d = load(2);
        const V m = mean<HALF>(u, d);
        const V limit = magnitude(hn::SaturatedSub(c, m));
        V sum = plus<HALF * 4>(pick(load(3), c, m, limit));
        sum = hn::SaturatedAdd(sum, pick(load(4), c, m, limit));
        sum = hn::SaturatedAdd(sum, pick(load(5), c, m, limit));
        sum = hn::SaturatedAdd(sum, pick(load(6), c, m, limit));
        sum = hn::SaturatedAdd(hn::ShiftRight<1>(sum), pick(u, c, m, limit));
        return hn::ShiftRight<2>(hn::SaturatedAdd(sum, pick(d, c, m, limit)));
    }
};

template <int HALF>
struct MOTION {
    template <class LOAD>
    static HWY_INLINE V sample(const LOAD& load) {
        const V c_before = load(1), c = load(2), c_after = load(3), p = load(6);
        const V spatial = comb(load(0), c_before, c, c_after, load(4));
        const V temporal = comb(load(5), c_before, p, c_after, load(7));
        const V moved = hn::ShiftRight<1>(hn::Max(hn::SaturatedSub(c, p), hn::SaturatedSub(p, c)));
        const V limit = hn::Max(tolerance(hn::Min(spatial, temporal)), moved);
        const V a = mean<HALF>(c_before, c_after);
        return hn::SaturatedAdd(a, shrink(hn::SaturatedSub(mean<HALF>(c, p), a), limit));
    }
};

template <int HALF>
struct STRIPES {
    template <class LOAD>
    static HWY_INLINE V sample(const LOAD& load) {
        const V x_below = load(1), y = load(2), x_above = load(3);
        const V around = hn::SaturatedAdd(hn::SaturatedAdd(x_below, x_above), hn::SaturatedAdd(y, y));
        const V a = hn::ShiftRight<2>(plus<HALF * 2>(around));
        const V limit = tolerance(hn::ShiftRight<1>(comb(load(0), x_below, y, x_above, load(4))));
        return hn::SaturatedAdd(a, shrink(hn::SaturatedSub(y, a), limit));
    }
};

// A row shorter than a vector goes to the definition; otherwise the last vector may repeat some samples of the one
// before it.
template <class BODY>
static HWY_INLINE bool for_each_vector(size_t n, size_t step, const BODY& body) {
    if (n < step) return false;
    for (size_t i = 0; i < n - step; i += step) body(i);
    body(n - step);
    return true;
}

template <class OPERATION, DEINTERLACE_ROW DEINTERLACE_KERNELS::*REF>
static void row_words(uint8_t* dst, const uint8_t* const* rows, size_t bytes) {
    const auto body = [=](size_t i) HWY_ATTR {
        const auto load = [=](int k)
                              HWY_ATTR { return hn::LoadU(WORDS(), reinterpret_cast<const int16_t*>(rows[k] + i)); };
        hn::StoreU(OPERATION::sample(load), WORDS(), reinterpret_cast<int16_t*>(dst + i));
    };
    if (!for_each_vector(bytes, hn::Lanes(WORDS()) * 2, body))
        (deinterlace_kernels_ref(PIXEL_SIZE_YC48)->*REF)(dst, rows, bytes);
}

static HWY_INLINE V to8(V v) { return hn::Min(hn::Max(v, hn::Zero(WORDS())), hn::Set(WORDS(), 255)); }

// Bytes are taken as the low and the high halves of words: widening and narrowing move nothing between lanes.
template <class OPERATION, DEINTERLACE_ROW DEINTERLACE_KERNELS::*REF>
static void row_bytes(uint8_t* dst, const uint8_t* const* rows, size_t bytes) {
    const hn::Repartition<uint8_t, WORDS> d8;
    const hn::RebindToUnsigned<WORDS> du;
    const auto body = [=](size_t i) HWY_ATTR {
        const auto load_low = [=](int k) HWY_ATTR {
            return hn::And(hn::BitCast(WORDS(), hn::LoadU(d8, rows[k] + i)), hn::Set(WORDS(), 255));
        };
        const auto load_high = [=](int k) HWY_ATTR {
            return hn::BitCast(WORDS(), hn::ShiftRight<8>(hn::BitCast(du, hn::LoadU(d8, rows[k] + i))));
        };
        const V low = to8(OPERATION::sample(load_low));
        const V high = hn::ShiftLeft<8>(to8(OPERATION::sample(load_high)));
        hn::StoreU(hn::BitCast(d8, hn::Or(low, high)), d8, dst + i);
    };
    if (!for_each_vector(bytes, hn::Lanes(d8), body))
        (deinterlace_kernels_ref(PIXEL_SIZE_YUY2)->*REF)(dst, rows, bytes);
}

static constexpr DEINTERLACE_KERNELS YC48_KERNELS = {
    row_words<MEAN<0>, &DEINTERLACE_KERNELS::mean>, row_words<SOFTEN<0>, &DEINTERLACE_KERNELS::soften>,
    row_words<ADAPTIVE<0>, &DEINTERLACE_KERNELS::adaptive>, row_words<MOTION<0>, &DEINTERLACE_KERNELS::motion>,
    row_words<STRIPES<0>, &DEINTERLACE_KERNELS::stripes>};
static constexpr DEINTERLACE_KERNELS YUY2_KERNELS = {
    row_bytes<MEAN<1>, &DEINTERLACE_KERNELS::mean>, row_bytes<SOFTEN<1>, &DEINTERLACE_KERNELS::soften>,
    row_bytes<ADAPTIVE<1>, &DEINTERLACE_KERNELS::adaptive>, row_bytes<MOTION<1>, &DEINTERLACE_KERNELS::motion>,
    row_bytes<STRIPES<1>, &DEINTERLACE_KERNELS::stripes>};

static const DEINTERLACE_KERNELS* kernels(int pixel_size) {
    return pixel_size == PIXEL_SIZE_YUY2 ? &YUY2_KERNELS : &YC48_KERNELS;
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace deinterlace
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace deinterlace {
HWY_EXPORT(kernels);
static const DEINTERLACE_KERNELS* kernels_best(int pixel_size) { return HWY_DYNAMIC_DISPATCH(kernels)(pixel_size); }
}  // namespace deinterlace

const DEINTERLACE_KERNELS* deinterlace_kernels(int pixel_size) {
    return simd_enabled ? deinterlace::kernels_best(pixel_size) : deinterlace_kernels_ref(pixel_size);
}
#endif
