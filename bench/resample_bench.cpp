#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "filters/resample.h"
#include "pixels/frame_buffer.h"
#include "platform/simd.h"

// frame_resize on one thread. Bytes are those of the source picture and of the result; "memcpy" is the share of the
// speed of a plain copy that reads and writes as many bytes, measured in the same run.

struct SIZES {
    int in_w, in_h, out_w, out_h;
};
static const SIZES SIZE_TABLE[] = {
    {1280, 720, 640, 360},  {1280, 720, 720, 480},  {1280, 720, 1920, 1080}, {1280, 720, 1024, 576},
    {720, 480, 704, 396},   {1920, 1080, 960, 540}, {1920, 1080, 1280, 720}, {640, 360, 1280, 720},
    {960, 540, 1920, 1080}, {1279, 717, 853, 479},
};

static double copy_speed(double bytes) {
    const auto half = size_t(bytes / 2);
    const std::vector<uint8_t> from(half, 1);
    std::vector<uint8_t> to(half);
    double best = 1e9;
    for (int i = 0; i < 30; ++i) {
        const auto start = std::chrono::steady_clock::now();
        std::memcpy(to.data(), from.data(), half);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return bytes / best;
}

static void run(benchmark::State& state, SIZES s, int pixel_size, bool simd) {
    frame_geometry = frame_geometry_make(1920, 1080, pixel_size);
    simd_enabled = simd;
    uint8_t* src = frame_buffer_new();
    uint8_t* alt = frame_buffer_new();
    const double bytes = double(pixel_size) * (double(s.in_w) * s.in_h + double(s.out_w) * s.out_h);
    const double copy = copy_speed(bytes);
    double best = 1e9;
    while (state.KeepRunning()) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(frame_resize(src, s.out_w, s.out_h, 0, 0, s.in_w, s.in_h, alt));
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    state.counters["GB/s"] = bytes / best / 1e9;
    state.counters["memcpy"] = bytes / best / copy;
    simd_enabled = true;
    frame_buffer_free(alt);
    frame_buffer_free(src);
}

static const bool registered = [] {
    for (const int pixel_size : {6, 2})
        for (const SIZES& s : SIZE_TABLE)
            for (const bool simd : {true, false}) {
                const std::string name = "frame_resize/" + std::to_string(s.in_w) + "x" + std::to_string(s.in_h) + "/" +
                                         std::to_string(s.out_w) + "x" + std::to_string(s.out_h) + "/" +
                                         (pixel_size == 6 ? "yc48" : "yuy2") + (simd ? "/best" : "/ref");
                benchmark::RegisterBenchmark(name.c_str(), run, s, pixel_size, simd)->Unit(benchmark::kMillisecond);
            }
    return true;
}();
