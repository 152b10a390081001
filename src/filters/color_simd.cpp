#include "filters/color_kernels.h"
#include "pixels/frame_buffer.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filters/color_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "filters/color_rgb-inl.h"
#include "pixels/blocks-inl.h"

HWY_BEFORE_NAMESPACE();
namespace color {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static const COLOR_KERNELS* kernels(int pixel_size) { return color_kernels_ref(pixel_size); }
#else
static constexpr size_t WORDS = STEP;  // of a vector

// ---- words: a row is a flat stream, and the constants of three neighbouring vectors differ

struct COMPONENT_TABLE {
    alignas(32) int16_t v[48];
};
static constexpr COMPONENT_TABLE component_table() {
    COMPONENT_TABLE table{};
    for (int i = 0; i < 48; ++i) table.v[i] = int16_t(i % 3);
    return table;
}
static constexpr COMPONENT_TABLE COMPONENTS = component_table();

/// Constants of Y, Cb, Cr for the k-th of three vectors.
static HWY_INLINE V16 rotated(int y, int cb, int cr, size_t k) {
    const V16 component = hn::Load(D16(), COMPONENTS.v + k * WORDS);
    const V16 chroma = hn::IfThenElse(hn::Eq(component, splat(1)), splat(cb), splat(cr));
    return hn::IfThenElse(hn::Eq(component, splat(0)), splat(y), chroma);
}

struct BRIGHTEN_WORDS {
    V16 add;
    static HWY_INLINE BRIGHTEN_WORDS make(const COLOR_PARAMS& p, size_t k) { return {rotated(p.brighten, 0, 0, k)}; }
    HWY_INLINE V16 apply(V16 v) const { return hn::SaturatedAdd(v, add); }
};

struct SCALE_WORDS {
    V16 gain, offset;
    static HWY_INLINE SCALE_WORDS make(const COLOR_PARAMS& p, size_t k) {
        return {rotated(p.gain[0], p.gain[1], p.gain[2], k), rotated(p.offset[0], p.offset[1], p.offset[2], k)};
    }
    HWY_INLINE V16 apply(V16 v) const { return scale(v, gain, offset); }
};

struct GAMMA_WORDS {
    SCALE_WORDS scale;
    V16 pivot, minus_gamma;
    static HWY_INLINE GAMMA_WORDS make(const COLOR_PARAMS& p, size_t k) {
        return {SCALE_WORDS::make(p, k), splat(p.pivot), rotated(-p.gamma, 0, 0, k)};  // 0 bends nothing
    }
    HWY_INLINE V16 apply(V16 v) const { return parabola(scale.apply(v), pivot, minus_gamma); }
};

template <class OPERATION, COLOR_CASE KIND>
static void row_words(uint8_t* dst, const uint8_t* src, int n, const COLOR_PARAMS* params) {
    const D16 d;
    const OPERATION first = OPERATION::make(*params, 0), second = OPERATION::make(*params, 1);
    const OPERATION third = OPERATION::make(*params, 2);
    const auto* in = reinterpret_cast<const int16_t*>(src);
    auto* out = reinterpret_cast<int16_t*>(dst);
    int i = 0;
    for (; i + int(STEP) <= n; i += int(STEP)) {
        const int16_t* from = in + i * 3;
        const V16 v0 = hn::LoadU(d, from), v1 = hn::LoadU(d, from + WORDS), v2 = hn::LoadU(d, from + 2 * WORDS);
        int16_t* to = out + i * 3;
        hn::StoreU(first.apply(v0), d, to);
        hn::StoreU(second.apply(v1), d, to + WORDS);
        hn::StoreU(third.apply(v2), d, to + 2 * WORDS);
    }
    color_kernels_ref(PIXEL_SIZE_YC48)->row[KIND](dst + i * 6, src + i * 6, n - i, params);
}

// ---- bytes: luma is the low byte of a word, chroma the high one, U and V in turn

struct BRIGHTEN_BYTES {
    V8 up, down;
    static HWY_INLINE BRIGHTEN_BYTES make(const COLOR_PARAMS& p) {
        return {hn::BitCast(D8(), splat(HWY_MAX(p.brighten, 0))), hn::BitCast(D8(), splat(HWY_MAX(-p.brighten, 0)))};
    }
    HWY_INLINE V16 apply(V16 v) const {
        return hn::BitCast(D16(), hn::SaturatedSub(hn::SaturatedAdd(hn::BitCast(D8(), v), up), down));
    }
};

struct SCALE_BYTES {
    BYTES_IN in;
    static HWY_INLINE SCALE_BYTES make(const COLOR_PARAMS& p) { return {BYTES_IN::make(p)}; }
    HWY_INLINE V16 apply(V16 v) const { return bytes_out(in.luma(v), in.chroma(v)); }
};

struct GAMMA_BYTES {
    BYTES_IN in;
    V16 pivot, minus_gamma;
    static HWY_INLINE GAMMA_BYTES make(const COLOR_PARAMS& p) {
        return {BYTES_IN::make(p), splat(p.pivot), splat(-p.gamma)};
    }
    HWY_INLINE V16 apply(V16 v) const { return bytes_out(parabola(in.luma(v), pivot, minus_gamma), in.chroma(v)); }
};

template <class OPERATION, COLOR_CASE KIND>
static void row_bytes(uint8_t* dst, const uint8_t* src, int n, const COLOR_PARAMS* params) {
    const OPERATION operation = OPERATION::make(*params);
    int i = 0;
    for (; i + int(STEP / 2) <= n; i += int(STEP / 2)) {
        const V16 v = hn::BitCast(D16(), hn::LoadU(D8(), src + i * 4));
        hn::StoreU(hn::BitCast(D8(), operation.apply(v)), D8(), dst + i * 4);
    }
    color_kernels_ref(PIXEL_SIZE_YUY2)->row[KIND](dst + i * 4, src + i * 4, n - i, params);
}

static constexpr COLOR_KERNELS YC48_KERNELS = {{row_words<BRIGHTEN_WORDS, COLOR_BRIGHTEN>,
                                                row_words<SCALE_WORDS, COLOR_SCALE>,
                                                row_words<GAMMA_WORDS, COLOR_GAMMA>, rgb_row_words}};
static constexpr COLOR_KERNELS YUY2_KERNELS = {{row_bytes<BRIGHTEN_BYTES, COLOR_BRIGHTEN>,
                                                row_bytes<SCALE_BYTES, COLOR_SCALE>,
                                                row_bytes<GAMMA_BYTES, COLOR_GAMMA>, rgb_row_bytes}};

static const COLOR_KERNELS* kernels(int pixel_size) {
    return pixel_size == PIXEL_SIZE_YUY2 ? &YUY2_KERNELS : &YC48_KERNELS;
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace color
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace color {
HWY_EXPORT(kernels);
static const COLOR_KERNELS* kernels_best(int pixel_size) { return HWY_DYNAMIC_DISPATCH(kernels)(pixel_size); }
}  // namespace color

const COLOR_KERNELS* color_kernels(int pixel_size) {
    return simd_enabled ? color::kernels_best(pixel_size) : color_kernels_ref(pixel_size);
}
#endif
