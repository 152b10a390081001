#pragma once

#include <array>

#include "pixels/frame_buffer.h"
#include "platform/parallel.h"
#include "platform/simd.h"
#include "support/frame_test.h"
#include "support/kernel_test.h"
#include "vantel_filter.h"

/// What the tests of picture filters share: frames of samples, words or bytes as frame_geometry has them, beside models
/// that tell one sample at a time.

template <class T>
T word(T v) {
    return std::clamp<T>(v, -32768, 32767);
}
/// The size of a difference as the filters take it: by the complement.
inline int size_of(int v) { return v >= 0 ? v : -1 - v; }

inline bool byte_samples() { return frame_geometry.pixel_size == 2; }
inline int samples_of(int w) { return byte_samples() ? (w + 1) / 2 * 4 : w * 3; }
inline int sample_limited(int v) { return byte_samples() ? std::clamp(v, 0, 255) : word(v); }

inline int sample_get(const uint8_t* row, int i) {
    if (byte_samples()) return row[i];
    return reinterpret_cast<const int16_t*>(row)[i];
}
inline void sample_put(uint8_t* row, int i, int value) {
    if (byte_samples())
        row[i] = uint8_t(value);
    else
        reinterpret_cast<int16_t*>(row)[i] = int16_t(value);
}
template <class BYTE>
BYTE* frame_row(BYTE* image, int y, int x = 0) {
    return image + ptrdiff_t{y} * frame_geometry.stride + ptrdiff_t{x} * frame_geometry.pixel_size;
}
inline int frame_get(const uint8_t* image, int y, int i) { return sample_get(frame_row(image, y), i); }
inline void frame_put(uint8_t* image, int y, int i, int v) { sample_put(frame_row(image, y), i, v); }

/// Random, extreme or flat samples.
inline void samples_fill(std::span<uint8_t> bytes, RNG& rng) {
    if (byte_samples())
        rng_fill(bytes, rng);
    else
        rng_fill(std::span(reinterpret_cast<int16_t*>(bytes.data()), bytes.size() / 2), rng);
}
/// The block down to the margin below h rows, so that what is read outside of the picture differs as well.
inline void frame_fill(uint8_t* image, int h, RNG& rng) {
    samples_fill({image - frame_geometry.origin, size_t(h + 2 * FRAME_MARGIN) * size_t(frame_geometry.stride)}, rng);
}
/// Slopes with edges and a little noise: differences on both sides of thresholds.
inline void frame_fill_natural(uint8_t* image, int w, int h, RNG& rng) {
    const int scale = byte_samples() ? 1 : 16, noise = int(1 + rng.below(8));
    for (int y = 0; y < h; ++y)
        for (int i = 0; i < samples_of(w); ++i) {
            const int edge = (i / 40 + y / 9) % 2 ? 60 : 0;
            frame_put(image, y, i, (y + i / 5 % 120 + edge) % 250 * scale + rng.between(0, noise * scale));
        }
}

/// A copy of a picture.
struct PICTURE {
    std::vector<std::vector<int>> rows;
    bool bytes;
    int h() const { return int(rows.size()); }
    int n() const { return int(rows[0].size()); }
    int unit() const { return bytes ? 4 : 3; }  // samples of a pixel or a pair
    bool chroma(int i) const { return bytes && i % 2; }
    /// A sample and its neighbours of the same kind; the outermost ones go on for ever.
    int at(int row, int i, int dx = 0, int dy = 0) const {
        const int column = std::clamp(i / unit() + dx, 0, n() / unit() - 1);
        return rows.data()[std::clamp(row + dy, 0, h() - 1)].data()[column * unit() + i % unit()];
    }
};
inline PICTURE picture_read(const uint8_t* image, int w, int h, int x = 0, int y = 0) {
    PICTURE picture{{}, byte_samples()};
    for (int row = y; row < y + h; ++row) {
        picture.rows.emplace_back();
        for (int i = 0; i < samples_of(w); ++i) picture.rows.back().push_back(sample_get(frame_row(image, row, x), i));
    }
    return picture;
}

// ---- comparison of whole blocks, what should not be written included

inline void expect_block(std::span<const uint8_t> want, std::span<const uint8_t> got) {
    const auto at = std::ranges::mismatch(want, got).in1 - want.begin();
    if (size_t(at) == want.size()) return;
    const ptrdiff_t place = at - ptrdiff_t(frame_geometry.origin);
    FAIL() << "row " << place / frame_geometry.stride << " byte " << place % frame_geometry.stride << " is "
           << int(got[size_t(at)]) << ", not " << int(want[size_t(at)]);
}

inline constexpr int UNTOUCHED = -100000;
/// got: the block `before` with w x h pixels whose samples are model(row, i); those UNTOUCHED stay.
template <class MODEL>
void expect_picture(std::vector<uint8_t> before, std::span<const uint8_t> got, int w, int h, const MODEL& model) {
    for (int y = 0; y < h; ++y)
        for (int i = 0; i < samples_of(w); ++i) {
            const int v = model(y, i);
            if (v != UNTOUCHED) frame_put(before.data() + frame_geometry.origin, y, i, v);
        }
    expect_block(before, got);
}

/// Runs `round` on every vector target, and then on the definitions.
inline void for_every_form(const std::function<void(RNG& rng)>& round) {
    kernel_for_each_target(round);
    if (testing::Test::HasFatalFailure()) return;
    SCOPED_TRACE(testing::Message() << "definitions, VANTEL_TEST_SEED=" << kernel_seed());
    simd_enabled = false;
    RNG rng(kernel_seed());
    round(rng);
    simd_enabled = true;
}
inline void random_threads(RNG& rng) { fake_threads = std::array{1, 2, 7}[rng.below(3)]; }

/// A test with frames of 320 x 240 pixels of the parameter's size, and threads that run one after the other.
struct PictureTest : testing::TestWithParam<int> {
    void SetUp() override {
        frame_geometry = frame_geometry_make(320, 240, GetParam());
        parallel_set_dispatch(fake_dispatch);
    }
    void TearDown() override { parallel_set_dispatch(nullptr); }
};

/// A filter with its two frames.
struct FILTER_RUN {
    using PROC = int (*)(FILTER* filter, FILTER_PROC_PARAM* param);
    std::vector<int32_t> tracks = std::vector<int32_t>(32), checks = tracks;
    std::array<int32_t, 3> extra{};
    FRAME image, scratch;
    FILTER filter{};
    FILTER_PROC_PARAM param{};
    int run(PROC proc, int w, int h) {
        filter.track_values = tracks.data(), filter.check_values = checks.data(), filter.extra_data = extra.data();
        param.image = reinterpret_cast<YC48_PIXEL*>(image.image);
        param.scratch = reinterpret_cast<YC48_PIXEL*>(scratch.image);
        param.width = w, param.height = h;
        return proc(&filter, &param);
    }
    /// Whether the result is the second frame.
    bool swapped() const { return reinterpret_cast<uint8_t*>(param.image) == scratch.image; }
    const FRAME& result() const { return swapped() ? scratch : image; }
    const FRAME& other() const { return swapped() ? image : scratch; }
};
