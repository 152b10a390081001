// What handing a job to the worker pool costs, beside the two ways that come to mind first: a pool of the same kind on
// std::mutex and std::condition_variable, and new threads for each job. All do the same job on the same threads' count.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "pipeline/worker_pool.h"
#include "platform/futex.h"
#include "platform/guard.h"

static void work_for(int64_t ns) {
    const int64_t end = futex_clock() + ns;
    while (futex_clock() < end) {
    }
}

static int64_t job_ns = 0;
static void job(int, int) {
    if (job_ns > 0) work_for(job_ns);
}

// ---- the three ways ----

struct VANTEL_POOL {
    explicit VANTEL_POOL(int count) { worker_pool_start(count, {}); }
    ~VANTEL_POOL() { worker_pool_stop(); }
    void run() { exec_multi_thread_func(job); }
};

struct CONDITION_POOL {
    std::mutex lock;
    std::condition_variable start, done;
    int64_t generation = 0;
    int pending = 0;
    bool stop = false;
    std::vector<std::thread> threads;

    explicit CONDITION_POOL(int count) {
        for (int i = 0; i < count; ++i) threads.emplace_back([this, i, count] { work(i, count); });
    }
    ~CONDITION_POOL() {
        {
            const std::lock_guard guard(lock);
            stop = true;
        }
        start.notify_all();
        for (std::thread& thread : threads) thread.join();
    }
    void work(int i, int count) {
        int64_t seen = 0;
        std::unique_lock guard(lock);
        for (;;) {
            start.wait(guard, [&] { return stop || generation != seen; });
            if (stop) return;
            seen = generation;
            guard.unlock();
            job(i, count);
            guard.lock();
            if (--pending == 0) done.notify_one();
        }
    }
    void run() {
        std::unique_lock guard(lock);
        pending = int(threads.size());
        ++generation;
        start.notify_all();
        done.wait(guard, [&] { return pending == 0; });
    }
};

struct NEW_THREADS {
    int count;
    explicit NEW_THREADS(int n) : count(n) {}
    void run() const {
        std::vector<std::thread> threads;
        threads.reserve(size_t(count));
        for (int i = 0; i < count; ++i) threads.emplace_back(job, i, count);
        for (std::thread& thread : threads) thread.join();
    }
};

// ---- measurements ----

/// One empty job after the other. Argument: threads.
template <typename WAY>
static void BM_dispatch_empty(benchmark::State& state) {
    WAY way(int(state.range(0)));
    job_ns = 0;
    for (auto _ : state) way.run();
}
BENCHMARK(BM_dispatch_empty<VANTEL_POOL>)->Arg(2)->Arg(4)->Arg(64)->UseRealTime();
BENCHMARK(BM_dispatch_empty<CONDITION_POOL>)->Arg(2)->Arg(4)->Arg(64)->UseRealTime();
BENCHMARK(BM_dispatch_empty<NEW_THREADS>)->Arg(2)->Arg(4)->Arg(64)->UseRealTime();

/// As a save does: a job of so many microseconds on two threads, then work of the main thread alone, and again.
/// median_over_us: the time of a round beyond the sum of both.
template <typename WAY>
static void BM_job_and_own_work(benchmark::State& state) {
    WAY way(2);
    job_ns = state.range(0) * 1000;
    const int64_t own_ns = state.range(1) * 1000;
    std::vector<double> over_us;
    for (auto _ : state) {
        const int64_t start = futex_clock();
        way.run();
        work_for(own_ns);
        over_us.push_back(double(futex_clock() - start - job_ns - own_ns) / 1000);
    }
    job_ns = 0;
    const auto middle = over_us.begin() + int64_t(over_us.size() / 2);
    std::nth_element(over_us.begin(), middle, over_us.end());
    state.counters["median_over_us"] = *middle;
}
BENCHMARK(BM_job_and_own_work<VANTEL_POOL>)->Args({300, 100})->Args({3000, 100})->Args({3000, 1000})->UseRealTime();
BENCHMARK(BM_job_and_own_work<CONDITION_POOL>)->Args({300, 100})->Args({3000, 100})->Args({3000, 1000})->UseRealTime();
BENCHMARK(BM_job_and_own_work<NEW_THREADS>)->Args({300, 100})->Args({3000, 100})->Args({3000, 1000})->UseRealTime();

static void nothing(void*) {}

/// A call through the crash guard, and the same call without it.
static void BM_guard_run(benchmark::State& state) {
    GUARD_FAULT fault;
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(guard_run(nothing, nullptr, &fault));
}
BENCHMARK(BM_guard_run);

static void BM_plain_call(benchmark::State& state) {
    void (*volatile func)(void*) = nothing;
    for ([[maybe_unused]] auto _ : state) func(nullptr);
}
BENCHMARK(BM_plain_call);
