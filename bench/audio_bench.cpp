// Sound on one thread: the level filters by the definition and by each vector target, on the sound of one frame (1600
// samples of 48 kHz stereo) and of ten seconds; and the software converter beside libswresample on the same blocks of
// 1600 samples, with that library's usual filter and with the shortest one it has. Counters: realtime, seconds of sound
// in a second, in the best pass; of_memcpy, the time of memcpy moving as many bytes, measured in the same line, over
// that of the filter (1 is as fast as memcpy).

#include <benchmark/benchmark.h>
#include <hwy/highway.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "audio/level.h"
#include "audio/soft_convert.h"
#include "platform/simd.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace {

using CLOCK = std::chrono::steady_clock;
constexpr int RATE = 48000, BLOCK = 1600;  // samples of each channel

/// Seconds of one of n runs in a row, in the best of the passes.
struct STOPWATCH {
    double best = 1e9;
    void pass(int n, const std::function<void()>& run) {
        const auto begin = CLOCK::now();
        for (int i = 0; i < n; ++i) run();
        best = std::min(best, std::chrono::duration<double>(CLOCK::now() - begin).count() / n);
    }
};

template <typename T>
void fill_noise(std::vector<T>* values) {
    uint32_t noise = 1;
    for (T& value : *values) value = T((noise = noise * 1664525U + 1013904223U) >> 16);
}

// ---- level

void volume(std::vector<int16_t>* sound) { audio_scale(sound->data(), sound->size(), -1, 300); }
void volume_double(std::vector<int16_t>* sound) { audio_scale(sound->data(), sound->size(), -1, 512); }
void normalise(std::vector<int16_t>* sound) { audio_scale(sound->data(), sound->size(), 3000, 256); }
void peak(std::vector<int16_t>* sound) { benchmark::DoNotOptimize(audio_peak(sound->data(), sound->size())); }

const struct LEVEL_OPERATION {
    const char* name;
    void (*run)(std::vector<int16_t>* sound);
    int moves;  // 2: reads and writes each byte, 1: only reads
} LEVEL_OPERATIONS[] = {
    {"volume", volume, 2}, {"volume_double", volume_double, 2}, {"normalise", normalise, 2}, {"peak", peak, 1}};

