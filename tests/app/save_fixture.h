#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "app/app.h"
#include "core/edit_fixture.h"
#include "hosts/filter.h"
#include "hosts/filter_settings.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "resources/language.h"

/// The first line of a message, as it is told.
inline std::string first_line(int id) {
    const std::string text = text_to_utf8(language_string(id));
    return text.substr(0, text.find('\n'));
}

/// Files saved by the engine in this process and by the program itself, in a folder of the test's own; the settings of
/// the edit count, not those of profiles.
struct SAVE_FIXTURE : EDIT_FIXTURE {
    std::string out = folder / "out.avi";

    void SetUp() override {
        EDIT_FIXTURE::SetUp();
        system_settings.compprofile = 0;
        std::filesystem::create_directory(folder / "home");
    }
    void open(const std::string& path, uint32_t flags = 0) {
        ASSERT_EQ(open_file(edit, text_from_utf8(path).c_str(), flags), 1) << path;
    }
    /// What the save returns.
    int save_to(const std::string& path, int kind = OUTPUT_KIND_AVI) {
        text_copy(edit->save_name, PATH_SIZE, text_from_utf8(path));
        edit->output_kind = kind;
        return save_run(edit, SAVE_REQ_QUIET);
    }
    int save() { return save_to(out); }
    /// A save that fails with a message and the name of its file.
    void expect_save_fails(int message) {
        message_silence(false);
        testing::internal::CaptureStderr();
        EXPECT_EQ(save(), 0);
        const std::string told = testing::internal::GetCapturedStderr();
        message_silence(true);
        EXPECT_NE(told.find(first_line(message)), told.npos) << told;
        EXPECT_NE(told.find(out), told.npos) << told;
    }
    /// An entry of a built-in filter's list, as a user chooses it.
    static void choose_entry(int filter, int entry) {
        filter_select(filter_built_in(filter), entry);
        filter_notify_update(filter_built_in(filter), FILTER_UPDATE_CHECK | entry);
    }
    void select_all() {
        edit->select_start = 0;
        edit->select_end = edit->frame_n - 1;
    }
    /// A clip of ffmpeg's moving test pattern in the folder; codec: the arguments behind -c:v.
    std::string pattern(const std::vector<std::string>& codec, int frames, const std::string& size,
                        const std::string& name = "source.avi", const std::vector<std::string>& sound = {}) {
        std::vector<std::string> line = {"-f", "lavfi", "-i", "testsrc2=rate=25:size=" + size};
        line.insert(line.end(), sound.begin(), sound.end());
        line.insert(line.end(), {"-frames:v", std::to_string(frames), "-t", std::to_string(frames / 25.0), "-c:v"});
        line.insert(line.end(), codec.begin(), codec.end());
        line.push_back(folder / name);
        EXPECT_TRUE(ffmpeg(line)) << name;
        return folder / name;
    }
    /// The present values of all filters as a profile of the program that is run.
    void keep_profile(const std::string& name) const {
        const std::vector<uint8_t> config = filter_config_build();
        file_put_bytes(folder / ("home/" + name + ".cfg"), {config.begin(), config.end()});
    }
    /// The program in this folder; the failure tells its messages.
    void run_program(const std::vector<std::string>& line) const {
        const COMMAND_OUTPUT run = vantel(folder, line);
        EXPECT_EQ(run.status, 0) << run.error;
        EXPECT_EQ(run.error, "");
    }
};

inline const std::vector<std::string> RAW_VIDEO = {"rawvideo", "-pix_fmt", "bgr24"};
