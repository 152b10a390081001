#include "filters/noise_time_kernels.h"
#include "pixels/frame_buffer.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/noise_time_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixels/blocks-inl.h"

HWY_BEFORE_NAMESPACE();
namespace noise_time {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static NOISE_TIME_ROW kernel(int pixel_size, int radius) { return noise_time_row_ref(pixel_size, radius); }
#else
namespace hn = hwy::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;  // NOLINT(google-build-using-namespace): the vectors of this target

using U16 = hn::RebindToUnsigned<D16>;
using VU = hn::Vec<U16>;

// max(|x - s| - T, 0), with the complement for negative differences, is max(x - (s + T), 0) or max((s - T - 1) - x, 0),
// of which at most one is not 0. s +- T may be cut at 0 and at the top without a change: the difference is 0 there.
struct BAND {
    VU low, high;  // s - T - 1, s + T
    HWY_INLINE VU excess(VU x) const { return hn::Or(hn::SaturatedSub(x, high), hn::SaturatedSub(low, x)); }
};

// above: T + 1, or for doubled sums 2 * T + 2.
static HWY_INLINE BAND band(VU s, VU threshold, VU above) {
    return {hn::SaturatedSub(s, above), hn::SaturatedAdd(s, threshold)};
}

// k without the sign: max(a - 2 * max(a - T, 0) - twice, 0), of which the first difference is min(a, 2 * T - a). It is
// at most T; twice is the part of the cross sums.
template <class V>
static HWY_INLINE V triangle(V a, V twice_threshold, V twice) {
    return hn::SaturatedSub(hn::Min(a, hn::SaturatedSub(twice_threshold, a)), twice);
}

// ---- words
//
// Unsigned lanes give the same k as signed ones: where the difference of cross sums, the penalty or its double would
// have stopped at 32767, twice the penalty is at least 2 * (32767 - T), and both forms take all of a, which is at most
// 32767. As k is at most T, no sum of six of them comes near the limit of a word.

static HWY_INLINE V16 word_at(const uint8_t* p) { return hn::LoadU(D16(), reinterpret_cast<const int16_t*>(p)); }

// The cross sum, moved up by 32768 so that unsigned lanes hold it.
static HWY_INLINE VU cross_words(const uint8_t* p, ptrdiff_t stride) {
    const V16 sides = hn::SaturatedAdd(word_at(p - sizeof(YC48_PIXEL)), word_at(p + sizeof(YC48_PIXEL)));
    const V16 sum = hn::SaturatedAdd(hn::SaturatedAdd(sides, word_at(p - stride)), word_at(p + stride));
    return hn::BitCast(U16(), hn::Xor(sum, hn::Set(D16(), -32768)));
}

struct WORDS {
    const NOISE_TIME_JOB* job;
    VU threshold, twice_threshold;

    explicit HWY_INLINE WORDS(const NOISE_TIME_JOB* job)
        : job(job),
          threshold(hn::Set(U16(), uint16_t(job->levels.threshold[0]))),
          twice_threshold(hn::Add(threshold, threshold)) {}

    HWY_INLINE V16 share(const uint8_t* p, V16 c, const BAND& around) const {
        const V16 d = hn::SaturatedSub(word_at(p), c);
        const V16 negative = hn::ShiftRight<15>(d);
        const VU a = hn::BitCast(U16(), hn::Xor(d, negative));
        const VU excess = around.excess(cross_words(p, job->stride));
        const VU k = triangle(a, twice_threshold, hn::SaturatedAdd(excess, excess));
        return hn::Xor(hn::BitCast(D16(), k), negative);
    }

    template <int OTHERS>
    HWY_INLINE V16 sum(const uint8_t* p, V16 c, const BAND& around) const {
        const V16 last = share(p + job->others[OTHERS - 1], c, around);
        if constexpr (OTHERS == 1)
            return last;
        else
            return hn::Add(sum<OTHERS - 1>(p, c, around), last);
    }

