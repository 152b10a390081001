#include "platform/file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>

#include "platform/temp_folder.h"
#include "platform/text.h"

namespace {

bool replace(const std::string& path, const std::string& data) {
    return file_replace(path.c_str(), data.data(), data.size());
}

std::ptrdiff_t entries(const TEMP_FOLDER& folder) {
    return std::distance(std::filesystem::directory_iterator(folder.path), {});
}

mode_t mode_of(const std::string& path) {
    struct stat info = {};
    stat(path.c_str(), &info);
    return info.st_mode & 07777;
}

TEST(File, OpensRegularFilesOnly) {
    const TEMP_FOLDER folder;
    const std::string fifo = folder / "fifo", file = folder / "file", link = folder / "link";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    text_save(file, "0123456789");
    ASSERT_EQ(symlink("file", link.c_str()), 0);
    for (const std::string& path : {fifo, folder.path, std::string("/dev/null"), folder / "none"}) {
        EXPECT_EQ(file_open_read(path.c_str()), -1) << path;
        EXPECT_EQ(file_open_update(path.c_str()), -1) << path;
    }
    EXPECT_EQ(file_create(fifo.c_str()), -1);
    EXPECT_EQ(file_create("/dev/null"), -1);

    const int read = file_open_read(link.c_str());
    char buffer[8] = {};
    EXPECT_EQ(file_size(read), 10);
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
    const TEMP_FOLDER folder;
    const std::string name = folder / "表\xFF\xC3 é\U0001F600.cfg";
    text_save(name, "data");
    const std::string path = text_from_utf8(name);
    std::vector<uint8_t> data;
    ASSERT_TRUE(file_load(path.c_str(), data, 4));
    EXPECT_EQ(std::string(data.begin(), data.end()), "data");
    EXPECT_FALSE(file_load(path.c_str(), data, 3));
    std::string seen;
    file_each(
        folder.path.c_str(), "*.CFG",
        [](const char* found, void* out) {
            *static_cast<std::string*>(out) = found;
            return true;
        },
        &seen);
    EXPECT_EQ(seen, path);
}

TEST(File, ReplaceKeepsModeAndLink) {
    const TEMP_FOLDER folder;
    const std::string real = folder / "real", link = folder / "link", fresh = folder / "fresh";
    text_save(real, "old");
    chmod(real.c_str(), 0640);
    ASSERT_EQ(symlink("real", link.c_str()), 0);
    EXPECT_TRUE(replace(link, "new"));
    EXPECT_EQ(text_load(real), "new");
    EXPECT_EQ(mode_of(real), 0640u);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    std::filesystem::remove(real);
    EXPECT_TRUE(replace(link, "again"));  // a link that leads nowhere yet
    EXPECT_EQ(text_load(real), "again");

    const mode_t mask = umask(027);
    EXPECT_TRUE(replace(fresh, ""));
    umask(mask);
    EXPECT_EQ(mode_of(fresh), 0640u);
    EXPECT_FALSE(replace(folder.path, "x"));
    EXPECT_FALSE(replace(folder / "none/x", "x"));
    EXPECT_EQ(entries(folder), 3);
}

TEST(File, FailedReplaceLeavesEverythingAsItWas) {
    const TEMP_FOLDER folder;
    const std::string path = folder / "file";
    text_save(path, "old");
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
    EXPECT_EQ(text_load(path), "old");
    EXPECT_EQ(entries(folder), 1);
    if (geteuid() == 0) return;  // nothing is write-protected for the superuser
    chmod(path.c_str(), 0444);
    EXPECT_FALSE(replace(path, "new"));
    chmod(path.c_str(), 0644);
    chmod(folder.path.c_str(), 0555);
    EXPECT_FALSE(replace(path, "new"));
    chmod(folder.path.c_str(), 0755);
    EXPECT_EQ(text_load(path), "old");
}

TEST(File, CopySameStamp) {
    const TEMP_FOLDER folder;
    const std::string a = folder / "a", b = folder / "b", link = folder / "link";
    const std::string data = std::string(3000000, 'a') + "end";
    text_save(a, data);
    chmod(a.c_str(), 0600);
    ASSERT_EQ(symlink("a", link.c_str()), 0);
    EXPECT_TRUE(file_copy(a.c_str(), b.c_str()));
    EXPECT_EQ(text_load(b), data);
    EXPECT_EQ(mode_of(b), 0600u);
    EXPECT_FALSE(file_copy(a.c_str(), link.c_str()));
    EXPECT_EQ(text_load(a), data);

    EXPECT_TRUE(file_same(a.c_str(), link.c_str()));
    EXPECT_FALSE(file_same(a.c_str(), b.c_str()));
    EXPECT_FALSE(file_same(a.c_str(), (folder / "none").c_str()));
    EXPECT_TRUE(file_same((folder / "none").c_str(), (folder / "./x/../none").c_str()));

    char before[48], after[48];
    file_stamp(a.c_str(), before);
    ASSERT_EQ(truncate(a.c_str(), 1), 0);
    file_stamp(a.c_str(), after);
    EXPECT_STRNE(before, after);
    file_stamp((folder / "none").c_str(), after);
    EXPECT_STREQ(after, "");
}

TEST(File, EachVisitsMatchesAndStops) {
    const TEMP_FOLDER folder;
    for (const char* name : {"a.cfg", "b.CFG", "c.cfgx", "d.txt"}) text_save(folder / name, "");
    std::filesystem::create_directories(folder / "e.cfg/inner");
    ASSERT_EQ(symlink("e.cfg", (folder / "f").c_str()), 0);
    ASSERT_EQ(symlink("d.txt", (folder / "g.cfg").c_str()), 0);
    using NAMES = std::vector<std::string>;
    const auto add = [](const char* path, void* out) {
        static_cast<NAMES*>(out)->push_back(path);
        return true;
    };
    NAMES files, folders;
    const std::string bare = folder.path.substr(0, folder.path.size() - 1);
    file_each(bare.c_str(), "*.cfg", add, &files);
    folder_each(folder.path.c_str(), add, &folders);
    std::sort(files.begin(), files.end());
    std::sort(folders.begin(), folders.end());
    EXPECT_EQ(files, (NAMES{folder / "a.cfg", folder / "b.CFG", folder / "g.cfg"}));
    EXPECT_EQ(folders, (NAMES{folder / "e.cfg", folder / "f"}));
    int visits = 0;
    const auto stop = [](const char*, void* out) { return ++*static_cast<int*>(out) < 2; };
    file_each(folder.path.c_str(), "*", stop, &visits);
    EXPECT_EQ(visits, 2);
}

}  // namespace
