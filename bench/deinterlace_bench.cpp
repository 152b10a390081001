#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "filters/deinterlace_frame.h"
#include "pipeline/field_metric.h"
#include "pipeline/worker_pool.h"
#include "pixels/frame_buffer.h"
#include "platform/simd.h"

// Each deinterlace method on whole pictures, in frames a second of wall clock. The pictures are a moving pattern: no
// method here takes a short cut on flat ones, but a test picture should not look like one.

using METHOD = void (*)(uint8_t* image, const uint8_t* cur, const uint8_t* prev, int w, int h);

static const struct {
    const char* name;
    METHOD run;
} METHOD_TABLE[] = {
    {"odd_mean", [](uint8_t* image, const uint8_t* cur, const uint8_t*, int w,
                    int h) { deinterlace_field(image, cur, w, h, 0, FIELD_MEAN); }},
    {"odd_adaptive", [](uint8_t* image, const uint8_t* cur, const uint8_t*, int w,
                        int h) { deinterlace_field(image, cur, w, h, 0, FIELD_ADAPTIVE); }},
    {"double",
     [](uint8_t* image, const uint8_t* cur, const uint8_t*, int w, int h) { deinterlace_double(image, cur, w, h); }},
    {"24fps_weave", [](uint8_t* image, const uint8_t* cur, const uint8_t* prev, int w,
                       int h) { deinterlace_weave(image, cur, prev, w, h, true); }},
    {"24fps_stripes", [](uint8_t* image, const uint8_t* cur, const uint8_t* prev, int w,
                         int h) { deinterlace_stripes(image, cur, prev, w, h, true); }},
    {"auto", [](uint8_t* image, const uint8_t* cur, const uint8_t* prev, int w,
                int h) { deinterlace_motion(image, cur, prev, w, h, true); }},
    {"measure_frame",
     [](uint8_t*, const uint8_t* cur, const uint8_t* prev, int w, int h) {
         const FIELD_COUNTS counts =
             field_metric(cur, prev, field_area(w, h, 16, true), field_limits(64, frame_geometry.pixel_size));
         benchmark::DoNotOptimize(counts);
     }},
};

static void draw(uint8_t* image, int w, int h, int shift) {
    for (int row = 0; row < h; ++row) {
        uint8_t* bytes = image + ptrdiff_t{row} * frame_geometry.stride;
        const int at = shift * (row % 2 + 1);  // the fields lie apart in time
        for (int i = 0; i < w * frame_geometry.pixel_size; ++i) {
            const int value = (i / 16 + at) * 37 % 200 + row * 3 % 40;
            bytes[i] = uint8_t(frame_geometry.pixel_size == 6 && i % 2 ? value % 16 : value);
        }
    }
}

static void run(benchmark::State& state, METHOD method, int w, int h, int pixel_size, int threads, bool simd) {
    frame_geometry = frame_geometry_make(w, h, pixel_size);
    simd_enabled = simd;
    worker_pool_start(threads, {});
    uint8_t *image = frame_buffer_new(), *cur = frame_buffer_new(), *prev = frame_buffer_new();
    draw(cur, w, h, 1);
    draw(prev, w, h, 0);
    for (auto _ : state) {
        method(image, cur, prev, w, h);
        benchmark::ClobberMemory();
    }
    state.counters["fps"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
    for (uint8_t* frame : {image, cur, prev}) frame_buffer_free(frame);
    worker_pool_stop();
    simd_enabled = true;
}

static void add(int w, int h, int pixel_size, int threads, bool simd) {
    for (const auto& method : METHOD_TABLE) {
        const std::string name = std::string(method.name) + "/" + std::to_string(w) + "x" + std::to_string(h) + "/" +
                                 (pixel_size == 6 ? "yc48" : "yuy2") + "/threads:" + std::to_string(threads) +
                                 (simd ? "/best" : "/ref");
        benchmark::RegisterBenchmark(name.c_str(), run, method.run, w, h, pixel_size, threads, simd)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
    }
}

static const bool registered = [] {
    for (const int pixel_size : {6, 2})
        for (const auto& [w, h] : {std::pair{720, 480}, {1920, 1080}}) {
            for (const int threads : {1, 2}) add(w, h, pixel_size, threads, true);
            add(w, h, pixel_size, 1, false);
        }
    return true;
}();
