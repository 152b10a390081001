#include "platform/file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>

#include "platform/text.h"
#include "support/command.h"

namespace {

bool replace(const std::string& path, const std::string& data) {
    return file_replace(path.c_str(), data.data(), data.size());
}

using NAMES = std::vector<std::string>;

/// The files that match; without a pattern the folders.
NAMES names_in(const std::string& folder, const char* pattern = nullptr) {
    NAMES names;
    const auto add = [](const char* path, void* out) {
        static_cast<NAMES*>(out)->push_back(path);
        return true;
    };
    pattern ? file_each(folder.c_str(), pattern, add, &names) : folder_each(folder.c_str(), add, &names);
    std::sort(names.begin(), names.end());
    return names;
}

mode_t mode_of(const std::string& path) {
    struct stat info = {};
    stat(path.c_str(), &info);
    return info.st_mode & 07777;
}

TEST(File, OpensRegularFilesOnly) {
    const TEMP_FOLDER_PATH folder;
    const std::string fifo = folder / "fifo", file = folder / "file", link = folder / "link";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    file_put_bytes(file, "0123456789");
    ASSERT_EQ(symlink("file", link.c_str()), 0);
    for (const std::string& path : {fifo, folder.path, std::string("/dev/null"), folder / "none"}) {
        EXPECT_EQ(file_open_read(path.c_str()), -1) << path;
        EXPECT_EQ(file_open_update(path.c_str()), -1) << path;
    }
    for (const char* path : {fifo.c_str(), "/dev/null"}) EXPECT_EQ(file_create(path), -1) << path;
    const int read = file_open_read(link.c_str());
    char buffer[8] = {};
    EXPECT_EQ(file_read_at(read, buffer, 8, 5), 5);
    EXPECT_EQ(memcmp(buffer, "56789", 5), 0);
    EXPECT_FALSE(file_read_exact(read, buffer, 8, 5));
    EXPECT_EQ(file_read_at(read, buffer, 1, -1), -1);
    EXPECT_EQ(file_write_at(read, "x", 1, 0), 0);
    file_close(read);
    const int update = file_create(file.c_str());
    EXPECT_EQ(file_size(update), 0);
    EXPECT_EQ(file_write_at(update, "abc", 3, (int64_t(1) << 32) - 1), 3);
    EXPECT_EQ(file_size(update), (int64_t(1) << 32) + 2);
    file_close(update);
    std::vector<uint8_t> data;
    EXPECT_FALSE(file_load(file.c_str(), data, 1 << 20));
}

TEST(File, AnyNameOpens) {
    const TEMP_FOLDER_PATH folder;
    const std::string name = folder / "表\xFF\xC3 é\U0001F600.cfg";
    file_put_bytes(name, "data");
    const std::string path = text_from_utf8(name);
    std::vector<uint8_t> data;
    EXPECT_FALSE(file_load(path.c_str(), data, 3));
    ASSERT_TRUE(file_load(path.c_str(), data, 4));
    EXPECT_EQ(std::string(data.begin(), data.end()), "data");
    EXPECT_EQ(names_in(folder.path, "*.CFG"), NAMES{path});
}

TEST(File, ReplaceKeepsModeAndLink) {
    const TEMP_FOLDER_PATH folder;
    const std::string real = folder / "real", link = folder / "link", fresh = folder / "fresh";
    file_put_bytes(real, "old");
    chmod(real.c_str(), 0640);
    ASSERT_EQ(symlink("real", link.c_str()), 0);
    EXPECT_TRUE(replace(link, "new"));
    EXPECT_EQ(file_bytes(real), "new");
    EXPECT_EQ(mode_of(real), 0640u);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    std::filesystem::remove(real);
    EXPECT_TRUE(replace(link, "again"));  // a link that leads nowhere yet
    EXPECT_EQ(file_bytes(real), "again");
    const mode_t mask = umask(027);
    EXPECT_TRUE(replace(fresh, ""));
    umask(mask);
    EXPECT_EQ(mode_of(fresh), 0640u);
    EXPECT_FALSE(replace(folder.path, "x"));
    EXPECT_FALSE(replace(folder / "none/x", "x"));
    EXPECT_EQ(names_in(folder.path, "*").size(), 3u);
}

TEST(File, FailedReplaceLeavesEverythingAsItWas) {
    const TEMP_FOLDER_PATH folder;
    const std::string path = folder / "file";
    file_put_bytes(path, "old");
    // A limit on the file size stands in for the full disk: the write stops in the middle.
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {1000, 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
        _exit(replace(path, std::string(5000, 'x')) ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(file_bytes(path), "old");
    EXPECT_EQ(names_in(folder.path, "*"), NAMES{path});
    if (geteuid() == 0) return;  // nothing is write-protected for the superuser
    chmod(path.c_str(), 0444);
    EXPECT_FALSE(replace(path, "new"));
    chmod(path.c_str(), 0644);
    chmod(folder.path.c_str(), 0555);
    EXPECT_FALSE(replace(path, "new"));
    chmod(folder.path.c_str(), 0755);
    EXPECT_EQ(file_bytes(path), "old");
}

TEST(File, CopySameStamp) {
    const TEMP_FOLDER_PATH folder;
    const std::string a = folder / "a", b = folder / "b", link = folder / "link", none = folder / "none";
    std::string data(3000000, 'a');  // more than one piece of the copy
    data += "end";
    file_put_bytes(a, data);
    chmod(a.c_str(), 0600);
    ASSERT_EQ(symlink("a", link.c_str()), 0);
    EXPECT_TRUE(file_copy(a.c_str(), b.c_str()));
    EXPECT_TRUE(file_bytes(b) == data);
    EXPECT_EQ(mode_of(b), 0600u);
    EXPECT_FALSE(file_copy(a.c_str(), link.c_str()));
    EXPECT_TRUE(file_bytes(a) == data);
    EXPECT_TRUE(file_same(a.c_str(), link.c_str()));
    EXPECT_FALSE(file_same(a.c_str(), b.c_str()) || file_same(a.c_str(), none.c_str()));
    EXPECT_TRUE(file_same(none.c_str(), (folder / "./x/../none").c_str()));
    char before[48], after[48];
    file_stamp(a.c_str(), before);
    ASSERT_EQ(truncate(a.c_str(), 1), 0);
    file_stamp(a.c_str(), after);
    EXPECT_STRNE(before, after);
}

TEST(File, EachVisitsMatchesAndStops) {
    const TEMP_FOLDER_PATH folder;
    for (const char* name : {"a.cfg", "b.CFG", "c.cfgx", "d.txt"}) file_put_bytes(folder / name, "");
    std::filesystem::create_directories(folder / "e.cfg/inner");
    ASSERT_EQ(symlink("e.cfg", (folder / "f").c_str()), 0);
    ASSERT_EQ(symlink("d.txt", (folder / "g.cfg").c_str()), 0);
    EXPECT_EQ(names_in(folder.path, "*.cfg"), (NAMES{folder / "a.cfg", folder / "b.CFG", folder / "g.cfg"}));
    EXPECT_EQ(names_in(folder.path), (NAMES{folder / "e.cfg", folder / "f"}));
    int visits = 0;
    const auto stop = [](const char*, void* out) { return ++*static_cast<int*>(out) < 2; };
    file_each(folder.path.c_str(), "*", stop, &visits);
    EXPECT_EQ(visits, 2);
}

}  // namespace
