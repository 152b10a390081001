#include "core/profile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "core/compression_settings.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/profile_list.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "platform/ini.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "support/command.h"
#include "support/track_filter.h"

namespace fs = std::filesystem;

namespace {

std::string warned, answer, asked;

/// A program's folder and a temporary folder of our own, and a filter whose one value tells which profile's values are
/// in memory.
struct Profile : testing::Test {
    TEMP_FOLDER_PATH home, temp;
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
        warned.clear();
        ui_hooks.warn = [](const char* text) { warned = text; };
        ui_hooks.ask_text = [](int, char* buffer, size_t size) {
            asked = buffer;
            return text_copy(buffer, size, answer);
        };
        const FILTER record = track_filter("T");
        filter = filter_plugin_add(&record, this, "", nullptr);
        filter_system_init(nullptr, this);
        frame_table_alloc(1024);
    }
    ~Profile() override {
        frame_table_free();
        filter_system_exit();
        ui_hooks = {};
        for (const char* variable : {"VANTEL_HOME", "TMPDIR"}) unsetenv(variable);
    }
    int32_t& value() const { return filter->track_store[0]; }
    /// Makes a profile's file hold a value.
    void store(const char* name, int32_t v) const {
        profile_make_current(name);
        value() = v;
        profile_store();
    }
    void begin_with_a() const {
        profile_system_init(true);
        store("a", 10);
    }
    void name_edit(const char* name) const { text_copy(edit->profile_name[0], PATH_SIZE, name); }
    static void set_last(const char* name) { ASSERT_EQ(ini_write_text(settings_file(), "edit", "config", name), 1); }
    static std::string last() {
        char name[260];
        ini_read_text(settings_file(), "edit", "config", name, "");
        return name;
    }
    static bool has(const char* name, const char* kind) { return fs::exists(text_to_utf8(profile_path(name, kind))); }
    std::string temp_name(const char* name) const {
        char prefix[32];
        std::snprintf(prefix, sizeof prefix, "vantel_%08x_", unsigned(getpid()));
        return temp / prefix + name;
    }
};

