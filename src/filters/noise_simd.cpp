#include <algorithm>

#include "filters/noise_kernels.h"
#include "pixels/frame_buffer.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/noise_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "filters/window_vectors-inl.h"

// A contribution is a triangle over the difference d, continued by its complement to the other side. It is
//   k = 2 * clamp(d, -(T + 1), T) - clamp(d, -(2 * T + 1), 2 * T),
// and a clamped difference is the difference of a clamped neighbour: clamp(v - c, l, h) = clamp(v, c + l, c + h) - c.
// Where c + l or c + h saturates no v lies beyond it, so that nothing is lost; neither does it matter that d itself
// saturates. So a neighbour costs two clamps to bounds that are had once for each centre, and two additions; the
// doubling and c come in once for many neighbours. Sums may wrap as long as the sum of all k fits.

HWY_BEFORE_NAMESPACE();
namespace noise {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static NOISE_ROW kernel(int pixel_size, int radius) { return noise_kernel_ref(pixel_size, radius); }
#else
using namespace window::HWY_NAMESPACE;

template <class V>
static HWY_INLINE V clamp(V v, V low, V high) {
    return hn::Max(hn::Min(v, high), low);
}

// The first FREE contributions cannot bring the sum to its limits; the others are added one by one, saturating.
template <int RADIUS, size_t FREE>
static HWY_INLINE size_t words(uint8_t* dst, const uint8_t* const* rows, size_t bytes, const NOISE_STEP& step) {
    constexpr size_t N = window_size(RADIUS);
    const D16 d;
    const WINDOW<RADIUS, int16_t> window(rows);
    const int t = step.threshold[0];
    const V16 near_up = hn::Set(d, int16_t(t)), near_down = hn::Set(d, int16_t(t + 1));
    const V16 far_up = hn::Set(d, int16_t(2 * t)), far_down = hn::Set(d, int16_t(2 * t + 1));
    const V16 weight = hn::Set(d, step.weight);
    return for_each_step(bytes, hn::Lanes(d) * 2, [&](size_t i) HWY_ATTR {
        const V16 c = window.load(i, 0, 0);
        const V16 near_low = hn::SaturatedSub(c, near_down), near_high = hn::SaturatedAdd(c, near_up);
        const V16 far_low = hn::SaturatedSub(c, far_down), far_high = hn::SaturatedAdd(c, far_up);
        V16 near = hn::Zero(d), far = hn::Zero(d);
        for_each_index<0, FREE>([&](auto k) WINDOW_BODY {
            const V16 v = window.tap(i, k);
            near = settled(hn::Add(near, clamp(v, near_low, near_high)));
            far = settled(hn::Add(far, clamp(v, far_low, far_high)));
        });
        V16 sum = hn::Sub(hn::Sub(hn::Add(near, near), far), hn::Mul(c, hn::Set(d, int16_t(FREE))));
        for_each_index<FREE, N>([&](auto k) WINDOW_BODY {
            const V16 v = window.tap(i, k);
            const V16 once = clamp(v, near_low, near_high);
            const V16 rest = hn::Sub(hn::Sub(once, clamp(v, far_low, far_high)), c);
            sum = hn::SaturatedAdd(sum, hn::Add(once, rest));
        });
        hn::StoreU(hn::SaturatedAdd(c, hn::MulHigh(sum, weight)), d, reinterpret_cast<int16_t*>(dst + i));
    });
}

static constexpr int WORD_THRESHOLD_MAX = 1024;
/// How many neighbours contribute without reaching a word's limits; at most -(T + 1) each.
static constexpr size_t free_neighbours(int threshold) { return size_t(32767 / (threshold + 1)); }

template <int RADIUS>
static void row_words(uint8_t* dst, const uint8_t* const* rows, size_t bytes, const NOISE_STEP& step) {
    constexpr size_t N = window_size(RADIUS);
    constexpr size_t FREE = std::min(N, free_neighbours(WORD_THRESHOLD_MAX));
    const bool all_free = FREE == N || free_neighbours(step.threshold[0]) >= N;
    const size_t done = (all_free ? words<RADIUS, N> : words<RADIUS, FREE>)(dst, rows, bytes, step);
    if (done < bytes) noise_kernel_ref(PIXEL_SIZE_YC48, RADIUS)(dst, rows, bytes, step);
}

template <size_t N>
static HWY_INLINE V8 times(V8 v) {
    if constexpr (N == 1)
        return v;
    else if constexpr (N % 2)
        return hn::Add(times<N - 1>(v), v);
    else
        return times<N / 2>(hn::Add(v, v));
}

// Contributions are summed as bytes by groups of GROUP neighbours. T + 1 is added to each, so that none is negative.
template <int RADIUS, size_t GROUP>
static HWY_INLINE size_t bytes_of(uint8_t* dst, const uint8_t* const* rows, size_t bytes, const NOISE_STEP& step) {
    constexpr int N = int(window_size(RADIUS));
    const D16 d;
    const D8 d8;
    const WINDOW<RADIUS, uint8_t> window(rows);
    const int t_low = step.threshold[0], t_high = step.threshold[1];
    const V8 near_up = hn::BitCast(d8, hn::Set(d, int16_t(t_low + t_high * 256)));
    const V8 near_down = hn::Add(near_up, hn::Set(d8, 1));
    const V8 far_up = hn::Add(near_up, near_up), far_down = hn::Add(near_up, near_down);
    const V16 start_low = hn::Set(d, int16_t(noise_start(N) - N * (t_low + 1)));
    const V16 start_high = hn::Set(d, int16_t(noise_start(N) - N * (t_high + 1)));
    const V16 weight = hn::Set(d, step.weight);
    return for_each_step(bytes, hn::Lanes(d8), [&](size_t i) HWY_ATTR {
        const V8 c = window.load(i, 0, 0);
        const V8 near_low = hn::SaturatedSub(c, near_down), near_high = hn::SaturatedAdd(c, near_up);
        const V8 far_low = hn::SaturatedSub(c, far_down), far_high = hn::SaturatedAdd(c, far_up);
        const V8 base = times<GROUP>(hn::Sub(c, near_down));
        VU16 sum = hn::Zero(DU16()), sum_high = hn::Zero(DU16());
        for_each_index<0, size_t(N) / GROUP>([&](auto group) WINDOW_BODY {
            V8 near = hn::Zero(d8), far = base;
            for_each_index<GROUP * group(), GROUP*(group() + 1)>([&](auto k) WINDOW_BODY {
                const V8 v = window.tap(i, k);
                near = settled(hn::Add(near, clamp(v, near_low, near_high)));
                far = settled(hn::Add(far, clamp(v, far_low, far_high)));
            });
            sum_bytes(hn::Sub(hn::Add(near, near), far), sum, sum_high);
        });
        const V16 k_low = hn::Add(sum_of_low(sum, sum_high), start_low);
        const V16 k_high = hn::Add(sum_of_high(sum_high), start_high);
        const V16 low = hn::Add(low_bytes(c), hn::MulHigh(k_low, weight));
        const V16 high = hn::Add(high_bytes(c), hn::MulHigh(k_high, weight));
        hn::StoreU(join_bytes(low, high), d8, dst + i);
    });
}

template <int RADIUS>
static void row_bytes(uint8_t* dst, const uint8_t* const* rows, size_t bytes, const NOISE_STEP& step) {
    constexpr size_t GROUP = window_group(RADIUS);
    const bool grouped = GROUP * size_t(2 * std::max(step.threshold[0], step.threshold[1]) + 1) <= 255;
    const size_t done = (grouped ? bytes_of<RADIUS, GROUP> : bytes_of<RADIUS, 2>)(dst, rows, bytes, step);
    if (done < bytes) noise_kernel_ref(PIXEL_SIZE_YUY2, RADIUS)(dst, rows, bytes, step);
}

static NOISE_ROW kernel(int pixel_size, int radius) {
    static constexpr NOISE_ROW WORD_ROWS[] = {row_words<1>, row_words<2>, row_words<3>};
    static constexpr NOISE_ROW BYTE_ROWS[] = {row_bytes<1>, row_bytes<2>, row_bytes<3>};
    return (pixel_size == PIXEL_SIZE_YUY2 ? BYTE_ROWS : WORD_ROWS)[radius - 1];
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace noise
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace noise {
HWY_EXPORT(kernel);
static NOISE_ROW kernel_best(int pixel_size, int radius) { return HWY_DYNAMIC_DISPATCH(kernel)(pixel_size, radius); }
}  // namespace noise

NOISE_ROW noise_kernel(int pixel_size, int radius) {
    return simd_enabled ? noise::kernel_best(pixel_size, radius) : noise_kernel_ref(pixel_size, radius);
}
#endif
