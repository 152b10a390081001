#include "platform/futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

static_assert(sizeof(std::atomic<uint32_t>) == 4 && std::atomic<uint32_t>::is_always_lock_free);

constexpr int64_t NS_PER_SECOND = 1000000000;

bool futex_wait(std::atomic<uint32_t>* word, uint32_t value, int64_t deadline_ns) {
    timespec deadline = {};
    deadline.tv_sec = time_t(deadline_ns / NS_PER_SECOND);
    deadline.tv_nsec = long(deadline_ns % NS_PER_SECOND);
    // The bitset form takes an absolute time, so a spurious return does not lengthen the wait.
    const long result = syscall(SYS_futex, word, FUTEX_WAIT_BITSET_PRIVATE, value,
                                deadline_ns < 0 ? nullptr : &deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
    return result == 0 || errno != ETIMEDOUT;
}

void futex_wake(std::atomic<uint32_t>* word, int count) { syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count); }

int64_t futex_clock() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * NS_PER_SECOND + now.tv_nsec;
}

int64_t futex_deadline(int timeout_ms) { return timeout_ms < 0 ? -1 : futex_clock() + int64_t{timeout_ms} * 1000000; }
