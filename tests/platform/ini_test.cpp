#include "platform/ini.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstring>

#include "platform/temp_folder.h"

namespace {

std::string read(const std::string& file, const char* section, const char* key, const char* def = "def") {
    char buffer[260];
    memset(buffer, 'x', sizeof buffer);
    ini_read_text(file.c_str(), section, key, buffer, def);
    return buffer;
}

TEST(Ini, Integers) {
    const TEMP_FOLDER folder;
    const std::string file = folder / "a.ini";
    EXPECT_EQ(ini_read_int(file.c_str(), "s", "k", -7), -7);  // missing file
    text_save(file,
              "[S]\r\na = 12 \r\nb=-5px\r\nc=text\r\nd=\r\ne=+3\r\nf=\"  8\"\r\ng=4294967295\r\nh=0x10\r\na=99\r\n");
    const struct {
        const char* key;
        int want;
    } cases[] = {{"A", 12}, {"b", -5}, {"c", 0}, {"d", 0}, {"e", 3}, {"f", 8}, {"g", -1}, {"h", 0}, {"none", -7}};
    for (const auto& c : cases) EXPECT_EQ(ini_read_int(file.c_str(), "s", c.key, -7), c.want) << c.key;
    for (const int value : {0, INT_MAX, INT_MIN}) {
        EXPECT_EQ(ini_write_int(file.c_str(), "new", "k", value), 1);
        EXPECT_EQ(ini_read_int(file.c_str(), "new", "K", 1), value);
    }
}

TEST(Ini, TextsComeBackExactly) {
    const TEMP_FOLDER folder;
    const std::string file = folder / "a.ini";
    const std::string texts[] = {"",
                                 " both ",
                                 "\t",
                                 "\"quoted\"",
                                 "'q'",
                                 "\"",
                                 "' \"",
                                 "a;b#c=d",
                                 ";x",
                                 "[s]",
                                 "<<<END",
                                 "\x83\x5C\x95\x5C",
                                 "\xF0\x40",
                                 "=",
                                 "\x81\x40",
                                 "\" a",
                                 std::string(259, 'x'),
                                 "\\n"};
    for (const std::string& text : texts) {
        ASSERT_EQ(ini_write_text(file.c_str(), "s", "k", text.c_str()), 1) << text;
        EXPECT_EQ(read(file, "s", "k"), text);
    }
    EXPECT_EQ(ini_write_text(file.c_str(), "s", "k", "表\n"), 0);
    EXPECT_EQ(ini_write_text(file.c_str(), "s", "k", std::string(260, 'x').c_str()), 0);
    EXPECT_EQ(ini_write_text(file.c_str(), "s", "a=b", "x"), 0);
    EXPECT_EQ(ini_write_text(file.c_str(), "s", "", "x"), 0);
    EXPECT_EQ(read(file, "s", "k"), "\\n");
    EXPECT_EQ(ini_write_text(file.c_str(), "s", "k", "\x95\x5C"), 1);
    EXPECT_EQ(text_load(file), "[s]\nk=表\n");
    EXPECT_EQ(read(file, "s", "none", std::string(300, 'x').c_str()), "");
    text_save(file, "[s]\nk=" + std::string(260, 'x') + "\n");
    EXPECT_EQ(read(file, "s", "k"), "def");
}

TEST(Ini, SectionNames) {
    const TEMP_FOLDER folder;
    const std::string file = folder / "a.ini";
    ASSERT_EQ(ini_write_int(file.c_str(), "a[1]\x83\x5D\x83\x5B.avi", "k", 5),
              1);  // ゾー, whose second bytes look like ] and [
    EXPECT_EQ(ini_read_int(file.c_str(), "A1\x83\x5D[]\x83\x5B.AVI", "k", 0), 5);
    EXPECT_EQ(text_load(file), "[a1ゾゼ.avi]\nk=5\n");
    EXPECT_EQ(ini_write_int(file.c_str(), "", "k", 6), 1);
    EXPECT_EQ(ini_read_int(file.c_str(), "", "k", 0), 6);
}

TEST(Ini, WhatTheUserWroteSurvives) {
    const TEMP_FOLDER folder;
    const std::string file = folder / "a.ini";
    const std::string data =
        "\xEF\xBB\xBF; head\n\n[one]\n; of a\na=1\nnonsense\n=\nb=2\na=again\n\n[bad\n[two]\nunknown=x";
    text_save(file, data + '\0' + "y\n# tail\nc=3\n; end");
    EXPECT_EQ(ini_read_int(file.c_str(), "one", "a", 0), 1);
    EXPECT_EQ(ini_write_int(file.c_str(), "two", "new", 4), 1);
    const std::string once = text_load(file);
    for (const char* part : {"; head\n", "; of a\na=1\n", "; nonsense\n", "; =\n", "b=2\n", "a=again\n", "; [bad\n",
                             "unknown=xy\n", "# tail\n", "new=4\n", "; end\n"}) {
        EXPECT_NE(once.find(part), std::string::npos) << part << "\nin\n" << once;
    }
    EXPECT_EQ(once.find('\x01'), std::string::npos);
    EXPECT_EQ(ini_write_int(file.c_str(), "two", "new", 5), 1);
    EXPECT_EQ(ini_write_int(file.c_str(), "two", "new", 4), 1);
    EXPECT_EQ(text_load(file), once);  // nothing grows or moves from write to write
}

TEST(Ini, UnreadableFilesAreNotWrittenOver) {
    const TEMP_FOLDER folder;
    const std::string large = folder / "large.ini", fifo = folder / "fifo.ini";
    text_save(large, "[s]\nk=1\n");
    EXPECT_EQ(ini_read_int(large.c_str(), "s", "k", 0), 1);
    ASSERT_EQ(truncate(large.c_str(), 1 << 30), 0);
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& file : {large, fifo, folder.path}) {
        EXPECT_EQ(ini_read_int(file.c_str(), "s", "k", 7), 7) << file;
        EXPECT_EQ(ini_write_int(file.c_str(), "s", "k", 2), 0) << file;
    }
    EXPECT_EQ(std::filesystem::file_size(large), uintmax_t(1) << 30);
    EXPECT_EQ(ini_write_int((folder / "none/a.ini").c_str(), "s", "k", 2), 0);
}

