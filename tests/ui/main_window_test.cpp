#include "ui/main_window.h"

#include <set>

#include "core/history.h"
#include "core/message.h"
#include "core/profile.h"
#include "core/profile_list.h"
#include "hosts/filter.h"
#include "main_fixture.h"
#include "output/progress.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "resources/string_ids.h"
#include "ui/file_information.h"
#include "ui/title.h"

using MainWindow = MAIN_FIXTURE;

TEST_F(MainWindow, TitleTellsFileFrameAndWhatIsSpecial) {
    EXPECT_EQ(title(), "Vantel");
    system_settings.startframe = 0;
    open();
    const std::string name = profile_current();
    EXPECT_EQ(title_text(edit), "a.avi (64,48)  [0/39]  " + name);
    system_settings.startframe = 1;
    command(9002);
    EXPECT_EQ(title(), "a.avi (64,48)  [2/40]  " + text_to_utf8(name));
    for (const int id : {5129, 5130, 5132, 5156, 9109, 9114, 5198}) command(id);
    edit->frame = 37;
    frame_table.frame_flag[37] = FRAME_KEY | FRAME_MARK | FRAME_DROP | FRAME_COPY;
    frame_table.frame_inter[37] = INTER_DOUBLE;
    frame_table.frame_compress[37] = 3;
    edit->frame_video_setting[3].handler = VANTEL_FOURCC('X', 'V', 'I', 'D');
    // 37 / 30 s; the hundredths are cut, not rounded.
    EXPECT_EQ(title_text(edit),
              "a.avi (64,48)  [38/40]* [00:00:01.23]  M  " + name + "  XVID[3]  [key][mark][del][copy]");
    command(5109);  // a temporary profile for all frames
    EXPECT_NE(title().find("  #temp1[1]"), std::string::npos) << title();

    FILTER* chosen = filter_built_in(STR_FILTER_DEINTERLACE);
    filter_select(chosen, 4);
    edit->frame = 1;
    frame_table.frame_inter[1] = INTER_STANDARD;
    frame_table.frame_flag[1] = FRAME_FIELD_DONE;
    frame_table.frame_phase[1] = 3;
    EXPECT_NE(text_to_utf8(title_text(edit)).find("  自動24fps:3"), std::string::npos);
    frame_table.frame_flag[1] = 0;
    EXPECT_NE(text_to_utf8(title_text(edit)).find("  自動24fps  "), std::string::npos);
    command(5157);
    EXPECT_EQ(title(), "Vantel");
}

TEST_F(MainWindow, FileInformationListsPictureAndSound) {
    const CLIP what = {64, 48, 30000, 1001, 1820, 24, 44100, 0};
    open("long.avi", what);
    const std::string text = text_to_utf8(file_information_text(edit));
    EXPECT_EQ(text.substr(0, text.find("\n\nファイル制御")),
              "画像サイズ : 64 x 48\n記録時間 : 1分 0秒\nフレームレート : 29.970fps (30000/1001)\nフレーム数 : 1820\n"
              "ビデオ圧縮 : 未圧縮\n\nサンプリングレート : 44.100kHz\nチャンネル数 : 2ch\nオーディオ形式 : PCM");
    EXPECT_TRUE(text.ends_with("ビデオ展開形式 : RGB\n")) << text;
}

TEST_F(MainWindow, KeysPostTheirCommands) {
    key(KEY_RIGHT);  // nothing is open
    open();
    key(KEY_RIGHT);
    EXPECT_EQ(edit->frame, 1);
    key(KEY_END);
    EXPECT_EQ(edit->frame, 39);
    key(KEY_LEFT, {KEY_SHIFT});  // falls back to the key alone, and selects
    EXPECT_EQ(edit->frame, 38);
    EXPECT_EQ(edit->select_start, 38);
    key('A', {KEY_CONTROL});
    EXPECT_EQ(edit->select_start, 0);
    key('Z', {KEY_SHIFT, KEY_CONTROL});  // bound with Ctrl alone: nothing is undone
    key(KEY_NUMPAD0 + 2);
    EXPECT_EQ(frame_table.frame_inter[38], INTER_ODD);
    EXPECT_EQ(window_title(main_window()).find("  O  ") != std::string::npos, true);
    key(KEY_ADD);
    EXPECT_EQ(edit->view.zoom, 3);
    EXPECT_TRUE(menu_checked(main_menu(), 9203));
    key(KEY_OEM_4);
    EXPECT_EQ(edit->select_start, 38);
    EXPECT_TRUE(menu_checked(main_menu(), 5198));
}