    template <int RADIUS>
    HWY_INLINE void smooth(uint8_t* dst, const uint8_t* p) const {
        const V16 c = word_at(p);
        const BAND around = band(cross_words(p, job->stride), threshold, hn::Add(threshold, hn::Set(U16(), 1)));
        const V16 step = hn::MulHigh(sum<2 * RADIUS>(p, c, around), hn::Set(D16(), job->levels.weight));
        hn::StoreU(hn::SaturatedAdd(c, step), D16(), reinterpret_cast<int16_t*>(dst));
    }
};

// ---- bytes
//
// What is compared with bytes stays in bytes: k is at most T, 112, so it does not matter what a penalty above 255 is
// cut to. Cross sums need words: those of the lower and of the upper half of each block. They are taken twice, and
// compared with the double of the threshold, which gives the double of the excess.

struct HALVES {
    VU low, high;
};

static HWY_INLINE V8 byte_at(const uint8_t* p) { return hn::LoadU(D8(), p); }

// In each word twice the sum of two bytes.
static HWY_INLINE VU byte_sums(V8 pairs) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
    return VU{_mm256_maddubs_epi16(pairs.raw, _mm256_set1_epi8(2))};
#elif HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
    return VU{_mm_maddubs_epi16(pairs.raw, _mm_set1_epi8(2))};
#else
    const VU words = hn::BitCast(U16(), pairs);
    return hn::ShiftLeft<1>(hn::Add(hn::And(words, hn::Set(U16(), 255)), hn::ShiftRight<8>(words)));
#endif
}

