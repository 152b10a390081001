#pragma once

#include <cstddef>
#include <cstdint>

/// The arithmetic of the sound level: gain and peak over interleaved signed 16-bit samples. `count` is the number of
/// 16-bit values, samples times channels, and may be 0; any alignment; nothing outside the values is touched. Any
/// thread, no errors.

/// Scales in place. level is in steps of 1/256.
/// peak below 0: no peak is known, and level is a plain gain, 256 leaving everything as it is.
/// peak above 0: level is held to 0 .. 256 and says where the peak is to end, 256 meaning full scale; a peak at full
/// scale with level 256 changes nothing. peak 0: nothing happens, silence stays silent.
void audio_scale(int16_t* samples, size_t count, int peak, int level);
void audio_scale_ref(int16_t* samples, size_t count, int peak, int level);

/// The largest magnitude of the values, x or for negative ones -x - 1: 0 .. 32767.
int audio_peak(const int16_t* samples, size_t count);
int audio_peak_ref(const int16_t* samples, size_t count);
