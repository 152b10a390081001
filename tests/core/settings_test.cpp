#include "core/settings.h"

#include <gtest/gtest.h>

#include "core/edit_state.h"
#include "core/fps_list.h"
#include "core/frame_table.h"
#include "core/media.h"
#include "platform/file.h"

/// Values written into the settings file, and what the program makes of them.
TEST(Settings, BoundsHold) {
    const struct {
        const char* text;
        int SYSTEM_SETTINGS::*value;
        int want;
    } rows[] = {
        {"width=1281", &SYSTEM_SETTINGS::width, 1288},
        {"height=-5", &SYSTEM_SETTINGS::height, 240},
        {"frame=1000", &SYSTEM_SETTINGS::frame, 1024},
        {"cache=1", &SYSTEM_SETTINGS::cache, 2},
        {"startframe=5", &SYSTEM_SETTINGS::startframe, 1},
        {"loadhistory=15", &SYSTEM_SETTINGS::loadhistory, 10},
        {"multithread=100", &SYSTEM_SETTINGS::multithread, 64},
        {"other=1", &SYSTEM_SETTINGS::saveunitsize, 4096},
        {"moveC=-7", &SYSTEM_SETTINGS::moveC, -7},
    };
    for (const auto& row : rows) {
        const std::string text = std::string("[system]\n") + row.text + "\n";
        ASSERT_TRUE(file_replace(settings_file(), text.data(), text.size()));
        settings_read();
        EXPECT_EQ(system_settings.*row.value, row.want) << row.text;
    }
    file_delete(settings_file());
}

TEST(FpsList, ParsesEveryForm) {
    FPS_LIST list;
    fps_list_parse(&list, "*,30000/1001; 23.976 ,25 ;12.50009,bad,60");
    ASSERT_EQ(list.n, 5);
    EXPECT_EQ(list.no_conversion, 0);
    std::string all;
    for (const auto& [rate, scale, label] : std::span(list.entry, 5))
        all += std::to_string(rate) + "/" + std::to_string(scale) + " " + label + "; ";
    EXPECT_EQ(all, "0/0 ; 30000/1001 29.97fps; 239760/10000 23.976fps; 250000/10000 25fps; 125000/10000 12.5fps; ");
    fps_list_parse(&list, "60,*,30");
    EXPECT_EQ(list.no_conversion, 1);
    for (const char* text : {"", "99999999999", "1/0", "300000", "/", ",,"}) {
        fps_list_parse(&list, text);
        EXPECT_EQ(list.n, 1) << text;
    }
    std::string many;
    for (int i = 1; i < 100; ++i) many += std::to_string(i) + ",";
    fps_list_parse(&list, many.c_str());
    EXPECT_EQ(list.n, FPS_MAX);
}

TEST(FrameRef, BiasAndBorders) {
    EXPECT_EQ(frame_ref_source(frame_ref_make(1, 0) - 1), 1);
    EXPECT_EQ(frame_ref_number(frame_ref_make(1, 0) - 1), -1);
    EXPECT_EQ(frame_ref_source(frame_ref_make(2, 16776959) + 1), 3);
    EXPECT_EQ(frame_ref_number(frame_ref_make(2, 16776959) + 1), -256);
}

TEST(FrameTable, RowsAroundItAreReadable) {
    ASSERT_EQ(frame_table_alloc(1024), 1);
    for (int i = -8; i < 1024 + 8; ++i) frame_table.frame_flag[i] = 0xF3, frame_table.frame_video[i] = uint32_t(i);
    frame_table_clear();
    for (int i = -8; i < 1024 + 8; ++i) EXPECT_EQ(frame_table.frame_video[i] | frame_table.frame_flag[i], 0u);
    frame_table_free();
}

TEST(MapFrame, GoesByTheFormula) {
    MEDIA_RECORD a{}, b{};
    a.video_stream.dwRate = 25, a.video_stream.dwScale = 1;
    b.video_stream.dwRate = 30000, b.video_stream.dwScale = 1001;
    a.video_stream.dwLength = 100, a.media_frames = 100;
    EXPECT_EQ(map_frame(&a, 30, &b), 25);  // 30 * 25 * 1001 / 30000 = 25.025
    EXPECT_EQ(map_frame(&a, 29, &b), 24);
    EXPECT_EQ(map_frame(&a, 999, &b), 99);  // held to its frames
    EXPECT_EQ(map_frame(&b, 100, &a), 119);
    EXPECT_EQ(map_frame(&b, -3, &a), -3);  // cut towards zero, not held
    EXPECT_EQ(map_frame(&a, 12345, &a), 12345);
}
