#include "ui/dialogs.h"

#include <atomic>
#include <thread>

#include "core/fps_list.h"
#include "core/media.h"
#include "core/message.h"
#include "core/settings_store.h"
#include "hosts/filter_order.h"
#include "main_fixture.h"
#include "resources/string_ids.h"
#include "ui/dialog_file.h"

namespace {

using Dialogs = MAIN_FIXTURE;

TEST_F(Dialogs, BoxesAndTexts) {
    user = {presses(ID_OK), presses(ID_OK), presses(ID_CANCEL)};
    ui_hooks.warn_file("w", "/a");
    EXPECT_TRUE(ui_hooks.ask("q"));
    EXPECT_FALSE(ui_hooks.ask("q"));

    char text[8] = "old";
    user = {agrees([](WINDOW* dialog) {
                EXPECT_EQ(control_text(control_of(dialog, 32100)), "old");
                put(dialog, 32100, "much too long");
            }),
            presses(ID_OK), types(32100, "新")};
    EXPECT_TRUE(ui_hooks.ask_text(STR_PROFILE_TITLE, text, sizeof text));
    EXPECT_EQ(text_to_utf8(text), "新");
}

TEST_F(Dialogs, AWarningNamesTheFileAndSaysWhy) {
    static std::string detail_told;
    ui_hooks.warn_file = [](const char*, const char* detail) { detail_told = text_to_utf8(detail); };
    message_warn_file("/a", STR_ERR_READ_FAILED, STR_CLI_REASON_MISSING);
    EXPECT_EQ(detail_told, "/a\nファイルが見つかりません");
    message_warn_file("/a", STR_ERR_PICTURE_TOO_SMALL, STR_ERR_PICTURE_TOO_SMALL, 32, 16);
    EXPECT_EQ(detail_told, "/a") << "the text is the reason";
}

TEST_F(Dialogs, AWorkerCanAsk) {
    user = {presses(ID_OK)};
    std::atomic<int> answer = -1;
    std::thread worker([&] { answer = ui_hooks.ask_continue("crash"); });
    while (answer < 0) ASSERT_TRUE(window_pump());
    worker.join();
    EXPECT_EQ(answer, 1);
}

TEST_F(Dialogs, EditDialogsGiveWhatWasTyped) {
    RANGE_DIALOG range{3, 9};
    PLAY_RATE_DIALOG rate{"29.97fps", "", false, "", ""};
    INTER_DIALOG inter{{"a", "b", "c", "d", "e", "f"}, 2};
    int frame = 5;
    user = {types(32000, 90), presses(ID_CANCEL), agrees([](WINDOW* dialog) {
                EXPECT_FALSE(window_enabled(control_of(dialog, 32101)));
                put(dialog, 32100, "24000/1001");
            }),
            agrees([](WINDOW* dialog) {
                EXPECT_EQ(rows_selected(control_of(dialog, 32500)), 2);
                rows_select(control_of(dialog, 32500), 5);
            })};
    EXPECT_TRUE(ui_hooks.ask_range(&range));
    EXPECT_TRUE(range.start == 90 && range.end == 9);
    EXPECT_FALSE(ui_hooks.ask_frame(&frame));
    EXPECT_TRUE(ui_hooks.ask_play_rate(&rate));
    EXPECT_STREQ(rate.rate, "24000/1001");
    EXPECT_STREQ(rate.samples, "");
    EXPECT_TRUE(ui_hooks.choose_inter(&inter));
    EXPECT_EQ(inter.chosen, 5);
}

void expect_default(WINDOW* dialog, const SETTING_ROW& row) {
    if (!row.control) return;
    WINDOW* control = control_of(dialog, row.control);
    ASSERT_NE(control, nullptr) << row.key;
    if (row.text)
        EXPECT_EQ(control_text(control), row.default_text);
    else if (row.control >= 32200)
        EXPECT_EQ(control_checked(control), row.default_number != 0) << row.key;
    else
        EXPECT_EQ(control_value(control), row.default_number) << row.key;
}

TEST_F(Dialogs, SystemShowsAndStoresEverySetting) {
    user = {agrees([](WINDOW* dialog) {
                for (int i = 0; i < SETTING_N; ++i) expect_default(dialog, SETTING_TABLE[i]);
                put(dialog, 32000, 1921);
                put(dialog, 32005, -12);
                put(dialog, 32006, "");
                control_check(control_of(dialog, 32220), true);
                put(dialog, 32101, "%p_新");
                put(dialog, 32103, std::string(300, '1'));
            }),
            presses(ID_OK), agrees([](WINDOW* dialog) {
                EXPECT_EQ(system_settings.closedialog, 0) << "nothing is stored while a text is too long";
                put(dialog, 32103, "64x48");
            })};
    EXPECT_TRUE(dialog_system_run());
    EXPECT_EQ(system_settings.width, 1280);
    EXPECT_EQ(system_settings.closedialog, 1);
    settings_read();
    EXPECT_EQ(system_settings.width, 1928);
    EXPECT_EQ(system_settings.moveA, -12);
    EXPECT_EQ(system_settings.moveB, 0);
    EXPECT_EQ(text_to_utf8(system_settings.defaultsavefile), "%p_新");
    EXPECT_STREQ(system_settings.resizelist, "64x48");
}

/// What the dialog makes of the order when something is done to its list.
FILTER_ORDER order_after(const std::function<void(WINDOW* dialog, WINDOW* list)>& what, int answer) {
    user = {[&](WINDOW* dialog) {
        what(dialog, control_of(dialog, 32600));
        press(dialog, answer);
    }};
    EXPECT_EQ(dialog_filter_order_run(false), answer == ID_OK);
    return filter_order_now(false);
}

TEST_F(Dialogs, FilterOrder) {
    const FILTER_ORDER before = filter_order_now(false);
    FILTER_ORDER swapped = before;
    ASSERT_GE(before.size(), 3u);
    std::swap(swapped[0], swapped[1]);
    const auto with_buttons = [&](WINDOW* dialog, WINDOW* list) {
        press(dialog, 32701);  // without a selection
        rows_select(list, 0);
        press(dialog, 32701);
        press(dialog, 32702);
        EXPECT_EQ(rows_selected(list), 1);
        rows_select(list, int(before.size()) - 1);
        press(dialog, 32702);
    };
    EXPECT_EQ(order_after(with_buttons, ID_OK), swapped);
    EXPECT_EQ(order_after([](WINDOW* dialog, WINDOW*) { press(dialog, 32700); }, ID_CANCEL), swapped);
    const auto by_hand = [](WINDOW*, WINDOW* list) {
        input_drag_row(list, 0, 2);
        input_drag_row(list, 2, 1);
        EXPECT_EQ(rows_selected(list), 1);
    };
    EXPECT_EQ(order_after(by_hand, ID_OK), before);
}

TEST_F(Dialogs, FileBoxRules) {
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
    EXPECT_EQ(box.filter, 0);
    EXPECT_EQ(box.extension + box.name, "");
    EXPECT_FALSE(box.ask_overwrite);
}

TEST_F(Dialogs, OpeningTellsTheBoxesBelow) {
    FILE_DIALOG dialog{};
    dialog.load = FILE_LOAD_NEW;
    fps_list_parse(&fps_list, "*,24,30");
    const std::string path = clip("a.avi");
    text_copy(dialog.path, sizeof dialog.path, path);
    user = {agrees([](WINDOW* below) {
                EXPECT_FALSE(window_enabled(control_of(below, 32203)));
                EXPECT_EQ(rows_count(control_of(below, 32500)), 3);
                EXPECT_EQ(rows_selected(control_of(below, 32500)), 0);
                control_check(control_of(below, 32200), true);
                control_check(control_of(below, 32202), true);
                rows_select(control_of(below, 32500), 2);
            }),
            agrees([](WINDOW* below) {
                EXPECT_FALSE(window_enabled(control_of(below, 32200)));
                EXPECT_EQ(rows_count(control_of(below, 32500)), 0);
                control_check(control_of(below, 32203), true);
            })};
    EXPECT_TRUE(ui_hooks.file_dialog(&dialog));
    EXPECT_EQ(dialog.path, path);
    EXPECT_EQ(dialog.load_flags, LOAD_DOUBLE_RATE | LOAD_FPS_ADJUST);
    EXPECT_EQ(dialog.open_flags, 0u);
    EXPECT_EQ(dialog.rate_index, 2);

    dialog.load = FILE_LOAD_SOUND;
    dialog.rate_index = -1;
    EXPECT_TRUE(ui_hooks.file_dialog(&dialog));
    EXPECT_EQ(dialog.load_flags, 0u);
    EXPECT_EQ(dialog.open_flags, OPEN_INTO_SELECTION);
    EXPECT_EQ(dialog.rate_index, -1);
}

}  // namespace
