#include "core/profile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "core/compression_settings.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/profile_list.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "hosts/filter.h"
#include "platform/ini.h"
#include "platform/path.h"
#include "platform/temp_folder.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

namespace fs = std::filesystem;

namespace {

constexpr int32_t DEFAULTS[] = {5}, LOWS[] = {-1000}, HIGHS[] = {1000};
int no_proc(FILTER*, FILTER_PROC_PARAM*) { return 1; }

std::string warned, answer, asked;
void note_warning(const char* text) { warned = text; }
bool give_answer(int, char* buffer, size_t size) {
    asked = buffer;
    return text_copy(buffer, size, answer);
}

/// A program's folder and a temporary folder of our own, and one filter T with one track, whose value tells which
/// profile's values are in memory.
struct Profile : testing::Test {
    TEMP_FOLDER home, temp;
    FILTER* filter;
    std::unique_ptr<EDIT_STATE> edit = std::make_unique<EDIT_STATE>();

    Profile() {
        setenv("VANTEL_HOME", home.path.c_str(), 1);
        setenv("TMPDIR", temp.path.c_str(), 1);
        // The settings file keeps the name that it had first in this process.
        fs::create_directories(fs::path(text_to_utf8(settings_file())).parent_path());
        set_last("");
        system_settings = {};
        system_settings.compprofile = 1;
        ui_hooks.warn = note_warning;
        ui_hooks.ask_text = give_answer;
        warned.clear();
        FILTER t = {};
        t.flags = FILTER_F_NO_WINDOW;
        t.name = "T";
        static const char* labels[1] = {"t"};
        t.track_labels = labels;
        t.track_count = 1;
        t.track_defaults = DEFAULTS;
        t.track_lows = LOWS;
        t.track_highs = HIGHS;
        t.func_proc = no_proc;
        filter = filter_plugin_add(&t, this, "", nullptr);
        filter_system_init(nullptr, this);
        frame_table_alloc(1024);
    }
    ~Profile() override {
        frame_table_free();
        filter_system_exit();
        ui_hooks = {};
        unsetenv("VANTEL_HOME");
        unsetenv("TMPDIR");
    }

