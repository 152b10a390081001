#include "audio/level.h"

#include <algorithm>

#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/level.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef VANTEL_AUDIO_LEVEL_DEFINITION
#define VANTEL_AUDIO_LEVEL_DEFINITION

static constexpr int FULL = 32767;
static constexpr int UNITY = FULL << 14;  // a peak of full scale and full level give a factor of 1 << 14

/// y = ((x << shift, 16 bits) * factor) >> 14, saturated to 16 bits. The shift takes the peak to 16384 or above, so
/// that the factor keeps its precision for quiet sound. The product runs on 32 bits; a factor is 0 .. 32768 for every
/// peak and for levels of 0 .. 512.
struct GAIN {
    int shift;
    int32_t factor;
};

// False when nothing is to be done.
static bool gain_of(GAIN* gain, int peak, int level) {
    if (peak == 0) return false;
    int top = FULL;
    if (peak > 0) {
        top = std::min(peak, FULL);
        level = std::clamp(level, 0, 256);
        if (top == FULL && level == 256) return false;
    }
    for (gain->shift = 0; top < 16384; top *= 2) ++gain->shift;
    gain->factor = int32_t(int64_t{UNITY / top} * level / 256);
    return true;
}

static int16_t scaled(int16_t x, GAIN gain) {
    const auto shifted = int16_t(uint32_t(x) << gain.shift);
    const auto product = int32_t(uint32_t(shifted) * uint32_t(gain.factor));
    return int16_t(std::clamp(product >> 14, -32768, 32767));
}

static void scale_values(int16_t* samples, size_t count, GAIN gain) {
    for (size_t i = 0; i < count; ++i) samples[i] = scaled(samples[i], gain);
}

void audio_scale_ref(int16_t* samples, size_t count, int peak, int level) {
    GAIN gain;
    if (gain_of(&gain, peak, level)) scale_values(samples, count, gain);
}

int audio_peak_ref(const int16_t* samples, size_t count) {
    int peak = 0;
    for (size_t i = 0; i < count; ++i) peak = std::max(peak, samples[i] < 0 ? -samples[i] - 1 : samples[i]);
    return peak;
}
#endif

HWY_BEFORE_NAMESPACE();
namespace audio_level_impl {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static void scale(int16_t* samples, size_t count, GAIN gain) { scale_values(samples, count, gain); }
static int peak(const int16_t* samples, size_t count) { return audio_peak_ref(samples, count); }
#else
namespace hn = hwy::HWY_NAMESPACE;

using WORDS = hn::ScalableTag<int16_t>;
using V = hn::Vec<WORDS>;

// The highest and the second highest bit of the low half of a product, as 0 or 1.
static HWY_INLINE V bit_15(V low) {
    const hn::RebindToUnsigned<WORDS> du;
    return hn::BitCast(WORDS(), hn::ShiftRight<15>(hn::BitCast(du, low)));
}
static HWY_INLINE V bit_14(V low) { return bit_15(hn::Add(low, low)); }

// product >> 14 is high * 4 + the two highest bits of low. Taken in two steps, only the last one can leave 16 bits:
// |high| is at most 16384.
static HWY_INLINE V times(V x, V factor) {
    const V low = hn::Mul(x, factor);
    const V high = hn::MulHigh(x, factor);
    const V half = hn::SaturatedAdd(hn::SaturatedAdd(high, high), bit_15(low));
    return hn::SaturatedAdd(half, hn::SaturatedAdd(half, bit_14(low)));
}

template <class STEP>
static HWY_INLINE size_t each(int16_t* samples, size_t count, const STEP& step) {
    const size_t lanes = hn::Lanes(WORDS());
    size_t i = 0;
    for (; i + lanes <= count; i += lanes) hn::StoreU(step(hn::LoadU(WORDS(), samples + i)), WORDS(), samples + i);
    return i;
}

static void scale(int16_t* samples, size_t count, GAIN gain) {
    size_t done = 0;
    if (gain.factor == 32768 && gain.shift == 0) {  // the one factor that is no word: twice as loud
        done = each(samples, count, [](V x) HWY_ATTR { return hn::SaturatedAdd(x, x); });
    } else if (gain.factor == int16_t(gain.factor)) {
        const V factor = hn::Set(WORDS(), int16_t(gain.factor));
        const int shift = gain.shift;
        if (shift == 0)
            done = each(samples, count, [=](V x) HWY_ATTR { return times(x, factor); });
        else
            done = each(samples, count, [=](V x) HWY_ATTR { return times(hn::ShiftLeftSame(x, shift), factor); });
    }
    scale_values(samples + done, count - done, gain);
}

static int peak(const int16_t* samples, size_t count) {
    const size_t lanes = hn::Lanes(WORDS());
    V most = hn::Zero(WORDS()), second = most;
    const auto magnitude = [](const int16_t* at) HWY_ATTR {
        const V x = hn::LoadU(WORDS(), at);
        return hn::Xor(x, hn::ShiftRight<15>(x));
    };
    size_t i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
        most = hn::Max(most, magnitude(samples + i));
        second = hn::Max(second, magnitude(samples + i + lanes));
    }
    int16_t tops[HWY_MAX_BYTES / sizeof(int16_t)];
    hn::StoreU(hn::Max(most, second), WORDS(), tops);
    return std::max(audio_peak_ref(tops, lanes), audio_peak_ref(samples + i, count - i));
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace audio_level_impl
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace audio_level_impl {
HWY_EXPORT(scale);
HWY_EXPORT(peak);
static void scale_best(int16_t* samples, size_t count, GAIN gain) { HWY_DYNAMIC_DISPATCH(scale)(samples, count, gain); }
static int peak_best(const int16_t* samples, size_t count) { return HWY_DYNAMIC_DISPATCH(peak)(samples, count); }
}  // namespace audio_level_impl

void audio_scale(int16_t* samples, size_t count, int peak, int level) {
    GAIN gain;
    if (!gain_of(&gain, peak, level)) return;
    if (simd_enabled)
        audio_level_impl::scale_best(samples, count, gain);
    else
        scale_values(samples, count, gain);
}

int audio_peak(const int16_t* samples, size_t count) {
    return simd_enabled ? audio_level_impl::peak_best(samples, count) : audio_peak_ref(samples, count);
}
#endif