TEST_F(Profile, FilesLieInTheFolderTheNameSays) {
    profile_system_init(true);
    EXPECT_EQ(profile_path("<g>a", ".sav"), home / "<g>a.sav");
    fs::create_directories(home / "profiles/g");
    profile_system_init(true);
    EXPECT_EQ(profile_path("a", ".cfg"), home / "profiles/a.cfg");
    EXPECT_EQ(profile_path("<g>a", ".sav"), home / "profiles/g/a.sav");
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
    file_put_bytes(home / "#temp3.cfg", "left by a mistake");
    file_put_bytes(home / "d.txt", "");
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

TEST_F(Profile, GroupsAreFolders) {
    fs::create_directories(home / "profiles/night");
    fs::create_directories(home / "profiles/a>b");
    // The name of the last would be read as group "a".
    for (const char* file : {"profiles/night/x.cfg", "profiles/x.cfg", "z.cfg", "profiles/a>b/c.cfg"})
        file_put_bytes(home / file, "");
    profile_system_init(true);
    EXPECT_EQ(profile_list_n(), 2);
    const int x = profile_list_find("<night>x");
    ASSERT_GE(x, 0);
    EXPECT_STREQ(profile_list_label(x), "x");
    EXPECT_STREQ(profile_group_name(profile_list_group(x)), "night");
    EXPECT_EQ(profile_list_group(profile_list_find("x")), -1);
    for (int i = 0; i < PROFILE_GROUP_MAX; ++i) profile_list_add(("<g" + std::to_string(i) + ">n").c_str());
    EXPECT_EQ(profile_list_group(profile_list_find("<g31>n")), -1) << "the 33rd group";
}

TEST_F(Profile, SwitchingKeepsEachProfilesValues) {
    begin_with_a();
    profile_make_current("b");
    EXPECT_EQ(value(), 5);
    value() = 20;
    const auto written = fs::last_write_time(home / "a.cfg");
    for (const bool b : {false, true, false, true}) {
        profile_make_current(b ? "b" : "A");  // the list's own spelling counts
        EXPECT_STREQ(profile_current(), b ? "b" : "a");
        EXPECT_EQ(value(), b ? 20 : 10);
    }
    EXPECT_EQ(fs::last_write_time(home / "a.cfg"), written);
    profile_make_current("a");
    profile_system_exit();
    // Without a window nothing is written.
    profile_system_init(false);
    value() = 11;
    profile_make_current("c");
    EXPECT_EQ(value(), 5);
    profile_make_current("a");
    EXPECT_EQ(value(), 10);
    EXPECT_EQ(profile_list_n(), 0);
    profile_make_current("c");
    profile_system_exit();
    EXPECT_EQ(last(), "a");
    EXPECT_FALSE(has("c", ".cfg"));
}

TEST_F(Profile, CopyResetAndDelete) {
    begin_with_a();
    file_put_bytes(home / "a.sav", "side");
    value() = 12;
    EXPECT_EQ(profile_copy_as("A"), 0);
    EXPECT_EQ(profile_copy_as("b"), 1);
    EXPECT_EQ(value(), 12);
    EXPECT_EQ(file_bytes(home / "b.cfg"), file_bytes(home / "a.cfg"));
    EXPECT_EQ(file_bytes(home / "b.sav"), "side");
    profile_reset();
    EXPECT_STREQ(profile_current(), "b");
    EXPECT_EQ(value(), 5);
    EXPECT_FALSE(has("b", ".cfg"));
    profile_store();
    profile_delete("b");
    profile_system_exit();
    EXPECT_FALSE(has("b", ".cfg") || has("b", ".sav"));
}

TEST_F(Profile, TheNinetySeventhNameIsRefused) {
    begin_with_a();
    for (int i = 0; profile_list_n() < PROFILE_LIST_MAX; ++i) profile_list_add(("n" + std::to_string(i)).c_str());
    EXPECT_EQ(profile_copy_as("one more"), 0);
    EXPECT_NE(warned.find("96"), std::string::npos);
    EXPECT_FALSE(has("one more", ".cfg"));
    EXPECT_STREQ(profile_current(), "a");
    const int hole = profile_list_find("n40");
    profile_delete("n40");
    EXPECT_EQ(profile_copy_as("one more"), 1);
    EXPECT_EQ(profile_list_find("one more"), hole);
}

TEST_F(Profile, NewAsksForAName) {
    fs::create_directories(home / "profiles/g");
    profile_system_init(true);
    store("<g>a", 10);
    answer = "b";
    ui_hooks.modifier_down = [](UI_MODIFIER key) { return key == UI_SHIFT; };
    EXPECT_EQ(profile_new(), 1);
    ui_hooks.modifier_down = nullptr;
    EXPECT_EQ(asked, "a");
    EXPECT_STREQ(profile_current(), "<g>b");
    answer = "";
    EXPECT_EQ(profile_new(), 0);
    EXPECT_EQ(warned, "");
    for (const char c : std::string("\\/.:,;*?<>|\"")) {
        warned.clear();
        answer = std::string("x") + c;
        EXPECT_EQ(profile_new(), 0) << c;
        EXPECT_NE(warned, "");
    }
    answer = "\x83\x5C\x94\x7C c";  // second bytes that look like '\' and '|'
    EXPECT_EQ(profile_new(), 1);
    EXPECT_EQ(profile_current(), answer);
}

TEST_F(Profile, TemporaryProfilesBelongToTheEdit) {
    begin_with_a();
    edit->video_setting.quality = 77;
    name_edit("a");
    file_put_bytes(home / "mine", "precious");
    fs::create_symlink(home / "mine", temp_name("#temp0.cfg"));  // a trap
    profile_make_temporary(edit.get());
    EXPECT_STREQ(edit->profile_name[0], "#temp0");
    EXPECT_TRUE(has("a", ".sav"));
    EXPECT_EQ(value(), 10);
    value() = 11;
    EXPECT_EQ(profile_add_temporary(edit.get()), 1);
    EXPECT_STREQ(edit->profile_name[1], "#temp1");
    EXPECT_EQ(value(), 11);
    profile_make_current("a");
    EXPECT_EQ(value(), 10);
    profile_make_current("#temp1");
    EXPECT_TRUE(fs::exists(temp_name("#temp0.cfg")) && fs::exists(temp_name("#temp1.cfg")));
    EXPECT_EQ(file_bytes(home / "mine"), "precious");
    profile_drop_temporary(edit.get());
    EXPECT_EQ(edit->profile_name[0][0], 0);

    // The next edit brings its own "#temp1", whose values the old ones in memory must not replace.
    const std::string config = file_bytes(home / "a.cfg");
    EXPECT_TRUE(profile_put_config("#temp1", std::vector<uint8_t>(config.begin(), config.end())));
    EXPECT_EQ(value(), 11);
    profile_make_current("#temp1");
    EXPECT_EQ(value(), 10);
    profile_system_exit();
    EXPECT_TRUE(fs::is_empty(temp.path));
}

TEST_F(Profile, CommandsRenameTheFramesProfile) {
    profile_system_init(true);
    store("b", 20);
    store("a", 10);
    edit->edit_flag = EDIT_OPEN;
    edit->frame_n = 3, edit->frame = 1;
    frame_table.frame_profile[1] = 2;
    for (int i = 0; i < 4; ++i) text_copy(edit->profile_name[i], 260, "a");
    answer = "c";
    const struct {
        int command, value;
        const char* name;
    } rows[] = {{PROFILE_COMMAND_SELECT + profile_list_find("b"), 20, "b"},
                {PROFILE_COMMAND_NEW, 20, "c"},
                {PROFILE_COMMAND_DELETE, 20, "b"},
                {PROFILE_COMMAND_RESET, 5, "b"}};
    for (const auto& row : rows) {
        EXPECT_EQ(profile_command(edit.get(), row.command), 1);
        EXPECT_STREQ(edit->profile_name[2], row.name);
        EXPECT_EQ(value(), row.value) << row.name;
    }
    EXPECT_STREQ(edit->profile_name[0], "a");
    EXPECT_EQ(profile_command(edit.get(), PROFILE_COMMAND_SELECT + 95), 0);
}

TEST_F(Profile, CompressionFileIsHeadAndThreeRecords) {
    begin_with_a();
    auto* bytes = reinterpret_cast<uint8_t*>(&edit->video_setting);
    for (size_t i = 0; i < 24704 + 8548; ++i) bytes[i] = uint8_t(i * 7 % 251);
    std::memset(&edit->output_setting, 0x21, sizeof edit->output_setting);
    name_edit("a");
    compression_store(edit.get());
    const auto part = [&](size_t at, size_t n) { return std::string(reinterpret_cast<char*>(edit.get()) + at, n); };
    const std::string want = std::string("Vantel OutputConfigFile version 0.2\0", 36) + part(101168, 24704) +
                             part(125872, 8548) + part(4965532, 16676);
    EXPECT_EQ(file_bytes(home / "a.sav"), want);
    compression_load(edit.get());
    EXPECT_EQ(edit->video_setting.quality, 10000);
    EXPECT_EQ(edit->video_setting.compressor, 0u);
    EXPECT_EQ(edit->video_setting.codec_state_size, 16384);
    EXPECT_EQ(edit->audio_setting.audio_flags & (AUDIO_SETTING_FINAL_OPEN | AUDIO_SETTING_FIRST_OPEN), 0u);
    EXPECT_EQ(edit->output_setting.plugin_config_size, 16384);
    EXPECT_EQ(edit->output_setting.plugin_name[255], 0);
    EXPECT_EQ(part(101168 + 88, 8192), want.substr(36 + 88, 8192));
    std::string old_head = want;
    old_head[34] = '1';
    for (const std::string& file : {want.substr(0, 49963), old_head, std::string()}) {
        file_put_bytes(home / "a.sav", file);
        std::memset(&edit->video_setting, 1, 100);
        compression_load(edit.get());
        EXPECT_EQ(part(101168, 24704 + 8548), std::string(24704 + 8548, 0));
        EXPECT_EQ(part(4965532, 16676), std::string(16676, 0));
    }
}

TEST_F(Profile, CompressionSettingsComeFromOnePlace) {
    begin_with_a();
    const auto keep = [&](const char* name, int quality) {
        name_edit(name);
        edit->video_setting.quality = quality;
        compression_store(edit.get());
    };
    const auto kept = [&](const char* name) {
        name_edit(name);
        compression_load(edit.get());
        return edit->video_setting.quality;
    };
    keep("", 1);  // no edit is open: the current profile
    keep("b", 2);
    edit->video_setting.quality = 3;
    compression_settings_write(edit.get());
    EXPECT_EQ(kept("b"), 2);
    EXPECT_EQ(kept("a"), 1);
    EXPECT_EQ(kept("none"), 0);
    for (const bool temporary : {true, false}) {  // these have none of their own
        system_settings.compprofile = temporary;
        name_edit(temporary ? "#temp0" : "a");
        compression_settings_read(edit.get());
        EXPECT_EQ(edit->video_setting.quality, 3);
        keep(temporary ? "#temp0" : "a", 4);
    }
    system_settings.compprofile = 1;
    EXPECT_EQ(kept("a"), 1);
}

}  // namespace
