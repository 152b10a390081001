#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "filter_fixture.h"
#include "hosts/filter_functions.h"
#include "hosts/filter_size_list.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static std::vector<std::string> list_names() {
    std::vector<std::string> names;
    names.reserve(size_t(filter_count()));
    for (int i = 0; i < filter_count(); ++i) names.push_back(text_to_utf8(filter_at(i)->name));
    return names;
}

static std::vector<int> checks_of(const FILTER* filter) {
    return {filter->check_values, filter->check_values + filter->check_count};
}

TEST(FilterLayout, IsThePublishedOneOnA32BitMachine) {
    const std::string root = VANTEL_SOURCE_DIR;
    const std::string command = "gcc -std=c11 -m32 -ffreestanding -fsyntax-only -Wall -Wextra -I" + root + "/sdk " +
                                root + "/tests/hosts/filter_layout_32.c";
    EXPECT_EQ(std::system(command.c_str()), 0);
}

TEST_F(FILTER_TABLE_TEST, ListsBuiltInFiltersInOrder) {
    const std::vector<std::string> all = {"再生ウィンドウ",
                                          "ツールウィンドウ",
                                          "ヒストグラム",
                                          "ノイズ除去フィルタ",
                                          "ノイズ除去(時間軸)フィルタ",
                                          "シャープフィルタ",
                                          "ぼかしフィルタ",
                                          "クリッピング＆リサイズ",
                                          "縁塗りつぶし",
                                          "色調補正",
                                          "拡張色調補正",
                                          "音声の位置調整",
                                          "音量の調整",
                                          "音量の最大化",
                                          "サイズの変更",
                                          "フレームレートの変更",
                                          "フレームレートの設定",
                                          "インターレースの解除",
                                          "フィールドオーダー",
                                          "なし",
                                          "奇数",
                                          "偶数",
                                          "二重化",
                                          "自動24fps",
                                          "自動",
                                          "色変換の設定",
                                          "__COLOR_OUT"};
    start();
    EXPECT_EQ(list_names(), all);
    EXPECT_EQ(filter_list()[27], nullptr);
    filter_system_exit();
    start(true);
    EXPECT_EQ(list_names(), std::vector<std::string>(all.begin() + 3, all.end()));
}

TEST_F(FILTER_TABLE_TEST, GivesBuiltInFiltersTheirFlagsAndNumbers) {
    struct ROW {
        int name;
        uint32_t flags;
        int menu_index;
    };
    const ROW rows[] = {{STR_FILTER_PLAY_WINDOW, 0x0200F004, 1},  {STR_FILTER_TOOL_WINDOW, 0x0200D004, 2},
                        {STR_FILTER_HISTOGRAM, 0x0200D004, 0},    {STR_FILTER_NOISE, 0x02000000, 3},
                        {STR_FILTER_NOISE_TIME, 0x0A000800, 4},   {STR_FILTER_CLIP, 0x02004400, 7},
                        {STR_FILTER_COLOR, 0x02001000, 9},        {STR_FILTER_COLOR_EXTENDED, 0x02001000, 10},
                        {STR_FILTER_SIZE, 0x0200062C, 11},        {STR_FILTER_DEINTERLACE, 0x020006AC, 17},
                        {STR_FILTER_FIELD_ORDER, 0x020003A4, 18}, {STR_NONE, 0x06100004, 21},
                        {STR_INTER_AUTO_24FPS, 0x06000004, 25},   {STR_FILTER_COLOR_OUT, 0x02000324, 20}};
    FILTER* plugin = add("plugin");
    start();
    for (const ROW& row : rows) {
        const FILTER* filter = filter_built_in(row.name);
        EXPECT_EQ(filter->flags & ~1u, row.flags) << filter->name;
        EXPECT_EQ(filter->menu_index, row.menu_index) << filter->name;
        EXPECT_EQ(bool(filter->flags & FILTER_F_ACTIVE), bool(row.flags & FILTER_F_ALWAYS_ON));
    }
    EXPECT_EQ(plugin->menu_index, 27);  // behind the six methods
}

