#include "pixels/dib_expand.h"

#include <cstring>

#include "pixels/frame_buffer.h"
#include "platform/simd.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixels/dib_expand.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixels/blocks-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pixels {
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR
static void dib32_to_rgb(uint8_t* bgr, const uint8_t* bgrx, int width) { dib32_row_to_rgb_ref(bgr, bgrx, width); }
#else
// Bytes 0..15 and 8..23 of 8 pixels, out of pixels 0..3 and 4..7.
static constexpr BYTE_TABLE A_TO_0 = shuffle_table({0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, NONE, NONE, NONE, NONE});
static constexpr BYTE_TABLE B_TO_0 =
    shuffle_table({NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, 0, 1, 2, 4});
static constexpr BYTE_TABLE A_TO_8 =
    shuffle_table({10, 12, 13, 14, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE});
static constexpr BYTE_TABLE B_TO_8 = shuffle_table({NONE, NONE, NONE, NONE, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14});

static void dib32_to_rgb(uint8_t* bgr, const uint8_t* bgrx, int width) {
    const auto body = [&](size_t i) HWY_ATTR {
        const V8 a = load_blocks(bgrx + i * 4, 32), b = load_blocks(bgrx + i * 4 + 16, 32);
        store_blocks(shuffle2(a, A_TO_0, b, B_TO_0), bgr + i * 3, 24);
        store_blocks(shuffle2(a, A_TO_8, b, B_TO_8), bgr + i * 3 + 8, 24);
    };
    const int done = int(for_each_step(size_t(width), STEP, body));
    dib32_row_to_rgb_ref(bgr + done * 3, bgrx + done * 4, width - done);
}
#endif
}  // namespace HWY_NAMESPACE
}  // namespace pixels
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pixels {
HWY_EXPORT(dib32_to_rgb);
}  // namespace pixels

void dib32_row_to_rgb_ref(uint8_t* bgr, const uint8_t* bgrx, int width) {
    for (int i = 0; i < width; ++i, bgr += 3, bgrx += 4) {
        bgr[0] = bgrx[0];
        bgr[1] = bgrx[1];
        bgr[2] = bgrx[2];
    }
}

void dib32_row_to_rgb(uint8_t* bgr, const uint8_t* bgrx, int width) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(pixels::dib32_to_rgb)(bgr, bgrx, width);
    else
        dib32_row_to_rgb_ref(bgr, bgrx, width);
}

static void dib16_row_to_rgb(uint8_t* bgr, const uint8_t* row, int width) {
    for (int i = 0; i < width; ++i, bgr += 3, row += 2) {
        const int v = row[0] | row[1] << 8;
        bgr[0] = uint8_t(v << 3 & 0xF8);
        bgr[1] = uint8_t(v >> 2 & 0xF8);
        bgr[2] = uint8_t(v >> 7 & 0xF8);
    }
}

/// Indices of 1, 4 or 8 bits, the first pixel in the highest bits of its byte.
static void dib_palette_row_to_rgb(uint8_t* bgr, const uint8_t* row, const uint8_t* palette, int width, int bits) {
    const int per_byte = 8 / bits, mask = (1 << bits) - 1;
    for (int i = 0; i < width; ++i, bgr += 3) {
        const int shift = 8 - bits * (i % per_byte + 1);
        std::memcpy(bgr, palette + (row[i / per_byte] >> shift & mask) * 4, 3);
    }
}

void dib_to_rgb24(uint8_t* rgb, const uint8_t* dib, int w, int h, int bits) {
    if (w < 1 || h < 1) return;
    const auto rgb_stride = size_t(dib24_stride(w));
    const bool palette = bits == 1 || bits == 4 || bits == 8;
    if (!palette && bits != 16 && bits != 32) {
        std::memcpy(rgb, dib, rgb_stride * size_t(h));
        return;
    }
    const size_t stride = (size_t(w) * size_t(bits) + 31) / 32 * 4;
    const uint8_t* row = palette ? dib + (size_t{4} << bits) : dib;
    for (int i = 0; i < h; ++i, rgb += rgb_stride, row += stride) {
        if (palette)
            dib_palette_row_to_rgb(rgb, row, dib, w, bits);
        else if (bits == 16)
            dib16_row_to_rgb(rgb, row, w);
        else
            dib32_row_to_rgb(rgb, row, w);
    }
}
#endif
