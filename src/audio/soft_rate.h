#pragma once

#include <cstddef>
#include <cstdint>

/// The three ways in which the software converter changes the rate, on pairs of 16-bit values. Inside src/audio only.

struct SOUND_PAIR {
    int16_t left, right;
};

/// Doubles the rate of n pairs in place: each pair c with predecessor p becomes (p + c + 1) >> 1 and c. before: the
/// pair in front of the block. Room for 2 * n pairs.
void soft_double(SOUND_PAIR* pairs, size_t n, SOUND_PAIR before);

/// A linear resampler between rates below 32,738 that differ by less than a factor of two.
struct SOFT_RATIO {
    int source, target;
};
/// Resamples the n pairs from the first (weight of the next one grows with the phase) up to the one before the last,
/// which stays for the next block. Returns the pairs written, soft_resample_count of them; target must not overlap.
size_t soft_resample(SOUND_PAIR* target, const SOUND_PAIR* pairs, size_t n, SOFT_RATIO ratio, int* phase);
/// How many pairs that gives, and the phase behind it. n at most 2^47.
int64_t soft_resample_count(int64_t n, SOFT_RATIO ratio, int* phase);

struct SOFT_CONVERTER;
struct SOFT_CARRY;
/// Halves the rate of n pairs in place as often as the converter's shift says: (a + b + 1) >> 1. Pairs without a
/// partner wait in the converter and the carry. Returns the pairs left.
size_t soft_halve(SOUND_PAIR* pairs, size_t n, SOFT_CONVERTER* c, SOFT_CARRY* carry);
/// How many pairs that gives.
int64_t soft_halve_count(int64_t n, SOFT_CONVERTER* c, SOFT_CARRY* carry);

SOUND_PAIR soft_pair(int32_t word);
int32_t soft_word(SOUND_PAIR pair);