TEST_F(FILTER_TABLE_TEST, StartsWithDefaultsAndTexts) {
    add("method", FILTER_F_DEINTERLACE_METHOD);
    start();
    const FILTER* blur = filter_built_in(STR_FILTER_BLUR);
    EXPECT_EQ(std::vector<int>(blur->track_values, blur->track_values + 4), (std::vector<int>{256, 2, 0, 1024}));
    EXPECT_STREQ(blur->track_labels[1], language_string(STR_TRACK_RANGE));
    EXPECT_EQ(filter_selected(filter_built_in(STR_FILTER_FIELD_ORDER)), 1);

    const FILTER* holder = filter_built_in(STR_FILTER_DEINTERLACE);
    EXPECT_EQ(checks_of(holder), (std::vector<int>{1, 0, 0, 0, 0, 0, 0}));
    EXPECT_STREQ(holder->check_labels[6], "method");
    EXPECT_STREQ(filter_deinterlace_method(6)->name, "method");
    EXPECT_TRUE(filter_deinterlace_method(6)->flags & FILTER_F_ALWAYS_ON);
    EXPECT_EQ(filter_deinterlace_method(7), nullptr);

    const FILTER* size = filter_built_in(STR_FILTER_SIZE);
    int stored[2];
    std::memcpy(stored, size->extra_data, sizeof stored);
    EXPECT_EQ(stored[0] * 1000 + stored[1], 320240);
    EXPECT_STREQ(size->check_labels[size->check_count - 1], language_string(STR_SIZE_GIVEN));
    // Menu entries are numbered in list order; the methods leave room for 96.
    EXPECT_EQ(size->track_values[1], 12100);
    EXPECT_EQ(filter_built_in(STR_FILTER_FIELD_ORDER)->track_values[1], holder->track_values[1] + 96);
    EXPECT_EQ(holder->track_values[2], holder->track_values[1] + 6);
}

TEST_F(FILTER_TABLE_TEST, KeepsOneEntryOfARadioListSelected) {
    FILTER* color = filter_built_in(STR_FILTER_COLOR_IN);
    filter_check_append(color, "BT.601", 1);
    filter_check_append(color, "BT.709", 0);
    start();
    EXPECT_EQ(checks_of(color), (std::vector<int>{-1, 1, 0}));
    EXPECT_EQ(filter_selected(color), 1);
    filter_select(color, 2);
    EXPECT_EQ(checks_of(color), (std::vector<int>{-1, 0, 1}));
    filter_select(color, 0);  // the heading
    EXPECT_EQ(filter_selected(color), 2);
    color->check_values[0] = 1;
    filter_check_update(color, 0);
    EXPECT_EQ(checks_of(color), (std::vector<int>{-1, 0, 1}));
    color->check_values[2] = 0;
    filter_check_update(color, 2);  // nothing is left: it stays selected
    EXPECT_EQ(filter_selected(color), 2);
    // A list that never gets more entries than the record has room for.
    int n = color->check_count;
    while (filter_check_append(color, "more", 0)) ++n;
    EXPECT_EQ(n, 32);
}

TEST_F(FILTER_TABLE_TEST, FindsTheChosenMethodByItsName) {
    add("one", FILTER_F_DEINTERLACE_METHOD);
    add("two", FILTER_F_DEINTERLACE_METHOD);
    start();
    FILTER* holder = filter_built_in(STR_FILTER_DEINTERLACE);
    filter_select(holder, 6);
    filter_notify_update(holder, 6 | FILTER_UPDATE_CHECK);
    EXPECT_STREQ(static_cast<char*>(holder->extra_data), "one");
    std::memcpy(holder->extra_data, "two", sizeof "two");
    filter_notify_update(holder, 0);
    EXPECT_EQ(filter_selected(holder), 7);
    std::memcpy(holder->extra_data, "gone", sizeof "gone");
    filter_notify_update(holder, 0);
    EXPECT_EQ(filter_selected(holder), 0);
}

