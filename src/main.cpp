#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/command_line.h"
#include "core/edit_state.h"
#include "core/message.h"
#include "core/start_up.h"
#include "output/progress.h"
#include "output/save.h"
#include "platform/window.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "ui/dialogs.h"
#include "ui/main_window.h"

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

// Without a window: nothing would keep the program alive behind its command line.
static int run_in_shell(const std::vector<std::string>& tokens) {
    progress_terminal(command_line_has(tokens, "-q") && isatty(STDERR_FILENO));
    EDIT_STATE* edit = start_up(true);
    if (!edit) {
        message_warn(STR_CLI_FATAL_MEMORY);
        return 1;
    }
    const COMMAND_RESULT result = run_command_line(edit, tokens);
    if (result.done && isatty(STDERR_FILENO)) tell_saved(edit);
    shut_down();
    return result.done ? 0 : 1;
}

static int run_with_window(const std::vector<std::string>& tokens) {
    if (!window_system_start("vantel")) {
        message_warn(STR_CLI_NO_WINDOW);
        return 1;
    }
    main_window_install();
    int code = 1;
    if (start_up(true)) {
        if (!tokens.empty()) main_window_run_later(tokens);
        code = window_run();
    } else {
        message_warn(STR_CLI_NO_WINDOW);
    }
    message_boxes_off();  // the loop has ended, so nobody could answer
    shut_down();
    dialogs_remove();
    window_system_stop();
    return code;
}

static bool display_there() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        const char* value = std::getenv(name);
        if (value && *value) return true;
    }
    return false;
}

int main(int argc, char** argv) {
    const std::vector<std::string> tokens(argv + 1, argv + argc);
    if (answered(tokens)) return 0;
    save_signals_install(window_quit_from_signal);
    if (!command_line_has(tokens, "-q") && display_there()) return run_with_window(tokens);
    if (!tokens.empty()) return run_in_shell(tokens);
    message_warn(STR_CLI_NO_DISPLAY);
    return 1;
}
