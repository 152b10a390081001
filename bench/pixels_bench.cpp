// Colour conversions of whole pictures on one thread, by the definition and by each vector target. Counters of a line:
// GB/s counts bytes read and written, in the best pass; of_memcpy is the time of the C library's memcpy moving as many
// bytes, measured beforehand in the same line, over the time of the conversion (1 is as fast as memcpy).

#include <benchmark/benchmark.h>
#include <hwy/highway.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "pixels/convert.h"
#include "pixels/frame_buffer.h"
#include "platform/simd.h"

namespace {

using CLOCK = std::chrono::steady_clock;

/// A conversion and the bytes of a pixel on both sides.
struct OPERATION {
    const char* name;
    void (*to_frame)(uint8_t* frame, const uint8_t* outside, int w, int h);
    void (*from_frame)(uint8_t* outside, const uint8_t* frame, int w, int h);
    int pixel_size;    // of the frame
    int outside_size;  // of the outside picture
};

const OPERATION OPERATIONS[] = {
    {"rgb24_to_frame", rgb24_to_frame, nullptr, 6, 3},
    {"frame_to_rgb24", nullptr, frame_to_rgb24, 6, 3},
    {"yuy2_to_frame", yuy2_to_frame, nullptr, 6, 2},
    {"frame_to_yuy2", nullptr, frame_to_yuy2, 6, 2},
    {"yuy2_709_to_frame", yuy2_709_to_frame, nullptr, 6, 2},
    {"frame_to_yuy2_709", nullptr, frame_to_yuy2_709, 6, 2},
    {"yc48_709_to_frame", yc48_709_to_frame, nullptr, 6, 6},
    {"frame_to_yc48_709", nullptr, frame_to_yc48_709, 6, 6},
    {"yc48_to_frame", yc48_to_frame, nullptr, 6, 6},
    {"rgb24_to_frame/yuy2mode", rgb24_to_frame, nullptr, 2, 3},
    {"frame_to_rgb24/yuy2mode", nullptr, frame_to_rgb24, 2, 3},
};

struct SIZE {
    int w, h;
};
const SIZE SIZES[] = {{1280, 720}, {1920, 1080}, {1279, 719}};

double seconds_since(CLOCK::time_point begin) { return std::chrono::duration<double>(CLOCK::now() - begin).count(); }

double memcpy_best(size_t bytes) {
    std::vector<uint8_t> from(bytes, 1), to(bytes, 2);
    double best = 1e9;
    for (int i = 0; i < 40; ++i) {
        const auto begin = CLOCK::now();
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
        best = std::min(best, seconds_since(begin));
    }
    return best;
}

/// target 0: the definition.
void target_set(int64_t target) {
    simd_enabled = target != 0;
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

void convert_bench(benchmark::State& state, const OPERATION& op, SIZE size, int64_t target) {
    frame_geometry = frame_geometry_make(1920, 1080, op.pixel_size);
    uint8_t* frame = frame_buffer_new();
    std::vector<uint8_t> outside(size_t(size.w + 8) * size_t(size.h) * 6);
    uint32_t noise = 1;
    for (uint8_t& byte : outside) byte = uint8_t((noise = noise * 1664525U + 1013904223U) >> 24);
    if (op.pixel_size == PIXEL_SIZE_YC48) rgb24_to_frame(frame, outside.data(), size.w, size.h);

    const size_t bytes = size_t(size.w) * size_t(size.h) * size_t(op.pixel_size + op.outside_size);
    const double copy = memcpy_best(bytes / 2);  // reads and writes as much as the conversion in sum
    target_set(target);
    double best = 1e9;
    while (state.KeepRunning()) {
        const auto begin = CLOCK::now();
        if (op.to_frame)
            op.to_frame(frame, outside.data(), size.w, size.h);
        else
            op.from_frame(outside.data(), frame, size.w, size.h);
        benchmark::ClobberMemory();
        best = std::min(best, seconds_since(begin));
    }
    target_set(0);
    frame_buffer_free(frame);
    state.counters["GB/s"] = double(bytes) / best / 1e9;
    state.counters["of_memcpy"] = copy / best;
    state.counters["ns/pixel"] = best * 1e9 / size.w / size.h;
}

void bench_register() {
    std::vector<int64_t> targets = {0};
    for (const int64_t target : hwy::SupportedAndGeneratedTargets())
        if (target != HWY_SCALAR) targets.push_back(target);
    for (const OPERATION& op : OPERATIONS)
        for (const SIZE size : SIZES)
            for (const int64_t target : targets) {
                const std::string name = std::string(op.name) + "/" + std::to_string(size.w) + "x" +
                                         std::to_string(size.h) + "/" + (target ? hwy::TargetName(target) : "ref");
                benchmark::RegisterBenchmark(name.c_str(), convert_bench, op, size, target)
                    ->Unit(benchmark::kMicrosecond)
                    ->MinTime(0.1);
            }
}

[[maybe_unused]] const bool registered = (bench_register(), true);  // ahead of the library's main

}  // namespace