TEST_F(FILTER_TABLE_TEST, InvalidatesAFilterWhoseInitFails) {
    FILTER bad = record("bad", FILTER_F_TEMPORAL);
    bad.func_init = [](FILTER*) { return 0; };
    bad.func_exit = [](FILTER*) -> int { throw std::runtime_error("called"); };
    FILTER crash = record("crash", 0);
    crash.func_init = [](FILTER*) -> int { return std::raise(SIGSEGV); };
    FILTER good = record("good", FILTER_F_ACTIVE);
    good.func_init = [](FILTER*) { return 1; };
    FILTER* filters[] = {add(bad), add(crash), add(good), add("method", FILTER_F_DEINTERLACE_METHOD)};
    start();
    for (const FILTER* filter : {filters[0], filters[1]}) {
        EXPECT_STREQ(filter->name, "_invalid_filter");
        EXPECT_EQ(filter->flags, 0x3FFFFBF8u);
        EXPECT_EQ(filter->func_proc, nullptr);
        EXPECT_EQ(filter->func_exit, nullptr);
    }
    EXPECT_EQ(faults, STEPS{"crash FILTER::func_init()"});
    EXPECT_EQ(filter_count(), 31);
    EXPECT_EQ(filter_find("good"), filters[2]);
    size_t places[2] = {};
    for (FILTER* const* at = filter_chain(); *at; ++at)
        for (size_t i = 0; i < 2; ++i) places[i] += *at == filters[1 + i];
    EXPECT_EQ(places[0], 0u);
    EXPECT_EQ(places[1], 1u);
    EXPECT_EQ(filter_deinterlace_method(6), filters[3]);  // the invalid ones take no number
}

TEST_F(FILTER_TABLE_TEST, TakesAtMost96Plugins) {
    EXPECT_EQ(filter_info_text(), language_string(STR_INFO_NOTHING));
    FILTER filter = record("name", FILTER_F_INFO_AND_NAME);
    filter.info_text = "version 1";
    filter.check_count = 1000;  // without labels
    EXPECT_EQ(add(filter)->check_count, 0);
    filter.flags = FILTER_F_INFO_ONLY;
    add(filter);
    EXPECT_EQ(filter_info_text(), "name version 1 ( test.vtf )\nversion 1 ( test.vtf )\n");
    for (int i = 2; i < 96; ++i) EXPECT_NE(add("more"), nullptr);
    EXPECT_EQ(add("97th"), nullptr);
    start();
    EXPECT_EQ(filter_count(), 27 + 96);
}

TEST(SizeList, EndsAtTheFirstItemThatDoesNotFit) {
    SIZE_ITEM items[SIZE_ITEM_MAX];
    const auto parse = [&](const char* text) {
        std::string all;
        for (int i = 0, n = size_list_parse(text, items); i < n; ++i) all += std::string(items[i].label) + " ";
        return all;
    };
    EXPECT_EQ(parse("1280x720, 640 X 480 ;352*240"), "1280x720 640x480 352x240 ");
    EXPECT_EQ(parse("1x2,3x4,5x"), "1x2 3x4 ");
    EXPECT_EQ(parse("1x2,0x4,5x6"), "1x2 ");
    EXPECT_EQ(parse("1x2 3x4"), "640x480 352x240 320x240 ");
    EXPECT_EQ(parse("99999999999x1"), "640x480 352x240 320x240 ");
    EXPECT_EQ(parse(""), "640x480 352x240 320x240 ");
    std::string many;
    for (int i = 0; i < 40; ++i) many += "1x1,";
    EXPECT_EQ(size_list_parse(many.c_str(), items), SIZE_ITEM_MAX);
}
