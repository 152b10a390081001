#include "platform/ini.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <filesystem>

#include "support/command.h"

namespace {

struct Ini : testing::Test {
    TEMP_FOLDER_PATH folder;
    std::string file = folder / "a.ini";

    int read_int(const char* section, const std::string& key, int def = -1) const {
        return ini_read_int(file.c_str(), section, key.c_str(), def);
    }
    int write_int(const char* section, const std::string& key, int value) const {
        return ini_write_int(file.c_str(), section, key.c_str(), value);
    }
    std::string read(const char* key, const std::string& def = "def") const {
        char buffer[260];
        memset(buffer, 'x', sizeof buffer);
        ini_read_text(file.c_str(), "s", key, buffer, def.c_str());
        return buffer;
    }
    int write(const char* key, const std::string& text) const {
        return ini_write_text(file.c_str(), "s", key, text.c_str());
    }
};

TEST_F(Ini, Integers) {
    EXPECT_EQ(read_int("s", "k", -7), -7);  // missing file
    file_put_bytes(file, "[S]\r\na = 12 \r\nb=-5px\r\nc=text\r\nd=\r\ne=+3\r\nf=\"  8\"\r\ng=4294967295\r\na=99\r\n");
    for (const auto& [key, want] : {std::pair{"A", 12}, {"b", -5}, {"c", 0}, {"d", 0}, {"e", 3}, {"f", 8}, {"g", -1}})
        EXPECT_EQ(read_int("s", key, -7), want) << key;
    for (const int value : {INT_MAX, INT_MIN}) {
        EXPECT_EQ(write_int("new", "k", value), 1);
        EXPECT_EQ(read_int("new", "K", 1), value);
    }
}

TEST_F(Ini, TextsComeBackExactly) {
    const std::string longest(259, 'x');
    const char* const texts[] = {
        "",    " both ", "\t",       "\"quoted\"",       "'q'",      "\"",   "' \"",          "a;b#c=d",
        "[s]", "<<<END", "\xF0\x40", "\x83\x5C\x95\x5C", "\x81\x40", "\" a", longest.c_str(), "\\n"};
    for (const char* text : texts) {
        ASSERT_EQ(write("k", text), 1) << text;
        EXPECT_EQ(read("k"), text);
    }
    EXPECT_TRUE(!write("k", "表\n") && !write("k", longest + "x") && !write("a=b", "x") && !write("", "x"));
    EXPECT_EQ(read("k"), "\\n");
    EXPECT_EQ(write("k", "\x95\x5C"), 1);
    EXPECT_EQ(file_bytes(file), "[s]\nk=表\n");
    EXPECT_EQ(read("none", std::string(300, 'x')), "");
    file_put_bytes(file, "[s]\nk=" + longest + "x\n");
    EXPECT_EQ(read("k"), "def");
}

TEST_F(Ini, SectionNames) {
    ASSERT_EQ(write_int("a[1]\x83\x5D\x83\x5B.avi", "k", 5), 1);  // ゾー, whose second bytes look like ] and [
    EXPECT_EQ(read_int("A1\x83\x5D[]\x83\x5B.AVI", "k"), 5);
    EXPECT_EQ(file_bytes(file), "[a1ゾゼ.avi]\nk=5\n");
    EXPECT_TRUE(write_int("", "k", 6) == 1 && read_int("", "k") == 6);
}

TEST_F(Ini, WhatTheUserWroteSurvives) {
    const std::string data =
        "\xEF\xBB\xBF; head\n\n[one]\n; of a\na=1\nnonsense\n=\nb=2\na=again\n\n[bad\n[two]\nunknown=x";
    file_put_bytes(file, data + '\0' + "y\n# tail\nc=3\n; end");
    EXPECT_EQ(read_int("one", "a"), 1);
    EXPECT_EQ(write_int("two", "new", 4), 1);
    const std::string once = file_bytes(file);
    for (const char* part : {"; head\n", "; of a\na=1\n", "; nonsense\n", "; =\n", "b=2\n", "a=again\n", "; [bad\n",
                             "unknown=xy\n", "# tail\n", "new=4\n", "; end\n"})
        EXPECT_NE(once.find(part), std::string::npos) << part << "\nin\n" << once;
    for (const int value : {5, 4}) EXPECT_EQ(write_int("two", "new", value), 1);
    EXPECT_EQ(file_bytes(file), once);  // nothing grows or moves from write to write
}

TEST_F(Ini, UnreadableFilesAreNotWrittenOver) {
    const std::string large = folder / "large.ini", fifo = folder / "fifo.ini";
    file_put_bytes(large, "[s]\nk=1\n");
    ASSERT_EQ(truncate(large.c_str(), 1 << 30), 0);
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& bad : {large, fifo, folder.path, folder / "none/a.ini"}) {
        file = bad;
        EXPECT_EQ(read_int("s", "k", 7), 7) << file;
        EXPECT_EQ(write_int("s", "k", 2), 0) << file;
    }
    EXPECT_EQ(std::filesystem::file_size(large), uintmax_t(1) << 30);
}

TEST_F(Ini, SeesChangesOfOthersAtOnce) {
    for (int i = 0; i < 50; ++i) {
        file_put_bytes(file, "[s]\nk=" + std::to_string(i % 10) + "\n");  // same size and inode, mostly the same time
        ASSERT_EQ(read_int("s", "k"), i % 10);
    }
    std::filesystem::remove(file);
    EXPECT_EQ(read_int("s", "k"), -1);
}

TEST_F(Ini, BatchWritesOnce) {
    for (int i = 0; i < 2; ++i) ini_batch_begin(file.c_str());
    for (int i = 0; i < 20; ++i) EXPECT_EQ(write_int("s", "k" + std::to_string(i), i), 1);
    EXPECT_EQ(ini_batch_end(file.c_str()), 1);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(read_int("s", "k7"), 7);
    file_put_bytes(file, "[s]\nother=1\nk7=70\n");  // another run, meanwhile
    EXPECT_EQ(read_int("s", "k7"), 7);
    EXPECT_EQ(ini_batch_end(file.c_str()), 1);
    EXPECT_TRUE(read_int("s", "other") == 1 && read_int("s", "k19") == 19);
    struct stat before, after;
    stat(file.c_str(), &before);
    EXPECT_EQ(write_int("S", "K19", 19), 1);  // no change, no new file
    stat(file.c_str(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(Ini, RunsLoseNoKeyOfEachOther) {
    constexpr int RUNS = 4, KEYS = 60;
    const auto key = [](int run, int i) { return "run" + std::to_string(run) + "_" + std::to_string(i); };
    pid_t children[RUNS];
    for (int run = 0; run < RUNS; ++run) {
        children[run] = fork();
        if (children[run] != 0) continue;
        int good = 1;
        for (int i = 0; i < KEYS; ++i) good &= write_int("s", key(run, i), i);
        _exit(good ? 0 : 1);
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    for (int i = 0; i < RUNS * KEYS; ++i) ASSERT_EQ(read_int("s", key(i / KEYS, i % KEYS)), i % KEYS);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 1);
}

}  // namespace
