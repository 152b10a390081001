#include "pixels/rect.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "pixels/rect.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "pixels/frame_buffer.h"
#include "pixels/word_math.h"
#include "platform/simd.h"

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

static void blend_yc48(int16_t* dst, const int16_t* src, size_t n, int transparency) {
    const hn::ScalableTag<int16_t> d;
    const auto weight_src = hn::Set(d, int16_t((4096 - transparency) * 4));
    const auto weight_dst = hn::Set(d, int16_t(transparency * 4));
    const auto quad = [](auto v) {
        const auto twice = hn::SaturatedAdd(v, v);
        return hn::SaturatedAdd(twice, twice);
    };
    size_t i = 0;
    for (; i + hn::Lanes(d) <= n; i += hn::Lanes(d)) {
        const auto a = hn::MulHigh(quad(hn::LoadU(d, src + i)), weight_src);
        const auto b = hn::MulHigh(quad(hn::LoadU(d, dst + i)), weight_dst);
        hn::StoreU(hn::SaturatedAdd(a, b), d, dst + i);
    }
    rect_blend_row_yc48_ref(dst + i, src + i, n - i, transparency);
}

static void blend_yuy2(uint8_t* dst, const uint8_t* src, size_t n, int transparency) {
    const hn::ScalableTag<int16_t> d;
    const hn::Rebind<uint8_t, decltype(d)> d8;
    const auto weight_src = hn::Set(d, int16_t((4096 - transparency) * 4));
    const auto weight_dst = hn::Set(d, int16_t(transparency * 4));
    size_t i = 0;
    for (; i + hn::Lanes(d) <= n; i += hn::Lanes(d)) {
        const auto a = hn::ShiftLeft<2>(hn::PromoteTo(d, hn::LoadU(d8, src + i)));
        const auto b = hn::ShiftLeft<2>(hn::PromoteTo(d, hn::LoadU(d8, dst + i)));
        const auto sum = hn::Add(hn::MulHigh(a, weight_src), hn::MulHigh(b, weight_dst));
        hn::StoreU(hn::DemoteTo(d8, sum), d8, dst + i);
    }
    rect_blend_row_yuy2_ref(dst + i, src + i, n - i, transparency);
}

}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include <algorithm>
#include <cstring>

HWY_EXPORT(blend_yc48);
HWY_EXPORT(blend_yuy2);

void rect_blend_row_yc48_ref(int16_t* dst, const int16_t* src, size_t n, int transparency) {
    const auto weight_src = int16_t((4096 - transparency) * 4);
    const auto weight_dst = int16_t(transparency * 4);
    for (size_t i = 0; i < n; ++i) dst[i] = word_mix(src[i], weight_src, dst[i], weight_dst);
}

void rect_blend_row_yuy2_ref(uint8_t* dst, const uint8_t* src, size_t n, int transparency) {
    const auto weight_src = int16_t((4096 - transparency) * 4);
    const auto weight_dst = int16_t(transparency * 4);
    for (size_t i = 0; i < n; ++i) dst[i] = word_to8(word_mix(src[i], weight_src, dst[i], weight_dst));
}

void rect_blend_row_yc48(int16_t* dst, const int16_t* src, size_t n, int transparency) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(blend_yc48)(dst, src, n, transparency);
    else
        rect_blend_row_yc48_ref(dst, src, n, transparency);
}

void rect_blend_row_yuy2(uint8_t* dst, const uint8_t* src, size_t n, int transparency) {
    if (simd_enabled)
        HWY_DYNAMIC_DISPATCH(blend_yuy2)(dst, src, n, transparency);
    else
        rect_blend_row_yuy2_ref(dst, src, n, transparency);
}

static bool is_yuy2() { return frame_geometry.pixel_size == PIXEL_SIZE_YUY2; }

/// The repeated unit: a pixel of YC48 (6 bytes) or a pair of YUY2 (4 bytes).
static size_t unit_size() { return is_yuy2() ? 4 : sizeof(YC48_PIXEL); }
static size_t unit_count(int pixels) { return size_t(is_yuy2() ? (pixels + 1) / 2 : pixels); }
static size_t row_bytes_of(int w) { return unit_count(w) * unit_size(); }

