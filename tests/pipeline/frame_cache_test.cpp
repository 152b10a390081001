#include "pipeline/frame_cache.h"

#include "core/edit_fixture.h"
#include "hosts/filter.h"
#include "pipeline/frame_renderer.h"
#include "pixels/frame_buffer.h"
#include "platform/handle.h"
#include "resources/string_ids.h"

struct FrameCache : EDIT_FIXTURE {
    void open(int frames) {
        ASSERT_EQ(open_file(edit, clip("a.avi", {64, 48, 30, 1, frames, 24, 0, 0}).c_str(), 0), 1);
    }
    std::vector<int32_t> keys() const {
        std::vector<int32_t> all;
        FRAME_CACHE_ENTRY entry;
        for (int i = 0; frame_cache_entry(i, &entry); ++i) all.push_back(entry.key);
        return all;
    }
};

TEST_F(FrameCache, LeastRecentlyUsedGoesFirst) {
    open(30);
    const int depth = int(keys().size());
    for (int f = 0; f < depth; ++f) frame_cache_get(edit, f, 0);
    const uint8_t* kept = frame_cache_get(edit, 0, 0);
    frame_cache_get(edit, depth, 0);
    EXPECT_EQ(frame_cache_get(edit, 0, 0), kept);
    const std::vector<int32_t> now = keys();
    EXPECT_EQ(std::count(now.begin(), now.end(), 1), 0);
    EXPECT_EQ(now[1], depth);
    frame_cache_get(edit, -5, 0);
    frame_cache_get(edit, 99, 0);
    EXPECT_EQ(keys()[2], 29);
    // An offset goes to the stored neighbour, however the edit is cut.
    frame_table.frame_video[3] = 20;
    EXPECT_NE(frame_cache_get(edit, 3, -1), nullptr);
    EXPECT_EQ(keys()[3], 19);
}

TEST_F(FrameCache, RerankPutsLowReferencesFirst) {
    open(30);
    for (const int f : {5, 2, 9}) frame_cache_get(edit, f, 0);
    frame_cache_rerank();
    const int depth = int(keys().size());
    for (int i = 0; i < depth - 3; ++i) frame_cache_get(edit, 20 + i, 0);  // empty entries are taken first
    EXPECT_EQ(keys()[0], 5);
    frame_cache_rerank();
    frame_cache_get(edit, 12, 0);
    EXPECT_EQ(keys()[1], 12);  // 2 was the lowest
    frame_cache_reset();
    for (const int32_t key : keys()) EXPECT_EQ(key, INT32_MIN);
}

TEST_F(FrameCache, AnotherSizeIsBroughtToTheEdit) {
    open(4);
    ASSERT_EQ(open_file(edit, clip("b.avi", {64, 96, 30, 1, 2, 24, 0, 0}).c_str(), OPEN_APPEND), 1);
    const uint8_t* image = frame_cache_get(edit, 4, 0);
    // Halving takes means: a white flash frame stays white in the middle.
    for (const int y : {4, 20, 36})
        EXPECT_NEAR(reinterpret_cast<const YC48_PIXEL*>(image + y * frame_geometry.stride)[40].y, 3856, 4) << y;
}

TEST_F(FrameCache, PaintingKeepsFlagsAndFetchesTheWave) {
    ASSERT_EQ(open_file(edit, clip("a.avi", {64, 48, 25, 1, 10, 24, 44100, 0}).c_str(), 0), 1);
    edit->view.view_flag = VIEW_WAVE | VIEW_SHOW_DROPS;
    edit->select_end = 4;
    const auto shown = [&](int frame) {
        edit->frame = frame;
        render_current(edit);
        paint_current(edit);
        return edit->view.view_flag & (VIEW_AT_START | VIEW_AT_END | VIEW_IS_DROP);
    };
    EXPECT_EQ(shown(0), uint32_t{VIEW_AT_START});
    EXPECT_EQ(shown(4), uint32_t{VIEW_AT_END});
    filter_select(filter_built_in(STR_FILTER_RATE_CHANGE), 3);  // one frame in two
    EXPECT_EQ(shown(3), uint32_t{VIEW_IS_DROP});
    EXPECT_EQ(shown(2), 0u);
    EXPECT_EQ(edit->edit_flag & EDIT_RELAYOUT, 0u);
    EXPECT_EQ(edit->shown_wave_n, 44100 / 25 * 2);
    EXPECT_NE(edit->shown_wave, edit->shown_image);
    EXPECT_NE(handle_get(edit->shown_wave), nullptr);
}
