#pragma once

#include <cstddef>
#include <cstdint>

#include "filters/resample_kernels.h"

/// The definitions of the row kernels. The meaning is that of RESAMPLE_KERNELS; each starts at `i`, in the unit told,
/// so that a vector form leaves the rest of its row to the definition.

void resample_double_width_yc48_ref(uint8_t* dst, const uint8_t* src, int i, int w);  // source pixels
void resample_double_width_yuy2_ref(uint8_t* dst, const uint8_t* src, int i, int w);  // source pairs
void resample_halve_width_yc48_ref(uint8_t* dst, const uint8_t* src, int i, int w);   // output pixels
void resample_halve_width_yuy2_ref(uint8_t* dst, const uint8_t* src, int i, int w);   // output pairs
void resample_lean_yc48_ref(uint8_t* dst, const uint8_t* c, const uint8_t* side, size_t i, size_t bytes);  // bytes
void resample_lean_yuy2_ref(uint8_t* dst, const uint8_t* c, const uint8_t* side, size_t i, size_t bytes);
void resample_mean_yc48_ref(uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t i, size_t bytes);
void resample_mean_yuy2_ref(uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t i, size_t bytes);
void resample_blend_yc48_ref(uint8_t* dst, const uint8_t* const rows[3], const int16_t weights[4], size_t i,
                             size_t bytes);
void resample_blend_yuy2_ref(uint8_t* dst, const uint8_t* const rows[3], const int16_t weights[4], size_t i,
                             size_t bytes);
