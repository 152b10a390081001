// Vector helpers shared by the row kernels: pixels of three components in and out of registers. Included once for each
// Highway target, after hwy/highway.h; has nothing for HWY_SCALAR, whose kernels are the scalar definitions.
//
// A vector is one or two blocks of 128 bits, and one pass of a kernel handles 8 pixels a block: a block of 16-bit lanes
// holds one component of 8 neighbouring pixels, the second block those of the next 8. All shuffles stay inside a block.

#if defined(VANTEL_PIXELS_BLOCKS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VANTEL_PIXELS_BLOCKS_INL_H
#undef VANTEL_PIXELS_BLOCKS_INL_H
#else
#define VANTEL_PIXELS_BLOCKS_INL_H
#endif

#include <cstddef>
#include <cstdint>

#include "pixels/block_tables.h"

HWY_BEFORE_NAMESPACE();
namespace pixels {
namespace HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR
namespace hn = hwy::HWY_NAMESPACE;

using D16 = hn::CappedTag<int16_t, 16>;
using D8 = hn::Repartition<uint8_t, D16>;
using V16 = hn::Vec<D16>;
using V8 = hn::Vec<D8>;

inline constexpr size_t BLOCK_N = hn::MaxLanes(D16()) / 8;  // blocks of a vector
inline constexpr size_t STEP = 8 * BLOCK_N;                 // pixels of a pass

/// Runs body(i) for i = 0, step, 2 * step ... and once more for the last `step` elements when some are left over, which
/// repeats a few of them with the same results. Returns the elements done: n, or 0 when n is below step.
template <class BODY>
HWY_INLINE size_t for_each_step(size_t n, size_t step, const BODY& body) {
    if (n < step) return 0;
    // One call of body, so that it is inlined and its constants stay in registers.
    for (size_t i = 0;; i = HWY_MIN(i + step, n - step)) {
        body(i);
        if (i == n - step) break;
    }
    return n;
}

/// Hides from the compiler what tables hold. It would otherwise build uniform constants from immediates, several
/// instructions each, and do so anew in every pass of a loop that is short of registers; a load costs nothing.
template <typename T>
HWY_INLINE const T* opaque(const T* table) {
#if HWY_COMPILER_GCC || HWY_COMPILER_CLANG
    __asm__("" : "+r"(table));
#endif
    return table;
}

HWY_INLINE V16 words(const WORD_TABLE& table) { return hn::Load(D16(), table.v); }

/// Shuffles inside each block.
HWY_INLINE V16 shuffle(V16 v, const BYTE_TABLE& table) {
    return hn::BitCast(D16(), hn::TableLookupBytes(hn::BitCast(D8(), v), hn::Load(D8(), table.v)));
}
HWY_INLINE V8 shuffle(V8 v, const BYTE_TABLE& table) { return hn::TableLookupBytes(v, hn::Load(D8(), table.v)); }
/// Bytes gathered from two sources: each table is NONE where the other is not.
HWY_INLINE V8 shuffle2(V8 a, const BYTE_TABLE& from_a, V8 b, const BYTE_TABLE& from_b) {
    return hn::Or(hn::TableLookupBytesOr0(a, hn::Load(D8(), from_a.v)),
                  hn::TableLookupBytesOr0(b, hn::Load(D8(), from_b.v)));
}

/// A vector whose first block is read at p and whose second, if any, at p + step. 16 bytes a block, any alignment.
template <typename T>
HWY_INLINE hn::Vec<hn::Repartition<T, D16>> load_blocks(const T* p, size_t step) {
    const hn::Repartition<T, D16> d;
    if constexpr (BLOCK_N == 1) {
        (void)step;
        return hn::LoadU(d, p);
    } else {
        const hn::Half<decltype(d)> block;
        return hn::Combine(d, hn::LoadU(block, p + step), hn::LoadU(block, p));
    }
}

template <typename T>
HWY_INLINE void store_blocks(hn::Vec<hn::Repartition<T, D16>> v, T* p, size_t step) {
    const hn::Repartition<T, D16> d;
    if constexpr (BLOCK_N == 1) {
        (void)step;
        hn::StoreU(v, d, p);
    } else {
        const hn::Half<decltype(d)> block;
        hn::StoreU(hn::LowerHalf(block, v), block, p);
        hn::StoreU(hn::UpperHalf(block, v), block, p + step);
    }
}

/// Words taken to 8 bits: in each block the bytes of low, then those of high.
HWY_INLINE V8 pack_blocks(V16 low, V16 high) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
    return V8{_mm256_packus_epi16(low.raw, high.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
    return V8{_mm_packus_epi16(low.raw, high.raw)};
#else
    static_assert(BLOCK_N == 1);
    const hn::Half<D8> half;
    return hn::Combine(D8(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
#endif
}

/// Bit i of LANES: lane i of each block comes from yes, else from no.
template <int LANES>
HWY_INLINE V16 pick(V16 yes, V16 no) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
    return V16{_mm256_blend_epi16(no.raw, yes.raw, LANES)};
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_SSE4
    return V16{_mm_blend_epi16(no.raw, yes.raw, LANES)};
#else
    static constexpr WORD_TABLE MASK = lanes_table(LANES);
    return hn::IfThenElse(hn::MaskFromVec(words(MASK)), yes, no);
#endif
}

// Words of 8 pixels lie as Y C R Y C R Y C | R Y C R Y C R Y | C R Y C R Y C R. In each of the three vectors the words
// of one component stand in lanes that the other two vectors leave free for it: so two picks gather a component, in an
// order that steps by 3 modulo 8, and one shuffle brings it into the order of the pixels. Writing is the same
// backwards; two of the shuffles are their own inverse.
inline constexpr int LANES_0_3_6 = 0b01001001, LANES_1_4_7 = 0b10010010, LANES_2_5 = 0b00100100;
inline constexpr BYTE_TABLE GATHER_0 = shuffle_table({0, 3, 6, 1, 4, 7, 2, 5});
inline constexpr BYTE_TABLE GATHER_1 = shuffle_table({1, 4, 7, 2, 5, 0, 3, 6});
inline constexpr BYTE_TABLE GATHER_2 = shuffle_table({2, 5, 0, 3, 6, 1, 4, 7});
inline constexpr BYTE_TABLE SPREAD_1 = shuffle_table({5, 0, 3, 6, 1, 4, 7, 2});

/// Reads STEP pixels of 3 words.
HWY_INLINE void load_yc48(const int16_t* p, V16& y, V16& cb, V16& cr) {
    const V16 v0 = load_blocks(p, 24), v1 = load_blocks(p + 8, 24), v2 = load_blocks(p + 16, 24);
    y = shuffle(pick<LANES_0_3_6>(v0, pick<LANES_1_4_7>(v1, v2)), GATHER_0);
    cb = shuffle(pick<LANES_1_4_7>(v0, pick<LANES_2_5>(v1, v2)), GATHER_1);
    cr = shuffle(pick<LANES_2_5>(v0, pick<LANES_0_3_6>(v1, v2)), GATHER_2);
}

/// Writes three vectors whose first blocks are one run of 24 words and whose second blocks are the next.
HWY_INLINE void store_runs(V16 v0, V16 v1, V16 v2, int16_t* p) {
    const D16 d;
    if constexpr (BLOCK_N == 1) {
        hn::StoreU(v0, d, p);
        hn::StoreU(v1, d, p + 8);
        hn::StoreU(v2, d, p + 16);
    } else {
        hn::StoreU(hn::ConcatLowerLower(d, v1, v0), d, p);
        hn::StoreU(hn::ConcatUpperLower(d, v0, v2), d, p + 16);
        hn::StoreU(hn::ConcatUpperUpper(d, v2, v1), d, p + 32);
    }
}

/// Writes STEP pixels of 3 words.
HWY_INLINE void store_yc48(V16 y, V16 cb, V16 cr, int16_t* p) {
    y = shuffle(y, GATHER_0);
    cb = shuffle(cb, SPREAD_1);
    cr = shuffle(cr, GATHER_2);
    store_runs(pick<LANES_0_3_6>(y, pick<LANES_1_4_7>(cb, cr)), pick<LANES_1_4_7>(y, pick<LANES_2_5>(cb, cr)),
               pick<LANES_2_5>(y, pick<LANES_0_3_6>(cb, cr)), p);
}

inline constexpr BYTE_TABLE BGR_LOW = shuffle_table({0, 3, 6, 9, 1, 4, 7, 10, 2, 5, 8, 11, 0, 0, 0, 0});
inline constexpr BYTE_TABLE BGR_HIGH = shuffle_table({4, 7, 10, 13, 5, 8, 11, 14, 6, 9, 12, 15, 0, 0, 0, 0});

/// Reads STEP pixels of B, G, R bytes; each word is its byte * 256 + low.
HWY_INLINE void load_bgr(const uint8_t* p, V8 low, V16& b, V16& g, V16& r) {
    const hn::Repartition<uint32_t, D16> d32;
    const auto w0 = hn::BitCast(d32, shuffle(load_blocks(p, 24), BGR_LOW));
    const auto w1 = hn::BitCast(d32, shuffle(load_blocks(p + 8, 24), BGR_HIGH));
    const V8 bg = hn::BitCast(D8(), hn::InterleaveLower(d32, w0, w1));
    const V8 rx = hn::BitCast(D8(), hn::InterleaveUpper(d32, w0, w1));
    b = hn::BitCast(D16(), hn::InterleaveLower(D8(), low, bg));
    g = hn::BitCast(D16(), hn::InterleaveUpper(D8(), low, bg));
    r = hn::BitCast(D16(), hn::InterleaveLower(D8(), low, rx));
}

// Bytes 0..15 and 8..23 of 8 pixels, out of B0..B7 G0..G7 and R0..R7.
inline constexpr BYTE_TABLE BG_TO_0 = shuffle_table({0, 8, NONE, 1, 9, NONE, 2, 10, NONE, 3, 11, NONE, 4, 12, NONE, 5});
inline constexpr BYTE_TABLE R_TO_0 =
    shuffle_table({NONE, NONE, 0, NONE, NONE, 1, NONE, NONE, 2, NONE, NONE, 3, NONE, NONE, 4, NONE});
inline constexpr BYTE_TABLE BG_TO_8 =
    shuffle_table({NONE, 3, 11, NONE, 4, 12, NONE, 5, 13, NONE, 6, 14, NONE, 7, 15, NONE});
inline constexpr BYTE_TABLE R_TO_8 =
    shuffle_table({2, NONE, NONE, 3, NONE, NONE, 4, NONE, NONE, 5, NONE, NONE, 6, NONE, NONE, 7});

/// Takes words to 8 bits and writes STEP pixels of B, G, R bytes, exactly.
HWY_INLINE void store_bgr(V16 b, V16 g, V16 r, uint8_t* p) {
    const V8 bg = pack_blocks(b, g), rr = pack_blocks(r, r);
    store_blocks(shuffle2(bg, BG_TO_0, rr, R_TO_0), p, 24);
    store_blocks(shuffle2(bg, BG_TO_8, rr, R_TO_8), p + 8, 24);
}

// 8 pixels of YC48 out of 4 YUY2 pairs: luma words Y0..Y7, chroma words U V U V .. of the even pixels, and those of the
// odd pixels. As above the three leave each other's lanes free once they are spread.
inline constexpr BYTE_TABLE SPREAD_EVEN = shuffle_table({3, 0, 1, 6, 7, 4, 5, 2});
inline constexpr BYTE_TABLE SPREAD_ODD = shuffle_table({4, 5, 2, 3, 0, 1, 6, 7});

/// Writes STEP pixels of 3 words.
HWY_INLINE void store_yc48_pairs(V16 y, V16 even, V16 odd, int16_t* p) {
    y = shuffle(y, GATHER_0);
    even = shuffle(even, SPREAD_EVEN);
    odd = shuffle(odd, SPREAD_ODD);
    store_runs(pick<LANES_0_3_6>(y, pick<0b10000110>(even, odd)), pick<LANES_1_4_7>(y, pick<0b01100001>(even, odd)),
               pick<LANES_2_5>(y, pick<0b00011000>(even, odd)), p);
}

/// Reads the words Y0 Cb0 Cr0 Y1 of the pixel pairs 0, 1 (low) and 2, 3 (high) of each block of 8 pixels.
HWY_INLINE void load_yc48_pairs(const int16_t* p, V16& low, V16& high) {
    const hn::Repartition<uint64_t, D16> pair;
    const auto join = [&](const int16_t* first, const int16_t* second) HWY_ATTR {
        return hn::BitCast(D16(), hn::OddEven(hn::BitCast(pair, load_blocks(second - 4, 24)),
                                              hn::BitCast(pair, load_blocks(first, 24))));
    };
    low = join(p, p + 6);
    high = join(p + 12, p + 18);
}

/// v & 255 of unsigned words, times 64.
HWY_INLINE V16 low_byte_64(V16 v) {
    const hn::RebindToUnsigned<D16> du;
    return hn::BitCast(D16(), hn::ShiftRight<2>(hn::BitCast(du, hn::ShiftLeft<8>(v))));
}
/// v >> 8 of unsigned words, times 64; the mask is 0x3FC0.
HWY_INLINE V16 high_byte_64(V16 v, const WORD_TABLE& mask) { return hn::And(hn::ShiftRight<2>(v), words(mask)); }
#endif
}  // namespace HWY_NAMESPACE
}  // namespace pixels
HWY_AFTER_NAMESPACE();

#endif
