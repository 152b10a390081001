#include "output/key_list.h"

#include "avi_sample.h"
#include "core/edit_fixture.h"
#include "core/ui_hooks.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static std::string told;

struct KeyList : EDIT_FIXTURE {
    std::string path;
    void SetUp() override {
        EDIT_FIXTURE::SetUp();
        message_silence(false);
        ui_hooks.warn = [](const char* text) { told += text; };
        told.clear();
        path = text_from_utf8(folder / "list.txt");
        system_settings.startframe = 0;
        ASSERT_EQ(open_file(edit, clip("a.avi", {64, 48, 30, 1, 8, 24, 0, 0}).c_str(), 0), 1);
    }
    void TearDown() override {
        ui_hooks = {};
        message_silence(true);
        EDIT_FIXTURE::TearDown();
    }
    void mark(const std::vector<int>& frames) {
        for (int f = 0; f < edit->frame_n; ++f) frame_table.frame_flag[f] = FRAME_MARK;
        for (const int f : frames) frame_table.frame_flag[f] |= FRAME_KEY;
    }
    std::vector<int> marks() {
        std::vector<int> frames;
        for (int f = 0; f < edit->frame_n; ++f) {
            EXPECT_TRUE(frame_table.frame_flag[f] & FRAME_MARK);  // the other flags stay
            if (frame_table.frame_flag[f] & FRAME_KEY) frames.push_back(f);
        }
        return frames;
    }
};

TEST_F(KeyList, NumbersAreThoseOfTheDisplay) {
    mark({0, 3, 7});
    system_settings.startframe = 1;
    ASSERT_EQ(key_list_export(edit, path.c_str()), 1);
    EXPECT_EQ(file_bytes(folder / "list.txt"), "1\r\n4\r\n8\r\n");
    mark({5});
    ASSERT_EQ(key_list_import(edit, path.c_str()), 1);
    EXPECT_EQ(marks(), (std::vector{0, 3, 7}));
    system_settings.startframe = 0;
    ASSERT_EQ(key_list_import(edit, path.c_str()), 1);
    EXPECT_EQ(marks(), (std::vector{1, 4}));
    close_edit(edit);
    ASSERT_EQ(key_list_export(edit, path.c_str()), 1);
    EXPECT_EQ(file_bytes(folder / "list.txt"), "");
}

TEST_F(KeyList, LinesThatCount) {
    const std::pair<std::string, std::vector<int>> rows[] = {
        {"", {}},
        {"2abc\nabc3\n 4\n-5\n+6\n", {2}},
        {std::string("3\0005\n\x01\r4\t1", 9), {3, 4, 5}},
        {"8\n4294967299\n18446744073709551619\n", {}},
        {"5" + std::string(9000, 'x') + "\n6\n", {5, 6}},
    };
    for (const auto& [list, wanted] : rows) {
        mark({0, 4});
        file_put_bytes(folder / "list.txt", list);
        ASSERT_EQ(key_list_import(edit, path.c_str()), 1);
        EXPECT_EQ(marks(), wanted) << list.substr(0, 40);
    }
}

TEST_F(KeyList, FailuresAreTold) {
    mark({2});
    EXPECT_EQ(key_list_import(edit, path.c_str()), 0);
    EXPECT_EQ(told, language_string(STR_ERR_READ_FAILED));
    EXPECT_EQ(marks(), std::vector{2});
    told.clear();
    EXPECT_EQ(key_list_export(edit, text_from_utf8(folder / "no/list.txt").c_str()), 0);
    EXPECT_EQ(told, language_string(STR_ERR_CREATE_FAILED));
    told.clear();
    const SIZE_LIMIT full(2);
    EXPECT_EQ(key_list_export(edit, path.c_str()), 0);
    EXPECT_EQ(told, language_string(STR_ERR_WRITE_FAILED));
}
