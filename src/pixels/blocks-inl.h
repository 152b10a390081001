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

/// Hides from the compiler what a table holds. It would otherwise build constants from immediates, several instructions
/// each, and do so anew in every pass of a loop that is short of registers; a load is one.
template <typename T>
HWY_INLINE const T* opaque(const T* table) {
#if HWY_COMPILER_GCC || HWY_COMPILER_CLANG
    __asm__("" : "+r"(table));
#endif
    return table;
}

/// The same 8 words, or 16 bytes, in each block.
HWY_INLINE V16 words(const int16_t (&table)[8]) { return hn::LoadDup128(D16(), opaque(table)); }
HWY_INLINE V8 bytes(const uint8_t (&table)[16]) { return hn::LoadDup128(D8(), opaque(table)); }

/// The same word in each lane.
template <int VALUE>
HWY_INLINE V16 word() {
    alignas(16) static constexpr int16_t TABLE[8] = {VALUE, VALUE, VALUE, VALUE, VALUE, VALUE, VALUE, VALUE};
    return words(TABLE);
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

/// Lane i takes lane table[i] of its block.
HWY_INLINE V16 shuffle(V16 v, const int16_t (&table)[8]) { return hn::TableLookupBytes(v, words(table)); }

/// The shuffle byte pairs that fetch word n, for tables of shuffle().
constexpr int16_t lane(int n) { return int16_t((2 * n + 1) << 8 | 2 * n); }

/// Lanes chosen by 3 masks that exclude each other: where `first` holds a, where `second` holds b, else c.
HWY_INLINE V16 choose(V16 first, V16 a, V16 second, V16 b, V16 c) {
    return hn::IfThenElse(hn::MaskFromVec(first), a, hn::IfThenElse(hn::MaskFromVec(second), b, c));
}

// Words of 8 pixels lie as Y C R Y C R Y C | R Y C R Y C R Y | C R Y C R Y C R. In each of the three vectors the words
// of one component stand in lanes that the other two vectors leave free for it: so two blends gather a component, in an
// order that steps by 3 modulo 8, and one shuffle brings it into the order of the pixels. Writing is the same
// backwards.
alignas(16) inline constexpr int16_t LANES_0_3_6[8] = {-1, 0, 0, -1, 0, 0, -1, 0};
alignas(16) inline constexpr int16_t LANES_1_4_7[8] = {0, -1, 0, 0, -1, 0, 0, -1};
alignas(16) inline constexpr int16_t LANES_2_5[8] = {0, 0, -1, 0, 0, -1, 0, 0};
alignas(16) inline constexpr int16_t GATHER_0[8] = {lane(0), lane(3), lane(6), lane(1),
                                                    lane(4), lane(7), lane(2), lane(5)};
alignas(16) inline constexpr int16_t GATHER_1[8] = {lane(1), lane(4), lane(7), lane(2),
                                                    lane(5), lane(0), lane(3), lane(6)};
alignas(16) inline constexpr int16_t GATHER_2[8] = {lane(2), lane(5), lane(0), lane(3),
                                                    lane(6), lane(1), lane(4), lane(7)};
alignas(16) inline constexpr int16_t SPREAD_1[8] = {lane(5), lane(0), lane(3), lane(6),
                                                    lane(1), lane(4), lane(7), lane(2)};

/// Reads STEP pixels of 3 words.
HWY_INLINE void load_yc48(const int16_t* p, V16& y, V16& cb, V16& cr) {
    const V16 m0 = words(LANES_0_3_6), m1 = words(LANES_1_4_7), m2 = words(LANES_2_5);
    const V16 v0 = load_blocks(p, 24), v1 = load_blocks(p + 8, 24), v2 = load_blocks(p + 16, 24);
    y = shuffle(choose(m0, v0, m1, v1, v2), GATHER_0);
    cb = shuffle(choose(m1, v0, m2, v1, v2), GATHER_1);
    cr = shuffle(choose(m2, v0, m0, v1, v2), GATHER_2);
}

/// Writes STEP pixels of 3 words.
HWY_INLINE void store_yc48(V16 y, V16 cb, V16 cr, int16_t* p) {
    const V16 m0 = words(LANES_0_3_6), m1 = words(LANES_1_4_7), m2 = words(LANES_2_5);
    y = shuffle(y, GATHER_0);
    cb = shuffle(cb, SPREAD_1);
    cr = shuffle(cr, GATHER_2);
    store_blocks(choose(m0, y, m1, cb, cr), p, 24);
    store_blocks(choose(m1, y, m2, cb, cr), p + 8, 24);
    store_blocks(choose(m2, y, m0, cb, cr), p + 16, 24);
}

inline constexpr uint8_t NONE = 0x80;  // a shuffled byte that becomes 0
alignas(16) inline constexpr uint8_t BGR_LOW[16] = {0, 3, 6, 9, 1, 4, 7, 10, 2, 5, 8, 11, NONE, NONE, NONE, NONE};
alignas(16) inline constexpr uint8_t BGR_HIGH[16] = {4, 7, 10, 13, 5, 8, 11, 14, 6, 9, 12, 15, NONE, NONE, NONE, NONE};

/// Reads STEP pixels of B, G, R bytes; each word is its byte * 256 + low, `low` being the same byte everywhere.
HWY_INLINE void load_bgr(const uint8_t* p, V8 low, V16& b, V16& g, V16& r) {
    const hn::Repartition<uint32_t, D16> d32;
    const D16 d16;
    const auto w0 = hn::BitCast(d32, hn::TableLookupBytes(load_blocks(p, 24), bytes(BGR_LOW)));
    const auto w1 = hn::BitCast(d32, hn::TableLookupBytes(load_blocks(p + 8, 24), bytes(BGR_HIGH)));
    const V8 bg = hn::BitCast(D8(), hn::InterleaveLower(d32, w0, w1));
    const V8 r0 = hn::BitCast(D8(), hn::InterleaveUpper(d32, w0, w1));
    b = hn::BitCast(d16, hn::InterleaveLower(D8(), low, bg));
    g = hn::BitCast(d16, hn::InterleaveUpper(D8(), low, bg));
    r = hn::BitCast(d16, hn::InterleaveLower(D8(), low, r0));
}

// Bytes 0..15 and 8..23 of 8 pixels, out of B0..B7 G0..G7 and R0..R7.
alignas(16) inline constexpr uint8_t BG_TO_0[16] = {0, 8, NONE, 1, 9, NONE, 2, 10, NONE, 3, 11, NONE, 4, 12, NONE, 5};
alignas(16) inline constexpr uint8_t R_TO_0[16] = {NONE, NONE, 0,    NONE, NONE, 1,    NONE, NONE,
                                                   2,    NONE, NONE, 3,    NONE, NONE, 4,    NONE};
alignas(16) inline constexpr uint8_t BG_TO_8[16] = {NONE, 3,    11, NONE, 4,    12, NONE, 5,
                                                    13,   NONE, 6,  14,   NONE, 7,  15,   NONE};
alignas(16) inline constexpr uint8_t R_TO_8[16] = {2,    NONE, NONE, 3,    NONE, NONE, 4,    NONE,
                                                   NONE, 5,    NONE, NONE, 6,    NONE, NONE, 7};

/// Takes words to 8 bits and writes STEP pixels of B, G, R bytes, exactly.
HWY_INLINE void store_bgr(V16 b, V16 g, V16 r, uint8_t* p) {
    const V8 bg = pack_blocks(b, g), rr = pack_blocks(r, r);
    store_blocks(hn::Or(hn::TableLookupBytesOr0(bg, bytes(BG_TO_0)), hn::TableLookupBytesOr0(rr, bytes(R_TO_0))), p,
                 24);
    store_blocks(hn::Or(hn::TableLookupBytesOr0(bg, bytes(BG_TO_8)), hn::TableLookupBytesOr0(rr, bytes(R_TO_8))), p + 8,
                 24);
}
// 8 pixels of YC48 out of 4 YUY2 pairs: luma words Y0..Y7, chroma words U V U V .. of the even pixels, and those of the
// odd pixels. As above the three leave each other's lanes free once they are spread.
alignas(16) inline constexpr int16_t LANES_Y[3][8] = {
    {-1, 0, 0, -1, 0, 0, -1, 0}, {0, -1, 0, 0, -1, 0, 0, -1}, {0, 0, -1, 0, 0, -1, 0, 0}};
alignas(16) inline constexpr int16_t LANES_EVEN[3][8] = {
    {0, -1, -1, 0, 0, 0, 0, -1}, {-1, 0, 0, 0, 0, -1, -1, 0}, {0, 0, 0, -1, -1, 0, 0, 0}};
alignas(16) inline constexpr int16_t SPREAD_EVEN[8] = {lane(3), lane(0), lane(1), lane(6),
                                                       lane(7), lane(4), lane(5), lane(2)};
alignas(16) inline constexpr int16_t SPREAD_ODD[8] = {lane(4), lane(5), lane(2), lane(3),
                                                      lane(0), lane(1), lane(6), lane(7)};

/// Writes STEP pixels of 3 words.
HWY_INLINE void store_yc48_pairs(V16 y, V16 even, V16 odd, int16_t* p) {
    y = shuffle(y, GATHER_0);
    even = shuffle(even, SPREAD_EVEN);
    odd = shuffle(odd, SPREAD_ODD);
    for (size_t k = 0; k < 3; ++k)
        store_blocks(choose(words(LANES_Y[k]), y, words(LANES_EVEN[k]), even, odd), p + 8 * k, 24);
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

/// v >> 8 and v & 255 of unsigned words, times 64.
HWY_INLINE V16 high_byte_64(V16 v) { return hn::And(hn::ShiftRight<2>(v), word<0x3FC0>()); }
HWY_INLINE V16 low_byte_64(V16 v) { return hn::ShiftLeft<6>(hn::And(v, word<0xFF>())); }
#endif
}  // namespace HWY_NAMESPACE
}  // namespace pixels
HWY_AFTER_NAMESPACE();

#endif
