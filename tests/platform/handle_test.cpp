#include "platform/handle.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <vector>

#include "platform/memory.h"

namespace {

TEST(Handle, ResolvesOnlyWhileAlive) {
    int a = 0, b = 0;
    const uint32_t id_a = handle_new(&a), id_b = handle_new(&b);
    EXPECT_EQ(handle_get(id_a), &a);
    for (int i = 0; i < 2; ++i) handle_free(id_a);
    EXPECT_EQ(handle_get(id_a), nullptr);
    const uint32_t id_c = handle_new(&b);
    EXPECT_EQ(handle_get(id_a), nullptr);  // the place is used again, the id is not
    handle_free(id_a);
    EXPECT_EQ(handle_get(id_c), &b);
    for (const uint32_t id : {0u, 0xFFFFu, 0xFFFFFFFFu, 0x10000u}) EXPECT_EQ(handle_get(id), nullptr);
    EXPECT_EQ(handle_new(nullptr), 0u);
    for (const uint32_t id : {id_b, id_c}) handle_free(id);
}

TEST(Handle, IdsNeverRepeatAndRunOut) {
    int object = 0;
    std::set<uint32_t> seen;
    for (int i = 0; i < 200000; ++i) {  // more than one place has uses
        const uint32_t id = handle_new(&object);
        ASSERT_NE(id, 0u);
        ASSERT_TRUE(seen.insert(id).second) << i;
        handle_free(id);
    }
    std::vector<uint32_t> ids;
    while (const uint32_t id = handle_new(&object)) ids.push_back(id);
    EXPECT_TRUE(ids.size() > 65000 && ids.size() < 65536) << ids.size();
    for (const uint32_t id : ids) handle_free(id);
    const uint32_t again = handle_new(&object);
    EXPECT_EQ(handle_get(again), &object);
    handle_free(again);
}

TEST(Memory, PagesAreZeroAlignedAndBounded) {
    for (const size_t size : {size_t(0), size_t(1), size_t(4096), size_t(4097), size_t(1) << 24}) {
        const PAGE_PTR pages = page_alloc_bytes(size);
        ASSERT_NE(pages, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(pages.get()) % 4096, 0u);
        for (size_t i = 0; i < size; i += 511) ASSERT_EQ(pages[i], 0);
        memset(pages.get(), 0xFF, size);
    }
    for (const size_t size : {SIZE_MAX, SIZE_MAX - 4096, SIZE_MAX / 2, size_t(1) << 62})
        EXPECT_EQ(page_alloc(size), nullptr);
    page_free(nullptr);
}

}  // namespace
