#include "support/command.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

TEMP_FOLDER_PATH::TEMP_FOLDER_PATH() {
    std::string name = (std::filesystem::temp_directory_path() / "vantel-test-XXXXXX").string();
    path = mkdtemp(name.data());
}

TEMP_FOLDER_PATH::~TEMP_FOLDER_PATH() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string file_bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void file_put_bytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));
}

[[noreturn]] static void run_child(const std::vector<std::string>& arguments, const COMMAND_OPTIONS& options,
                                   const std::string& out, const std::string& error) {
    const int null = open("/dev/null", O_RDONLY);
    const int out_file = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int error_file = open(error.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(null, 0);
    dup2(out_file, 1);
    dup2(error_file, 2);
    if (!options.folder.empty() && chdir(options.folder.c_str()) != 0) _exit(126);
    for (const std::string& entry : options.environment) putenv(strdup(entry.c_str()));
    if (options.file_size_limit) {
        const rlimit limit = {rlim_t(options.file_size_limit), rlim_t(options.file_size_limit)};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    std::vector<char*> argv;
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    _exit(127);
}

static int wait_for(pid_t child, const COMMAND_OPTIONS& options) {
    using namespace std::chrono;
    const auto start = steady_clock::now();
    auto signal_start = start;
    bool sent = options.signal == 0, waiting = !options.signal_file.empty();
    for (int status;; std::this_thread::sleep_for(milliseconds(2))) {
        if (waitpid(child, &status, WNOHANG) == child)
            return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
        const auto passed = steady_clock::now() - start;
        if (waiting) {
            waiting = access(options.signal_file.c_str(), F_OK) != 0;
            signal_start = steady_clock::now();
        }
        if (!sent && !waiting && steady_clock::now() - signal_start >= milliseconds(options.signal_ms)) {
            kill(child, options.signal);
            sent = true;
        }
        if (passed >= seconds(options.limit_seconds)) kill(child, SIGKILL);
    }
}

COMMAND_OUTPUT command_run(const std::vector<std::string>& arguments, const COMMAND_OPTIONS& options) {
    const TEMP_FOLDER_PATH folder;
    const std::string out = folder / "out", error = folder / "error";
    const pid_t child = fork();
    if (child == 0) run_child(arguments, options, out, error);
    COMMAND_OUTPUT result;
    result.status = wait_for(child, options);
    result.text = file_bytes(out);
    result.error = file_bytes(error);
    return result;
}

COMMAND_OUTPUT ffmpeg_run(const std::string& arguments) {
    std::vector<std::string> words = {"ffmpeg", "-nostdin", "-loglevel", "error", "-y"};
    std::istringstream text(arguments);
    for (std::string word; text >> word;) words.push_back(word);
    return command_run(words);
}

bool ffmpeg_make(const std::string& arguments) {
    const COMMAND_OUTPUT output = ffmpeg_run(arguments);
    EXPECT_EQ(output.status, 0) << output.error << arguments;
    return output.status == 0;
}
