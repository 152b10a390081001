#include "filters/blur_kernels.h"
#include "pixels/frame_buffer.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/blur_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "filters/window_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace blur {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static BLUR_ROW kernel(int pixel_size, int radius, bool sharpen) {
    return blur_kernel_ref(pixel_size, radius, sharpen);
}
#else
using namespace window::HWY_NAMESPACE;

template <int SHIFT, int SCALE>
static HWY_INLINE V16 scaled(V16 sum) {
    if constexpr (SHIFT) sum = hn::ShiftRight<SHIFT>(sum);
    if constexpr (SCALE) sum = hn::MulHigh(sum, hn::Set(D16(), SCALE));
    return sum;
}

template <bool SHARPEN>
static HWY_INLINE V16 moved(V16 c, V16 mean, V16 low, V16 high, V16 weight) {
    const DU16 du;
    const V16 d = hn::SaturatedSub(mean, c), sign = hn::ShiftRight<15>(d);
    const V16 a = hn::Min(hn::Xor(d, sign), high);
    const V16 b = hn::BitCast(D16(), hn::SaturatedSub(hn::BitCast(du, a), hn::BitCast(du, low)));
    const V16 change = hn::MulHigh(hn::ShiftLeft<2>(hn::Xor(b, sign)), weight);
    return SHARPEN ? hn::SaturatedSub(c, change) : hn::SaturatedAdd(c, change);
}

template <int RADIUS, bool SHARPEN>
static void row_words(uint8_t* dst, const uint8_t* const* rows, size_t bytes, const BLUR_STEP& step) {
    constexpr BLUR_MEAN MEAN = BLUR_MEANS[RADIUS];
    constexpr size_t GROUP = window_group(RADIUS);
    const D16 d;
    const WINDOW<RADIUS, int16_t> window(rows);
    const V16 low = hn::Set(d, step.low[0]), high = hn::Set(d, step.high[0]), weight = hn::Set(d, step.weight);
    const size_t done = for_each_step(bytes, hn::Lanes(d) * 2, [&](size_t i) HWY_ATTR {
        V16 sum = hn::Zero(d);
        for_each_index<0, window_size(RADIUS) / GROUP>([&](auto group) WINDOW_BODY {
            V16 part = hn::Zero(d);
            for_each_index<GROUP * group(), GROUP*(group() + 1)>(
                [&](auto k) WINDOW_BODY { part = hn::SaturatedAdd(part, window.tap(i, k)); });
            // No need to saturate: the shifted groups of a window fit a word together.
            sum = hn::Add(sum, hn::ShiftRight<MEAN.group_shift>(part));
        });
        const V16 c = window.load(i, 0, 0);
        const V16 out = moved<SHARPEN>(c, scaled<0, MEAN.group_scale>(sum), low, high, weight);
        hn::StoreU(out, d, reinterpret_cast<int16_t*>(dst + i));
    });
    if (done < bytes) blur_kernel_ref(PIXEL_SIZE_YC48, RADIUS, SHARPEN)(dst, rows, bytes, step);
}

template <int RADIUS, bool SHARPEN>
static void row_bytes(uint8_t* dst, const uint8_t* const* rows, size_t bytes, const BLUR_STEP& step) {
    constexpr BLUR_MEAN MEAN = BLUR_MEANS[RADIUS];
    constexpr size_t N = window_size(RADIUS);
    const D16 d;
    const D8 d8;
    const WINDOW<RADIUS, uint8_t> window(rows);
    const V16 low_0 = hn::Set(d, step.low[0]), high_0 = hn::Set(d, step.high[0]);
    const V16 low_1 = hn::Set(d, step.low[1]), high_1 = hn::Set(d, step.high[1]);
    const V16 weight = hn::Set(d, step.weight), half = hn::Set(d, N / 2);
    const size_t done = for_each_step(bytes, hn::Lanes(d8), [&](size_t i) HWY_ATTR {
        VU16 sum = hn::Zero(DU16()), sum_high = hn::Zero(DU16());
        for_each_index<0, N>([&](auto k) WINDOW_BODY { sum_bytes(window.tap(i, k), sum, sum_high); });
        const V8 c = window.load(i, 0, 0);
        const V16 mean_0 = scaled<MEAN.shift, MEAN.scale>(hn::Add(sum_of_low(sum, sum_high), half));
        const V16 mean_1 = scaled<MEAN.shift, MEAN.scale>(hn::Add(sum_of_high(sum_high), half));
        const V16 out_0 = moved<SHARPEN>(low_bytes(c), mean_0, low_0, high_0, weight);
        const V16 out_1 = moved<SHARPEN>(high_bytes(c), mean_1, low_1, high_1, weight);
        hn::StoreU(join_bytes(out_0, out_1), d8, dst + i);
    });
    if (done < bytes) blur_kernel_ref(PIXEL_SIZE_YUY2, RADIUS, SHARPEN)(dst, rows, bytes, step);
}

template <bool SHARPEN>
static BLUR_ROW kernel_of(int pixel_size, int radius) {
    static constexpr BLUR_ROW WORD_ROWS[] = {row_words<0, SHARPEN>, row_words<1, SHARPEN>, row_words<2, SHARPEN>,
                                             row_words<3, SHARPEN>};
    static constexpr BLUR_ROW BYTE_ROWS[] = {row_bytes<0, SHARPEN>, row_bytes<1, SHARPEN>, row_bytes<2, SHARPEN>,
                                             row_bytes<3, SHARPEN>};
    return (pixel_size == PIXEL_SIZE_YUY2 ? BYTE_ROWS : WORD_ROWS)[radius];
}

static BLUR_ROW kernel(int pixel_size, int radius, bool sharpen) {
    return sharpen ? kernel_of<true>(pixel_size, radius) : kernel_of<false>(pixel_size, radius);
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace blur
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace blur {
HWY_EXPORT(kernel);
static BLUR_ROW kernel_best(int pixel_size, int radius, bool sharpen) {
    return HWY_DYNAMIC_DISPATCH(kernel)(pixel_size, radius, sharpen);
}
}  // namespace blur

BLUR_ROW blur_kernel(int pixel_size, int radius, bool sharpen) {
    return simd_enabled ? blur::kernel_best(pixel_size, radius, sharpen) : blur_kernel_ref(pixel_size, radius, sharpen);
}
#endif
