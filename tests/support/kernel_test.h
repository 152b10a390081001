#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

/// Helpers of the kernel tests: random and extreme rows between guard bytes, each vector target in turn.

/// A small fast generator (xorshift64*), the same on every machine for one seed.
struct RNG {
    uint64_t state;
    explicit RNG(uint64_t seed);
    uint64_t next();
    /// 0 .. n - 1; n above 0.
    uint32_t below(uint32_t n) { return uint32_t((next() >> 32) * n >> 32); }
    /// low .. high, both included.
    int between(int low, int high) { return low + int(below(uint32_t(high - low) + 1)); }
};

/// The seed of this run: $VANTEL_TEST_SEED, or a new one for each process. Printed by every failure inside
/// kernel_for_each_target.
uint64_t kernel_seed();

/// Calls func once for every Highway target that this program was compiled for and this machine can run, with
/// simd_enabled on and kernels bound to that target; each call gets a generator that starts from kernel_seed(). A
/// failed expectation inside prints target and seed; a fatal one ends the rest of the targets. Restores everything at
/// the end. Main thread.
void kernel_for_each_target(const std::function<void(RNG& rng)>& func);

/// Fills values by one of several characters chosen at random: evenly random, only extremes (the limits, 0, 1 and their
/// neighbours), one value throughout, small values around 0, a mixture.
template <typename T>
void rng_fill(std::span<T> values, RNG& rng) {
    static_assert(std::is_integral_v<T>);
    using LIMITS = std::numeric_limits<T>;
    const T extremes[] = {LIMITS::min(), T(LIMITS::min() + 1), T(-1), T(0), T(1), T(LIMITS::max() - 1), LIMITS::max()};
    const uint32_t character = rng.below(6);
    const T constant = rng.below(2) ? T(rng.next() >> 16) : extremes[rng.below(7)];
    for (T& value : values) {
        const uint32_t kind = character == 5 ? rng.below(4) : character;
        if (kind == 1)
            value = extremes[rng.below(7)];
        else if (kind == 2)
            value = T(rng.between(-40, 40));
        else if (kind == 3)
            value = constant;
        else
            value = T(rng.next() >> 16);  // 0 and 4
    }
}

namespace kernel_test_detail {
inline constexpr size_t GUARD_SIZE = 64;
void guard_write(uint8_t* guard, size_t size);         // a fixed pattern
bool guard_intact(const uint8_t* guard, size_t size);  // whether it is still there
void guard_close(const uint8_t* guard, size_t size);   // any access is a fault from now on (ASan builds)
void guard_open(const uint8_t* guard, size_t size);    // accesses are allowed again
std::string value_text(int64_t want, int64_t got);
}  // namespace kernel_test_detail

/// A row of n elements with guard bytes before and after it. In builds with AddressSanitizer the guards may not even be
/// read while the row lives; everywhere rows_equal and guards_intact find what was written into them. The row starts at
/// an address that is a multiple of 64 plus `offset` elements, so give an offset to try unaligned rows.
template <typename T>
struct GUARDED_ROW {
    /// Values are 0x5A bytes, the same in every row.
    explicit GUARDED_ROW(size_t n, size_t offset = 0)
        : size(n), head(kernel_test_detail::GUARD_SIZE + offset * sizeof(T)), storage(head + n * sizeof(T) + 2 * 64) {
        using namespace kernel_test_detail;
        base = storage.data() + (64 - reinterpret_cast<uintptr_t>(storage.data()) % 64) % 64;
        guard_write(base, head);
        std::fill_n(base + head, n * sizeof(T), uint8_t{0x5A});
        guard_write(tail(), GUARD_SIZE);
        guard_close(base, head);
        guard_close(tail(), GUARD_SIZE);
    }
    /// Random values (rng_fill) at a random offset of 0 .. 15 elements.
    GUARDED_ROW(size_t n, RNG& rng) : GUARDED_ROW(n, rng.below(16)) { rng_fill(span(), rng); }
    GUARDED_ROW(const GUARDED_ROW&) = delete;
    GUARDED_ROW& operator=(const GUARDED_ROW&) = delete;
    ~GUARDED_ROW() { kernel_test_detail::guard_open(storage.data(), storage.size()); }

    T* data() { return reinterpret_cast<T*>(base + head); }
    const T* data() const { return reinterpret_cast<const T*>(base + head); }
    std::span<T> span() { return {data(), size}; }
    T& operator[](size_t i) { return data()[i]; }
    const T& operator[](size_t i) const { return data()[i]; }

    bool guards_intact() const {
        using namespace kernel_test_detail;
        guard_open(base, head);
        guard_open(tail(), GUARD_SIZE);
        const bool intact = guard_intact(base, head) && guard_intact(tail(), GUARD_SIZE);
        guard_close(base, head);
        guard_close(tail(), GUARD_SIZE);
        return intact;
    }

    size_t size;

  private:
    uint8_t* tail() const { return base + head + size * sizeof(T); }
    size_t head;
    std::vector<uint8_t> storage;
    uint8_t* base;
};

/// Compares elements and looks at the guards of both rows; a failure tells the first element that differs.
template <typename T>
testing::AssertionResult rows_equal(const GUARDED_ROW<T>& want, const GUARDED_ROW<T>& got) {
    if (want.size != got.size) return testing::AssertionFailure() << "sizes " << want.size << " and " << got.size;
    for (size_t i = 0; i < want.size; ++i) {
        if (std::memcmp(want.data() + i, got.data() + i, sizeof(T)) == 0) continue;
        auto failure = testing::AssertionFailure() << "element " << i << " of " << want.size;
        if constexpr (std::is_integral_v<T>)
            failure << ": " << kernel_test_detail::value_text(int64_t(want[i]), int64_t(got[i]));
        return failure;
    }
    if (!want.guards_intact()) return testing::AssertionFailure() << "the wanted row's guards were overwritten";
    if (!got.guards_intact()) return testing::AssertionFailure() << "the row's guards were overwritten";
    return testing::AssertionSuccess();
}
