#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

/// Memory for frames and tables: whole pages straight from the machine, zero-filled, page-aligned. Any thread.

/// At least size bytes (size 0 gives a page). Null when the machine has none; errno tells. Nobody is told.
void* page_alloc(size_t size);
/// Gives the pages back. Null is allowed; anything else must come from page_alloc.
void page_free(void* ptr);

struct PAGE_DELETE {
    void operator()(void* ptr) const { page_free(ptr); }
};
using PAGE_PTR = std::unique_ptr<uint8_t[], PAGE_DELETE>;
inline PAGE_PTR page_alloc_bytes(size_t size) { return PAGE_PTR(static_cast<uint8_t*>(page_alloc(size))); }
