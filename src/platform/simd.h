#pragma once

/// Whether kernels may use their vector form. Off means: run the scalar definition (keys `sse`, `sse2`). Written by
/// start-up and by the settings dialog on the main thread between jobs; read by every kernel's front.
extern bool simd_enabled;
