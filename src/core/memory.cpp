#include "core/memory.h"

#include <cstdlib>

#include "core/message.h"
#include "platform/memory.h"
#include "resources/string_ids.h"

void memory_warn() { message_warn(STR_ERR_OUT_OF_MEMORY); }

static void* told(void* block) {
    if (!block) memory_warn();
    return block;
}

void* mem_alloc(size_t size) { return told(page_alloc(size)); }
void mem_free(void* block) { page_free(block); }
void* heap_alloc(size_t size) { return told(std::calloc(1, size ? size : 1)); }
void heap_free(void* block) { std::free(block); }
