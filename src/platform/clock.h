#pragma once

#include <time.h>

#include <cerrno>
#include <cstdint>

/// Time that only goes forward, whatever is done to the date. Any thread.

/// Nanoseconds since some moment before the program started.
inline int64_t clock_ns() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
}

inline const int64_t clock_start_ns = clock_ns();  // internal: the program's start

/// Milliseconds since the program started.
inline int64_t clock_ms() { return (clock_ns() - clock_start_ns) / 1000000; }

/// Sleeps, through signals.
inline void clock_sleep_ms(int ms) {
    timespec rest = {ms / 1000, ms % 1000 * 1000000L};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}
