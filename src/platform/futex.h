#pragma once

#include <atomic>
#include <cstdint>

/// Sleeping on a 32-bit word: what events and the worker pool are built on. Private to this process.

/// Sleeps while *word is value. Returns at once when it is not, and may return for no reason: look at the word again.
/// deadline_ns: time of futex_clock at which to give up, negative = never. False when that time has come.
bool futex_wait(std::atomic<uint32_t>* word, uint32_t value, int64_t deadline_ns);
/// Wakes at most count sleepers of the word. The word may already be gone; then nobody is woken.
void futex_wake(std::atomic<uint32_t>* word, int count);
/// Nanoseconds of the monotonic clock.
int64_t futex_clock();
/// The deadline_ns of a time limit that starts now. Negative = none.
int64_t futex_deadline(int timeout_ms);
