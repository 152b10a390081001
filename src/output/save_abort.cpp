#include <atomic>
#include <cerrno>
#include <csignal>

#include "core/message.h"
#include "core/ui_hooks.h"
#include "output/progress.h"

// Shells tell in this way of programs that a signal ended.
static constexpr int SIGNAL_EXIT_CODE = 128;

static bool abort_flag;
static std::atomic<int> signal_seen;
static std::atomic<bool> save_runs;
static bool (*end_loop)(int code);

static void on_signal(int number) {
    const int error = errno;
    signal_seen = number;
    const bool loop_ends = end_loop && end_loop(SIGNAL_EXIT_CODE + number);
    if (!loop_ends && !save_runs) {
        std::signal(number, SIG_DFL);
        std::raise(number);
    }
    errno = error;
}

void save_signals_install(bool (*end)(int code)) {
    end_loop = end;
    struct sigaction action {};
    action.sa_handler = on_signal;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction old {};
        // A shell that starts the program in the background ignores SIGINT for it, nohup SIGHUP; that stays so.
        if (sigaction(number, nullptr, &old) == 0 && old.sa_handler == SIG_IGN) continue;
        sigaction(number, &action, nullptr);
    }
}

void save_signals_begin() { save_runs = true; }

void save_signals_end() { save_runs = false; }

bool save_aborted() { return abort_flag; }

void save_abort_clear() { abort_flag = signal_seen != 0; }

int save_poll_abort(int text) {
    if (signal_seen || (ui_hooks.pump && ui_hooks.pump() && message_ask(text))) abort_flag = true;
    return abort_flag ? 1 : 0;
}