TEST(Ini, SeesChangesOfOthersAtOnce) {
    const TEMP_FOLDER folder;
    const std::string file = folder / "a.ini";
    for (int i = 0; i < 50; ++i) {
        text_save(file, "[s]\nk=" + std::to_string(i % 10) + "\n");  // same size, same inode, mostly the same time
        ASSERT_EQ(ini_read_int(file.c_str(), "s", "k", -1), i % 10);
    }
    std::filesystem::remove(file);
    EXPECT_EQ(ini_read_int(file.c_str(), "s", "k", -1), -1);
}

TEST(Ini, BatchWritesOnce) {
    const TEMP_FOLDER folder;
    const std::string file = folder / "a.ini";
    ini_batch_begin(file.c_str());
    ini_batch_begin(file.c_str());
    for (int i = 0; i < 20; ++i) EXPECT_EQ(ini_write_int(file.c_str(), "s", ("k" + std::to_string(i)).c_str(), i), 1);
    EXPECT_EQ(ini_batch_end(file.c_str()), 1);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(ini_read_int(file.c_str(), "s", "k7", -1), 7);
    text_save(file, "[s]\nother=1\nk7=70\n");  // another run, meanwhile
    EXPECT_EQ(ini_read_int(file.c_str(), "s", "k7", -1), 7);
    EXPECT_EQ(ini_batch_end(file.c_str()), 1);
    EXPECT_EQ(ini_read_int(file.c_str(), "s", "other", -1), 1);
    EXPECT_EQ(ini_read_int(file.c_str(), "s", "k19", -1), 19);
    struct stat before, after;
    stat(file.c_str(), &before);
    EXPECT_EQ(ini_write_int(file.c_str(), "S", "K19", 19), 1);  // no change, no new file
    stat(file.c_str(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST(Ini, RunsLoseNoKeyOfEachOther) {
    constexpr int RUNS = 4, KEYS = 60;
    const TEMP_FOLDER folder;
    const std::string file = folder / "a.ini";
    const auto key = [](int run, int i) { return "run" + std::to_string(run) + "_" + std::to_string(i); };
    pid_t children[RUNS];
    for (int run = 0; run < RUNS; ++run) {
        children[run] = fork();
        if (children[run] != 0) continue;
        int good = 1;
        for (int i = 0; i < KEYS; ++i) good &= ini_write_int(file.c_str(), "s", key(run, i).c_str(), i);
        _exit(good ? 0 : 1);
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    for (int run = 0; run < RUNS; ++run) {
        for (int i = 0; i < KEYS; ++i) ASSERT_EQ(ini_read_int(file.c_str(), "s", key(run, i).c_str(), -1), i);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 1);
}

}  // namespace
