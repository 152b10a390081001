#include "platform/thread.h"

#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>

#include "platform/futex.h"

// ---- events ----

// The word of an event. The count of sets lets a waiter see a set that was cleared again before it ran.
constexpr uint32_t EVENT_IS_SET = 1;
constexpr uint32_t EVENT_HAS_WAITER = 2;
constexpr uint32_t EVENT_COUNT_ONE = 4;

struct EVENT {
    std::atomic<uint32_t> word{0};
};

void EVENT_DELETE::operator()(EVENT* event) const { delete event; }

EVENT_PTR event_create() { return EVENT_PTR(new (std::nothrow) EVENT); }

void event_set(EVENT* event) {
    uint32_t old = event->word.load(std::memory_order_relaxed);
    uint32_t next;
    do {
        next = ((old & ~(EVENT_IS_SET | EVENT_HAS_WAITER)) + EVENT_COUNT_ONE) | EVENT_IS_SET;
    } while (!event->word.compare_exchange_weak(old, next));
    // From here on the event may be gone: a waiter that has seen the set may delete it.
    if (old & EVENT_HAS_WAITER) futex_wake(&event->word, INT_MAX);
}

void event_clear(EVENT* event) { event->word.fetch_and(~EVENT_IS_SET); }

bool event_wait(EVENT* event, int timeout_ms) {
    const uint32_t first = event->word.load();
    if (first & EVENT_IS_SET) return true;
    const int64_t deadline = futex_deadline(timeout_ms);
    for (bool in_time = true;;) {
        uint32_t word = event->word.load();
        if ((word ^ first) & ~EVENT_HAS_WAITER) return true;
        if (!in_time) return false;
        if (!(word & EVENT_HAS_WAITER) && !event->word.compare_exchange_weak(word, word | EVENT_HAS_WAITER)) continue;
        in_time = futex_wait(&event->word, word | EVENT_HAS_WAITER, deadline);
    }
}

// ---- threads ----

struct THREAD {
    pthread_t id;
    bool joined;
};

struct THREAD_START {
    void (*func)(void* data);
    void* data;
};

static void* thread_main(void* argument) {
    const THREAD_START start = *static_cast<THREAD_START*>(argument);
    delete static_cast<THREAD_START*>(argument);
    start.func(start.data);
    return nullptr;
}

/// All signals but those that a fault of the thread itself raises: a blocked one of these would end the process
/// without asking any handler.
static sigset_t asynchronous_signals() {
    sigset_t set;
    sigfillset(&set);
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}) sigdelset(&set, signal);
    return set;
}

void THREAD_DELETE::operator()(THREAD* thread) const {
    if (!thread->joined) pthread_detach(thread->id);
    delete thread;
}

THREAD_PTR thread_start(void (*func)(void* data), void* data) {
    std::unique_ptr<THREAD> thread(new (std::nothrow) THREAD{});
    std::unique_ptr<THREAD_START> start(new (std::nothrow) THREAD_START{func, data});
    if (!thread || !start) return nullptr;
    // A new thread inherits the mask, so there is no moment at which it could take a signal.
    const sigset_t blocked = asynchronous_signals();
    sigset_t former;
    pthread_sigmask(SIG_BLOCK, &blocked, &former);
    const int error = pthread_create(&thread->id, nullptr, thread_main, start.get());
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    if (error) return nullptr;
    (void)start.release();  // thread_main's now
    return THREAD_PTR(thread.release());
}

bool thread_join_for(THREAD* thread, int timeout_ms) {
    if (thread->joined) return true;
    if (timeout_ms < 0) {
        thread->joined = pthread_join(thread->id, nullptr) == 0;
    } else {
        const int64_t deadline = futex_deadline(timeout_ms);
        const timespec time = {time_t(deadline / 1000000000), long(deadline % 1000000000)};
        thread->joined = pthread_clockjoin_np(thread->id, nullptr, CLOCK_MONOTONIC, &time) == 0;
    }
    return thread->joined;
}

// ---- processors ----

// The kernel refuses a set smaller than its own; 8,192 processors are the most that it is built for.
constexpr int SET_PROCESSORS = int(sizeof(PROCESSOR_SET) * 8);

static bool set_read(pid_t thread, PROCESSOR_SET* set) {
    *set = {};
    return sched_getaffinity(thread, sizeof *set, reinterpret_cast<cpu_set_t*>(set)) == 0;
}

static bool set_has(const PROCESSOR_SET& set, int i) { return set.words[i / 64] >> (i % 64) & 1; }

static int set_count(const PROCESSOR_SET& set) {
    int n = 0;
    for (const uint64_t word : set.words) n += std::popcount(word);
    return n;
}

static PROCESSOR_SET set_of(int processor) {
    PROCESSOR_SET set = {};
    set.words[processor / 64] = uint64_t{1} << (processor % 64);
    return set;
}

bool thread_set_processor(THREAD* thread, int processor) {
    if (processor < 0 || processor >= SET_PROCESSORS) return false;
    const PROCESSOR_SET set = set_of(processor);
    return pthread_setaffinity_np(thread->id, sizeof set, reinterpret_cast<const cpu_set_t*>(&set)) == 0;
}

int processor_list(int* out, int max) {
    PROCESSOR_SET set;
    // The mask of the main thread stands for the process: nothing here binds that one.
    if (!set_read(getpid(), &set)) return 0;
    int n = 0;
    for (int i = 0; i < SET_PROCESSORS && n < max; ++i) {
        if (set_has(set, i)) out[n++] = i;
    }
    return n;
}

int processor_count() {
    PROCESSOR_SET set;
    return set_read(getpid(), &set) ? std::max(set_count(set), 1) : 1;
}

int processor_current() { return sched_getcpu(); }

bool processor_narrow(int processor, PROCESSOR_SET* former) {
    if (processor < 0 || processor >= SET_PROCESSORS) return false;
    if (!set_read(0, former) || !set_has(*former, processor) || set_count(*former) < 2) return false;
    const PROCESSOR_SET set = set_of(processor);
    return sched_setaffinity(0, sizeof set, reinterpret_cast<const cpu_set_t*>(&set)) == 0;
}

void processor_widen(int processor, const PROCESSOR_SET& former) {
    PROCESSOR_SET now;
    const PROCESSOR_SET narrow = set_of(processor);
    if (!set_read(0, &now) || memcmp(&now, &narrow, sizeof now) != 0) return;
    sched_setaffinity(0, sizeof former, reinterpret_cast<const cpu_set_t*>(&former));
}

bool process_set_priority(int level) {
    static constexpr int NICE[] = {19, 10, 0, -5, -10, -20};  // levels -2 .. 3
    static const int nice_at_start = getpriority(PRIO_PROCESS, 0);
    const int nice = level == 0 ? nice_at_start : NICE[std::clamp(level, -2, 3) + 2];
    if (setpriority(PRIO_PROCESS, 0, nice) != 0) return false;
    // Here that is the calling thread alone. Those made later take after it, but not those that are there.
    std::error_code error;
    std::filesystem::directory_iterator task("/proc/self/task", error), end;
    for (; !error && task != end; task.increment(error))
        setpriority(PRIO_PROCESS, id_t(std::atoi(task->path().filename().c_str())), nice);
    return true;
}
