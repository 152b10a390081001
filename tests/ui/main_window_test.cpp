#include "ui/main_window.h"

#include <cstring>
#include <set>

#include "core/history.h"
#include "core/message.h"
#include "core/profile.h"
#include "core/profile_list.h"
#include "hosts/filter.h"
#include "main_fixture.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "persist/project_save.h"
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
    command(5157);
    EXPECT_EQ(title(), "Vantel");
}

TEST_F(MainWindow, FileInformationListsPictureAndSound) {
    open("long.avi", {64, 48, 30000, 1001, 1820, 24, 44100, 0});
    const std::string text = text_to_utf8(file_information_text(edit));
    for (const char* line :
         {"画像サイズ : 64 x 48\n記録時間 : 1分 0秒\nフレームレート : 29.970fps (30000/1001)\n",
          "\nビデオ圧縮 : 未圧縮\n\nサンプリングレート : 44.100kHz\nチャンネル数 : 2ch\n", "ビデオ展開形式 : RGB\n"})
        EXPECT_NE(text.find(line), std::string::npos) << text;
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
    key(KEY_ADD);
    EXPECT_EQ(edit->view.zoom, 3);
    EXPECT_TRUE(menu_checked(main_menu(), 9203));
    key(KEY_OEM_4);
    EXPECT_EQ(edit->select_start, 38);
    EXPECT_TRUE(menu_checked(main_menu(), 5198));
}

// The first entry of a list that is not as the whole list should be; 0 when all are.
static int first_not(bool enabled, const std::vector<int>& entries) {
    for (const int id : entries)
        if (menu_enabled(main_menu(), id) != enabled) return id;
    return 0;
}

TEST_F(MainWindow, MenusOfferWhatCanBeDone) {
    const std::vector<int> with_file = {5157, 1003, 1006, 5101, 1054, 9002};
    EXPECT_EQ(first_not(true, {5097, 1057, 108, 1002}), 0);
    EXPECT_EQ(first_not(false, with_file), 0);
    open();
    EXPECT_EQ(first_not(true, with_file), 0);
    EXPECT_EQ(first_not(false, {1009, 102, 106, 1025, 1086, 1099, 5395, 5399, 5595}), 0) << "not there yet";
    for (const bool busy : {true, false}) {
        ui_hooks.interface_enable(!busy);
        EXPECT_EQ(menu_enabled(main_menu(), 1009), busy);
        EXPECT_EQ(first_not(!busy, {5097, 1003, 1002, 108, 5596, 5101, 5127}), 0) << busy;
        command(9002);
        EXPECT_EQ(edit->frame, busy ? 0 : 1);
    }
    for (const int id : {int(PROFILE_COMMAND_SELECT), 8001, 1073}) EXPECT_TRUE(menu_has(main_menu(), id)) << id;
    for (const int id : {8005, 10000, 11998}) EXPECT_FALSE(menu_has(main_menu(), id)) << id;
    command(1073);
    EXPECT_TRUE(menu_has(main_menu(), 5596) && !menu_enabled(main_menu(), 5596));
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
    scroll(20, SCROLL_ENDS);
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
    const std::string project = folder / "p.vtp";
    ASSERT_EQ(project_save(edit, text_from_utf8(project).c_str()), 1);
    const std::string wav = folder / "s.wav";
    text_copy(edit->save_name, PATH_SIZE, text_from_utf8(wav));
    edit->output_kind = OUTPUT_KIND_WAV;
    edit->select_end = 39;
    ASSERT_EQ(save_run(edit, SAVE_REQ_QUIET), 1);
    const uint32_t before = frame_table.frame_audio[50];
    input_drop(main_window(), {wav});
    window_pump();
    EXPECT_EQ(edit->frame_n, 80);
    EXPECT_NE(frame_table.frame_audio[50], before);
    command(5157);
    input_drop(main_window(), {second}, {KEY_CONTROL});  // nothing to append to
    window_pump();
    EXPECT_EQ(edit->frame_n, 40);
    user = {presses(ID_CANCEL), presses(ID_OK)};
    system_settings.closedialog = 1;
    for (const int frames : {40, 80}) {
        input_drop(main_window(), {project}, {KEY_CONTROL});  // it takes the edit's place, so it is asked first
        window_pump();
        EXPECT_EQ(edit->frame_n, frames);
    }
    EXPECT_STREQ(edit->project_name, text_from_utf8(project).c_str());
    system_settings.closedialog = 0;
}

TEST_F(MainWindow, ClosingEndsTheProgram) {
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
    stop();
    start();
    EXPECT_EQ(edit->view.view_flag, VIEW_SAVE_PREVIEW | VIEW_MARK_KEYS | VIEW_SHOW_TIME);
    EXPECT_EQ(edit->view.zoom, VIEW_ZOOM_WINDOW);
    EXPECT_EQ(window_client(main_window()).width, client.width);
    EXPECT_EQ(window_client(main_window()).height, client.height);
    EXPECT_EQ(window_frame(main_window()).left, 30);
    EXPECT_TRUE(menu_checked(main_menu(), 9114) && menu_checked(main_menu(), 9206) && !menu_checked(main_menu(), 9104));
}
