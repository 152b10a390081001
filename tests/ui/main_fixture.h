#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/settings.h"
#include "core/source.h"
#include "core/start_up.h"
#include "core/ui_hooks.h"
#include "demo/clip.h"
#include "platform/file.h"
#include "platform/handle.h"
#include "platform/ini.h"
#include "platform/text.h"
#include "platform/window_control.h"
#include "platform/window_input.h"
#include "platform/window_menu.h"
#include "support/command.h"
#include "ui/dialog_user.h"
#include "ui/dialogs.h"
#include "ui/main_menu.h"
#include "ui/main_window.h"
#include "ui/view.h"

/// The program with its real main window, that nobody sees, and settings of the test's own.
struct MAIN_FIXTURE : testing::Test {
    static constexpr CLIP SMALL = {64, 48, 30, 1, 40, 24, 44100, 0};
    TEMP_FOLDER_PATH folder;
    EDIT_STATE* edit = nullptr;

    static const TEMP_FOLDER_PATH& home() {
        static const TEMP_FOLDER_PATH one;  // the name of the settings file is fixed at its first use
        setenv("VANTEL_HOME", one.path.c_str(), 1);
        return one;
    }
    void SetUp() override {
        home();
        file_delete(settings_file());
        ASSERT_TRUE(window_system_start("vantel"));
        user_start();
        start();
    }
    void TearDown() override {
        EXPECT_TRUE(user.empty()) << "a dialog did not come";
        user.clear();
        stop();
        window_system_stop();
    }
    void start() {
        main_window_install();
        edit = start_up(true);
        ASSERT_NE(edit, nullptr);
        window_pump();
    }
    void stop() {
        WINDOW* window = main_window();
        shut_down();
        dialogs_remove();
        if (window) window_destroy(window);
        window_pump();
    }
    std::string clip(const char* name, const CLIP& what = SMALL) {
        std::string path = text_from_utf8(folder / name);
        EXPECT_TRUE(clip_write(what, path));
        return path;
    }
    void open(const char* name = "a.avi", const CLIP& what = SMALL) {
        ASSERT_EQ(open_file(edit, clip(name, what).c_str(), 0), 1);
        main_redraw(edit);
        window_pump();
    }
    void command(int id, intptr_t parameter = 0) {
        window_post(main_window(), WM_COMMAND, uintptr_t(id), parameter);
        window_pump();
    }
    void key(int code, std::initializer_list<int> modifiers = {}) {
        input_key(main_window(), code, modifiers);
        window_pump();
    }
    static std::string title() { return window_title(main_window()); }
    WINDOW* slider() const { return static_cast<WINDOW*>(handle_get(edit->view.trackbar)); }
};
