#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "vantel_formats.h"

/// The software sound conversion over a whole stream at once, written down directly and apart from the converter: for
/// tests that compare bytes. Sources of one or two channels, depths of 8, 16, 24 and 32 bits.

using PCM_PAIR = std::array<int, 2>;
using PCM_PAIRS = std::vector<PCM_PAIR>;

inline WAVEFORMATEX pcm_format(uint32_t rate, int channels, int bits) {
    const int block = channels * bits / 8;
    return {1, uint16_t(channels), rate, rate * uint32_t(block), uint16_t(block), uint16_t(bits), 0};
}

inline PCM_PAIRS pcm_model_read(const std::vector<uint8_t>& bytes, const WAVEFORMATEX& format) {
    PCM_PAIRS pairs;
    const size_t width = format.wBitsPerSample / 8, block = width * format.nChannels;
    for (size_t at = 0; at + block <= bytes.size(); at += block) {
        PCM_PAIR& pair = pairs.emplace_back();
        for (size_t side = 0; side < 2; ++side) {
            const uint8_t* value = &bytes[at + (format.nChannels == 2 ? side * width : 0)];
            pair[side] = width == 1 ? (*value - 128) * 256 : int8_t(value[width - 1]) * 256 + value[width - 2];
        }
    }
    return pairs;
}

inline PCM_PAIR pcm_model_mean(PCM_PAIR a, PCM_PAIR b) { return {(a[0] + b[0] + 1) >> 1, (a[1] + b[1] + 1) >> 1}; }

inline PCM_PAIRS pcm_model_double(const PCM_PAIRS& in) {
    PCM_PAIRS out;
    for (size_t i = 0; i < in.size(); ++i) {
        out.push_back(pcm_model_mean(i ? in[i - 1] : PCM_PAIR{}, in[i]));
        out.push_back(in[i]);
    }
    return out;
}

inline PCM_PAIRS pcm_model_halve(const PCM_PAIRS& in) {
    PCM_PAIRS out;
    for (size_t i = 0; i + 1 < in.size(); i += 2) out.push_back(pcm_model_mean(in[i], in[i + 1]));
    return out;
}

inline PCM_PAIRS pcm_model_resample(const PCM_PAIRS& in, int64_t r, int64_t d) {
    PCM_PAIRS out;
    int64_t p = 0;
    for (size_t i = 0; i + 1 < in.size();) {
        if (d < r && p >= d) {
            p -= d;
            ++i;
            continue;
        }
        const int64_t w = std::min(d - p, r);
        const auto mixed = [&](size_t side) { return int((in[i][side] * w + in[i + 1][side] * (r - w)) / r); };
        out.push_back({mixed(0), mixed(1)});
        p += d > r ? r : r - d;
        if (d > r && p < d) continue;
        if (d > r) p -= d;
        ++i;
    }
    return out;
}

inline std::vector<uint8_t> pcm_model_write(const PCM_PAIRS& pairs, const WAVEFORMATEX& format) {
    std::vector<uint8_t> bytes;
    const int width = format.wBitsPerSample / 8;
    for (const auto& pair : pairs)
        for (size_t channel = 0; channel < format.nChannels; ++channel) {
            const int value = format.nChannels == 1 ? (pair[0] + pair[1]) >> 1 : pair[channel];
            for (int i = 2; i < width; ++i) bytes.push_back(0);
            if (width > 1) bytes.push_back(uint8_t(value));
            bytes.push_back(uint8_t((value >> 8) + (width == 1 ? 128 : 0)));
        }
    return bytes;
}

inline std::vector<uint8_t> pcm_model(const std::vector<uint8_t>& bytes, const WAVEFORMATEX& source,
                                      const WAVEFORMATEX& target) {
    PCM_PAIRS pairs = pcm_model_read(bytes, source);
    int64_t r = source.nSamplesPerSec, d = target.nSamplesPerSec;
    int halvings = 0;
    for (; 2 * r <= d; r *= 2) pairs = pcm_model_double(pairs);
    for (; r >= 2 * d; d *= 2) ++halvings;
    for (; r >= 32738 || d >= 32738; r /= 2) d /= 2;
    if (r != d) pairs = pcm_model_resample(pairs, r, d);
    while (halvings-- > 0) pairs = pcm_model_halve(pairs);
    return pcm_model_write(pairs, target);
}
