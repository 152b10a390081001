#include "pixels/yuy2_709_row.h"

#include "pixels/word_math.h"
#include "pixels/yuy2_chroma.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixels/yuy2_709_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixels/blocks-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixels {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static void yuy2_709_to_yc48(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs) {
    yuy2_709_row_to_yc48_ref(yc48, yuy2, pairs);
}
static void yc48_to_yuy2_709(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs) {
    yc48_row_to_yuy2_709_ref(yuy2, yc48, pairs);
}
#else
// Chroma lanes are U V U V ..; "own" is the factor of the lane's own sample, "other" that of its neighbour.
struct TO_YC48_TABLES {
    WORD_TABLE mask, centre, own, other, uv_to_y, black, luma_scale;
};
static constexpr TO_YC48_TABLES TO_YC48 = {word_table(0x3FC0),       word_table(8192),       word_table(18534, 18416),
                                           word_table(-2082, -1345), word_table(1902, 3672), word_table(1022),
                                           word_table(19152)};
static constexpr BYTE_TABLE SWAP = shuffle_table({1, 0, 3, 2, 5, 4, 7, 6});

// Samples are at most 16320 once scaled and every sum stays under 14000: no saturation, any order.
static void yuy2_709_to_yc48(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs) {
    const TO_YC48_TABLES* t = opaque(&TO_YC48);
    const auto load = [](const uint8_t* p) HWY_ATTR { return hn::BitCast(D16(), load_blocks(p, 16)); };
    const auto centred = [&](V16 v) HWY_ATTR { return hn::Sub(high_byte_64(v, t->mask), words(t->centre)); };
    const auto chroma = [&](V16 uv) HWY_ATTR {
        return hn::Add(hn::MulHigh(uv, words(t->own)), hn::MulHigh(shuffle(uv, SWAP), words(t->other)));
    };
    int16_t* out = &yc48->y;
    const auto body = [&](size_t i) HWY_ATTR {
        const V16 v = load(yuy2 + i * 4), next = load(yuy2 + i * 4 + 4);
        const V16 uv = centred(v);
        const V16 part = hn::MulHigh(uv, words(t->uv_to_y));
        const V16 luma = hn::MulHigh(hn::Sub(low_byte_64(v), words(t->black)), words(t->luma_scale));
        const V16 y = hn::Add(luma, hn::Add(part, shuffle(part, SWAP)));
        const V16 c = chroma(uv);
        store_yc48_pairs(y, c, hn::ShiftRight<1>(hn::Add(c, chroma(centred(next)))), out + i * 6);
    };
    // The last pair has no next one, so it is left to the definition.
    const int done = pairs ? int(for_each_step(size_t(pairs - 1), STEP / 2, body)) : 0;
    yuy2_709_row_to_yc48_ref(yc48 + done * 2, yuy2 + done * 4, pairs - done);
}

// Lanes of the result are Y0 U Y1 V, of the source pairs Y0 Cb Cr Y1: each result is a sum of up to three products.
static constexpr BYTE_TABLE FIRST = shuffle_table({0, 1, 3, 2, 4, 5, 7, 6});
static constexpr BYTE_TABLE SECOND = shuffle_table({1, 2, 1, 1, 5, 6, 5, 5});
static constexpr BYTE_TABLE THIRD = shuffle_table({2, 2, 2, 2, 6, 6, 6, 6});
struct TO_YUY2_TABLES {
    WORD_TABLE first, second, third, add;
};
static constexpr TO_YUY2_TABLES TO_YUY2 = {word_table(14016, 14602, 14016, 14699), word_table(-1655, 1642, -1655, 1076),
                                           word_table(-2980, 0), word_table(67, 514)};

static void yc48_to_yuy2_709(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs) {
    const TO_YUY2_TABLES* t = opaque(&TO_YUY2);
    const auto convert = [&](V16 v) HWY_ATTR {
        const V16 a = hn::MulHigh(shuffle(v, FIRST), words(t->first));
        const V16 b = hn::MulHigh(shuffle(v, SECOND), words(t->second));
        const V16 c = hn::MulHigh(shuffle(v, THIRD), words(t->third));
        return hn::ShiftRight<2>(hn::Add(hn::Add(a, b), hn::Add(c, words(t->add))));
    };
    const int16_t* in = &yc48->y;
    const auto body = [&](size_t i) HWY_ATTR {
        V16 low, high;
        load_yc48_pairs(in + i * 6, low, high);
        store_blocks(pack_blocks(convert(low), convert(high)), yuy2 + i * 4, 16);
    };
    const int done = int(for_each_step(size_t(pairs), STEP / 2, body));
    yc48_row_to_yuy2_709_ref(yuy2 + done * 4, yc48 + done * 2, pairs - done);
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace pixels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixels {
HWY_EXPORT(yuy2_709_to_yc48);
HWY_EXPORT(yc48_to_yuy2_709);
}  // namespace pixels

void yuy2_709_row_to_yc48_ref(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs) {
    for (int i = 0; i < pairs; ++i, yuy2 += 4) {
        const int u = yuy2[1] * 64 - 8192, v = yuy2[3] * 64 - 8192;
        const auto luma = [u, v](int s) {
            return word_add(word_add(word_mulhi(s * 64 - 1022, 19152), word_mulhi(u, 1902)), word_mulhi(v, 3672));
        };
        yc48[2 * i] = {luma(yuy2[0]), word_add(word_mulhi(u, 18534), word_mulhi(v, -2082)),
                       word_add(word_mulhi(u, -1345), word_mulhi(v, 18416))};
        yc48[2 * i + 1].y = luma(yuy2[2]);
    }
    yuy2_row_odd_chroma(yc48, pairs);
}

void yc48_row_to_yuy2_709_ref(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs) {
    for (int i = 0; i < pairs; ++i, yuy2 += 4) {
        const int cb = yc48[2 * i].cb, cr = yc48[2 * i].cr;
        const auto sum = [](int a, int b, int c, int add) {
            return word_to8(word_add(word_add(word_add(a, b), c), add) >> 2);
        };
        const auto luma = [&](int y) {
            return sum(word_mulhi(y, 14016), word_mulhi(cb, -1655), word_mulhi(cr, -2980), 67);
        };
        yuy2[0] = luma(yc48[2 * i].y);
        yuy2[1] = sum(word_mulhi(cb, 14602), word_mulhi(cr, 1642), 0, 514);
        yuy2[2] = luma(yc48[2 * i + 1].y);
        yuy2[3] = sum(word_mulhi(cb, 1076), word_mulhi(cr, 14699), 0, 514);
    }
}

void yuy2_709_row_to_yc48(YC48_PIXEL* yc48, const uint8_t* yuy2, int pairs) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::yuy2_709_to_yc48)(yc48, yuy2, pairs);
    else
        yuy2_709_row_to_yc48_ref(yc48, yuy2, pairs);
}

void yc48_row_to_yuy2_709(uint8_t* yuy2, const YC48_PIXEL* yc48, int pairs) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::yc48_to_yuy2_709)(yuy2, yc48, pairs);
    else
        yc48_row_to_yuy2_709_ref(yuy2, yc48, pairs);
}
#endif
