#include "hosts/filter_cache.h"

#include <csignal>
#include <cstring>
#include <memory>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/profile.h"
#include "filter_fixture.h"
#include "pixels/frame_buffer.h"
#include "resources/string_ids.h"

/// An edit of ten frames whose pictures come from a deinterlace method: every word of frame n is n. A chain filter
/// "add" in front of "user" adds 100, so what comes out of a cache tells how it was made.
struct FILTER_CACHE_TEST : FILTER_TABLE_TEST {
    static constexpr int W = 40, H = 30, FRAMES = 10;
    std::unique_ptr<EDIT_STATE> edit;
    FILTER* add_filter;
    FILTER* user;

    static void change(FILTER_PROC_PARAM* param, bool add, int value) {
        auto* image = reinterpret_cast<uint8_t*>(param->image);
        for (int y = 0; y < param->height; ++y) {
            auto* row = reinterpret_cast<int16_t*>(image + y * param->line_size);
            for (int x = 0; x < param->width * 3; ++x) row[x] = int16_t(value + (add ? row[x] : 0));
        }
    }
    void SetUp() override {
        FILTER_TABLE_TEST::SetUp();
        edit = std::make_unique<EDIT_STATE>();
        edit->edit_flag = EDIT_OPEN;
        edit->width = W;
        edit->height = H;
        edit->frame_n = FRAMES;
        std::strncpy(edit->profile_name[0], profile_current(), PATH_SIZE - 1);
        ASSERT_EQ(frame_table_alloc(FRAMES), 1);
        FILTER method = record("source", FILTER_F_DEINTERLACE_METHOD);
        method.func_proc = [](FILTER*, FILTER_PROC_PARAM* param) { return change(param, false, param->frame), 1; };
        add(method);
        FILTER adder = record("add", FILTER_F_ACTIVE);
        adder.func_proc = [](FILTER*, FILTER_PROC_PARAM* param) { return change(param, true, 100), 1; };
        add_filter = add(adder);
        user = add("user", FILTER_F_ACTIVE | FILTER_F_TEMPORAL);
        start();
        filter_select(filter_built_in(STR_FILTER_DEINTERLACE), 6);
    }
    void TearDown() override {
        FILTER_TABLE_TEST::TearDown();
        frame_table_free();
    }
    int word(const uint8_t* image, int x, int y) const {
        int16_t value;
        std::memcpy(&value, image + (y * user->cache_width + x) * 6, sizeof value);
        return value;
    }
    int read(int n) {
        const uint8_t* image = filter_cache_read(user, edit.get(), n);
        return image ? word(image, 0, 0) : -1;
    }
    /// How often the chain ran for reading frames.
    size_t runs(std::initializer_list<int> frames) {
        return steps_of([&] {
                   for (const int n : frames) EXPECT_EQ(read(n), 100 + n);
               }).size() /
               2;
    }
};

TEST_F(FILTER_CACHE_TEST, KeepsTheFramesUsedLast) {
    ASSERT_EQ(filter_cache_configure(user, W, H, 3, 0), 1);
    EXPECT_EQ(runs({1, 1}), 1u);
    EXPECT_EQ(runs({2, 3, 1, 4}), 3u);
    EXPECT_EQ(runs({1, 3, 4}), 0u);  // 4 took the place of 2
    EXPECT_EQ(runs({2}), 1u);
    EXPECT_EQ(read(-5), 100);
    EXPECT_EQ(read(99), 109);
    edit->edit_flag = 0;
    EXPECT_EQ(read(4), -1);
}

TEST_F(FILTER_CACHE_TEST, CutsPicturesToTheirRoom) {
    int w = 0, h = 0;
    EXPECT_EQ(filter_cache_read_sized(user, edit.get(), 3, &w, &h), nullptr);  // nothing asked for yet
    EXPECT_EQ(w * 1000 + h, W * 1000 + H);
    // With a margin: the picture may fill 32 x 24 of 40 x 32, and nothing around it is touched.
    ASSERT_EQ(filter_cache_configure(user, 40, 32, 2, FILTER_CACHE_MARGIN), 1);
    const uint8_t* image = filter_cache_read_sized(user, edit.get(), 3, &w, &h);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(w * 1000 + h, W * 1000 + H);
    EXPECT_EQ(image - static_cast<uint8_t*>(user->cache_store), 2 * 16 + 41 * 4 * 6 + 8);
    EXPECT_EQ(word(image, 31, 23), 103);
    for (const auto& [x, y] : {std::pair{-1, 0}, {0, -1}, {32, 5}, {0, 24}, {35, 27}}) EXPECT_EQ(word(image, x, y), 0);
}

