#include "platform/power.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include "platform/clock.h"

namespace {

constexpr char BUS_SOCKET[] = "/run/dbus/system_bus_socket";
constexpr int STOP_WAIT_MS = 1000;

pid_t g_inhibitor = -1;
int g_inhibitor_pipe = -1;

/// The path of a program of $PATH, "" when it or the bus is not there.
std::string bus_program(const char* name) {
    const char* folders = getenv("PATH");
    if (folders == nullptr || access(BUS_SOCKET, W_OK) != 0) return {};
    const std::string all = folders;
    for (size_t at = 0; at <= all.size();) {
        const size_t end = std::min(all.find(':', at), all.size());
        std::string path = all.substr(at, end - at) + '/' + name;
        if (path[0] == '/' && path.size() > 1 && access(path.c_str(), X_OK) == 0) return path;
        at = end + 1;
    }
    return {};
}

/// Starts a program in a session of its own, so that no key of our terminal reaches it and it cannot ask there; its
/// output is thrown away. input: its standard input.
pid_t program_start(const char* path, const char* const* arguments, int input, int null) {
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child != 0) return child;
    // Between fork and exec nothing but calls that are safe in a signal handler.
    setsid();
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(127);
    dup2(input, 0);
    dup2(null, 1);
    dup2(null, 2);
    execv(path, const_cast<char* const*>(arguments));
    _exit(127);
}

/// Waits until the child has ended; with a limit, kills it then. Returns its status.
int child_wait(pid_t child, int64_t limit_ms) {
    const int64_t end = clock_ms() + limit_ms;
    int status = -1;
    for (;;) {
        const pid_t result = waitpid(child, &status, limit_ms < 0 ? 0 : WNOHANG);
        if (result == child || (result < 0 && errno != EINTR)) return status;
        if (limit_ms >= 0 && clock_ms() >= end) {
            kill(child, SIGKILL);
            limit_ms = -1;
        } else if (limit_ms >= 0) {
            clock_sleep_ms(5);
        }
    }
}

bool inhibitor_start() {
    const std::string program = bus_program("systemd-inhibit");
    if (program.empty()) return false;
    // The child holds the lock as long as cat finds our end of the pipe open.
    const char* const arguments[] = {
        program.c_str(), "--what=sleep:idle", "--mode=block", "--who=Vantel", "--why=Saving", "cat", nullptr};
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    g_inhibitor = program_start(program.c_str(), arguments, ends[0], null);
    g_inhibitor_pipe = ends[1];
    close(ends[0]);
    if (null >= 0) close(null);
    if (g_inhibitor < 0) close(g_inhibitor_pipe);
    return g_inhibitor > 0;
}

void inhibitor_stop() {
    close(g_inhibitor_pipe);
    kill(g_inhibitor, SIGTERM);
    child_wait(g_inhibitor, STOP_WAIT_MS);
    g_inhibitor = -1;
}

}  // namespace

bool power_keep_awake(bool on) {
    if (on == (g_inhibitor > 0)) return true;
    if (on) return inhibitor_start();
    inhibitor_stop();
    return true;
}

bool power_action(POWER_ACTION action) {
    static const char* const VERBS[] = {"suspend", "hibernate", "poweroff"};
    const std::string program = bus_program("systemctl");
    if (program.empty()) return false;
    const char* const arguments[] = {program.c_str(), "--no-ask-password", VERBS[action], nullptr};
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    const pid_t child = program_start(program.c_str(), arguments, null, null);
    if (null >= 0) close(null);
    if (child < 0) return false;
    const int status = child_wait(child, -1);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
