#include "pipeline/worker_pool.h"

#include <sched.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <memory>
#include <new>

#include "core/ui_breath.h"
#include "platform/futex.h"
#include "platform/guard.h"
#include "platform/thread.h"

constexpr int STOP_LIMIT_MS = 10000;
// Long enough to stay awake over the caller's own work between two jobs of one frame: waking a processor that has gone
// idle costs some 50 us on a virtual machine.
constexpr int64_t WATCH_NS = 200000;
constexpr int WATCH_PAUSES = 20;  // between two yields: about half a microsecond

// The word on which the caller waits: how many workers still run, and two flags.
constexpr uint32_t PENDING_COUNT = 0xffff;
constexpr uint32_t PENDING_FAULT = 0x10000;    // a worker has left a fault to report
constexpr uint32_t PENDING_SLEEPER = 0x20000;  // the caller sleeps: the last worker, or a fault, wakes it

struct POOL;

struct WORKER {
    POOL* pool;
    int index;
    int home;                        // the processor it goes back to when the workers spread out
    std::atomic<int> processor{-1};  // where it was last seen
    THREAD_PTR thread;
    std::atomic<bool> faulted{false};
    GUARD_FAULT fault;
};

/// One job is: the caller stores function and data and counts `start` up; each worker that sees a new `start` runs the
/// job once and counts `pending` down. The caller counts `start` up again only with `pending` at 0, so no worker can
/// miss a start or take one twice.
struct POOL {
    alignas(64) std::atomic<uint32_t> start{0};
    std::atomic<bool> stopping{false};
    PARALLEL_FUNC func = nullptr;
    void* data = nullptr;
    int count = 0;
    bool guarded = false;
    bool watching = false;   // a processor for each worker: they watch for the next job before they sleep
    bool spreading = false;  // ... and, not being bound anyway, keep off each other's processors
    alignas(64) std::atomic<uint32_t> pending{0};
    alignas(64) std::atomic<int> sleepers{0};  // workers that sleep on start
    std::unique_ptr<WORKER[]> workers;
};

static std::unique_ptr<POOL> current_pool;
static thread_local bool on_worker = false;

static void processor_pause() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("isb" ::: "memory");
#endif
}

// ---- the workers ----

/// Whether another worker was last seen on the processor. A stale answer does no harm.
static bool processor_shared(const WORKER* worker, int processor) {
    const POOL* pool = worker->pool;
    for (int i = 0; i < pool->count; ++i) {
        const WORKER& other = pool->workers[size_t(i)];
        if (&other != worker && other.processor.load(std::memory_order_relaxed) == processor) return true;
    }
    return false;
}

/// Schedulers tend to gather threads that yield or wake each other on one processor, where they run one after the
/// other while the next one idles. A worker that finds itself in company goes home; homes are all different.
static void worker_spread(WORKER* worker) {
    const int processor = processor_current();
    worker->processor.store(processor, std::memory_order_relaxed);
    if (processor == worker->home || !processor_shared(worker, processor)) return;
    PROCESSOR_SET former;
    if (!processor_narrow(worker->home, &former)) return;
    processor_widen(worker->home, former);
    worker->processor.store(worker->home, std::memory_order_relaxed);
}

/// Watches for the next start for a while. Yields now and then, as the caller, or who else has work, may stand in line
/// for this processor.
static uint32_t start_watch(WORKER* worker, uint32_t seen) {
    POOL* pool = worker->pool;
    const int64_t end = futex_clock() + WATCH_NS;
    do {
        sched_yield();
        for (int i = 0; i < WATCH_PAUSES; ++i) {
            const uint32_t start = pool->start.load(std::memory_order_acquire);
            if (start != seen) return start;
            processor_pause();
        }
        if (pool->spreading) worker_spread(worker);
    } while (futex_clock() < end);
    return seen;
}

static uint32_t start_sleep(WORKER* worker, uint32_t seen) {
    POOL* pool = worker->pool;
    // Bound while asleep, so that the workers wake side by side.
    PROCESSOR_SET former;
    const bool narrowed = pool->spreading && processor_narrow(worker->home, &former);
    uint32_t start;
    pool->sleepers.fetch_add(1);
    while ((start = pool->start.load()) == seen) futex_wait(&pool->start, seen, -1);
    pool->sleepers.fetch_sub(1);
    if (narrowed) processor_widen(worker->home, former);
    return start;
}

static uint32_t start_await(WORKER* worker, uint32_t seen) {
    uint32_t start = worker->pool->start.load(std::memory_order_acquire);
    if (start == seen && worker->pool->watching) start = start_watch(worker, seen);
    return start != seen ? start : start_sleep(worker, seen);
}

static void worker_finish(POOL* pool) {
    const uint32_t old = pool->pending.fetch_sub(1, std::memory_order_acq_rel);
    if ((old & PENDING_COUNT) == 1 && (old & PENDING_SLEEPER)) futex_wake(&pool->pending, 1);
}

/// The caller reports the fault and counts the worker off: it is the main thread, which alone can show windows, and it
/// would wait for the worker while the worker waited for the answer.
static void worker_leave_fault(WORKER* worker) {
    worker->faulted.store(true, std::memory_order_release);
    const uint32_t old = worker->pool->pending.fetch_or(PENDING_FAULT, std::memory_order_acq_rel);
    if (old & PENDING_SLEEPER) futex_wake(&worker->pool->pending, 1);
}

