#include "platform/path.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "platform/dynlib.h"
#include "platform/file.h"
#include "platform/text.h"
#include "support/command.h"

namespace {

TEST(Path, Parts) {
    EXPECT_STREQ(path_name("/a/b.c/\x83\x5C.x.y"), "\x83\x5C.x.y");
    EXPECT_STREQ(path_name("/a/"), "");
    EXPECT_STREQ(path_extension("/a/b.c/d.e.avi"), ".avi");
    EXPECT_STREQ(path_extension("/a/b.c/d"), "");
    char out[PATH_SIZE];
    for (const auto& [path, folder] : {std::pair{"/a/b", "/a/"}, {"b", ""}}) {
        EXPECT_TRUE(path_folder(out, path));
        EXPECT_STREQ(out, folder);
    }
    EXPECT_TRUE(path_join(out, "/a", "b") && path_join(out, out, "c/") && path_join(out, out, "d.avi"));
    EXPECT_TRUE(path_set_extension(out, out, ".wav"));
    EXPECT_STREQ(out, "/a/b/c/d.wav");
    EXPECT_TRUE(path_join(out, "/a", "/b"));
    EXPECT_STREQ(out, "/b");
}

TEST(Path, RefusesWhatDoesNotFit) {
    const std::string longest = "/" + std::string(254, 'n') + ".avi";
    char out[PATH_SIZE];
    EXPECT_TRUE(path_set_extension(out, longest.c_str(), ".wav"));
    EXPECT_FALSE(path_set_extension(out, longest.c_str(), ".jpeg"));
    EXPECT_STREQ(out, "");
    EXPECT_FALSE(path_join(out, "/x", longest.c_str() + 1));
    EXPECT_EQ(path_absolute(longest), longest);
    EXPECT_EQ(path_absolute(longest + "x"), "");
}

TEST(Path, Absolute) {
    for (const auto& [path, want] : {std::pair{"/a//b/./c/../d", "/a/b/d"}, {"/../../a/b/..", "/a/"}, {"/a/..", "/"}})
        EXPECT_EQ(path_absolute(path), want);
    EXPECT_EQ(path_absolute(""), "");
    const TEMP_FOLDER_PATH folder;
    const auto old = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    EXPECT_EQ(path_absolute("x/../y"), folder / "y");
    EXPECT_EQ(path_absolute("."), folder / "");
    std::filesystem::current_path(old);
}

TEST(Path, ProgramFolder) {
    const TEMP_FOLDER_PATH folder;
    const char* now = getenv("VANTEL_HOME");
    const std::string old = now ? now : "";
    setenv("VANTEL_HOME", (folder / "設定/é").c_str(), 1);
    const std::string want = text_from_utf8(folder / "設定/é/");
    EXPECT_EQ(path_program_folder(), want);
    EXPECT_FALSE(file_exists(want.c_str()));
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(path_program_folder_create());
    EXPECT_TRUE(file_is_folder(want.c_str()));
    setenv("VANTEL_HOME", "relative", 1);
    EXPECT_EQ(path_program_folder(), path_absolute("relative") + "/");
    unsetenv("VANTEL_HOME");
    // The tests run from the build folder, which is not installed.
    EXPECT_EQ(path_program_folder() + path_name(path_program().c_str()), path_program());
    EXPECT_EQ(path_plugin_folders(), std::vector<std::string>{path_program_folder()});
    if (!old.empty()) setenv("VANTEL_HOME", old.c_str(), 1);
}

TEST(Path, InstalledProgramUsesTheConfigFolder) {
    // This test runs itself once more as a program installed elsewhere, which prints what it finds.
    if (getenv("VANTEL_TEST_INSTALLED") != nullptr) {
        std::string all = "program folder " + path_program_folder();
        for (const std::string& path : path_plugin_folders()) all += " plugins " + path;
        puts(all.c_str());
        return;
    }
    const TEMP_FOLDER_PATH folder;
    for (const char* part : {"bin", "share/vantel"}) std::filesystem::create_directories(folder / part);
    std::filesystem::copy_file("/proc/self/exe", folder / "bin/program");
    const std::string command = "VANTEL_TEST_INSTALLED=1 HOME=/home/me " + (folder / "bin/program") +
                                " --gtest_filter=Path.Installed* > " + (folder / "out");
    const std::string lib = " plugins " + (folder / "lib/vantel/") + "\n",
                      me = "program folder /home/me/.config/vantel/ plugins /home/me/.config/vantel/";
    for (const auto& [variables, want] : {std::pair<std::string, std::string>{"", me + lib},
                                          {"XDG_CONFIG_HOME=/etc/x", "program folder /etc/x/vantel/"},
                                          {"XDG_CONFIG_HOME=rel", me},
                                          {"VANTEL_HOME=/v", "program folder /v/ plugins /v/" + lib}}) {
        EXPECT_EQ(system(("env -u VANTEL_HOME -u XDG_CONFIG_HOME " + variables + " " + command).c_str()), 0);
        EXPECT_NE(file_bytes(folder / "out").find(want), std::string::npos) << variables;
    }
}

TEST(Dynlib, OpensAndSaysWhyNot) {
    const TEMP_FOLDER_PATH folder;
    const std::string broken = folder / "broken.so";
    file_put_bytes(broken, "no shared object");
    std::string error;
    EXPECT_EQ(dynlib_open(broken.c_str(), &error), nullptr);
    EXPECT_NE(error.find(broken), std::string::npos);
    EXPECT_EQ(dynlib_open("libc.so.6"), nullptr);  // only files are opened, the machine's libraries are not searched
    dynlib_close(nullptr);
}

}  // namespace
