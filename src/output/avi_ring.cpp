#include "output/avi_ring.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <utility>

#include "output/avi_disk.h"
#include "pipeline/background_job.h"
#include "platform/memory.h"

static constexpr size_t UNITS = 4;

struct AVI_RING {
    JOB_PTR job;
    PAGE_PTR memory;
    size_t size;  // UNITS * unit; one byte always stays free, so equal indices mean an empty ring
    size_t unit;
    int file;
    std::atomic<size_t> write;     // written by the caller
    std::atomic<int> flushing;     // written by the caller
    std::atomic<size_t> read;      // written by the disk thread
    std::atomic<uint64_t> stored;  // written by the disk thread
    std::atomic<bool> failed;      // written by the disk thread
};

/// The run of bytes that the disk thread may take now, 0 for none worth it.
static size_t run_length(const AVI_RING* ring) {
    const size_t read = ring->read.load(std::memory_order_relaxed);
    const bool flushing = ring->flushing.load(std::memory_order_acquire) != 0;
    const size_t write = ring->write.load(std::memory_order_acquire);
    const size_t n = (write >= read ? write : ring->size) - read;
    if (flushing) return n;
    if (n >= ring->unit) return ring->unit - read % ring->unit;
    return write >= read ? 0 : n;
}

/// The job of the disk thread: stores what there is. A short write ends the thread.
static int store_runs(BACKGROUND_JOB* job, void* data) {
    AVI_RING* ring = static_cast<AVI_RING*>(data);
    while (const size_t n = run_length(ring)) {
        const size_t read = ring->read.load(std::memory_order_relaxed);
        const uint64_t position = ring->stored.load(std::memory_order_relaxed);
        const int64_t done = avi_disk_write(ring->file, ring->memory.get() + read, n, position);
        ring->stored.store(position + uint64_t(done), std::memory_order_release);
        if (done != int64_t(n)) {
            ring->failed.store(true, std::memory_order_release);
            return 0;
        }
        ring->read.store(read + n == ring->size ? 0 : read + n, std::memory_order_release);
        job_done(job);
    }
    return 1;
}

AVI_RING* avi_ring_start(int file, uint64_t position, size_t unit) {
    AVI_RING* ring = new (std::nothrow) AVI_RING{};
    if (!ring) return nullptr;
    ring->size = UNITS * unit;
    ring->unit = unit;
    ring->file = file;
    ring->stored = position;
    ring->memory = page_alloc_bytes(ring->size);
    if (ring->memory) ring->job = job_start(store_runs, ring);
    if (ring->job) return ring;
    delete ring;
    return nullptr;
}

/// Free bytes up to the end of the buffer or up to the byte before `read`.
static size_t room_length(const AVI_RING* ring, size_t write) {
    const size_t read = ring->read.load(std::memory_order_acquire);
    if (write < read) return read - write - 1;
    return ring->size - write - (read == 0 ? 1 : 0);
}

bool avi_ring_put(AVI_RING* ring, const void* data, size_t n) {
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    while (n > 0 && !ring->failed.load(std::memory_order_acquire)) {
        const size_t write = ring->write.load(std::memory_order_relaxed);
        const size_t part = std::min(n, room_length(ring, write));
        if (part == 0) {
            if (!job_run_wait(ring->job.get())) return false;
            continue;
        }
        std::memcpy(ring->memory.get() + write, bytes, part);
        ring->write.store(write + part == ring->size ? 0 : write + part, std::memory_order_release);
        // A wake costs more than a small chunk. What the thread could not take yet needs none: a stale `read` here only
        // makes the run look longer.
        if (run_length(ring) > 0) job_signal(ring->job.get());
        bytes += part;
        n -= part;
    }
    return n == 0;
}

static bool ring_empty(const AVI_RING* ring) {
    return ring->read.load(std::memory_order_acquire) == ring->write.load(std::memory_order_relaxed);
}

bool avi_ring_flush(AVI_RING* ring) {
    ring->flushing.fetch_add(1, std::memory_order_release);
    while (!ring_empty(ring) && job_run_wait(ring->job.get())) {
    }
    ring->flushing.fetch_sub(1, std::memory_order_release);
    return ring_empty(ring);
}

uint64_t avi_ring_stored(const AVI_RING* ring) { return ring->stored.load(std::memory_order_acquire); }

bool avi_ring_stop(AVI_RING* ring) {
    // A thread that hangs in the disk still uses the ring, which is left to it.
    if (!job_stop(std::move(ring->job))) return false;
    delete ring;
    return true;
}
