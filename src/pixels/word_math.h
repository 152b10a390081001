#pragma once

#include <algorithm>
#include <cstdint>

/// The arithmetic of 16-bit words in which all picture formulas are written. The vector twins are Highway's MulHigh,
/// SaturatedAdd and SaturatedSub.

/// floor(a * b / 65536) of signed words.
constexpr int16_t word_mulhi(int a, int b) { return int16_t(a * b >> 16); }

// By value, not std::clamp: that returns a reference, and becomes jumps which random pictures mispredict.
constexpr int word_clamp(int v, int low, int high) { return std::min(std::max(v, low), high); }

constexpr int16_t word_saturate(int v) { return int16_t(word_clamp(v, -32768, 32767)); }
/// Sum and difference that stop at the limits of a signed word.
constexpr int16_t word_add(int a, int b) { return word_saturate(a + b); }
constexpr int16_t word_sub(int a, int b) { return word_saturate(a - b); }

/// Clamps to 0 .. 255.
constexpr uint8_t word_to8(int v) { return uint8_t(word_clamp(v, 0, 255)); }

/// Weighted mean of two words: mulhi(a * 4, weight_a) + mulhi(b * 4, weight_b), saturating throughout. Weights of sum
/// 16384 keep the level.
constexpr int16_t word_mix(int a, int weight_a, int b, int weight_b) {
    return word_add(word_mulhi(word_saturate(a * 4), weight_a), word_mulhi(word_saturate(b * 4), weight_b));
}
