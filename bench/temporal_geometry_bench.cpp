#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "filters/noise_time_kernels.h"
#include "hosts/filter_functions.h"
#include "pixels/frame_buffer.h"
#include "platform/simd.h"
#include "vantel_filter.h"

// The temporal noise filter, the crop copy and the border fill on whole pictures, one thread. Mpx counts pixels of the
// result. GB counts what must be read and written once; memcpy is that rate beside the one of copying a picture of the
// size, measured just before.

static constexpr int FRAME_N = 2 * NOISE_TIME_RADIUS_MAX + 1;

/// Seven pictures of a moving pattern with noise, side by side as a filter's cache keeps them, and one for results.
struct PICTURES {
    uint8_t* frames[FRAME_N];
    uint8_t* image;
    std::vector<uint8_t> store;
    PICTURES(int w, int h, int pixel_size) {
        frame_geometry = frame_geometry_make(w, h, pixel_size);
        image = frame_buffer_new();
        const size_t room = frame_geometry.block_size - 16, head = FRAME_N * 16;
        store.resize(head + room * FRAME_N + frame_geometry.origin);
        for (size_t n = 0; n < FRAME_N; ++n) {
            frames[n] = store.data() + head + room * n + frame_geometry.origin;
            draw(frames[n], w, h, int(n));
        }
    }
    PICTURES(const PICTURES&) = delete;
    PICTURES& operator=(const PICTURES&) = delete;
    ~PICTURES() { frame_buffer_free(image); }
    static void draw(uint8_t* image, int w, int h, int n) {
        uint32_t noise = 1u + uint32_t(n);
        for (int row = 0; row < h; ++row) {
            uint8_t* bytes = image + ptrdiff_t{row} * frame_geometry.stride;
            for (int i = 0; i < w * frame_geometry.pixel_size; ++i) {
                noise = noise * 1664525u + 1013904223u;
                const int value = (i / 24 + n) * 37 % 200 + row * 3 % 40 + int(noise >> 28);
                bytes[i] = uint8_t(frame_geometry.pixel_size == 6 && i % 2 ? value % 16 : value);
            }
        }
    }
};

template <typename FUNC>
static double seconds(const FUNC& func) {
    const auto start = std::chrono::steady_clock::now();
    func();
    benchmark::ClobberMemory();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Bytes read and written a second by memcpy of a picture.
static double memcpy_speed(int w, int h) {
    const size_t size = size_t(w) * size_t(h) * size_t(frame_geometry.pixel_size);
    const std::vector<uint8_t> from(size, 1);
    std::vector<uint8_t> to(size);
    double best = 1e9;
    for (int i = 0; i < 50; ++i) best = std::min(best, seconds([&] { std::memcpy(to.data(), from.data(), size); }));
    return 2 * double(size) / best;
}

/// Runs func and reports the best of its runs: `pixels` made, `bytes` read and written.
template <typename FUNC>
static void measure(benchmark::State& state, double pixels, double bytes, double copy_speed, const FUNC& func) {
    double best = 1e9;
    while (state.KeepRunning()) best = std::min(best, seconds(func));
    state.counters["Mpx/s"] = pixels / best / 1e6;
    state.counters["GB/s"] = bytes / best / 1e9;
    state.counters["memcpy"] = bytes / best / copy_speed;
}

static void run_noise_time(benchmark::State& state, int w, int h, int pixel_size, int radius, bool simd) {
    const PICTURES pictures(w, h, pixel_size);
    simd_enabled = simd;
    const NOISE_TIME_LEVELS levels = noise_time_levels(pixel_size, radius, 256, 36);
    const double pixels = double(w) * h;
    measure(state, pixels, pixels * pixel_size * (2 * radius + 2), memcpy_speed(w, h),
            [&] { noise_time_picture(pictures.image, pictures.frames, frame_geometry.stride, w, h, radius, levels); });
    simd_enabled = true;
}

using PROC = decltype(FILTER::func_proc);

/// `side` columns at the left and right and half as many rows above and below, as the tracks of the filter take them.
/// The picture that goes in has w - in_less x h - in_less / 2 pixels.
static void run_filter(benchmark::State& state, PROC proc, int w, int h, int pixel_size, int side, int in_less,
                       bool edges) {
    const PICTURES pictures(w, h, pixel_size);
    int32_t tracks[] = {side / 2, side / 2, side, side}, checks[] = {0, edges}, extra[3] = {};
    FILTER filter{};
    filter.track_values = tracks;
    filter.check_values = checks;
    filter.extra_data = extra;
    FILTER_PROC_PARAM param{};
    param.image = reinterpret_cast<YC48_PIXEL*>(pictures.frames[0]);
    param.scratch = reinterpret_cast<YC48_PIXEL*>(pictures.image);
    const double in = double(w - in_less) * (h - in_less / 2);
    const double out = double(w - in_less - 2 * side) * (h - in_less / 2 - side);
    measure(state, out, (std::min(in, out) + out) * pixel_size, memcpy_speed(w, h), [&] {
        param.width = w - in_less;
        param.height = h - in_less / 2;
        proc(&filter, &param);
    });
}

static void add(int w, int h, int pixel_size) {
    const std::string size = "/" + std::to_string(w) + "x" + std::to_string(h) + (pixel_size == 6 ? "/yc48" : "/yuy2");
    const auto put = [&](const std::string& name, const auto& run, auto... args) {
        benchmark::RegisterBenchmark(name.c_str(), run, w, h, pixel_size, args...)->Unit(benchmark::kMillisecond);
    };
    for (int radius = 1; radius <= NOISE_TIME_RADIUS_MAX; ++radius)
        for (const bool simd : {true, false})
            put("noise_time_r" + std::to_string(radius) + size + (simd ? "/best" : "/ref"), run_noise_time, radius,
                simd);
    const auto filter = [](benchmark::State& state, int width, int height, int pixel, PROC proc, int side, int in_less,
                           bool edges) { run_filter(state, proc, width, height, pixel, side, in_less, edges); };
    put("crop" + size, filter, clip_resize_proc, 32, 0, false);
    put("border_black" + size, filter, border_proc, -32, 64, false);
    put("border_edges" + size, filter, border_proc, -32, 64, true);
}

static const bool registered = [] {
    for (const int pixel_size : {6, 2})
        for (const auto& [w, h] : {std::pair{1280, 720}, {1920, 1080}}) add(w, h, pixel_size);
    return true;
}();
