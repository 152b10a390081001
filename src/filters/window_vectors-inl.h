// Vector helpers shared by the row kernels of the spatial filters. Included once for each Highway target, after
// hwy/highway.h; has nothing for HWY_SCALAR, whose kernels are the scalar definitions.

#if defined(VANTEL_FILTERS_WINDOW_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VANTEL_FILTERS_WINDOW_VECTORS_INL_H
#undef VANTEL_FILTERS_WINDOW_VECTORS_INL_H
#else
#define VANTEL_FILTERS_WINDOW_VECTORS_INL_H
#endif

#include <utility>

#include "filters/window_taps.h"
#include "pixels/blocks-inl.h"

HWY_BEFORE_NAMESPACE();
namespace window {
namespace HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR
namespace hn = hwy::HWY_NAMESPACE;
using pixels::HWY_NAMESPACE::D16;
using pixels::HWY_NAMESPACE::D8;
using pixels::HWY_NAMESPACE::for_each_step;
using pixels::HWY_NAMESPACE::V16;
using pixels::HWY_NAMESPACE::V8;
using DU16 = hn::RebindToUnsigned<D16>;
using VU16 = hn::Vec<DU16>;

// A lambda that is called once for each neighbour must still become straight code.
#define WINDOW_BODY HWY_ATTR __attribute__((always_inline))

template <size_t FIRST, size_t... K, class BODY>
HWY_INLINE void for_each_index(std::index_sequence<K...>, const BODY& body) {
    (body(std::integral_constant<size_t, FIRST + K>()), ...);
}
/// Calls body(k) for k = FIRST .. LAST - 1, each a constant, as straight code.
template <size_t FIRST, size_t LAST, class BODY>
HWY_INLINE void for_each_index(const BODY& body) {
    for_each_index<FIRST>(std::make_index_sequence<LAST - FIRST>(), body);
}

/// The same vector, as a value that the compiler must have in a register here. It otherwise takes long sums apart,
/// works out all the terms first and runs out of registers, or reads the same bytes from memory twice.
template <class V>
HWY_INLINE V settled(V v) {
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128 && (HWY_COMPILER_GCC || HWY_COMPILER_CLANG)
    __asm__("" : "+x"(v.raw));
#endif
    return v;
}

/// The rows around a row of samples T, as addresses that may stay in registers.
template <int RADIUS, typename T>
struct WINDOW {
    static constexpr int REACH = window_reach(RADIUS);
    const uint8_t* rows[2 * REACH + 1];
    HWY_INLINE explicit WINDOW(const uint8_t* const* from) {
        for (int k = 0; k <= 2 * REACH; ++k) rows[k] = from[k];
    }
    /// A vector of samples `dx` steps and `dy` rows from byte i.
    HWY_INLINE hn::Vec<hn::Repartition<T, D16>> load(size_t i, int dx, int dy) const {
        const uint8_t* place = rows[REACH + dy] + i + dx * WINDOW_STEP<T>;
        return settled(hn::LoadU(hn::Repartition<T, D16>(), reinterpret_cast<const T*>(place)));
    }
    template <size_t K>
    HWY_INLINE auto tap(size_t i, std::integral_constant<size_t, K>) const {
        return load(i, WINDOW_TAPS<RADIUS>[K].dx, WINDOW_TAPS<RADIUS>[K].dy);
    }
};

// Bytes are taken as the low and the high halves of words: widening and narrowing move nothing between lanes. The low
// halves are the luma, the high ones the chroma.
HWY_INLINE V16 low_bytes(V8 v) { return hn::And(hn::BitCast(D16(), v), hn::Set(D16(), 255)); }
HWY_INLINE V16 high_bytes(V8 v) { return hn::BitCast(D16(), hn::ShiftRight<8>(hn::BitCast(DU16(), v))); }
HWY_INLINE V16 to8(V16 v) { return hn::Min(hn::Max(v, hn::Zero(D16())), hn::Set(D16(), 255)); }
HWY_INLINE V8 join_bytes(V16 low, V16 high) { return hn::BitCast(D8(), hn::Or(to8(low), hn::ShiftLeft<8>(to8(high)))); }

/// Adds bytes to the sums of both halves. Two sums are kept, of the words as they are and of the high halves; the low
/// halves follow at the end, modulo 65536: cheaper than to take each word apart.
HWY_INLINE void sum_bytes(V8 v, VU16& words, VU16& high) {
    words = settled(hn::Add(words, hn::BitCast(DU16(), v)));
    high = settled(hn::Add(high, hn::ShiftRight<8>(hn::BitCast(DU16(), v))));
}
HWY_INLINE V16 sum_of_low(VU16 words, VU16 high) { return hn::BitCast(D16(), hn::Sub(words, hn::ShiftLeft<8>(high))); }
HWY_INLINE V16 sum_of_high(VU16 high) { return hn::BitCast(D16(), high); }
#endif
}  // namespace HWY_NAMESPACE
}  // namespace window
HWY_AFTER_NAMESPACE();

#endif
