#include "pixels/yuy2_row.h"

#include "pixels/word_math.h"
#include "pixels/yuy2_chroma.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixels/yuy2_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixels/blocks-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixels {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static void yuy2_to_yc48(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs) { yuy2_row_to_yc48_ref(yc48, yuy2, pairs); }
static void yc48_to_yuy2(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs) { yc48_row_to_yuy2_ref(yuy2, yc48, pairs); }
static void clamp_limit(uint8_t* yuy2, int pairs) { yuy2_row_clamp_limit_ref(yuy2, pairs); }
#else
struct TO_YC48_TABLES {
    WORD_TABLE mask, luma_scale, luma_base, chroma_scale, chroma_base;
};
static constexpr TO_YC48_TABLES TO_YC48 = {word_table(0x3FC0), word_table(19152), word_table(299), word_table(18725),
                                           word_table(2340)};

static void yuy2_to_yc48(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs) {
    const TO_YC48_TABLES* t = opaque(&TO_YC48);
    const auto load = [](const uint8_t* p) HWY_ATTR { return hn::BitCast(D16(), load_blocks(p, 16)); };
    const auto chroma = [&](V16 v) HWY_ATTR {
        return hn::Sub(hn::MulHigh(high_byte_64(v, t->mask), words(t->chroma_scale)), words(t->chroma_base));
    };
    int16_t* out = &yc48->y;
    const auto body = [&](size_t i) HWY_ATTR {
        const V16 v = load(yuy2 + i * 4), next = load(yuy2 + i * 4 + 4);
        const V16 y = hn::Sub(hn::MulHigh(low_byte_64(v), words(t->luma_scale)), words(t->luma_base));
        const V16 c = chroma(v);
        store_yc48_pairs(y, c, hn::ShiftRight<1>(hn::Add(c, chroma(next))), out + i * 6);
    };
    // The last pair has no next one, so it is left to the definition.
    const int done = pairs ? int(for_each_step(size_t(pairs - 1), STEP / 2, body)) : 0;
    yuy2_row_to_yc48_ref(yc48 + done * 2, yuy2 + done * 4, pairs - done);
}

struct TO_YUY2_TABLES {
    WORD_TABLE add, scale;
};
static constexpr TO_YUY2_TABLES TO_YUY2 = {word_table(301, 2350, 2350, 301), word_table(14016, 14336, 14336, 14016)};
static constexpr BYTE_TABLE YUVY_TO_YUYV = shuffle_table({0, 1, 3, 2, 4, 5, 7, 6, 8, 9, 11, 10, 12, 13, 15, 14});

static void yc48_to_yuy2(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs) {
    const TO_YUY2_TABLES* t = opaque(&TO_YUY2);
    const auto convert = [&](V16 v) HWY_ATTR {
        return hn::ShiftRight<2>(hn::MulHigh(hn::SaturatedAdd(v, words(t->add)), words(t->scale)));
    };
    const int16_t* in = &yc48->y;
    const auto body = [&](size_t i) HWY_ATTR {
        V16 low, high;
        load_yc48_pairs(in + i * 6, low, high);
        store_blocks(shuffle(pack_blocks(convert(low), convert(high)), YUVY_TO_YUYV), yuy2 + i * 4, 16);
    };
    const int done = int(for_each_step(size_t(pairs), STEP / 2, body));
    yc48_row_to_yuy2_ref(yuy2 + done * 4, yc48 + done * 2, pairs - done);
}

static void clamp_limit(uint8_t* yuy2, int pairs) {
    const D8 d8;
    const D16 d;
    const auto both = [&](int luma, int chroma)
                          HWY_ATTR { return hn::BitCast(d8, hn::Set(d, int16_t(chroma << 8 | luma))); };
    const V8 up = both(20, 15), down = both(36, 31), base = both(16, 16);
    const auto body = [&](size_t i) HWY_ATTR {
        const V8 v = hn::LoadU(d8, yuy2 + i * 4);
        hn::StoreU(hn::SaturatedAdd(hn::SaturatedSub(hn::SaturatedAdd(v, up), down), base), d8, yuy2 + i * 4);
    };
    const int done = int(for_each_step(size_t(pairs), STEP / 2, body));
    yuy2_row_clamp_limit_ref(yuy2 + done * 4, pairs - done);
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace pixels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixels {
HWY_EXPORT(yuy2_to_yc48);
HWY_EXPORT(yc48_to_yuy2);
HWY_EXPORT(clamp_limit);
}  // namespace pixels

void yuy2_row_to_yc48_ref(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs) {
    const auto luma = [](int s) { return word_sub(word_mulhi(s * 64, 19152), 299); };
    const auto chroma = [](int s) { return word_sub(word_mulhi(s * 64, 18725), 2340); };
    for (int i = 0; i < pairs; ++i) {
        const uint8_t* p = yuy2 + i * 4;
        yc48[2 * i] = {luma(p[0]), chroma(p[1]), chroma(p[3])};
        yc48[2 * i + 1].y = luma(p[2]);
    }
    yuy2_row_odd_chroma(yc48, pairs);
}

void yc48_row_to_yuy2_ref(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs) {
    const auto luma = [](int v) { return word_to8(word_mulhi(word_add(v, 301), 14016) >> 2); };
    const auto chroma = [](int v) { return word_to8(word_mulhi(word_add(v, 2350), 14336) >> 2); };
    for (int i = 0; i < pairs; ++i, yuy2 += 4) {
        const YC48_PIXEL even = yc48[2 * i];
        yuy2[0] = luma(even.y);
        yuy2[1] = chroma(even.cb);
        yuy2[2] = luma(yc48[2 * i + 1].y);
        yuy2[3] = chroma(even.cr);
    }
}

void yuy2_row_clamp_limit_ref(uint8_t* yuy2, int pairs) {
    for (int i = 0; i < 4 * pairs; i += 2) {
        yuy2[i] = std::clamp(yuy2[i], uint8_t{16}, uint8_t{235});
        yuy2[i + 1] = std::clamp(yuy2[i + 1], uint8_t{16}, uint8_t{240});
    }
}

void yuy2_row_to_yc48(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::yuy2_to_yc48)(yc48, yuy2, pairs);
    else
        yuy2_row_to_yc48_ref(yc48, yuy2, pairs);
}

void yc48_row_to_yuy2(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::yc48_to_yuy2)(yuy2, yc48, pairs);
    else
        yc48_row_to_yuy2_ref(yuy2, yc48, pairs);
}

void yuy2_row_clamp_limit(uint8_t* yuy2, int pairs) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::clamp_limit)(yuy2, pairs);
    else
        yuy2_row_clamp_limit_ref(yuy2, pairs);
}
#endif
