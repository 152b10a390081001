#include "readers/chunk_index.h"

#include <algorithm>

#include "platform/memory.h"

static constexpr size_t SUM_STEP = 64;

bool chunk_table_alloc(CHUNK_TABLE* table, uint64_t n) {
    table->capacity = size_t(std::min(n, CHUNK_N_MAX));
    if (table->capacity == 0) return false;
    table->entry = static_cast<CHUNK_ENTRY*>(page_alloc(table->capacity * sizeof(CHUNK_ENTRY)));
    if (!table->entry) table->capacity = 0;
    return table->entry != nullptr;
}

void chunk_table_free(CHUNK_TABLE* table) {
    page_free(table->entry);
    page_free(table->sum);
    *table = {};
}

void chunk_table_add(CHUNK_TABLE* table, uint64_t position, uint32_t size) {
    if (table->n < table->capacity) table->entry[table->n++] = {uint32_t(position), uint32_t(position >> 32), size};
}

bool chunk_table_sum(CHUNK_TABLE* table) {
    table->sum = static_cast<uint64_t*>(page_alloc((table->n / SUM_STEP + 1) * sizeof(uint64_t)));
    if (!table->sum) return false;
    uint64_t bytes = 0;
    for (size_t i = 0; i < table->n; ++i) {
        if (i % SUM_STEP == 0) table->sum[i / SUM_STEP] = bytes;
        bytes += chunk_size(table->entry[i]);
    }
    table->bytes = bytes;
    return true;
}

uint64_t chunk_table_bytes_before(const CHUNK_TABLE& table, size_t n) {
    if (n >= table.n) return table.bytes;
    uint64_t bytes = table.sum[n / SUM_STEP];
    for (size_t i = n / SUM_STEP * SUM_STEP; i < n; ++i) bytes += chunk_size(table.entry[i]);
    return bytes;
}

size_t chunk_table_find(const CHUNK_TABLE& table, uint64_t offset, uint32_t* inside) {
    const uint64_t* end = table.sum + (table.n + SUM_STEP - 1) / SUM_STEP;
    const uint64_t* sum = std::upper_bound<const uint64_t*>(table.sum, end, offset) - 1;  // sum[0] is 0
    uint64_t left = offset - *sum;
    size_t i = size_t(sum - table.sum) * SUM_STEP;
    while (left >= chunk_size(table.entry[i])) left -= chunk_size(table.entry[i++]);
    *inside = uint32_t(left);
    return i;
}
