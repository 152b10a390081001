#include "platform/memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

// A page of its own ahead of the memory holds the mapping's size, so the memory itself begins on a page.
static size_t page_size() {
    static const size_t size = size_t(sysconf(_SC_PAGESIZE));
    return size;
}

void* page_alloc(size_t size) {
    const size_t page = page_size();
    if (size > PTRDIFF_MAX - 2 * page) {
        errno = ENOMEM;
        return nullptr;
    }
    const size_t total = page + (size == 0 ? page : (size + page - 1) / page * page);
    void* mapping = mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED) return nullptr;
    *static_cast<size_t*>(mapping) = total;
    return static_cast<uint8_t*>(mapping) + page;
}

void page_free(void* ptr) {
    if (ptr == nullptr) return;
    void* mapping = static_cast<uint8_t*>(ptr) - page_size();
    munmap(mapping, *static_cast<size_t*>(mapping));
}
