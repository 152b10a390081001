#include "pixels/screen_row.h"

#include <algorithm>

#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixels/screen_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixels/blocks-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixels {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static void rgb_to_screen(uint32_t* screen, const uint8_t* bgr, int width) {
    rgb_row_to_screen_ref(screen, bgr, width);
}
#else
static constexpr BYTE_TABLE BGR_TO_WORDS =
    shuffle_table({0, 1, 2, NONE, 3, 4, 5, NONE, 6, 7, 8, NONE, 9, 10, 11, NONE});

static void rgb_to_screen(uint32_t* screen, const uint8_t* bgr, int width) {
    // A block reads 16 bytes for 12, so the last two pixels are left to the definition.
    constexpr int READ_AHEAD = 2;
    const V8 opacity = hn::BitCast(D8(), hn::Set(hn::Repartition<uint32_t, D8>(), 0xFF000000));
    const auto body = [&](size_t i) HWY_ATTR {
        const V8 pixels = hn::TableLookupBytesOr0(load_blocks(bgr + i * 3, 12), hn::Load(D8(), BGR_TO_WORDS.v));
        hn::StoreU(hn::Or(pixels, opacity), D8(), reinterpret_cast<uint8_t*>(screen + i));
    };
    const int done = int(for_each_step(size_t(std::max(width - READ_AHEAD, 0)), STEP / 2, body));
    rgb_row_to_screen_ref(screen + done, bgr + done * 3, width - done);
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace pixels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixels {
HWY_EXPORT(rgb_to_screen);
}  // namespace pixels

void rgb_row_to_screen_ref(uint32_t* screen, const uint8_t* bgr, int width) {
    for (int i = 0; i < width; ++i, bgr += 3)
        screen[i] = uint32_t(bgr[0]) | uint32_t(bgr[1]) << 8 | uint32_t(bgr[2]) << 16 | 0xFF000000;
}

void rgb_row_to_screen(uint32_t* screen, const uint8_t* bgr, int width) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::rgb_to_screen)(screen, bgr, width);
    else
        rgb_row_to_screen_ref(screen, bgr, width);
}
#endif
