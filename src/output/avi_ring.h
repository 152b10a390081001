#pragma once

#include <cstddef>
#include <cstdint>

/// A ring buffer with a disk thread behind it: the caller copies its bytes in and goes on, the thread stores them in
/// the file in their order. Two threads only: the caller, always the same, and the disk thread. The file may be touched
/// by the caller only while the ring is empty (after avi_ring_flush).
struct AVI_RING;

/// A ring of 4 units whose bytes go to `file` from `position` on. unit: bytes of a write to the disk, at least 1. Null
/// when memory or a thread is short.
AVI_RING* avi_ring_start(int file, uint64_t position, size_t unit);

/// Stores n bytes, waiting while there is no room. False once a write to the disk was short: the bytes are lost then.
bool avi_ring_put(AVI_RING* ring, const void* data, size_t n);

/// Waits until all bytes are in the file. False when the thread has ended over a short write.
bool avi_ring_flush(AVI_RING* ring);

/// File position up to which all bytes are in the file. Exact after a flush (also a failed one) or a failed put.
uint64_t avi_ring_stored(const AVI_RING* ring);

/// Ends the thread and frees the ring; what was not flushed is lost. Waits at most 10 s: a thread that hangs in the
/// disk keeps its memory, and false tells of it.
bool avi_ring_stop(AVI_RING* ring);
