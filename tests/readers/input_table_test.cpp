#include "readers/input_table.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "platform/guard.h"
#include "readers/reader_test.h"

static std::string steps;  // what the readers of these tests were asked, in order
static std::string reported;
static bool faults;

template <char NAME>
static INPUT_PLUGIN_HANDLE refuse(const char*) {
    steps += NAME;
    return nullptr;
}
template <char NAME>
static INPUT_PLUGIN_HANDLE take(const char*) {
    steps += NAME;
    if (faults) raise(SIGSEGV);
    static char object;
    return &object;
}
static int close_noted(INPUT_PLUGIN_HANDLE) {
    steps += '.';
    return 1;
}
static int lie(INPUT_PLUGIN_HANDLE, int32_t, void*) {
    if (faults) throw 1;
    return INT32_MAX;
}
static int lie_more(INPUT_PLUGIN_HANDLE, int32_t, int32_t, void*) {
    if (faults) raise(SIGFPE);
    return INT32_MIN;
}

static int add(INPUT_PLUGIN_HANDLE (*open)(const char*), const char* name, const char* filter, uint32_t flags = 0) {
    INPUT_PLUGIN_TABLE table = {};
    table.flags = flags;
    table.name = name;
    table.filefilter = filter;
    table.func_open = open;
    table.func_close = close_noted;
    table.func_read_video = lie;
    table.func_read_audio = lie_more;
    return input_record_add(table, nullptr);
}

struct InputTable : testing::Test {
    void SetUp() override {
        input_table_init();
        steps = reported = "";
        faults = false;
        guard_reporter = [](const GUARD_FAULT&, const char* name, const char* place) {
            reported += std::string(name) + " " + place + "\n";
            return true;
        };
    }
    void TearDown() override {
        input_table_exit();
        guard_reporter = nullptr;
    }
};

TEST_F(InputTable, PicksByExtensionPriorityAndName) {
    const TEMP_FILE file(BYTES{1, 2, 3}, ".xYz"), bare(BYTES{1, 2, 3}, "");
    const auto open = [](const TEMP_FILE& f, int behind, const char* name) {
        return input_open(f.name(), behind, name);
    };
    add(refuse<'a'>, "A", "one\0*.abc;*.XYZ\0two\0*.q\0");
    const int b = add(take<'b'>, "B", "all\0*.*\0"), c = add(take<'c'>, "C", "x\0*.xyz\0");
    const int d = add(take<'d'>, "D", "x\0*.xyz\0", INPUT_F_BY_NAME);
    add(take<'e'>, "E", "x\0xyz;*.xy\0");
    ASSERT_EQ(input_index(open(file, -1, nullptr)), b);
    EXPECT_EQ(steps, "ab");
    EXPECT_EQ(input_index(open(file, b, nullptr)), c);
    EXPECT_EQ(open(file, c, nullptr), nullptr);
    EXPECT_EQ(input_open_error(), INPUT_FAIL_NO_READER);
    input_record(c)->priority = 0;
    INPUT_HANDLE* first = open(file, -1, nullptr);
    EXPECT_EQ(steps, "abcc");
    EXPECT_EQ(input_record(c)->use_count, 2);
    input_close(first);
    EXPECT_EQ(input_record(c)->use_count, 1);
    EXPECT_EQ(input_index(open(file, -1, "D")), d);
    EXPECT_EQ(open(file, -1, "None"), nullptr);
    EXPECT_EQ(input_index(open(bare, -1, nullptr)), b);  // no extension: only *.*
    input_record(b)->priority = INPUT_PRIORITY_N;
    EXPECT_EQ(open(bare, -1, nullptr), nullptr);
}

TEST_F(InputTable, TellsWhyAFileDoesNotOpen) {
    const std::string folder = testing::TempDir(), fifo = folder + "vantel_test_fifo.avi";
    unlink(fifo.c_str());
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const TEMP_FILE empty(BYTES{}, ".avi"), text(BYTES{'h', 'i'}, ".avi"), locked(BYTES{1}, ".avi");
    chmod(locked.name(), 0);
    std::vector<std::pair<std::string, INPUT_FAIL>> cases = {{folder + "vantel_no_such.avi", INPUT_FAIL_MISSING},
                                                             {folder, INPUT_FAIL_FOLDER},
                                                             {fifo, INPUT_FAIL_NOT_REGULAR},
                                                             {empty.path, INPUT_FAIL_EMPTY},
                                                             {text.path, INPUT_FAIL_NO_READER}};
    if (geteuid() != 0) cases.emplace_back(locked.path, INPUT_FAIL_UNREADABLE);
    for (const auto& [path, reason] : cases) {
        EXPECT_EQ(input_open(path.c_str(), -1, nullptr), nullptr);
        EXPECT_EQ(input_open_error(), reason) << path;
    }
    unlink(fifo.c_str());
}

TEST_F(InputTable, HandlesAreLimited) {
    const TEMP_FILE file(BYTES{1}, ".q");
    const int index = add(take<'a'>, "A", "q\0*.q\0");
    INPUT_HANDLE* last = nullptr;
    for (int i = 0; i < INPUT_HANDLE_MAX; ++i) last = opened(input_open(file.name(), -1, nullptr));
    EXPECT_EQ(input_open(file.name(), -1, nullptr), nullptr);
    EXPECT_EQ(input_open_error(), INPUT_FAIL_TOO_MANY_OPEN);
    input_close(last);
    EXPECT_EQ(input_open(file.name(), -1, nullptr), last);
    input_table_exit();
    EXPECT_EQ(input_record(index)->use_count, 0);
    while (input_record_n() < INPUT_RECORD_MAX) add(take<'b'>, "B", "q\0*.q\0");
    EXPECT_EQ(add(take<'b'>, "B", "q\0*.q\0"), -1);
}

TEST_F(InputTable, FaultsAndLiesOfAReaderStayWithIt) {
    const TEMP_FILE file(BYTES{1}, ".q");
    const int index = add(take<'a'>, "A", "q\0*.q\0");
    INPUT_HANDLE* handle = opened(input_open(file.name(), -1, nullptr));
    uint8_t buffer[8];
    EXPECT_EQ(input_read_video(handle, 0, buffer, sizeof buffer, 1, 1, 24), 8);
    EXPECT_EQ(input_read_audio(handle, 0, 4, buffer), 0);
    EXPECT_TRUE(input_is_keyframe(handle, 0));
    faults = true;
    EXPECT_EQ(input_read_video(handle, 0, buffer, sizeof buffer, 1, 1, 24), 0);
    EXPECT_EQ(input_read_audio(handle, 0, 4, buffer), 0);
    EXPECT_EQ(input_open(file.name(), -1, nullptr), nullptr);
    EXPECT_EQ(reported,
              "A INPUT_PLUGIN_TABLE::func_read_video()\n"
              "A INPUT_PLUGIN_TABLE::func_read_audio()\n"
              "A INPUT_PLUGIN_TABLE::func_open()\n");
    EXPECT_EQ(input_record(index)->use_count, 1);
}
