#pragma once

#include <string>
#include <vector>

/// Programs run by tests.
struct COMMAND_OUTPUT {
    int status;         // exit status, or 1000 + the signal that ended it
    std::string text;   // standard output
    std::string error;  // standard error
};
struct COMMAND_OPTIONS {
    std::vector<std::string> environment = {};  // "NAME=value", added
    std::string folder = {};                    // working folder
    long file_size_limit = 0;                   // RLIMIT_FSIZE in bytes, 0 = none
    int signal = 0;                             // sent after signal_ms
    int signal_ms = 0;
    std::string signal_file = {};  // the time for the signal begins when this file is there
    int limit_seconds = 60;        // then the program is killed: a test must not hang
};
/// Runs a program with its arguments; arguments[0] is looked for in PATH.
COMMAND_OUTPUT command_run(const std::vector<std::string>& arguments, const COMMAND_OPTIONS& options = {});

/// Runs ffmpeg, quietly and writing over what is there. arguments: words with one space between them.
COMMAND_OUTPUT ffmpeg_run(const std::string& arguments);
/// Whether it succeeds; the test fails with its complaint when not.
bool ffmpeg_make(const std::string& arguments);

/// A folder of its own for a test, deleted with everything in it.
struct TEMP_FOLDER_PATH {
    std::string path;  // without a separator at the end
    TEMP_FOLDER_PATH();
    ~TEMP_FOLDER_PATH();
    TEMP_FOLDER_PATH(const TEMP_FOLDER_PATH&) = delete;
    TEMP_FOLDER_PATH& operator=(const TEMP_FOLDER_PATH&) = delete;
    std::string operator/(const std::string& name) const { return path + "/" + name; }
};

/// The bytes of a file, "" when it cannot be read; and the other way.
std::string file_bytes(const std::string& path);
void file_put_bytes(const std::string& path, const std::string& bytes);
