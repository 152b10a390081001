#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "core/command_line.h"
#include "core/edit_state.h"
#include "core/message.h"
#include "core/start_up.h"
#include "output/progress.h"
#include "output/save.h"
#include "resources/language.h"
#include "resources/string_ids.h"

// Answers that need no edit. True when the program is done.
static bool answered(const std::vector<std::string>& tokens) {
    if (command_line_has(tokens, "--help"))
        std::fputs(language_text_utf8(STR_CLI_HELP).c_str(), stdout);
    else if (command_line_has(tokens, "--version"))
        std::printf((language_text_utf8(STR_VERSION) + "\n").c_str(), VANTEL_VERSION);
    else
        return false;
    return true;
}

static void tell_saved(const EDIT_STATE* edit) {
    const SAVE_REPORT& report = save_report();
    const double seconds = double(report.elapsed_ms) / 1000;
    if (report.written > 0 && seconds > 0)
        message_note(STR_CLI_SAVED, edit->save_name, report.written, report.written / seconds);
}

int main(int argc, char** argv) {
    const std::vector<std::string> tokens(argv + 1, argv + argc);
    if (answered(tokens)) return 0;
    save_signals_install();
    progress_terminal(command_line_has(tokens, "-q") && isatty(STDERR_FILENO));
    EDIT_STATE* edit = start_up(true);
    if (!edit) {
        message_warn(STR_CLI_FATAL_MEMORY);
        return 1;
    }
    // There is no window that would keep the program alive behind its command line.
    const COMMAND_RESULT result = run_command_line(edit, tokens);
    if (result.done && isatty(STDERR_FILENO)) tell_saved(edit);
    shut_down();
    return result.done ? 0 : 1;
}