TEST_F(FILTER_CACHE_TEST, TakesMemoryOnlyWhileTheFilterIsOn) {
    filter_set_active(user, false);
    ASSERT_EQ(filter_cache_configure(user, W, H, 2, 0), 1);
    EXPECT_EQ(user->cache_store, nullptr);
    EXPECT_EQ(read(1), -1);
    filter_set_active(user, true);
    EXPECT_NE(user->cache_store, nullptr);
    EXPECT_EQ(read(1), 101);
    void* store = user->cache_store;
    ASSERT_EQ(filter_cache_configure(user, W, H, 2, 0), 1);
    EXPECT_EQ(user->cache_store, store);
    EXPECT_EQ(runs({1}), 0u);
    ASSERT_EQ(filter_cache_configure(user, W, H, 3, 0), 1);
    EXPECT_EQ(runs({1}), 1u);
    for (const int bad : {0, -1, 40000}) EXPECT_EQ(filter_cache_configure(user, bad, H, 2, 0), 0);
    EXPECT_EQ(filter_cache_configure(user, W, H, -1, 0), 0);
    ASSERT_EQ(filter_cache_configure(user, 0, 0, 0, 0), 1);
    EXPECT_EQ(user->cache_store, nullptr);
}

TEST_F(FILTER_CACHE_TEST, IsEmptiedByChangesInFrontOfIt) {
    FILTER* holder = filter_built_in(STR_FILTER_DEINTERLACE);
    ASSERT_EQ(filter_cache_configure(user, W, H, 2, 0), 1);
    runs({1});
    filter_notify_update(user, 0);  // its own change leaves its input alone
    EXPECT_EQ(runs({1}), 0u);
    filter_notify_update(filter_built_in(STR_FILTER_VOLUME), 0);
    EXPECT_EQ(runs({1}), 0u);
    filter_notify_update(add_filter, 0);
    EXPECT_EQ(runs({1}), 1u);
    filter_notify_update(holder, 0);
    EXPECT_EQ(runs({1}), 1u);
    filter_chain_rebuild();
    EXPECT_EQ(runs({1}), 1u);
    filter_set_active(add_filter, false);
    EXPECT_EQ(read(1), 1);
}

TEST_F(FILTER_CACHE_TEST, EndsAtTheSourceInsideItsOwnFill) {
    static FILTER* cached;
    static EDIT_STATE* open_edit;
    static int inner;
    cached = user;
    open_edit = edit.get();
    ASSERT_EQ(filter_cache_configure(user, W, H, 4, 0), 1);
    add_filter->func_proc = [](FILTER*, FILTER_PROC_PARAM* param) {
        const uint8_t* image = filter_cache_read(cached, open_edit, 7);
        inner = *reinterpret_cast<const int16_t*>(image);
        filter_cache_clear_all();  // leaves a cache alone that is being filled
        EXPECT_EQ(filter_cache_configure(cached, W, H, 9, 0), 0);
        return change(param, true, 100), 1;
    };
    EXPECT_EQ(read(2), 102);
    EXPECT_EQ(inner, 7);
    EXPECT_EQ(read(7), 7);  // still there
}

TEST_F(FILTER_CACHE_TEST, SurvivesWhatHappensDuringAFill) {
    static FILTER* cached;
    static EDIT_STATE* open_edit;
    cached = user;
    open_edit = edit.get();
    ASSERT_EQ(filter_cache_configure(user, W, H, 2, 0), 1);
    // Switched off while its picture is being made: the memory goes when the fill ends.
    add_filter->func_proc = [](FILTER*, FILTER_PROC_PARAM* param) {
        filter_set_active(cached, false);
        return change(param, true, 100), 1;
    };
    EXPECT_EQ(read(2), -1);
    EXPECT_EQ(user->cache_store, nullptr);
    EXPECT_EQ(user->cache_frame_a, nullptr);
    filter_set_active(user, true);
    // A reader that is abandoned in the midst of a read leaves no fill open.
    add_filter->func_proc = [](FILTER*, FILTER_PROC_PARAM* param) { return change(param, true, 100), 1; };
    user->func_proc = [](FILTER* filter, FILTER_PROC_PARAM*) -> int {
        filter_cache_read(filter, open_edit, 5);
        return 1;
    };
    FILTER_PROC_PARAM param{};
    static bool crashed;
    filter_chain_set_observer(
        [](const char* name, int, void*) {
            if (std::strcmp(name, "add") == 0 && !crashed) crashed = true, std::raise(SIGSEGV);
        },
        nullptr);
    filter_chain_run(&param, profile_current(), user, nullptr);
    EXPECT_EQ(faults, STEPS{"user FILTER::func_proc()"});
    EXPECT_EQ(filter_cache_configure(user, W, H, 3, 0), 1);
    EXPECT_EQ(runs({5}), 1u);
}
