#include "support/kernel_test.h"

#include <hwy/highway.h>

#include <cstdlib>
#include <random>

#include "platform/simd.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#endif

RNG::RNG(uint64_t seed) : state(seed ? seed : 1) {
    for (int i = 0; i < 4; ++i) next();  // small seeds start poor in bits
}

uint64_t RNG::next() {
    state ^= state >> 12;
    state ^= state << 25;
    state ^= state >> 27;
    return state * 0x2545F4914F6CDD1DU;
}

static uint64_t seed_make() {
    const char* fixed = std::getenv("VANTEL_TEST_SEED");
    return fixed ? std::strtoull(fixed, nullptr, 0) : std::random_device{}();
}

uint64_t kernel_seed() {
    static const uint64_t seed = seed_make();
    return seed;
}

void kernel_for_each_target(const std::function<void(RNG& rng)>& func) {
    const bool simd_before = simd_enabled;
    simd_enabled = true;
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        testing::ScopedTrace trace(
            __FILE__, __LINE__,
            std::string("target ") + hwy::TargetName(target) + ", VANTEL_TEST_SEED=" + std::to_string(kernel_seed()));
        RNG rng(kernel_seed());
        func(rng);
        if (testing::Test::HasFatalFailure()) break;
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    simd_enabled = simd_before;
}

namespace kernel_test_detail {

static uint8_t guard_byte(size_t i) { return uint8_t(0xA5 ^ i * 7); }

void guard_write(uint8_t* guard, size_t size) {
    for (size_t i = 0; i < size; ++i) guard[i] = guard_byte(i);
}

bool guard_intact(const uint8_t* guard, size_t size) {
    for (size_t i = 0; i < size; ++i)
        if (guard[i] != guard_byte(i)) return false;
    return true;
}

void guard_close(const uint8_t* guard, size_t size) { ASAN_POISON_MEMORY_REGION(guard, size); }
void guard_open(const uint8_t* guard, size_t size) { ASAN_UNPOISON_MEMORY_REGION(guard, size); }

std::string value_text(int64_t want, int64_t got) {
    return "want " + std::to_string(want) + ", got " + std::to_string(got);
}

}  // namespace kernel_test_detail
