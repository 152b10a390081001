// The colour filters over whole pictures on one thread, by the definition (ref) and by the best vector target, one line
// for each kind of arithmetic. Counters: MP/s, and of_memcpy: the bytes read and written a second, as a share of what
// memcpy moves of the same picture, measured in the same line before and after. Both are of the best pass.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "filters/color_frame.h"
#include "pixels/convert.h"
#include "pixels/frame_buffer.h"
#include "platform/simd.h"

namespace {

using CLOCK = std::chrono::steady_clock;

struct CASE {
    const char* name;
    bool extended;
    int32_t tracks[COLOR_EXTENDED_TRACK_N];
};
const CASE CASES[] = {{"brighten", false, {20}},
                      {"scale", false, {20, 30, 0, 10, 40, 5}},
                      {"gamma", false, {20, 30, 40, 10, 40, 5}},
                      {"scale_extended", true, {1, 2, 3, 4, 5, 6}},
                      {"rgb", true, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}}};

template <typename FUNC>
double timed(const FUNC& func) {
    const auto begin = CLOCK::now();
    func();
    benchmark::ClobberMemory();
    return std::chrono::duration<double>(CLOCK::now() - begin).count();
}

double memcpy_best(uint8_t* to, const uint8_t* from, size_t bytes) {
    double best = 1e9;
    for (int i = 0; i < 40; ++i) best = std::min(best, timed([=] { std::memcpy(to, from, bytes); }));
    return best;
}

void color_bench(benchmark::State& state, const CASE& c, int w, int h, int pixel_size, bool simd) {
    frame_geometry = frame_geometry_make(w, h, pixel_size);
    simd_enabled = simd;
    uint8_t *image = frame_buffer_new(), *scratch = frame_buffer_new();
    const size_t bytes = size_t(w) * size_t(h) * size_t(pixel_size);
    std::vector<uint8_t> dib(size_t(dib24_stride(w)) * size_t(h));
    uint32_t noise = 1;
    for (uint8_t& byte : dib) byte = uint8_t((noise = noise * 1664525U + 1013904223U) >> 24);
    rgb24_to_frame(image, dib.data(), w, h);
    std::memcpy(scratch - frame_geometry.origin, image - frame_geometry.origin, frame_geometry.block_size);

    FILTER_PROC_PARAM param{};
    param.image = reinterpret_cast<YC48_PIXEL*>(image);
    param.scratch = reinterpret_cast<YC48_PIXEL*>(scratch);
    param.width = w;
    param.height = h;
    const int32_t checks[COLOR_CHECK_N] = {};
    const COLOR_PARAMS params =
        c.extended ? color_params_extended(c.tracks, checks, pixel_size) : color_params(c.tracks, pixel_size);
    double copy = memcpy_best(scratch, image, bytes), pass = 1e9;
    while (state.KeepRunning()) pass = std::min(pass, timed([&] { color_frame(&param, params); }));
    copy = std::min(copy, memcpy_best(scratch, image, bytes));
    state.counters["MP/s"] = w * h / pass / 1e6;
    state.counters["of_memcpy"] = copy / pass;
    frame_buffer_free(image);
    frame_buffer_free(scratch);
    simd_enabled = true;
}

const bool registered = [] {
    for (const CASE& c : CASES)
        for (const int pixel_size : {6, 2})
            for (const auto& [w, h] : {std::pair{1280, 720}, {1920, 1080}, {1279, 719}})
                for (const bool simd : {false, true}) {
                    const std::string name = std::string(c.name) + "/" + (pixel_size == 6 ? "yc48" : "yuy2") + "/" +
                                             std::to_string(w) + "x" + std::to_string(h) + (simd ? "/best" : "/ref");
                    benchmark::RegisterBenchmark(name.c_str(), color_bench, c, w, h, pixel_size, simd)
                        ->Unit(benchmark::kMicrosecond)
                        ->MinTime(0.1);
                }
    return true;
}();

}  // namespace
