#include "output/save_dialog.h"

#include "core/edit_fixture.h"
#include "core/ui_hooks.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "output/save_name.h"
#include "readers/codec.h"
#include "readers/codec_dialog.h"

static constexpr uint32_t XVID = VANTEL_FOURCC('X', 'V', 'I', 'D');

static std::function<bool(SAVE_DIALOG*)> use;  // what the user does with the dialog

struct SaveDialog : EDIT_FIXTURE {
    void SetUp() override {
        EDIT_FIXTURE::SetUp();
        ui_hooks.save_dialog = [](SAVE_DIALOG* dialog) { return use(dialog); };
        system_settings.compprofile = 0;
        system_settings.startframe = 1;
        ASSERT_EQ(open_file(edit, clip("a.b.avi", {64, 48, 30, 1, 40, 24, 44100, 0}).c_str(), 0), 1);
    }
    void TearDown() override {
        ui_hooks = {};
        EDIT_FIXTURE::TearDown();
    }
    std::string resolved(const std::string& pattern, const char* before = "") {
        text_copy(system_settings.defaultsavefile, PATH_SIZE, pattern);
        text_copy(edit->save_name, PATH_SIZE, before);
        save_resolve_name(edit);
        return edit->save_name;
    }
};

TEST_F(SaveDialog, NamesFromThePattern) {
    const std::string in_folder = text_from_utf8(folder / "");
    text_copy(edit->project_name, PATH_SIZE, "/x.y/\x95\x5C.vtp");
    text_copy(edit->profile_name[0], PATH_SIZE, "<\x83>group>name");
    edit->select_start = 4;
    edit->select_end = 8;
    EXPECT_EQ(resolved("%p"), in_folder);
    EXPECT_EQ(resolved("%p%f_%t-%b"), in_folder + "a.b_5-9.xxx");
    EXPECT_EQ(resolved("%a %wx%h%e %c"), "\x95\x5C 64x48 name.xxx");
    EXPECT_EQ(resolved("%%p%z%\x95\x5C\x95%e%"), "%pz\x95\x5C\x95.xxx");
    EXPECT_EQ(resolved("new", "/old.avi"), "/old.avi");
    EXPECT_EQ(resolved("*new", "/old.avi"), "new.xxx");
    EXPECT_EQ(resolved(std::string(255, 'n')).size(), 259u);
    EXPECT_EQ(resolved(std::string(256, 'n')), "");
}

TEST_F(SaveDialog, ACancelledDialogKeepsTheChoices) {
    ui_hooks.choose_video = [](CODEC_DIALOG* dialog) {
        const auto at = std::find(dialog->choices.begin(), dialog->choices.end(), codec_find(XVID));
        codec_dialog_select(dialog, int(at - dialog->choices.begin()));
        return true;
    };
    use = [](SAVE_DIALOG* dialog) {
        EXPECT_EQ(dialog->interleave, 1);
        EXPECT_TRUE(save_dialog_choose_video(dialog));
        EXPECT_TRUE(save_dialog_set_info(dialog, "t", "", std::string(255, 'c').c_str()));
        EXPECT_FALSE(save_dialog_set_info(dialog, "", std::string(256, 'c').c_str(), ""));
        dialog->log = dialog->wav_too = true;
        dialog->interleave = 7;
        save_dialog_set_no_audio(dialog, true);
        return false;
    };
    edit->audio_setting.interleave = -3;
    EXPECT_EQ(save_run(edit, 0), 0);
    EXPECT_EQ(edit->video_setting.handler, XVID);
    EXPECT_EQ(edit->audio_setting.interleave, 7);
    EXPECT_EQ(edit->audio_setting.audio_flags, uint32_t{AUDIO_SETTING_NONE});
    EXPECT_EQ(edit->edit_flag & (EDIT_SAVE_LOG | EDIT_SAVE_WAV), uint32_t{EDIT_SAVE_LOG | EDIT_SAVE_WAV});
    EXPECT_EQ(std::string(edit->ex_title) + edit->ex_copyright, "t" + std::string(255, 'c'));
    ui_hooks.save_dialog = nullptr;
    EXPECT_EQ(save_run(edit, SAVE_REQ_WAV), 0);  // sound goes there, whatever was ticked
    EXPECT_EQ(edit->audio_setting.audio_flags, 0u);
    EXPECT_EQ(edit->edit_flag & (EDIT_SAVE_LOG | EDIT_SAVE_WAV), uint32_t{EDIT_SAVE_LOG});
}

TEST_F(SaveDialog, TheChosenNameIsWritten) {
    text_copy(edit->save_name, PATH_SIZE, text_from_utf8(folder / "out.wav"));
    edit->output_kind = OUTPUT_KIND_PLUGIN;  // as an old project left it
    edit->select_end = 4;
    use = [](SAVE_DIALOG* dialog) {
        EXPECT_TRUE(std::string(dialog->path).ends_with("/out.avi"));
        path_set_extension(dialog->path, dialog->path, ".x.avi");
        return dialog->wav_too = true;
    };
    file_put_bytes(folder / "out.x.wav", "old");
    EXPECT_EQ(save_run(edit, 0), 1);
    EXPECT_TRUE(std::filesystem::exists(folder / "out.x.avi"));
    EXPECT_EQ(std::filesystem::file_size(folder / "out.x.wav"), 46u + 44100 * 4 * 5 / 30);  // nothing was asked
    use = [](SAVE_DIALOG* dialog) { return path_set_extension(dialog->path, dialog->path, ".2.wav"); };
    EXPECT_EQ(save_run(edit, SAVE_REQ_WAV), 1);
    EXPECT_TRUE(std::filesystem::exists(folder / "out.x.2.wav"));
}
