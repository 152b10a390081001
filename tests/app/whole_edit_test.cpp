#include "app/save_fixture.h"
#include "core/edit_commands.h"
#include "core/edit_model.h"
#include "core/profile.h"
#include "core/ui_hooks.h"
#include "persist/project_save.h"
#include "readers/codec.h"
#include "readers/codec_dialog.h"
#include "readers/fourcc.h"
#include "resources/string_ids.h"

/// A whole edit by commands, without a window: what is saved in the end beside what its list of frames says.

static constexpr CLIP FIRST = {128, 64, 30, 1, 60, 24, 44100, 0}, SECOND = {128, 64, 30, 1, 45, 24, 44100, 0};
static constexpr size_t FRAME_SAMPLES = 44100 / 30 * 4;  // bytes

static RANGE_DIALOG range_typed;
static int quality_typed;

struct WholeEdit : SAVE_FIXTURE {
    EDIT_MODEL model;
    std::string picture[2], sound[2];  // of the sources: all frames, all samples

    void SetUp() override {
        SAVE_FIXTURE::SetUp();
        ui_hooks.ask_range = [](RANGE_DIALOG* dialog) { return *dialog = range_typed, true; };
        ui_hooks.choose_video = [](CODEC_DIALOG* dialog) {
            const int xvid = codec_find(fourcc("XVID"));
            const auto at = std::find(dialog->choices.begin(), dialog->choices.end(), xvid);
            codec_dialog_select(dialog, int(at - dialog->choices.begin()));
            codec_dialog_store(dialog, {quality_typed / 100, 0, 0, false, false});
            return true;
        };
        const std::string path[2] = {clip("first.avi", FIRST), clip("second.avi", SECOND)};
        for (int i = 0; i < 2; ++i) {
            picture[i] = decoded_frames(folder, path[i]);
            sound[i] = decoded_sound(folder, path[i]);
            ASSERT_EQ(open_file(edit, path[i].c_str(), i ? uint32_t{OPEN_APPEND} : 0), 1);
        }
    }
    void TearDown() override {
        ui_hooks = {};
        SAVE_FIXTURE::TearDown();
    }

