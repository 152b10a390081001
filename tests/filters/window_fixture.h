#pragma once

#include <array>
#include <vector>

#include "pixels/frame_buffer.h"
#include "platform/parallel.h"
#include "platform/simd.h"
#include "support/frame_test.h"
#include "support/kernel_test.h"
#include "vantel_filter.h"

/// What the tests of the spatial filters share: pictures, a model of the neighbourhood, runs of a whole filter.

inline int word(int v) { return v < -32768 ? -32768 : v > 32767 ? 32767 : v; }
inline int floor_65536(int v) { return v >= 0 ? v / 65536 : -((-v + 65535) / 65536); }

/// A copy of a picture, as samples whose outermost pixel (or pair) goes on for ever.
struct PICTURE {
    std::vector<std::vector<int>> rows;
    bool bytes;
    int h() const { return int(rows.size()); }
    int n() const { return int(rows[0].size()); }
    int at(int row, int i, int dx, int dy) const {
        const int unit = bytes ? 4 : 3;
        const int column = std::clamp(i / unit + dx, 0, n() / unit - 1);
        return rows.data()[std::clamp(row + dy, 0, h() - 1)].data()[column * unit + i % unit];
    }
    bool chroma(int i) const { return bytes && i % 2; }
};

/// A filter at work on pictures of frame_geometry, beside `model`, which tells what a sample becomes.
struct WINDOW_RUN {
    using PROC = int (*)(FILTER* filter, FILTER_PROC_PARAM* param);
    std::vector<int32_t> tracks;
    uint8_t *image = frame_buffer_new(), *scratch = frame_buffer_new();
    int w, h;
    WINDOW_RUN(int width, int height) : w(width), h(height) {}
    WINDOW_RUN(const WINDOW_RUN&) = delete;
    WINDOW_RUN& operator=(const WINDOW_RUN&) = delete;
    ~WINDOW_RUN() {
        frame_buffer_free(image);
        frame_buffer_free(scratch);
    }

    static bool is_bytes() { return frame_geometry.pixel_size == 2; }
    int samples() const { return is_bytes() ? (w + 1) / 2 * 4 : w * 3; }
    static std::span<uint8_t> block(uint8_t* frame) {
        return {frame - frame_geometry.origin, frame_geometry.block_size};
    }
    static int get(const uint8_t* frame, int row, int i) {
        frame += ptrdiff_t{row} * frame_geometry.stride;
        return is_bytes() ? frame[i] : reinterpret_cast<const int16_t*>(frame)[i];
    }
    void set(int row, int i, int v) {
        uint8_t* at = image + ptrdiff_t{row} * frame_geometry.stride;
        if (is_bytes())
            at[i] = uint8_t(v);
        else
            reinterpret_cast<int16_t*>(at)[i] = int16_t(v);
    }
    void fill(int v) {
        for (int row = 0; row < h; ++row)
            for (int i = 0; i < samples(); ++i) set(row, i, v);
    }
    /// Random, extreme or flat samples, margins included; or slopes with edges and a little noise.
    void fill(RNG& rng) {
        const std::span<uint8_t> all = block(image).first(size_t(h + 2 * FRAME_MARGIN) * size_t(frame_geometry.stride));
        if (is_bytes())
            rng_fill(all, rng);
        else
            rng_fill(std::span(reinterpret_cast<int16_t*>(all.data()), all.size() / 2), rng);
        if (rng.below(3) == 0) return;
        const int scale = is_bytes() ? 1 : 16, noise = int(1 + rng.below(8));
        for (int row = 0; row < h; ++row)
            for (int i = 0; i < samples(); ++i) {
                const int edge = (i / 40 + row / 9) % 2 ? 60 : 0;
                set(row, i,
                    (row + i / 5 % 120 + edge) % 250 * scale + rng.between(0, noise * scale) - 4 * (scale / 16));
            }
    }
    PICTURE picture() const {
        PICTURE copy{{}, is_bytes()};
        for (int row = 0; row < h; ++row) {
            copy.rows.emplace_back();
            for (int i = 0; i < samples(); ++i) copy.rows.back().push_back(get(image, row, i));
        }
        return copy;
    }
    /// Runs it; the result is `image` from then on. Returns whether the buffers were swapped.
    bool run(PROC proc) {
        FILTER filter{};
        filter.track_values = tracks.data();
        FILTER_PROC_PARAM param{};
        param.image = reinterpret_cast<YC48_PIXEL*>(image);
        param.scratch = reinterpret_cast<YC48_PIXEL*>(scratch);
        param.width = w;
        param.height = h;
        EXPECT_EQ(1, proc(&filter, &param));
        EXPECT_TRUE(param.width == w && param.height == h);
        const bool swapped = param.image == reinterpret_cast<YC48_PIXEL*>(scratch);
        if (swapped) std::swap(image, scratch);
        return swapped;
    }
    /// Runs it and compares the whole block, what should not be written included, with the model.
    template <class MODEL>
    void check(PROC proc, const MODEL& model) {
        const PICTURE before = picture();
        std::vector<uint8_t> want(block(scratch).begin(), block(scratch).end());
        ASSERT_TRUE(run(proc));
        for (int row = 0; row < h; ++row)
            for (int i = 0; i < samples(); ++i) {
                const int v = model(before, row, i);
                ASSERT_EQ(v, get(image, row, i)) << "row " << row << " sample " << i << " of " << w << " x " << h;
                const auto place = frame_geometry.origin + size_t(row) * size_t(frame_geometry.stride);
                std::copy_n(reinterpret_cast<const uint8_t*>(&v), is_bytes() ? 1 : 2,
                            want.begin() + ptrdiff_t(place) + i * (is_bytes() ? 1 : 2));
            }
        EXPECT_TRUE(std::equal(want.begin(), want.end(), block(image).begin())) << "written outside the picture";
    }
};

