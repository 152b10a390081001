#include "ui/dialogs.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "core/fps_list.h"
#include "core/media.h"
#include "core/message.h"
#include "core/settings_store.h"
#include "core/source.h"
#include "core/ui_hooks.h"
#include "hosts/filter_order.h"
#include "pipeline/worker_pool.h"
#include "platform/file.h"
#include "platform/text.h"
#include "platform/window_input.h"
#include "readers/input_table.h"
#include "resources/string_ids.h"
#include "ui/dialog_file.h"
#include "ui/dialog_user.h"

namespace {

struct DIALOGS : testing::Test {
    WINDOW* main = nullptr;

    void SetUp() override {
        ASSERT_TRUE(window_system_start("vantel"));
        main = window_create({WINDOW_MAIN, 0, "Vantel", nullptr, window_default, 0, 0, 320, 240});
        ASSERT_NE(main, nullptr);
        file_delete(settings_file());
        settings_read();
        dialogs_install(main);
        user_start();
    }
    void TearDown() override {
        EXPECT_TRUE(user.empty()) << "a dialog did not come";
        user.clear();
        dialogs_remove();
        window_system_stop();
    }
};

TEST_F(DIALOGS, BoxesAndTexts) {
    user = {presses(ID_OK), presses(ID_OK), presses(ID_OK), presses(ID_CANCEL)};
    ui_hooks.warn("w");
    ui_hooks.warn_file("w", "/a");
    EXPECT_TRUE(ui_hooks.ask("q"));
    EXPECT_FALSE(ui_hooks.ask("q"));

    char text[8] = "old";
    user = {[](WINDOW* dialog) {
                EXPECT_EQ(window_title(dialog), "新しいプロファイル");
                EXPECT_EQ(control_text(control_of(dialog, 32100)), "old");
                control_set_text(control_of(dialog, 32100), "much too long");
                press(dialog, ID_OK);
            },
            presses(ID_OK),
            [](WINDOW* dialog) {
                control_set_text(control_of(dialog, 32100), "新");
                press(dialog, ID_OK);
            }};
    EXPECT_TRUE(ui_hooks.ask_text(STR_PROFILE_TITLE, text, sizeof text));
    EXPECT_EQ(text_to_utf8(text), "新");
}

TEST_F(DIALOGS, AWarningNamesTheFileAndSaysWhy) {
    static std::string told;
    ui_hooks.warn_file = [](const char* text, const char* detail) {
        told = text_to_utf8(text) + '|' + text_to_utf8(detail);
    };
    message_warn_file("/a", STR_ERR_READ_FAILED, STR_CLI_REASON_MISSING);
    EXPECT_EQ(told, "ファイルの読み込みに失敗しました。|/a\nファイルが見つかりません");
    message_warn_file("/a", STR_ERR_PICTURE_TOO_SMALL, STR_ERR_PICTURE_TOO_SMALL, 32, 16);
    EXPECT_EQ(told, "32x16より小さい画像サイズのファイルは編集できません。|/a");
    message_warn_file("/a", STR_ERR_READ_FAILED, 0);
    EXPECT_EQ(told, "ファイルの読み込みに失敗しました。|/a");
}

TEST_F(DIALOGS, AWorkerCanAsk) {
    user = {[](WINDOW* dialog) { dialog_end(dialog, ID_OK); }};
    std::atomic<int> answer = -1;
    std::thread worker([&] { answer = ui_hooks.ask_continue("crash"); });
    while (answer < 0) ASSERT_TRUE(window_pump());
    worker.join();
    EXPECT_EQ(answer, 1);
}

TEST_F(DIALOGS, EditDialogsGiveWhatWasTyped) {
    RANGE_DIALOG range{3, 9};
    user = {[](WINDOW* dialog) {
        EXPECT_EQ(control_value(control_of(dialog, 32000)), 3);
        EXPECT_EQ(control_value(control_of(dialog, 32001)), 9);
        control_set_value(control_of(dialog, 32000), 90);
        press(dialog, ID_OK);
    }};
    EXPECT_TRUE(ui_hooks.ask_range(&range));
    EXPECT_EQ(range.start, 90);
    EXPECT_EQ(range.end, 9);

    int frame = 5;
    user = {presses(ID_CANCEL)};
    EXPECT_FALSE(ui_hooks.ask_frame(&frame));

    INTER_DIALOG inter{{"a", "b", "c", "d", "e", "f"}, 2};
    user = {[](WINDOW* dialog) {
        EXPECT_EQ(rows_count(control_of(dialog, 32500)), 6);
        EXPECT_EQ(rows_selected(control_of(dialog, 32500)), 2);
        rows_select(control_of(dialog, 32500), 5);
        press(dialog, ID_OK);
    }};
    EXPECT_TRUE(ui_hooks.choose_inter(&inter));
    EXPECT_EQ(inter.chosen, 5);

    PLAY_RATE_DIALOG rate{"29.97fps", "", false, "", ""};
    user = {[](WINDOW* dialog) {
        EXPECT_EQ(control_text(control_of(dialog, 32102)), "29.97fps");
        EXPECT_FALSE(window_enabled(control_of(dialog, 32101)));
        control_set_text(control_of(dialog, 32100), "24000/1001");
        press(dialog, ID_OK);
    }};
    EXPECT_TRUE(ui_hooks.ask_play_rate(&rate));
    EXPECT_STREQ(rate.rate, "24000/1001");
    EXPECT_STREQ(rate.samples, "");

    SIZE_DIALOG size{640, 480, "WAV_OPTION"};
    user = {[](WINDOW* dialog) {
        control_set_value(control_of(dialog, 32001), 7);
        press(dialog, ID_OK);
    }};
    EXPECT_TRUE(ui_hooks.ask_size(&size));
    EXPECT_EQ(size.width, 640);
    EXPECT_EQ(size.height, 7);
}

TEST_F(DIALOGS, SystemShowsAndStoresEverySetting) {
    user = {[](WINDOW* dialog) {
                for (int i = 0; i < SETTING_N; ++i) {
                    const SETTING_ROW& row = SETTING_TABLE[i];
                    WINDOW* control = row.control ? control_of(dialog, row.control) : nullptr;
                    if (!row.control) continue;
                    ASSERT_NE(control, nullptr) << row.key;
                    if (row.text)
                        EXPECT_EQ(control_text(control), row.default_text);
                    else if (row.control >= 32200)
                        EXPECT_EQ(control_checked(control), row.default_number != 0) << row.key;
                    else
                        EXPECT_EQ(control_value(control), row.default_number) << row.key;
                }
                control_set_value(control_of(dialog, 32000), 1921);
                control_set_value(control_of(dialog, 32005), -12);
                control_check(control_of(dialog, 32220), true);
                control_set_text(control_of(dialog, 32101), "%p_新");
                control_set_text(control_of(dialog, 32103), std::string(300, '1'));
                press(dialog, ID_OK);
            },
            presses(ID_OK),
            [](WINDOW* dialog) {
                EXPECT_EQ(system_settings.closedialog, 0) << "nothing is stored while a text is too long";
                control_set_text(control_of(dialog, 32103), "64x48");
                press(dialog, ID_OK);
            }};
    EXPECT_TRUE(dialog_system_run());
    EXPECT_EQ(system_settings.width, 1280);
    EXPECT_EQ(system_settings.closedialog, 1);
    settings_read();
    EXPECT_EQ(system_settings.width, 1928);
    EXPECT_EQ(system_settings.moveA, -12);
    EXPECT_EQ(text_to_utf8(system_settings.defaultsavefile), "%p_新");
    EXPECT_STREQ(system_settings.resizelist, "64x48");
    worker_pool_stop();
}

TEST_F(DIALOGS, FilterOrder) {
    filter_system_init(nullptr, main);
    const FILTER_ORDER before = filter_order_now(false);
    ASSERT_GE(before.size(), 3u);
    const int last = int(before.size()) - 1;
    user = {[&](WINDOW* dialog) {
        WINDOW* list = control_of(dialog, 32600);
        EXPECT_EQ(rows_count(list), int(before.size()));
        press(dialog, 32701);  // without a selection
        rows_select(list, 0);
        press(dialog, 32701);
        press(dialog, 32702);
        EXPECT_EQ(rows_selected(list), 1);
        rows_select(list, last);
        press(dialog, 32702);
        press(dialog, ID_OK);
    }};
    EXPECT_TRUE(dialog_filter_order_run(false));
    const FILTER_ORDER after = filter_order_now(false);
    EXPECT_EQ(after[0], before[1]);
    EXPECT_EQ(after[1], before[0]);
    EXPECT_EQ(after[size_t(last)], before[size_t(last)]);
    user = {[](WINDOW* dialog) {
        press(dialog, 32700);
        press(dialog, ID_CANCEL);
    }};
    EXPECT_FALSE(dialog_filter_order_run(false));
    EXPECT_EQ(filter_order_now(false), after);
    user = {[](WINDOW* dialog) {
        input_drag_row(control_of(dialog, 32600), 0, 2);
        input_drag_row(control_of(dialog, 32600), 2, 1);
        EXPECT_EQ(rows_selected(control_of(dialog, 32600)), 1);
        press(dialog, ID_OK);
    }};
    EXPECT_TRUE(dialog_filter_order_run(false));
    EXPECT_EQ(filter_order_now(false)[1], after[0]);
    EXPECT_EQ(filter_order_now(false)[0], after[1]);
    filter_system_exit();
}

TEST_F(DIALOGS, FileBoxRules) {
    const std::string pairs("a\0*.avi;*.vts\0b\0*.WAV\0c\0*.*\0", 28);
    FILE_BOX box = dialog_file_box("t", pairs.c_str(), "/x/y/name.wav", true);
    ASSERT_EQ(box.filters.size(), 3u);
    EXPECT_EQ(box.filter, 1);
    EXPECT_EQ(box.extension, ".avi");
    EXPECT_EQ(box.folder, "/x/y/");
    EXPECT_EQ(box.name, "name.wav");
    EXPECT_TRUE(box.ask_overwrite);
    EXPECT_EQ(box.filters[2].patterns, "*");
    system_settings.overwritecheck = 1;
    box = dialog_file_box("t", nullptr, "/x/y/", true);
    EXPECT_EQ(box.filters[0].name, "AllFile (*.*)");
    EXPECT_EQ(box.filter, 0);
    EXPECT_EQ(box.extension, "");
    EXPECT_EQ(box.name, "");
    EXPECT_FALSE(box.ask_overwrite);
    system_settings.overwritecheck = 0;
}

TEST_F(DIALOGS, OpeningTellsTheBoxesBelow) {
    const std::string path = std::string(testing::TempDir()) + "vantel_dialogs_test.avi";
    ASSERT_TRUE(file_replace(path.c_str(), "RIFF", 4));
    fps_list_parse(&fps_list, "*,24,30");
    input_table_init();
    FILE_DIALOG dialog{};
    dialog.load = FILE_LOAD_NEW;
    text_copy(dialog.path, sizeof dialog.path, path);
    user = {[](WINDOW* below) {
        EXPECT_FALSE(window_enabled(control_of(below, 32203)));
        EXPECT_EQ(rows_count(control_of(below, 32500)), 3);
        EXPECT_EQ(rows_selected(control_of(below, 32500)), 0);
        control_check(control_of(below, 32200), true);
        control_check(control_of(below, 32202), true);
        rows_select(control_of(below, 32500), 2);
        press(below, ID_OK);
    }};
    EXPECT_TRUE(ui_hooks.file_dialog(&dialog));
    EXPECT_EQ(dialog.path, path);
    EXPECT_EQ(dialog.load_flags, LOAD_DOUBLE_RATE | LOAD_FPS_ADJUST);
    EXPECT_EQ(dialog.open_flags, 0u);
    EXPECT_EQ(dialog.rate_index, 2);

    dialog.load = FILE_LOAD_SOUND;
    dialog.rate_index = -1;
    user = {[](WINDOW* below) {
        EXPECT_FALSE(window_enabled(control_of(below, 32200)));
        EXPECT_EQ(rows_count(control_of(below, 32500)), 0);
        control_check(control_of(below, 32203), true);
        press(below, ID_OK);
    }};
    EXPECT_TRUE(ui_hooks.file_dialog(&dialog));
    EXPECT_EQ(dialog.load_flags, 0u);
    EXPECT_EQ(dialog.open_flags, OPEN_INTO_SELECTION);
    EXPECT_EQ(dialog.rate_index, -1);
    input_table_exit();
    file_delete(path.c_str());
}

}  // namespace