static void worker_main(void* argument) {
    WORKER* worker = static_cast<WORKER*>(argument);
    POOL* pool = worker->pool;
    on_worker = true;
    uint32_t seen = 0;
    for (;;) {
        seen = start_await(worker, seen);
        if (pool->stopping.load(std::memory_order_relaxed)) return;
        const auto job = [pool, worker] { pool->func(worker->index, pool->count, pool->data); };
        if (!pool->guarded) {
            job();
            worker_finish(pool);
        } else if (guard_call(&worker->fault, job)) {
            worker_finish(pool);
        } else {
            worker_leave_fault(worker);
        }
    }
}

// ---- the caller ----

static void faults_report(POOL* pool) {
    pool->pending.fetch_and(~PENDING_FAULT);
    for (int i = 0; i < pool->count; ++i) {
        WORKER& worker = pool->workers[size_t(i)];
        if (!worker.faulted.exchange(false, std::memory_order_acq_rel)) continue;
        guard_report(worker.fault, "MULTI_THREAD_FUNC", "FILTER::exec_multi_thread_func()");
        pool->pending.fetch_sub(1);
    }
}

static void workers_start(POOL* pool) {
    pool->start.fetch_add(1);
    if (pool->sleepers.load() != 0) futex_wake(&pool->start, INT_MAX);
}

static void workers_await(POOL* pool) {
    for (;;) {
        uint32_t pending = pool->pending.load(std::memory_order_acquire);
        if (pending & PENDING_FAULT) {
            faults_report(pool);
        } else if ((pending & PENDING_COUNT) == 0) {
            return;
        } else if ((pending & PENDING_SLEEPER) ||
                   pool->pending.compare_exchange_weak(pending, pending | PENDING_SLEEPER)) {
            futex_wait(&pool->pending, pending | PENDING_SLEEPER, ui_breath_needed() ? futex_deadline(BREATH_MS) : -1);
            ui_breathe();
        }
    }
}

static void pool_run(PARALLEL_FUNC func, void* data) {
    POOL* pool = current_pool.get();
    if (!pool || on_worker) {
        func(0, 1, data);
        return;
    }
    pool->func = func;
    pool->data = data;
    pool->pending.store(uint32_t(pool->count), std::memory_order_relaxed);
    workers_start(pool);
    workers_await(pool);
}

void exec_multi_thread_func(MULTI_THREAD_FUNC function) {
    pool_run(
        [](int thread_i, int thread_n, void* data) { (*static_cast<MULTI_THREAD_FUNC*>(data))(thread_i, thread_n); },
        &function);
}

void worker_run(MULTI_THREAD_FUNC function, bool use_threads) {
    if (use_threads)
        exec_multi_thread_func(function);
    else
        function(0, 1);
}

bool worker_pool_active() { return current_pool != nullptr; }

int worker_count() { return current_pool ? current_pool->count : 1; }

// ---- start and stop ----

/// Ends the workers of a pool. False when one did not answer in time.
static bool workers_stop(POOL* pool) {
    pool->stopping.store(true, std::memory_order_relaxed);
    workers_start(pool);
    bool all = true;
    for (int i = 0; i < pool->count; ++i) {
        THREAD* thread = pool->workers[size_t(i)].thread.get();
        if (thread && !thread_join_for(thread, STOP_LIMIT_MS)) all = false;
    }
    return all;
}

static std::unique_ptr<POOL> pool_create(int count, const WORKER_POOL_OPTIONS& options) {
    std::unique_ptr<POOL> pool(new (std::nothrow) POOL);
    if (!pool) return nullptr;
    pool->workers.reset(new (std::nothrow) WORKER[size_t(count)]);
    if (!pool->workers) return nullptr;
    int processors[WORKER_MAX];
    const int processor_n = processor_list(processors, WORKER_MAX);
    pool->count = count;
    pool->guarded = options.guarded;
    pool->watching = count <= processor_n;
    pool->spreading = pool->watching && !options.separate_cpu;
    for (int i = 0; i < count; ++i) {
        WORKER& worker = pool->workers[size_t(i)];
        worker.pool = pool.get();
        worker.index = i;
        worker.home = processor_n > 0 ? processors[i % processor_n] : -1;
    }
    return pool;
}

bool worker_pool_start(int count, const WORKER_POOL_OPTIONS& options) {
    worker_pool_stop();
    if (count < 2) return true;
    std::unique_ptr<POOL> pool = pool_create(std::min(count, WORKER_MAX), options);
    if (!pool) return false;
    for (int i = 0; i < pool->count; ++i) {
        WORKER& worker = pool->workers[size_t(i)];
        worker.thread = thread_start(worker_main, &worker);
        if (!worker.thread) {
            workers_stop(pool.get());
            return false;
        }
        if (options.separate_cpu) thread_set_processor(worker.thread.get(), worker.home);
    }
    current_pool = std::move(pool);
    parallel_set_dispatch(pool_run);
    return true;
}

void worker_pool_stop() {
    if (!current_pool) return;
    parallel_set_dispatch(nullptr);
    std::unique_ptr<POOL> pool = std::move(current_pool);
    if (!workers_stop(pool.get())) (void)pool.release();  // the worker that is left still uses it
}
