#pragma once

#include <cstddef>

/// Allocation that tells the user when memory is short ("メモリが足りません。") and then gives null. All blocks arrive
/// zeroed. mem_* hands out whole pages, heap_* small blocks. Any thread may free; allocate on the main thread.
void* mem_alloc(size_t size);
void mem_free(void* block);
void* heap_alloc(size_t size);
void heap_free(void* block);

/// Tells the user that memory is short.
void memory_warn();