// In each word the sum of two signed bytes.
static HWY_INLINE V16 signed_byte_sums(V8 pairs) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
    return V16{_mm256_maddubs_epi16(_mm256_set1_epi8(1), pairs.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
    return V16{_mm_maddubs_epi16(_mm_set1_epi8(1), pairs.raw)};
#else
    const V16 words = hn::BitCast(D16(), pairs);
    return hn::Add(hn::ShiftRight<8>(hn::ShiftLeft<8>(words)), hn::ShiftRight<8>(words));
#endif
}

static HWY_INLINE HALVES byte_sums(V8 a, V8 b) {
    return {byte_sums(hn::InterleaveLower(D8(), a, b)), byte_sums(hn::InterleaveUpper(D8(), a, b))};
}

static HWY_INLINE HALVES cross_bytes(const uint8_t* p, ptrdiff_t stride) {
    const HALVES sides = byte_sums(byte_at(p - 4), byte_at(p + 4));
    const HALVES rows = byte_sums(byte_at(p - stride), byte_at(p + stride));
    return {hn::Add(sides.low, rows.low), hn::Add(sides.high, rows.high)};
}

struct BYTES {
    const NOISE_TIME_JOB* job;
    V8 twice_threshold;                 // of luma and chroma by turns
    VU twice_threshold16, twice_above;  // the same, and 2 more

    explicit HWY_INLINE BYTES(const NOISE_TIME_JOB* job) : job(job) {
        const auto luma = uint32_t(job->levels.threshold[0]), chroma = uint32_t(job->levels.threshold[1]);
        const hn::Repartition<uint32_t, D16> d32;
        twice_threshold = hn::BitCast(D8(), hn::Set(U16(), uint16_t(2 * (luma | chroma << 8))));
        twice_threshold16 = hn::BitCast(U16(), hn::Set(d32, 2 * (luma | chroma << 16)));
        twice_above = hn::Add(twice_threshold16, hn::Set(U16(), 2));
    }

    struct CENTER {
        V8 c, below;  // below: c - 1, not under 0
        BAND low, high;
    };

    // ~k for v >= c and k for v < c, as signed bytes: the complement of what is to be added.
    HWY_INLINE V8 complement(const uint8_t* p, const CENTER& center) const {
        const V8 v = byte_at(p);
        const V8 a = hn::Or(hn::SaturatedSub(v, center.c), hn::SaturatedSub(center.below, v));
        const HALVES cross = cross_bytes(p, job->stride);
        const V8 twice = pack_blocks(hn::BitCast(D16(), center.low.excess(cross.low)),
                                     hn::BitCast(D16(), center.high.excess(cross.high)));
        const V8 not_less = hn::VecFromMask(D8(), hn::Eq(hn::Max(v, center.c), v));
        return hn::Xor(triangle(a, twice_threshold, twice), not_less);
    }

    // The sum of complements, two pictures at a time.
    template <int OTHERS>
    HWY_INLINE void sum(const uint8_t* p, const CENTER& center, V16& low, V16& high) const {
        const V8 a = complement(p + job->others[OTHERS - 2], center);
        const V8 b = complement(p + job->others[OTHERS - 1], center);
        const V16 sum_low = signed_byte_sums(hn::InterleaveLower(D8(), a, b));
        const V16 sum_high = signed_byte_sums(hn::InterleaveUpper(D8(), a, b));
        if constexpr (OTHERS > 2) {
            sum<OTHERS - 2>(p, center, low, high);
            low = hn::Add(low, sum_low);
            high = hn::Add(high, sum_high);
        } else {
            low = sum_low;
            high = sum_high;
        }
    }

    template <int RADIUS>
    HWY_INLINE void smooth(uint8_t* dst, const uint8_t* p) const {
        const V8 c = byte_at(p), zero = hn::Zero(D8());
        const HALVES cross = cross_bytes(p, job->stride);
        const CENTER center = {c, hn::SaturatedSub(c, hn::Set(D8(), 1)),
                               band(cross.low, twice_threshold16, twice_above),
                               band(cross.high, twice_threshold16, twice_above)};
        V16 low, high;
        sum<2 * RADIUS>(p, center, low, high);
        const auto weight = hn::Set(D16(), job->levels.weight);
        // The sum of 2 * RADIUS values is -2 * RADIUS less their complements; RADIUS more for rounding.
        const auto step = [=](V16 complements)
                              HWY_ATTR { return hn::MulHigh(hn::Sub(hn::Set(D16(), -RADIUS), complements), weight); };
        const V16 c_low = hn::BitCast(D16(), hn::InterleaveLower(D8(), c, zero));
        const V16 c_high = hn::BitCast(D16(), hn::InterleaveUpper(D8(), c, zero));
        hn::StoreU(pack_blocks(hn::Add(c_low, step(low)), hn::Add(c_high, step(high))), D8(), dst);
    }
};

// ---- rows

template <class SAMPLES, int RADIUS, int PIXEL_SIZE>
static void row(uint8_t* dst, const uint8_t* cur, const NOISE_TIME_JOB* job, size_t bytes) {
    const SAMPLES samples(job);
    const auto body = [=](size_t i) HWY_ATTR { samples.template smooth<RADIUS>(dst + i, cur + i); };
    if (for_each_step(bytes, hn::Lanes(D8()), body) == 0) noise_time_row_ref(PIXEL_SIZE, RADIUS)(dst, cur, job, bytes);
}

static constexpr NOISE_TIME_ROW YC48_ROWS[] = {row<WORDS, 1, PIXEL_SIZE_YC48>, row<WORDS, 2, PIXEL_SIZE_YC48>,
                                               row<WORDS, 3, PIXEL_SIZE_YC48>};
static constexpr NOISE_TIME_ROW YUY2_ROWS[] = {row<BYTES, 1, PIXEL_SIZE_YUY2>, row<BYTES, 2, PIXEL_SIZE_YUY2>,
                                               row<BYTES, 3, PIXEL_SIZE_YUY2>};

static NOISE_TIME_ROW kernel(int pixel_size, int radius) {
    return (pixel_size == PIXEL_SIZE_YUY2 ? YUY2_ROWS : YC48_ROWS)[radius - 1];
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace noise_time
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace noise_time {
HWY_EXPORT(kernel);
static NOISE_TIME_ROW kernel_best(int pixel_size, int radius) {
    return HWY_DYNAMIC_DISPATCH(kernel)(pixel_size, radius);
}
}  // namespace noise_time

NOISE_TIME_ROW noise_time_row(int pixel_size, int radius) {
    return simd_enabled ? noise_time::kernel_best(pixel_size, radius) : noise_time_row_ref(pixel_size, radius);
}
#endif