    void run(int id, int parameter = 0) { ASSERT_GE(edit_command_run(edit, id, parameter), EDIT_COMMAND_DONE) << id; }
    void go(int frame) { run(EDIT_COMMAND_MOVE_TO, frame); }
    void select(int first, int last) {
        range_typed = {first + system_settings.startframe, last + system_settings.startframe};
        run(5115);
    }
    void cut_and_join() {
        select(10, 94), run(5143);  // 50 frames of the first file, 35 of the second
        select(20, 29), run(5101), run(5147);
        select(30, 39), run(5101);
        go(60), run(1020);  // a frame of the second file is copied
        go(5), run(5117);
        select(12, 14), run(5184), run(5147);
        select(70, 72), run(5184);
    }
    void set_up_frames() {
        go(33), run(5130);  // a mark
        go(47), run(5129);  // a key frame
        go(0), run(5178);   // to the mark
        ASSERT_EQ(edit->frame, 33);
        run(5199);  // the even lines alone
        select(50, 54), run(5109);
        select(20, 24);
        quality_typed = 9000;
        run(5126), run(5112);
    }
    /// The profile of command 5109 gets another deinterlace method than the standard one.
    void fill_profile() const {
        const int method = filter_selected(filter_built_in(STR_FILTER_DEINTERLACE));
        choose_entry(STR_FILTER_DEINTERLACE, 3);
        ASSERT_TRUE(profile_put_config(edit->profile_name[1], filter_config_build()));
        choose_entry(STR_FILTER_DEINTERLACE, method);
    }
    std::string save(const char* name) {
        edit->edit_flag |= EDIT_SAVE_WAV;
        EXPECT_EQ(save_to(folder / name), 1);
        EXPECT_TRUE(same_edit(model, edit)) << "a save leaves the edit as it is";
        return folder / name;
    }
    /// The edit as a project in a process of its own, from the command line and from a script: the same files.
    void project_elsewhere(const std::string& packed) {
        ASSERT_EQ(project_save(edit, text_from_utf8(folder / "edit.vtp").c_str()), 1);
        file_put_bytes(folder / "home/vantel.ini", "[system]\ncompprofile=0\n");
        file_put_bytes(folder / "list.vts", "edit.vtp -o script.avi\r\nedit.vtp -ow script.wav -r11,20\r\n");
        run_program({folder / "edit.vtp", "-o", folder / "line.avi", "-q"});
        run_program({folder / "list.vts", "-q"});
        for (const char* name : {"line", "script"})
            EXPECT_TRUE(file_bytes(packed) == file_bytes(folder / (name + std::string(".avi")))) << name;
        EXPECT_TRUE(file_bytes(folder / "packed.wav") == file_bytes(folder / "line.wav"));
        EXPECT_TRUE(decoded_sound(folder, folder / "script.wav") ==
                    model_sound().substr(10 * FRAME_SAMPLES, 10 * FRAME_SAMPLES));

        // Stored frames and sound as they stand, by the project's own word; recompressed where the list jumps.
        edit->video_setting.setting_flags |= VIDEO_SETTING_COPY;
        edit->audio_setting.audio_flags |= AUDIO_SETTING_COPY;
        ASSERT_EQ(project_save(edit, text_from_utf8(folder / "copy.vtp").c_str()), 1);
        run_program({folder / "copy.vtp", "-o", folder / "copy.avi", "-q"});
        EXPECT_TRUE(decoded_sound(folder, folder / "copy.avi") == model_sound());
        std::string pictures;
        for (const EDIT_MODEL::ENTRY& e : model.list) pictures += model_picture(e);
        EXPECT_TRUE(decoded_frames(folder, folder / "copy.avi") == pictures);
    }
    std::string model_picture(const EDIT_MODEL::ENTRY& e) const {
        const std::string& all = picture[frame_ref_source(e.video)];
        const size_t size = size_t(FIRST.width) * size_t(FIRST.height) * 3;
        return all.substr(size_t(frame_ref_number(e.video)) * size, size);
    }
    std::string model_sound() const {
        std::string all;
        for (const EDIT_MODEL::ENTRY& e : model.list)
            all += sound[frame_ref_source(e.audio)].substr(size_t(frame_ref_number(e.audio)) * FRAME_SAMPLES,
                                                           FRAME_SAMPLES);
        return all;
    }
};

TEST_F(WholeEdit, IsSavedAsTheListSays) {
    cut_and_join();
    set_up_frames();
    fill_profile();
    model = EDIT_MODEL::of(edit);
    ASSERT_EQ(model.n(), 75);

    const std::string plain = save("plain.avi");
    EXPECT_TRUE(decoded_sound(folder, plain) == model_sound());
    EXPECT_TRUE(decoded_sound(folder, folder / "plain.wav") == model_sound());
    const std::string frames = decoded_frames(folder, plain);
    const size_t size = frames.size() / size_t(model.n());
    for (int i = 0; i < model.n(); ++i) {
        const EDIT_MODEL::ENTRY& e = model.list[size_t(i)];
        const bool as_stored = e.inter == INTER_STANDARD && e.profile == 0;
        EXPECT_EQ(frames.substr(size_t(i) * size, size) == model_picture(e), as_stored) << i;
    }

    // A compressor without key frames of its own starts anew where a setting begins or a key frame is asked for.
    codec_reset_setting(&edit->video_setting, fourcc("XVID"));
    edit->video_setting.key_rate = 0;
    edit->video_setting.quality = 5000;
    const std::string packed = save("packed.avi");
    EXPECT_TRUE(decoded_sound(folder, packed) == model_sound());
    MEDIA_RECORD record;
    ASSERT_EQ(media_open(&record, text_from_utf8(packed).c_str(), 0), 1);
    ASSERT_EQ(record.media_frames, model.n());
    for (int i = 0; i < model.n(); ++i) {
        const EDIT_MODEL::ENTRY& e = model.list[size_t(i)];
        const bool anew = i == 0 || e.compress != model.list[size_t(i) - 1].compress || (e.flag & FRAME_KEY);
        EXPECT_EQ(media_is_key(&record, i), anew) << "frame " << i;
    }
    media_close(&record);

    project_elsewhere(packed);
}
