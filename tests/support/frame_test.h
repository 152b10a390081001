#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "pixels/frame_buffer.h"
#include "platform/parallel.h"

/// Helpers of tests that work on whole pictures.

/// A dispatcher for parallel_set_dispatch that runs the threads of a job one after the other, the last one first, so
/// that a band that waits for another one's bytes is found out.
inline int fake_threads = 1;
inline void fake_dispatch(PARALLEL_FUNC func, void* data) {
    for (int i = fake_threads - 1; i >= 0; --i) func(i, fake_threads, data);
}

/// A FRAME_BUFFER of the current geometry.
struct FRAME {
    uint8_t* image = frame_buffer_new();
    FRAME() = default;
    FRAME(const FRAME&) = delete;
    FRAME& operator=(const FRAME&) = delete;
    ~FRAME() { frame_buffer_free(image); }
    /// The picture with its margins.
    std::span<uint8_t> block() const { return {image - frame_geometry.origin, frame_geometry.block_size}; }
    std::vector<uint8_t> copy() const { return {block().begin(), block().end()}; }
};