void rect_copy_strided(void* dst, const void* src, size_t row_bytes, int rows, ptrdiff_t dst_stride,
                       ptrdiff_t src_stride) {
    const auto copy = [&](ROW_RANGE range) {
        for (ptrdiff_t row = range.begin; row < range.end; ++row)
            std::memmove(static_cast<uint8_t*>(dst) + row * dst_stride,
                         static_cast<const uint8_t*>(src) + row * src_stride, row_bytes);
    };
    if (rows > 0) rect_bands(rows, rows >= RECT_BAND_ROWS, copy);
}

void frame_copy_rows(uint8_t* dst, const uint8_t* a, const uint8_t* b, int w, int h, int step) {
    if (w <= 0 || h <= 0 || step <= 0) return;
    const int rows = (h - 1) / step + 1;
    const ptrdiff_t distance = ptrdiff_t{frame_geometry.stride} * step;
    const size_t bytes = row_bytes_of(w);
    const uint8_t* sources[2] = {a, b && step % 2 ? b : a};
    rect_bands(rows, h >= RECT_BAND_ROWS, [&](ROW_RANGE range) {
        for (int i = range.begin; i < range.end; ++i)
            std::memmove(dst + i * distance, sources[i % 2] + i * distance, bytes);
    });
}

void frame_blend_rows(uint8_t* dst, const uint8_t* src, int w, int h, int transparency) {
    if (w <= 0 || h <= 0) return;
    const int t = std::clamp(transparency, 0, 4096);
    const size_t bytes = row_bytes_of(w);
    rect_bands(h, h >= RECT_BAND_ROWS, [=](ROW_RANGE range) {
        for (ptrdiff_t row = range.begin; row < range.end; ++row) {
            uint8_t* to = dst + row * frame_geometry.stride;
            const uint8_t* from = src + row * frame_geometry.stride;
            if (is_yuy2())
                rect_blend_row_yuy2(to, from, bytes, t);
            else
                rect_blend_row_yc48(reinterpret_cast<int16_t*>(to), reinterpret_cast<const int16_t*>(from), bytes / 2,
                                    t);
        }
    });
}

static void fill_row_blank(uint8_t* row, size_t bytes) {
    std::memset(row, 0, bytes);
    if (!is_yuy2()) return;
    for (size_t i = 1; i < bytes; i += 2) row[i] = 128;
}

void frame_fill_blank(uint8_t* dst, int w, int h) {
    if (w <= 0 || h <= 0) return;
    const size_t bytes = row_bytes_of(w);
    rect_bands(h, h >= RECT_BAND_ROWS, [=](ROW_RANGE range) {
        for (ptrdiff_t row = range.begin; row < range.end; ++row)
            fill_row_blank(dst + row * frame_geometry.stride, bytes);
    });
}

void frame_pad_edges(uint8_t* frame, int w, int h, int n) {
    if (w <= 0 || h <= 0 || n <= 0) return;
    const size_t unit = unit_size();
    const size_t margin_units = unit_count(n);
    const size_t width = row_bytes_of(w);
    const size_t margin = margin_units * unit;
    const ptrdiff_t stride = frame_geometry.stride;
    for (ptrdiff_t row = 0; row < h; ++row) {
        uint8_t* left = frame + row * stride;
        uint8_t* right = left + width;
        for (size_t i = 1; i <= margin_units; ++i) {
            std::memcpy(left - i * unit, left, unit);
            std::memcpy(right + (i - 1) * unit, right - unit, unit);
        }
    }
    uint8_t* first = frame - margin;
    uint8_t* last = first + (h - 1) * stride;
    for (ptrdiff_t row = 1; row <= n; ++row) {
        std::memcpy(first - row * stride, first, width + 2 * margin);
        std::memcpy(last + row * stride, last, width + 2 * margin);
    }
}

#endif  // HWY_ONCE
