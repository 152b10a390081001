#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "filters/blur_kernels.h"
#include "filters/noise_kernels.h"
#include "filters/window_frame.h"
#include "platform/simd.h"

// The noise filter, blur and sharpening on whole pictures, one thread. MP/s and GB/s (bytes of the picture read and
// written) are those of the fastest run; "memcpy" is the share of the speed of a plain copy of the same picture,
// measured in the same run.

enum KIND { NOISE, NOISE_STRONG, BLUR, SHARPEN };
static constexpr const char* KIND_NAMES[] = {"noise", "noise_256", "blur", "sharpen"};

static double seconds_of(const auto& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    benchmark::ClobberMemory();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

static void filter(KIND kind, int radius, uint8_t* dst, const uint8_t* src, int w, int h) {
    const int size = frame_geometry.pixel_size, unit = size == PIXEL_SIZE_YUY2 ? 1 : 4;
    if (kind == NOISE || kind == NOISE_STRONG) {
        // the default threshold, and the largest one
        const auto t = int16_t(kind == NOISE ? (unit == 1 ? 5 : 96) : (unit == 1 ? 56 : 1024));
        const NOISE_STEP step = {{t, t}, int16_t(65536 / (int(window_size(radius)) + 1))};
        const NOISE_ROW kernel = noise_kernel(size, radius);
        window_frame(dst, src, w, h, radius, [&](auto* to, auto* rows, size_t n) { kernel(to, rows, n, step); });
    } else {
        const auto high = int16_t(1023 * unit);
        const BLUR_STEP step = {{0, 0}, {high, high}, 14563};
        const BLUR_ROW kernel = blur_kernel(size, radius, kind == SHARPEN);
        window_frame(dst, src, w, h, window_reach(radius),
                     [&](auto* to, auto* rows, size_t n) { kernel(to, rows, n, step); });
    }
}

static void draw(uint8_t* image, int w, int h) {
    for (int row = 0; row < h; ++row) {
        uint8_t* bytes = image + ptrdiff_t{row} * frame_geometry.stride;
        for (int i = 0; i < window_row_bytes(w); ++i) {
            const int value = i / 16 * 37 % 200 + (i * 7 + row * 13) % 11;
            bytes[i] = uint8_t(frame_geometry.pixel_size == PIXEL_SIZE_YC48 && i % 2 ? value % 16 : value);
        }
    }
}

static void run(benchmark::State& state, KIND kind, int radius, int w, int h, int pixel_size, bool simd) {
    frame_geometry = frame_geometry_make(w, h, pixel_size);
    simd_enabled = simd;
    uint8_t *image = frame_buffer_new(), *scratch = frame_buffer_new();
    draw(image, w, h);
    double best = 1e9, copy = 1e9;
    while (state.KeepRunning()) {
        best = std::min(best, seconds_of([&] { filter(kind, radius, scratch, image, w, h); }));
        copy = std::min(copy, seconds_of([&] { frame_copy_rows(scratch, image, nullptr, w, h, 1); }));
    }
    const double pixels = double(w) * h;
    state.counters["MP/s"] = pixels / best / 1e6;
    state.counters["GB/s"] = 2 * pixel_size * pixels / best / 1e9;
    state.counters["memcpy"] = copy / best;
    frame_buffer_free(image);
    frame_buffer_free(scratch);
    simd_enabled = true;
}

static const bool registered = [] {
    for (const int pixel_size : {6, 2})
        for (const auto& [w, h] : {std::pair{1280, 720}, {1920, 1080}, {1279, 719}})
            for (const bool simd : {true, false})
                for (const KIND kind : {NOISE, NOISE_STRONG, BLUR, SHARPEN})
                    for (int radius = kind == BLUR ? 0 : 1; radius <= 3; ++radius) {
                        const std::string name = std::string(KIND_NAMES[kind]) + "/r" + std::to_string(radius) + "/" +
                                                 std::to_string(w) + "x" + std::to_string(h) + "/" +
                                                 (pixel_size == 6 ? "yc48" : "yuy2") + (simd ? "/best" : "/ref");
                        benchmark::RegisterBenchmark(name.c_str(), run, kind, radius, w, h, pixel_size, simd)
                            ->Unit(benchmark::kMillisecond);
                    }
    return true;
}();