/// target 0: the definition.
void target_set(int64_t target) {
    simd_enabled = target != 0;
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

double copy_time(size_t bytes, int n) {
    std::vector<uint8_t> from(bytes, 1), to(bytes, 2);
    STOPWATCH watch;
    for (int i = 0; i < 40; ++i)
        watch.pass(n, [&] {
            std::memcpy(to.data(), from.data(), bytes);
            benchmark::ClobberMemory();
        });
    return watch.best;
}

void level_bench(benchmark::State& state, const LEVEL_OPERATION& op, int samples, int64_t target) {
    std::vector<int16_t> sound(size_t(samples) * 2);
    fill_noise(&sound);
    const int n = std::max(10 * RATE / samples, 1);
    const double copy = copy_time(sound.size() * size_t(op.moves), n);
    target_set(target);
    STOPWATCH watch;
    while (state.KeepRunning())
        watch.pass(n, [&] {
            op.run(&sound);
            benchmark::ClobberMemory();
        });
    target_set(0);
    state.counters["realtime"] = double(samples) / RATE / watch.best;
    state.counters["of_memcpy"] = copy / watch.best;
}

// ---- rates

struct CONVERSION {
    const char* name;
    int from_rate, from_channels, from_bits;
    int to_rate, to_channels;  // 16 bits
};
const CONVERSION CONVERSIONS[] = {
    {"44100x2_to_48000x2", 44100, 2, 16, 48000, 2},   {"48000x2_to_44100x2", 48000, 2, 16, 44100, 2},
    {"22050x1_to_44100x2", 22050, 1, 16, 44100, 2},   {"11025x1x8_to_48000x2", 11025, 1, 8, 48000, 2},
    {"192000x2_to_44100x2", 192000, 2, 16, 44100, 2},
};

WAVEFORMATEX pcm(int rate, int channels, int bits) {
    WAVEFORMATEX format{};
    format.wFormatTag = 1;
    format.nChannels = uint16_t(channels);
    format.wBitsPerSample = uint16_t(bits);
    format.nSamplesPerSec = uint32_t(rate);
    format.nBlockAlign = uint16_t(channels * bits / 8);
    format.nAvgBytesPerSec = format.nSamplesPerSec * format.nBlockAlign;
    return format;
}

using CONVERT = std::function<void(const std::vector<uint8_t>&)>;

void rate_bench(benchmark::State& state, const CONVERSION& c, const std::function<CONVERT(const CONVERSION&)>& open) {
    std::vector<uint8_t> block(size_t(BLOCK) * size_t(c.from_channels * c.from_bits / 8));
    fill_noise(&block);
    const CONVERT convert = open(c);
    if (!convert) {
        state.SkipWithError("no converter");
        return;
    }
    STOPWATCH watch;
    while (state.KeepRunning()) watch.pass(100, [&] { convert(block); });
    state.counters["realtime"] = double(BLOCK) / c.from_rate / watch.best;
}

CONVERT open_own(const CONVERSION& c) {
    SOFT_CONVERTER soft{};
    if (!soft_convert_init(&soft, pcm(c.from_rate, c.from_channels, c.from_bits), pcm(c.to_rate, c.to_channels, 16)))
        return nullptr;
    return [soft, carry = SOFT_CARRY{}, work = std::vector<uint8_t>(1 << 20),
            target = std::vector<uint8_t>(1 << 20)](const std::vector<uint8_t>& block) mutable {
        std::memcpy(work.data() + SOFT_FRONT, block.data(), block.size());
        if (soft_convert(&soft, &carry, work, block.size(), target) < 0) std::abort();
        benchmark::ClobberMemory();
    };
}

CONVERT open_peer(const CONVERSION& c, bool shortest) {
    AVChannelLayout from, to;
    av_channel_layout_default(&from, c.from_channels);
    av_channel_layout_default(&to, c.to_channels);
    SwrContext* made = nullptr;
    swr_alloc_set_opts2(&made, &to, AV_SAMPLE_FMT_S16, c.to_rate, &from,
                        c.from_bits == 8 ? AV_SAMPLE_FMT_U8 : AV_SAMPLE_FMT_S16, c.from_rate, 0, nullptr);
    const std::shared_ptr<SwrContext> swr(made, [](SwrContext* s) { swr_free(&s); });
    if (swr && shortest) {
        av_opt_set_int(made, "filter_size", 1, 0);
        av_opt_set_int(made, "linear_interp", 1, 0);
    }
    if (!swr || swr_init(made) < 0) return nullptr;
    return [swr, target = std::vector<uint8_t>(1 << 20)](const std::vector<uint8_t>& block) mutable {
        const uint8_t* in = block.data();
        uint8_t* out = target.data();
        if (swr_convert(swr.get(), &out, int(target.size() / 4), &in, BLOCK) < 0) std::abort();
        benchmark::ClobberMemory();
    };
}

// ---- the list

void bench_register() {
    std::vector<int64_t> targets = {0};
    for (const int64_t target : hwy::SupportedAndGeneratedTargets())
        if (target != HWY_SCALAR) targets.push_back(target);
    for (const LEVEL_OPERATION& op : LEVEL_OPERATIONS)
        for (const int samples : {BLOCK, 10 * RATE})
            for (const int64_t target : targets) {
                const std::string name = std::string(op.name) + "/" + std::to_string(samples) + "/" +
                                         (target ? hwy::TargetName(target) : "ref");
                benchmark::RegisterBenchmark(name.c_str(), level_bench, op, samples, target)->MinTime(0.1);
            }
    for (const CONVERSION& c : CONVERSIONS) {
        const std::string name = c.name;
        benchmark::RegisterBenchmark((name + "/own").c_str(), rate_bench, c, open_own)->MinTime(0.2);
        for (const bool shortest : {false, true})
            benchmark::RegisterBenchmark((name + (shortest ? "/swresample_shortest" : "/swresample")).c_str(),
                                         rate_bench, c,
                                         [shortest](const CONVERSION& which) { return open_peer(which, shortest); })
                ->MinTime(0.2);
    }
}

[[maybe_unused]] const bool registered = (bench_register(), true);  // ahead of the library's main

}  // namespace
