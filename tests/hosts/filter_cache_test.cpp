#include "hosts/filter_cache.h"

#include <csignal>

#include "frame_source_fixture.h"

/// Every word of frame n is n. A chain filter "add" in front of "user" adds 100, so what comes out of a cache tells how
/// it was made.
struct FILTER_CACHE_TEST : FRAME_SOURCE_TEST {
    static constexpr int W = 40, H = 30;
    FILTER* add_filter;
    inline static FILTER* user;
    inline static EDIT_STATE* open_edit;

    static int add_100(FILTER*, FILTER_PROC_PARAM* param) {
        for_samples(param, [](int16_t* at, int, int) { *at = int16_t(*at + 100); });
        return 1;
    }
    void SetUp() override {
        FRAME_SOURCE_TEST::SetUp();
        width = W, height = H;
        sample = [](int n, int, int) { return n; };
        FILTER adder = record("add", FILTER_F_ACTIVE);
        adder.func_proc = add_100;
        start_with({{&add_filter, adder}, {&user, record("user", FILTER_F_ACTIVE | FILTER_F_TEMPORAL)}});
        open_edit = edit.get();
    }
    static int word(const uint8_t* image, int x, int y) {
        return reinterpret_cast<const int16_t*>(image)[(y * user->cache_width + x) * 3];
    }
    int read(int n) {
        const uint8_t* image = filter_cache_read(user, edit.get(), n);
        return image ? word(image, 0, 0) : -1;
    }
    /// How often the chain ran for reading frames.
    size_t runs(std::initializer_list<int> frames) {
        const auto read_all = [&] { std::ranges::for_each(frames, [&](int n) { EXPECT_EQ(read(n), 100 + n); }); };
        return steps_of(read_all).size() / 2;
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
    ASSERT_EQ(filter_cache_configure(user, W, H, 2, 0), 1);
    runs({1});
    const std::pair<FILTER*, size_t> rows[] = {{user, 0},  // its own change leaves its input alone
                                               {filter_built_in(STR_FILTER_VOLUME), 0},
                                               {add_filter, 1},
                                               {filter_built_in(STR_FILTER_DEINTERLACE), 1}};
    for (const auto& [changed, renders] : rows) {
        filter_notify_update(changed, 0);
        EXPECT_EQ(runs({1}), renders) << changed->name;
    }
    filter_chain_rebuild();
    EXPECT_EQ(runs({1}), 1u);
    filter_set_active(add_filter, false);
    EXPECT_EQ(read(1), 1);
}

TEST_F(FILTER_CACHE_TEST, EndsAtTheSourceInsideItsOwnFill) {
    static int inner;
    ASSERT_EQ(filter_cache_configure(user, W, H, 4, 0), 1);
    add_filter->func_proc = [](FILTER* filter, FILTER_PROC_PARAM* param) {
        inner = word(filter_cache_read(user, open_edit, 7), 0, 0);
        filter_cache_clear_all();  // leaves a cache alone that is being filled
        EXPECT_EQ(filter_cache_configure(user, W, H, 9, 0), 0);
        return add_100(filter, param);
    };
    EXPECT_EQ(read(2), 102);
    EXPECT_EQ(inner, 7);
    EXPECT_EQ(read(7), 7);  // still there
}

TEST_F(FILTER_CACHE_TEST, SurvivesWhatHappensDuringAFill) {
    ASSERT_EQ(filter_cache_configure(user, W, H, 2, 0), 1);
    // Switched off while its picture is being made: the memory goes when the fill ends.
    add_filter->func_proc = [](FILTER* filter, FILTER_PROC_PARAM* param) {
        filter_set_active(user, false);
        return add_100(filter, param);
    };
    EXPECT_EQ(read(2), -1);
    EXPECT_EQ(user->cache_store, nullptr);
    EXPECT_EQ(user->cache_frame_a, nullptr);
    filter_set_active(user, true);
    // A reader that is abandoned in the midst of a read leaves no fill open.
    add_filter->func_proc = add_100;
    user->func_proc = [](FILTER* filter, FILTER_PROC_PARAM*) {
        return int(filter_cache_read(filter, open_edit, 5) != nullptr);
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