struct WindowTest : testing::TestWithParam<int> {
    void SetUp() override {
        frame_geometry = frame_geometry_make(320, 240, GetParam());
        parallel_set_dispatch(fake_dispatch);
    }
    void TearDown() override { parallel_set_dispatch(nullptr); }
};

/// Runs `proc` with tracks(rng) on every vector target and as the definition, `count` times each, beside the model.
template <class TRACKS, class MODEL>
void window_check(WINDOW_RUN::PROC proc, int count, const TRACKS& tracks, const MODEL& model) {
    static constexpr int SIZES[][2] = {{32, 32}, {33, 35}, {320, 36}, {64, 3}, {1, 1}, {1, 40}, {2, 2}, {3, 5}};
    const auto round = [&](RNG& rng) {
        for (int k = 0; k < count; ++k) {
            const auto [w, h] = SIZES[size_t(k / 2) % std::size(SIZES)];
            WINDOW_RUN run(k % 2 ? w : rng.between(1, 140), h);  // rows of all lengths, below and above a few vectors
            run.tracks = tracks(rng);
            run.fill(rng);
            fake_threads = std::array{1, 2, 7}[rng.below(3)];
            SCOPED_TRACE("tracks " + testing::PrintToString(run.tracks));
            run.check(proc, [&](const PICTURE& p, int row, int i) { return model(p, row, i, run.tracks); });
            if (testing::Test::HasFatalFailure()) return;
        }
    };
    kernel_for_each_target(round);
    simd_enabled = false;
    RNG rng(kernel_seed());
    round(rng);
    simd_enabled = true;
}

/// A large picture by the best vector form with 7 threads, and by the definition with one: the same bytes. Where they
/// agree on `spots` random samples with the model as well, geometry holds at this size.
template <class MODEL>
void window_check_large(WINDOW_RUN::PROC proc, int w, int h, const std::vector<int32_t>& tracks, const MODEL& model) {
    frame_geometry = frame_geometry_make(w, h, frame_geometry.pixel_size);
    RNG rng(kernel_seed());
    WINDOW_RUN best(w, h);
    WINDOW_RUN plain(w, h);
    plain.tracks = best.tracks = tracks;
    best.fill(rng);
    std::copy_n(best.block(best.image).data(), frame_geometry.block_size, plain.block(plain.image).data());
    const PICTURE before = best.picture();
    fake_threads = 7;
    ASSERT_TRUE(best.run(proc));
    fake_threads = 1;
    simd_enabled = false;
    ASSERT_TRUE(plain.run(proc));
    simd_enabled = true;
    EXPECT_TRUE(
        std::equal(best.block(best.image).begin(), best.block(best.image).end(), plain.block(plain.image).begin()));
    for (int spot = 0; spot < 2000; ++spot) {
        const int row = int(rng.below(uint32_t(h))), i = int(rng.below(uint32_t(best.samples())));
        ASSERT_EQ(model(before, row, i, tracks), WINDOW_RUN::get(best.image, row, i))
            << "row " << row << " sample " << i;
    }
}
