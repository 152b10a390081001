#include <csignal>
#include <stdexcept>

#include "filter_fixture.h"
#include "hosts/filter_functions.h"
#include "hosts/filter_size_list.h"

static std::vector<int> checks_of(const FILTER* filter) {
    return {filter->check_values, filter->check_values + filter->check_count};
}

TEST(FilterLayout, IsThePublishedOneOnA32BitMachine) {
    EXPECT_EQ(std::system("gcc -std=c11 -m32 -ffreestanding -fsyntax-only -Wall -Wextra -I" VANTEL_SOURCE_DIR
                          "/sdk " VANTEL_SOURCE_DIR "/tests/hosts/filter_layout_32.c"),
              0);
}

TEST_F(FILTER_TABLE_TEST, WindowsAreNotListedWithoutOne) {
    FILTER* plugin = add("plugin");
    start();
    EXPECT_EQ(filter_count(), 28);
    EXPECT_EQ(filter_list()[28], nullptr);
    EXPECT_EQ(plugin->menu_index, 27);  // behind the six methods
    for (int i = 0; i < filter_count(); ++i) {
        const uint32_t flags = filter_at(i)->flags;
        EXPECT_TRUE(!(flags & FILTER_F_ALWAYS_ON) || (flags & FILTER_F_ACTIVE)) << i;
    }
    const FILTER* first = filter_at(3);
    filter_system_exit();
    start(true);
    EXPECT_EQ(filter_count(), 24);
    EXPECT_EQ(filter_at(0), first);
}

TEST_F(FILTER_TABLE_TEST, KeepsOneEntryOfARadioListSelected) {
    FILTER* color = filter_built_in(STR_FILTER_COLOR_IN);
    filter_check_append(color, "BT.601", 1);
    filter_check_append(color, "BT.709", 0);
    start();
    EXPECT_EQ(checks_of(color), (std::vector<int>{-1, 1, 0}));
    filter_select(color, 2);
    EXPECT_EQ(checks_of(color), (std::vector<int>{-1, 0, 1}));
    color->check_values[0] = 1;  // the heading
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
    for (const auto& [name, selected] : {std::pair{"two", 7}, {"gone", 0}}) {
        std::strcpy(static_cast<char*>(holder->extra_data), name);
        filter_notify_update(holder, 0);
        EXPECT_EQ(filter_selected(holder), selected);
    }
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
        EXPECT_TRUE(!filter->func_proc && !filter->func_exit);
    }
    EXPECT_EQ(faults, STEPS{"crash FILTER::func_init()"});
    EXPECT_EQ(filter_find("good"), filters[2]);
    EXPECT_EQ(std::ranges::count(chain(), filters[1]), 0);
    EXPECT_EQ(std::ranges::count(chain(), filters[2]), 1);
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
    const char* none = "640x480 352x240 320x240 ";
    const std::pair<const char*, const char*> rows[] = {{"1280x720, 640 X 480 ;352*240", "1280x720 640x480 352x240 "},
                                                        {"1x2,3x4,5x", "1x2 3x4 "},
                                                        {"1x2,0x4,5x6", "1x2 "},
                                                        {"1x2 3x4", none},
                                                        {"99999999999x1", none},
                                                        {"", none}};
    for (const auto& [text, want] : rows) {
        std::string all;
        for (int i = 0, n = size_list_parse(text, items); i < n; ++i) all += std::string(items[i].label) + " ";
        EXPECT_EQ(all, want);
    }
    std::string many;
    for (int i = 0; i < 40; ++i) many += "1x1,";
    EXPECT_EQ(size_list_parse(many.c_str(), items), SIZE_ITEM_MAX);
}