TEST_F(MainWindow, MenusOfferWhatCanBeDone) {
    MENU* menu = main_menu();
    const auto on = [&](int id) { return menu_enabled(menu, id); };
    EXPECT_TRUE(on(5097) && on(1057) && on(108) && on(1002));
    EXPECT_FALSE(on(5157) || on(1003) || on(1006) || on(5101) || on(1054) || on(1009) || on(9002));
    open();
    EXPECT_TRUE(on(5157) && on(1003) && on(1006) && on(5101) && on(1054) && on(9002));
    EXPECT_FALSE(on(1009));
    for (const int id : {102, 106, 1025, 1086, 1099, 5395, 5399, 5595}) EXPECT_FALSE(on(id)) << id;  // not there yet
    ui_hooks.interface_enable(false);
    EXPECT_TRUE(on(1009));
    EXPECT_FALSE(on(5097) || on(1003) || on(1002) || on(108) || on(5596) || on(5101) || on(5127));
    command(9002);
    EXPECT_EQ(edit->frame, 0);
    ui_hooks.interface_enable(true);
    EXPECT_TRUE(on(5097) && on(1003) && on(5596) && on(5101));
    EXPECT_FALSE(on(1009) || on(1025));

    EXPECT_TRUE(menu_has(menu, PROFILE_COMMAND_SELECT) && menu_checked(menu, PROFILE_COMMAND_SELECT));
    EXPECT_FALSE(menu_has(menu, 8005) || menu_has(menu, 10000) || menu_has(menu, 11998));
    EXPECT_TRUE(menu_has(menu, 8001) && menu_has(menu, 1073));
    command(1073);
    EXPECT_TRUE(menu_has(menu, 5596) && !on(5596));
}

TEST_F(MainWindow, RecentFilesOpenAgain) {
    open("a.avi");
    open("b.avi");
    EXPECT_TRUE(menu_has(main_menu(), 5597));
    command(5597);
    EXPECT_STREQ(std::strrchr(edit->file_name, '/'), "/a.avi");
    EXPECT_STREQ(std::strrchr(history_entry(0), '/'), "/a.avi");
}

static std::set<int> rendered;

TEST_F(MainWindow, QueuedMovementsRenderOnce) {
    open();
    filter_chain_set_observer([](const char*, int frame, void*) { rendered.insert(frame); }, nullptr);
    rendered.clear();
    const POINT middle = window_to_screen(main_window(), {20, 20});
    for (int i = 0; i < 10; ++i)
        window_post(main_window(), WM_MOUSEWHEEL, uintptr_t(uint16_t(-120)) << 16, message_point(middle.x, middle.y));
    window_pump();
    EXPECT_EQ(edit->frame, 10);
    EXPECT_EQ(rendered, std::set<int>{10});

    rendered.clear();
    const auto scroll = [&](int place, int code) {
        control_set_value(slider(), place);
        window_post(main_window(), WM_HSCROLL, uintptr_t(code), reinterpret_cast<intptr_t>(slider()));
    };
    for (int place = 11; place <= 20; ++place) scroll(place, SCROLL_THUMB_MOVES);
    window_post(main_window(), WM_HSCROLL, SCROLL_ENDS, reinterpret_cast<intptr_t>(slider()));
    window_pump();
    EXPECT_EQ(edit->frame, 20);
    EXPECT_EQ(rendered, std::set<int>{20});
    rendered.clear();
    command(5099);  // no command, but one of the numbers that always redraw
    EXPECT_EQ(rendered, std::set<int>{20});
    filter_chain_set_observer(nullptr, nullptr);
    EXPECT_EQ(control_value(slider()), 20);

    frame_table.frame_flag[23] = FRAME_MARK;  // both neighbours of 25 are plain; uncompressed frames are all keys
    input_key_state(main_window(), KEY_CONTROL, true);
    scroll(25, SCROLL_THUMB_MOVES);
    window_pump();
    input_key_state(main_window(), KEY_CONTROL, false);
    EXPECT_EQ(edit->frame, 23);
    EXPECT_EQ(control_value(slider()), 23);
}

