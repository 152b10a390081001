// Row kernels of the colour conversions: the vector form of every target against the definition.

#include "pixels/dib_expand.h"
#include "pixels/rgb_row.h"
#include "pixels/rgb_yuy2_row.h"
#include "pixels/screen_row.h"
#include "pixels/yc48_709_row.h"
#include "pixels/yuy2_709_row.h"
#include "pixels/yuy2_row.h"
#include "support/kernel_test.h"

namespace {

using ROW = std::function<void(uint8_t* out, const uint8_t* in, int n)>;

struct ROW_KERNEL {
    const char* name;
    ROW fast, ref;
    size_t out_size, in_size;  // bytes of an element, which is a pixel or a pair
    size_t out_round;          // elements of the output come in groups of this many (pairs of pixels)
    bool words_in;             // the input consists of 16-bit words
};

/// Adapts a kernel with typed rows to ROW.
template <typename OUT, typename IN>
ROW row_of(void (*kernel)(OUT*, const IN*, int)) {
    return [kernel](uint8_t* out, const uint8_t* in, int n) {
        kernel(reinterpret_cast<OUT*>(out), reinterpret_cast<const IN*>(in), n);
    };
}

ROW in_place(void (*kernel)(uint8_t*, int)) {
    return [kernel](uint8_t* out, const uint8_t* in, int n) {
        std::copy_n(in, n * 4, out);
        kernel(out, n);
    };
}

const ROW_KERNEL KERNELS[] = {
    {"rgb_row_to_yc48", row_of(rgb_row_to_yc48), row_of(rgb_row_to_yc48_ref), 6, 3, 1, false},
    {"yc48_row_to_rgb", row_of(yc48_row_to_rgb), row_of(yc48_row_to_rgb_ref), 3, 6, 1, true},
    {"yuy2_row_to_yc48", row_of(yuy2_row_to_yc48), row_of(yuy2_row_to_yc48_ref), 12, 4, 1, false},
    {"yc48_row_to_yuy2", row_of(yc48_row_to_yuy2), row_of(yc48_row_to_yuy2_ref), 4, 12, 1, true},
    {"yuy2_row_clamp_limit", in_place(yuy2_row_clamp_limit), in_place(yuy2_row_clamp_limit_ref), 4, 4, 1, false},
    {"yuy2_709_row_to_yc48", row_of(yuy2_709_row_to_yc48), row_of(yuy2_709_row_to_yc48_ref), 12, 4, 1, false},
    {"yc48_row_to_yuy2_709", row_of(yc48_row_to_yuy2_709), row_of(yc48_row_to_yuy2_709_ref), 4, 12, 1, true},
    {"yc48_709_row_to_yc48", row_of(yc48_709_row_to_yc48), row_of(yc48_709_row_to_yc48_ref), 6, 6, 1, true},
    {"yc48_row_to_yc48_709", row_of(yc48_row_to_yc48_709), row_of(yc48_row_to_yc48_709_ref), 6, 6, 1, true},
    {"rgb_row_to_yuy2", row_of(rgb_row_to_yuy2), row_of(rgb_row_to_yuy2_ref), 2, 3, 2, false},
    {"yuy2_row_to_rgb", row_of(yuy2_row_to_rgb), row_of(yuy2_row_to_rgb_ref), 3, 2, 1, false},
    {"rgb_row_to_screen", row_of(rgb_row_to_screen), row_of(rgb_row_to_screen_ref), 4, 3, 1, false},
    {"dib32_row_to_rgb", row_of(dib32_row_to_rgb), row_of(dib32_row_to_rgb_ref), 3, 4, 1, false},
};

constexpr size_t ALL_WORDS = 65536;

/// One random row through both forms, each at an address that its words allow. A component of 0 .. 2, in a row of
/// ALL_WORDS pixels, takes all values.
void compare_row(const ROW_KERNEL& kernel, size_t n, RNG& rng, size_t component = 3) {
    const size_t groups = (n + kernel.out_round - 1) / kernel.out_round;
    const size_t out_bytes = groups * kernel.out_round * kernel.out_size;
    // A YUY2 row ends in a whole pair also where a kernel counts pixels.
    const size_t in_bytes = kernel.in_size == 2 ? (n + 1) / 2 * 4 : n * kernel.in_size;
    GUARDED_ROW<uint8_t> in(in_bytes, rng.below(8) * 2);
    const std::span words(reinterpret_cast<int16_t*>(in.data()), in_bytes / 2);
    kernel.words_in ? rng_fill(words, rng) : rng_fill(in.span(), rng);
    for (size_t i = 0; component < 3 && i < ALL_WORDS; ++i) words[i * 3 + component] = int16_t(i);
    const size_t offset = kernel.out_size == 4 ? rng.below(4) * 4 : rng.below(8) * 2;
    GUARDED_ROW<uint8_t> want(out_bytes, offset), got(out_bytes, offset);
    kernel.ref(want.data(), in.data(), int(n));
    kernel.fast(got.data(), in.data(), int(n));
    ASSERT_TRUE(rows_equal(want, got)) << kernel.name << " n " << n;
}

TEST(ConvertRow, MatchesDefinitionOnEveryTarget) {
    kernel_for_each_target([](RNG& rng) {
        for (const ROW_KERNEL& kernel : KERNELS) {
            for (size_t n = 0; n <= 130; ++n)
                for (int round = 0; round < 8; ++round) ASSERT_NO_FATAL_FAILURE(compare_row(kernel, n, rng));
            for (int round = 0; round < 20; ++round) ASSERT_NO_FATAL_FAILURE(compare_row(kernel, 4099, rng));
            for (size_t component = 0; component < 3 && kernel.words_in; ++component)
                ASSERT_NO_FATAL_FAILURE(compare_row(kernel, ALL_WORDS * 6 / kernel.in_size, rng, component));
        }
    });
}

}  // namespace