    int32_t& value() const { return filter->track_store[0]; }
    /// Makes a profile's file hold a value.
    void store(const char* name, int32_t v) const {
        profile_make_current(name);
        value() = v;
        profile_store();
    }
    static void set_last(const char* name) { ASSERT_EQ(ini_write_text(settings_file(), "edit", "config", name), 1); }
    static std::string last() {
        char name[260];
        ini_read_text(settings_file(), "edit", "config", name, "");
        return name;
    }
    static bool has(const std::string& path) { return fs::exists(text_to_utf8(path)); }
    static bool has(const char* name, const char* extension) { return has(profile_path(name, extension)); }
    std::string temp_name(const char* name) const {
        char prefix[32];
        std::snprintf(prefix, sizeof prefix, "vantel_%08x_", unsigned(getpid()));
        return temp / prefix + name;
    }
};

TEST_F(Profile, FilesLieInTheFolderTheNameSays) {
    profile_system_init(true);
    EXPECT_EQ(profile_path("a", ".cfg"), home / "a.cfg");
    EXPECT_EQ(profile_path("<g>a", ".sav"), home / "<g>a.sav");
    EXPECT_EQ(profile_path("#temp7", ".cfg"), temp_name("#temp7.cfg"));
    fs::create_directories(home / "profiles/g");
    profile_system_init(true);
    EXPECT_EQ(profile_path("a", ".cfg"), home / "profiles/a.cfg");
    EXPECT_EQ(profile_path("<g>a", ".sav"), home / "profiles/g/a.sav");
    EXPECT_EQ(profile_path("<>a", ".cfg"), home / "profiles/<>a.cfg");
    EXPECT_EQ(profile_path("#temp7", ".cfg"), temp_name("#temp7.cfg"));

    EXPECT_EQ(profile_path(std::string(259, 'x').c_str(), ".cfg"), "");
    for (const char* name : {"", "../a", "/a", "a/b", "<..>a", "<.>a", "<../..>a", "<g>", "#/../a"}) {
        EXPECT_EQ(profile_path(name, ".cfg"), "") << name;
        EXPECT_FALSE(profile_known(name));
        EXPECT_FALSE(profile_put_config(name, {}));
        EXPECT_EQ(profile_copy_as(name), 0);
        profile_make_current(name);
        EXPECT_EQ(profile_list_find(name), -1);
        EXPECT_STREQ(profile_current(), profile_list_name(0));
    }
}

TEST_F(Profile, ListComesFromTheFolder) {
    profile_system_init(true);
    EXPECT_STREQ(profile_current(), language_string(STR_DEFAULT));
    EXPECT_EQ(profile_list_n(), 1);
    store("b", 1);
    store("c", 2);
    text_save(home / "#temp3.cfg", "left by a mistake");
    text_save(home / "d.txt", "");
    profile_system_exit();
    EXPECT_EQ(last(), "c");

    profile_system_init(true);
    EXPECT_EQ(profile_list_n(), 3);  // the default one was stored when "b" took over
    EXPECT_STREQ(profile_current(), "c");
    EXPECT_EQ(value(), 2);
    EXPECT_EQ(profile_list_marked(), profile_list_find("C"));
    EXPECT_TRUE(profile_known("B"));
    EXPECT_FALSE(profile_known("d"));
    set_last("gone");
    profile_system_init(true);
    EXPECT_STREQ(profile_current(), profile_list_name(0));
    EXPECT_EQ(profile_list_find("gone"), -1);
}

TEST_F(Profile, GroupsAreFoldersAndSubMenus) {
    fs::create_directories(home / "profiles/night");
    fs::create_directories(home / "profiles/a>b");
    text_save(home / "profiles/night/x.cfg", "");
    text_save(home / "profiles/night/y.cfg", "");
    text_save(home / "profiles/a>b/c.cfg", "");  // its name would be read as group "a"
    text_save(home / "profiles/x.cfg", "");
    text_save(home / "z.cfg", "");
    profile_system_init(true);
    EXPECT_EQ(profile_list_n(), 3);
    const int x = profile_list_find("<night>x");
    ASSERT_GE(x, 0);
    EXPECT_STREQ(profile_list_label(x), "x");
    EXPECT_STREQ(profile_group_name(profile_list_group(x)), "night");
    EXPECT_EQ(profile_list_group(x), profile_list_group(profile_list_find("<night>y")));
    EXPECT_EQ(profile_list_group(profile_list_find("x")), -1);

    for (int i = 0; i < PROFILE_GROUP_MAX; ++i) profile_list_add(("<g" + std::to_string(i) + ">n").c_str());
    EXPECT_EQ(profile_group_n(), PROFILE_GROUP_MAX);
    const int plain = profile_list_find("<g31>n");  // the 33rd group
    EXPECT_EQ(profile_list_group(plain), -1);
    EXPECT_STREQ(profile_list_label(plain), "<g31>n");
}

TEST_F(Profile, SwitchingKeepsEachProfilesValues) {
    profile_system_init(true);
    store("a", 10);
    profile_make_current("b");
    EXPECT_EQ(value(), 5);
    EXPECT_GE(profile_list_find("b"), 0);
    value() = 20;
    for (int frame = 0; frame < 6; ++frame) {
        profile_make_current(frame % 2 ? "b" : "a");
        EXPECT_EQ(value(), frame % 2 ? 20 : 10);
    }
    const auto written = fs::last_write_time(home / "a.cfg");
    value() = 21;
    profile_make_current("a");
    profile_make_current("b");
    EXPECT_EQ(value(), 21);
    EXPECT_EQ(fs::last_write_time(home / "a.cfg"), written);
    profile_make_current("A");  // the list's own spelling counts
    EXPECT_STREQ(profile_current(), "a");
}

TEST_F(Profile, WithoutAWindowNothingIsWritten) {
    profile_system_init(true);
    store("a", 10);
    profile_system_exit();
    profile_system_init(false);
    EXPECT_STREQ(profile_current(), "a");
    EXPECT_EQ(value(), 10);
    value() = 11;
    profile_make_current("b");
    EXPECT_EQ(value(), 5);
    profile_make_current("a");
    EXPECT_EQ(value(), 10);
    EXPECT_EQ(profile_list_n(), 0);
    profile_make_current("b");
    profile_system_exit();
    EXPECT_EQ(last(), "a");
    EXPECT_FALSE(has("b", ".cfg"));
}

TEST_F(Profile, CopyResetAndDelete) {
    profile_system_init(true);
    store("a", 10);
    text_save(home / "a.sav", "side");
    value() = 12;
    EXPECT_EQ(profile_copy_as("A"), 0);
    EXPECT_EQ(profile_copy_as("b"), 1);
    EXPECT_STREQ(profile_current(), "b");
    EXPECT_EQ(value(), 12);
    EXPECT_EQ(text_load(home / "b.cfg"), text_load(home / "a.cfg"));
    EXPECT_EQ(text_load(home / "b.sav"), "side");
    EXPECT_EQ(profile_copy_as("#temp0"), 1);
    EXPECT_TRUE(has("#temp0", ".cfg"));
    EXPECT_FALSE(has("#temp0", ".sav"));
    profile_reset();
    EXPECT_STREQ(profile_current(), "#temp0");
    EXPECT_EQ(value(), 5);
    EXPECT_FALSE(has("#temp0", ".cfg"));
    profile_delete("#temp0");
    EXPECT_STREQ(profile_current(), "b");
    EXPECT_EQ(profile_list_find("#temp0"), -1);

    profile_delete(profile_current());
    EXPECT_FALSE(has("b", ".cfg") || has("b", ".sav"));
    EXPECT_EQ(profile_list_find("b"), -1);
    EXPECT_STREQ(profile_current(), profile_list_name(0));
    profile_system_exit();
    EXPECT_FALSE(has("b", ".cfg"));
}

TEST_F(Profile, TheNinetySeventhNameIsRefused) {
    profile_system_init(true);
    store("a", 10);
    for (int i = 0; profile_list_n() < PROFILE_LIST_MAX; ++i) profile_list_add(("n" + std::to_string(i)).c_str());
    EXPECT_EQ(profile_copy_as("one more"), 0);
    char text[64];
    std::snprintf(text, sizeof text, language_string(STR_ERR_TOO_MANY_PROFILES), 96);
    EXPECT_EQ(warned, text);
    EXPECT_FALSE(has("one more", ".cfg"));
    EXPECT_STREQ(profile_current(), "a");
    EXPECT_EQ(profile_new(false), 0);
    profile_make_current("one more");
    EXPECT_STREQ(profile_current(), profile_list_name(0));

    const int hole = profile_list_find("n40");
    profile_delete("n40");
    EXPECT_EQ(profile_copy_as("one more"), 1);
    EXPECT_EQ(profile_list_find("one more"), hole);
    EXPECT_EQ(profile_list_slot(95), hole);
}

TEST_F(Profile, NewAsksForAName) {
    fs::create_directories(home / "profiles/g");
    profile_system_init(true);
    store("<g>a", 10);
    answer = "b";
    EXPECT_EQ(profile_new(true), 1);
    EXPECT_EQ(asked, "a");
    EXPECT_STREQ(profile_current(), "<g>b");
    EXPECT_TRUE(has(home / "profiles/g/b.cfg"));
    EXPECT_EQ(profile_new(false), 1);
    EXPECT_STREQ(profile_current(), "b");
    answer = "";
    EXPECT_EQ(profile_new(false), 0);
    EXPECT_EQ(warned, "");
    for (const char c : std::string("\\/.:,;*?<>|\"")) {
        warned.clear();
        answer = std::string("x") + c;
        EXPECT_EQ(profile_new(false), 0) << c;
        EXPECT_NE(warned.find("\\ / . : , ; * ? < > |"), std::string::npos);
    }
    answer = "\x83\x5C\x94\x7C c";  // second bytes that look like '\' and '|'
    EXPECT_EQ(profile_new(false), 1);
    EXPECT_EQ(profile_current(), answer);
    EXPECT_TRUE(has(answer.c_str(), ".cfg"));
}

TEST_F(Profile, TemporaryProfilesBelongToTheEdit) {
    profile_system_init(true);
    store("a", 10);
    edit->video_setting.quality = 77;
    text_copy(edit->profile_name[0], 260, "a");
    profile_make_temporary(edit.get());
    EXPECT_STREQ(edit->profile_name[0], "#temp0");
    EXPECT_STREQ(profile_current(), "#temp0");
    EXPECT_TRUE(has("a", ".sav"));
    EXPECT_EQ(value(), 10);
    value() = 11;
    EXPECT_EQ(profile_add_temporary(edit.get()), 1);
    EXPECT_STREQ(edit->profile_name[1], "#temp1");
    EXPECT_EQ(value(), 11);
    profile_make_current("a");
    EXPECT_EQ(value(), 10);
    profile_make_current("#temp1");
    EXPECT_TRUE(has(temp_name("#temp0.cfg")) && has(temp_name("#temp1.cfg")));
    profile_drop_temporary(edit.get());
    EXPECT_FALSE(has(temp_name("#temp0.cfg")) || has(temp_name("#temp1.cfg")));
    EXPECT_EQ(edit->profile_name[0][0], 0);

    // The next edit brings its own "#temp1", whose values the old ones in memory must not replace.
    const std::string config = text_load(home / "a.cfg");
    EXPECT_TRUE(profile_put_config("#temp1", {reinterpret_cast<const uint8_t*>(config.data()), config.size()}));
    EXPECT_EQ(value(), 11);
    profile_make_current("#temp1");
    EXPECT_EQ(value(), 10);
    profile_system_exit();
    EXPECT_TRUE(fs::is_empty(temp.path));
}

TEST_F(Profile, ALinkInTheTemporaryFolderIsNotWrittenThrough) {
    profile_system_init(true);
    store("a", 10);
    text_save(home / "mine", "precious");
    fs::create_symlink(home / "mine", temp_name("#temp0.cfg"));
    EXPECT_EQ(profile_copy_as("#temp0"), 1);
    EXPECT_EQ(text_load(home / "mine"), "precious");
    EXPECT_EQ(text_load(temp_name("#temp0.cfg")), text_load(home / "a.cfg"));
}

TEST_F(Profile, CommandsRenameTheFramesProfile) {
    profile_system_init(true);
    store("b", 20);
    store("a", 10);
    edit->edit_flag = EDIT_OPEN;
    edit->frame_n = 3;
    edit->frame = 1;
    frame_table.frame_profile[1] = 2;
    for (int i = 0; i < 4; ++i) text_copy(edit->profile_name[i], 260, "a");
    EXPECT_EQ(profile_command(edit.get(), PROFILE_COMMAND_SELECT + profile_list_find("b"), false), 1);
    EXPECT_STREQ(edit->profile_name[2], "b");
    EXPECT_STREQ(edit->profile_name[0], "a");
    EXPECT_EQ(value(), 20);
    EXPECT_EQ(profile_command(edit.get(), PROFILE_COMMAND_SELECT + 95, false), 0);
    answer = "c";
    EXPECT_EQ(profile_command(edit.get(), PROFILE_COMMAND_NEW, false), 1);
    EXPECT_STREQ(edit->profile_name[2], "c");
    EXPECT_EQ(profile_command(edit.get(), PROFILE_COMMAND_DELETE, false), 1);
    EXPECT_STREQ(edit->profile_name[2], "b");
    EXPECT_EQ(profile_command(edit.get(), PROFILE_COMMAND_RESET, false), 1);
    EXPECT_STREQ(edit->profile_name[2], "b");
    EXPECT_EQ(value(), 5);
}

TEST_F(Profile, CompressionFileIsHeadAndThreeRecords) {
    profile_system_init(true);
    store("a", 10);
    auto* bytes = reinterpret_cast<uint8_t*>(&edit->video_setting);
    for (size_t i = 0; i < 24704 + 8548; ++i) bytes[i] = uint8_t(i * 7 % 251);
    std::memset(&edit->output_setting, 0x21, sizeof edit->output_setting);
    text_copy(edit->profile_name[0], 260, "a");
    compression_store(edit.get());
    const auto part = [&](size_t at, size_t n) { return std::string(reinterpret_cast<char*>(edit.get()) + at, n); };
    const std::string head("Vantel OutputConfigFile version 0.2\0", 36);
    const std::string want = head + part(101168, 24704) + part(125872, 8548) + part(4965532, 16676);
    EXPECT_EQ(text_load(home / "a.sav"), want);
    EXPECT_EQ(want.size(), 49964u);

    compression_load(edit.get());
    EXPECT_EQ(edit->video_setting.quality, 10000);
    EXPECT_EQ(edit->video_setting.compressor, 0u);
    EXPECT_EQ(edit->video_setting.output_format_size, 8192);
    EXPECT_EQ(edit->video_setting.codec_state_size, 16384);
    EXPECT_EQ(edit->audio_setting.target_format_size, 8192);
    EXPECT_EQ(edit->audio_setting.audio_flags & (AUDIO_SETTING_FINAL_OPEN | AUDIO_SETTING_FIRST_OPEN), 0u);
    EXPECT_EQ(edit->output_setting.plugin_config_size, 16384);
    EXPECT_EQ(edit->output_setting.plugin_name[255], 0);
    EXPECT_EQ(part(101168 + 88, 8192), want.substr(36 + 88, 8192));

    std::string old_head = want;
    old_head[34] = '1';
    for (const std::string& file : {want.substr(0, 49963), old_head, std::string()}) {
        text_save(home / "a.sav", file);
        std::memset(&edit->video_setting, 1, 100);
        compression_load(edit.get());
        EXPECT_EQ(part(101168, 24704 + 8548), std::string(24704 + 8548, 0));
        EXPECT_EQ(part(4965532, 16676), std::string(16676, 0));
    }
}

TEST_F(Profile, CompressionSettingsComeFromOnePlace) {
    profile_system_init(true);
    store("a", 10);
    const auto quality = [&]() -> int32_t& { return edit->video_setting.quality; };
    quality() = 1;
    compression_store(edit.get());  // no edit is open: the current profile
    EXPECT_TRUE(has("a", ".sav"));
    text_copy(edit->profile_name[0], 260, "b");
    quality() = 2;
    compression_store(edit.get());
    quality() = 3;
    compression_settings_write(edit.get());
    compression_load(edit.get());
    EXPECT_EQ(quality(), 2);
    text_copy(edit->profile_name[0], 260, "a");
    compression_load(edit.get());
    EXPECT_EQ(quality(), 1);
    text_copy(edit->profile_name[0], 260, "none");
    compression_load(edit.get());
    EXPECT_EQ(quality(), 0);

    for (const bool temporary : {true, false}) {
        text_copy(edit->profile_name[0], 260, temporary ? "#temp0" : "a");
        system_settings.compprofile = temporary;
        compression_settings_read(edit.get());
        EXPECT_EQ(quality(), 3);
        compression_load(edit.get());
        EXPECT_EQ(quality(), 3);
        quality() = 4;
        compression_store(edit.get());
    }
    system_settings.compprofile = 1;
    compression_load(edit.get());
    EXPECT_EQ(quality(), 1);
}

}  // namespace