TEST_F(MainWindow, DroppedFilesOpenByKind) {
    const std::string first = text_to_utf8(clip("a.avi")), second = text_to_utf8(clip("b.avi"));
    input_drop(main_window(), {first, second});
    window_pump();
    EXPECT_EQ(edit->frame_n, 40);
    input_drop(main_window(), {second}, {KEY_CONTROL});
    window_pump();
    EXPECT_EQ(edit->frame_n, 80);
    edit->select_end = 39;
    edit->save_name[0] = 0;
    const std::string wav = folder / "s.wav";
    text_copy(edit->save_name, PATH_SIZE, text_from_utf8(wav));
    edit->output_kind = OUTPUT_KIND_WAV;
    ASSERT_EQ(save_run(edit, SAVE_REQ_QUIET), 1);
    const uint32_t before = frame_table.frame_audio[50];
    input_drop(main_window(), {wav});
    window_pump();
    EXPECT_EQ(edit->frame_n, 80);
    EXPECT_NE(frame_table.frame_audio[50], before);
    EXPECT_NE(title().find("a.avi"), std::string::npos);
    command(5157);
    input_drop(main_window(), {second}, {KEY_CONTROL});  // nothing to append to
    window_pump();
    EXPECT_EQ(edit->frame_n, 40);
}

static int questions;
static bool answer;

TEST_F(MainWindow, ClosingDuringASaveAsksToStopIt) {
    open();
    ui_hooks.ask = [](const char*) { return ++questions, answer; };
    const std::string out = folder / "out.avi";
    text_copy(edit->save_name, PATH_SIZE, text_from_utf8(out));
    edit->output_kind = OUTPUT_KIND_AVI;
    questions = 0;
    answer = false;
    window_post(main_window(), WM_CLOSE, 0, 0);
    EXPECT_EQ(save_run(edit, SAVE_REQ_QUIET), 1);
    EXPECT_EQ(questions, 1);
    EXPECT_EQ(save_report().written, 40);
    EXPECT_NE(main_window(), nullptr);
    EXPECT_EQ(title().substr(0, 5), "a.avi");
    answer = true;
    ui_hooks.warn = [](const char*) {};
    window_post(main_window(), WM_KEYDOWN, KEY_ESCAPE, 0);
    EXPECT_EQ(save_run(edit, SAVE_REQ_QUIET), 0);
    EXPECT_EQ(questions, 2);
    EXPECT_LT(save_report().written, 40);
    EXPECT_EQ(control_value(slider()), edit->frame);
    EXPECT_TRUE(menu_enabled(main_menu(), 5097));

    window_post(main_window(), WM_CLOSE, 0, 0);
    EXPECT_EQ(window_run(), 0);
    EXPECT_EQ(edit_state, nullptr);
    EXPECT_EQ(main_window(), nullptr);
}

TEST_F(MainWindow, CommandLineRunsInsideTheLoop) {
    const std::string path = text_to_utf8(clip("a.avi"));
    main_window_run_later({path, "-r5,9"});
    window_pump();
    EXPECT_EQ(edit->select_start, 4);
    EXPECT_NE(title().find("a.avi (64,48)"), std::string::npos);
    message_silence(true);
    main_window_run_later({path + ".gone"});
    window_pump();
    message_silence(false);
    window_post(main_window(), WM_CLOSE, 0, 0);
    EXPECT_EQ(window_run(), 1);  // told to the shell
}

TEST_F(MainWindow, WindowComesBackAsItWas) {
    window_move(main_window(), 30, 40);
    window_resize_client(main_window(), 500, 400);
    for (const int id : {9206, 9104, 9105, 9109, 9114}) command(id);
    const RECT client = window_client(main_window());
    const uint32_t flags = edit->view.view_flag;
    EXPECT_EQ(flags, VIEW_SAVE_PREVIEW | VIEW_MARK_KEYS | VIEW_SHOW_TIME);
    stop();
    start();
    EXPECT_EQ(edit->view.view_flag, flags);
    EXPECT_EQ(edit->view.zoom, VIEW_ZOOM_WINDOW);
    EXPECT_EQ(window_client(main_window()).width, client.width);
    EXPECT_EQ(window_client(main_window()).height, client.height);
    EXPECT_EQ(window_frame(main_window()).left, 30);
    EXPECT_TRUE(menu_checked(main_menu(), 9114) && menu_checked(main_menu(), 9206) && !menu_checked(main_menu(), 9104));
    stop();
    ini_write_int(settings_file(), "window", "x", 90000);
    start();
    EXPECT_EQ(window_frame(main_window()).left, 0);
}
