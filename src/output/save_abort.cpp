#include <atomic>
#include <csignal>

#include "core/message.h"
#include "core/ui_hooks.h"
#include "output/progress.h"

static bool abort_flag;
static std::atomic<int> signal_seen;
static std::atomic<bool> save_runs;

static void on_signal(int number) {
    if (save_runs) {
        signal_seen = number;
        return;
    }
    std::signal(number, SIG_DFL);
    std::raise(number);
}

void save_signals_install() {
    struct sigaction action {};
    action.sa_handler = on_signal;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGINT, SIGTERM}) {
        struct sigaction old {};
        // A shell that starts the program in the background ignores SIGINT for it; that stays so.
        if (sigaction(number, nullptr, &old) == 0 && old.sa_handler == SIG_IGN) continue;
        sigaction(number, &action, nullptr);
    }
}

void save_signals_begin() { save_runs = true; }

void save_signals_end() { save_runs = false; }

bool save_aborted() { return abort_flag; }

void save_abort_clear() {
    abort_flag = false;
    signal_seen = 0;
}

void save_abort_withdraw() { abort_flag = signal_seen != 0; }

int save_poll_abort(int text) {
    if (signal_seen || (ui_hooks.pump && ui_hooks.pump() && message_ask(text))) abort_flag = true;
    return abort_flag ? 1 : 0;
}
