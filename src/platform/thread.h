#pragma once

#include <cstdint>
#include <memory>

/// Threads and manual-reset events. Errors: a creation that fails gives null.

struct EVENT;  // manual reset: stays set until event_clear
struct EVENT_DELETE {
    void operator()(EVENT* event) const;
};
using EVENT_PTR = std::unique_ptr<EVENT, EVENT_DELETE>;
/// A new event, clear.
EVENT_PTR event_create();
void event_set(EVENT* event);    // any thread
void event_clear(EVENT* event);  // any thread
/// Waits until the event is set; timeout in milliseconds, negative = no limit. True when set, false on a time-out.
bool event_wait(EVENT* event, int timeout_ms);

struct THREAD;
struct THREAD_DELETE {
    void operator()(THREAD* thread) const;  // detaches a thread that still runs
};
using THREAD_PTR = std::unique_ptr<THREAD, THREAD_DELETE>;
/// Starts func(data) on a new thread. The thread blocks all asynchronous signals.
THREAD_PTR thread_start(void (*func)(void* data), void* data);
/// Waits until the thread has ended. False on a time-out.
bool thread_join_for(THREAD* thread, int timeout_ms);
/// Binds the thread to one processor (bit number in the process's affinity mask). False when the machine refuses.
bool thread_set_processor(THREAD* thread, int processor);

/// Processors that the process may use: bits of its affinity mask, at least 1.
int processor_count();
/// The numbers of those processors in rising order, at most max; returns how many were stored.
int processor_list(int* out, int max);

/// Number of the processor that runs the calling thread; it may be another one a moment later.
int processor_current();

/// A set of processors: bit i of word i / 64.
struct PROCESSOR_SET {
    uint64_t words[128];
};
/// Binds the calling thread to one processor for a while and stores what it could use before. False, with nothing
/// changed, when it could use only one anyway, or not this one.
bool processor_narrow(int processor, PROCESSOR_SET* former);
/// Ends that. When somebody has bound the thread anew meanwhile, that stays.
void processor_widen(int processor, const PROCESSOR_SET& former);

/// How the machine shares its processors between this process and others: -2 idle, -1 below normal, 0 as started,
/// 1 above normal, 2 high, 3 real-time. Levels above 0 need a privilege; false when the machine refuses.
bool process_set_priority(int level);
