#pragma once

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/profile.h"
#include "hosts/filter_cache.h"
#include "hosts/filter_fixture.h"
#include "pixels/frame_buffer.h"
#include "resources/string_ids.h"

/// An edit of ten frames whose pictures come from a deinterlace method "source": sample i of row y of frame n is
/// sample(n, y, i), at a size that the test may change. The filters of the chain are the test's own.
struct FRAME_SOURCE_TEST : FILTER_TABLE_TEST {
    static constexpr int FRAMES = 10;
    static inline int width, height;
    static inline int (*sample)(int n, int y, int i);
    std::unique_ptr<EDIT_STATE> edit = std::make_unique<EDIT_STATE>();

    FRAME_SOURCE_TEST() { frame_geometry = frame_geometry_make(320, 240, 6); }
    /// Puts up the chain: the source and the filters given.
    void start_with(std::initializer_list<std::pair<FILTER**, FILTER>> filters) {
        edit->edit_flag = EDIT_OPEN;
        edit->width = width, edit->height = height;
        edit->frame_n = FRAMES;
        std::strncpy(edit->profile_name[0], profile_current(), PATH_SIZE - 1);
        ASSERT_EQ(frame_table_alloc(FRAMES), 1);
        FILTER method = record("source", FILTER_F_DEINTERLACE_METHOD);
        method.func_proc = draw;
        add(method);
        for (const auto& [filter, what] : filters) *filter = add(what);
        start();
        filter_select(filter_built_in(STR_FILTER_DEINTERLACE), 6);
    }
    void TearDown() override {
        FILTER_TABLE_TEST::TearDown();
        frame_table_free();
    }
    static int draw(FILTER*, FILTER_PROC_PARAM* param) {
        param->width = width, param->height = height;
        for_samples(param, [&](int16_t* at, int y, int i) { *at = int16_t(sample(param->frame, y, i)); });
        return 1;
    }
    template <class FUNC>
    static void for_samples(const FILTER_PROC_PARAM* param, const FUNC& func) {
        for (int y = 0; y < param->height; ++y) {
            auto* row = reinterpret_cast<uint8_t*>(param->image) + ptrdiff_t{y} * param->line_size;
            for (int i = 0; i < param->width * 3; ++i) func(reinterpret_cast<int16_t*>(row) + i, y, i);
        }
    }
};
