#pragma once

#include <span>
#include <string>
#include <vector>

struct EDIT_STATE;

/// Command lines: what to open, select and save, run in one fixed order however the tokens stand. Main thread.
struct COMMAND_RESULT {
    bool done;  // all that was asked was done
    bool quit;  // -q stood on the line, or a script line failed: the program is to end
};

/// Runs one command line. Tokens are UTF-8 and taken as they are; options begin with '-', all else is a path. Failures
/// are told on the way (core/message.h).
COMMAND_RESULT run_command_line(EDIT_STATE* edit, std::span<const std::string> tokens);

/// Splits a line of a script: tokens are separated by blanks, and a token may stand in double quotes.
/// (A quote inside a token groups what follows up to the next quote.)
std::vector<std::string> command_line_split(const std::string& line);

/// Whether a line asks for quiet (-q) or for --help or --version, before anything is set up.
bool command_line_has(std::span<const std::string> tokens, const char* option);
