#include "pipeline/worker_pool.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/guard.h"
#include "platform/thread.h"

struct WorkerPool : testing::Test {
    void TearDown() override {
        worker_pool_stop();
        guard_reporter = nullptr;
    }
};

// What a job saw. One row a worker, each written by that worker alone.
static struct SEEN {
    int runs, count;
    std::thread::id thread;
    cpu_set_t mask;
} seen[WORKER_MAX];

static void job_see(int thread_i, int thread_n) {
    SEEN& row = seen[thread_i];
    ++row.runs;
    row.count = thread_n;
    row.thread = std::this_thread::get_id();
    sched_getaffinity(0, sizeof row.mask, &row.mask);
}

static void expect_each_worker_once(int count, bool use_threads = true) {
    memset(static_cast<void*>(seen), 0, sizeof seen);
    worker_run(job_see, use_threads);
    if (!use_threads) count = 1;
    for (int i = 0; i < WORKER_MAX; ++i) {
        ASSERT_EQ(seen[i].runs, i < count ? 1 : 0) << "worker " << i << " of " << count;
        if (i >= count) continue;
        EXPECT_EQ(seen[i].count, count);
        EXPECT_EQ(seen[i].thread == std::this_thread::get_id(), count == 1);
        for (int j = 0; j < i; ++j) EXPECT_NE(seen[i].thread, seen[j].thread);
    }
}

TEST_F(WorkerPool, RestartsWithAnyCount) {
    const struct { int asked, got; } rows[] = {{0, 1}, {1, 1}, {2, 2}, {64, 64}, {3, 3}, {65, 64}, {-1, 1}, {16, 16}};
    for (const auto& row : rows) {
        ASSERT_TRUE(worker_pool_start(row.asked, {}));
        EXPECT_EQ(worker_pool_active(), row.got > 1);
        EXPECT_EQ(worker_count(), row.got);
        for (const bool use_threads : {true, false}) expect_each_worker_once(row.got, use_threads);
    }
    worker_pool_stop();
    EXPECT_FALSE(worker_pool_active());
    expect_each_worker_once(1);
}

TEST_F(WorkerPool, EachWorkerRunsEachJobExactlyOnce) {
    static int64_t runs[WORKER_MAX];  // plain: the pool itself must order the workers and the caller
    const struct { int count, jobs; } rows[] = {{2, 100000}, {64, 1000}};
    for (const auto& row : rows) {
        memset(runs, 0, sizeof runs);
        worker_pool_start(row.count, {});
        for (int64_t job = 1; job <= row.jobs; ++job) {
            exec_multi_thread_func([](int thread_i, int) { ++runs[thread_i]; });
            for (int i = 0; i < row.count; ++i) ASSERT_EQ(runs[i], job) << "worker " << i << " of " << row.count;
            // Now and then long enough that the workers have gone to sleep.
            if (job % 1000 == 0) usleep(500);
        }
    }
}

static std::string reports;
static std::thread::id reports_from;

static bool reporter_go_on(const GUARD_FAULT& fault, const char* name, const char* place) {
    reports += std::string(fault.text) + "|" + name + "|" + place + "\n";
    reports_from = std::this_thread::get_id();
    return true;
}

__attribute__((noinline, no_sanitize("address", "undefined"))) static void crash() {
    static char* volatile nowhere = reinterpret_cast<char*>(64);
    *nowhere = 1;
}

TEST_F(WorkerPool, FaultsAreReportedAndTheNextJobRunsOnAllWorkers) {
    guard_reporter = reporter_go_on;
    const std::string place = "|MULTI_THREAD_FUNC|FILTER::exec_multi_thread_func()\n";
    for (const int count : {2, 5, 64}) {
        worker_pool_start(count, {});
        for (int round = 0; round < 20; ++round) {
            reports.clear();
            exec_multi_thread_func([](int thread_i, int) {
                if (thread_i == 1) crash();
            });
            EXPECT_EQ(reports, "SIGSEGV" + place);
            // The thread that shows windows must not wait for a worker that waits for its answer.
            EXPECT_EQ(reports_from, std::this_thread::get_id());
            reports.clear();
            exec_multi_thread_func([](int, int) { throw std::runtime_error("thrown"); });
            std::string all;
            for (int i = 0; i < count; ++i) all += "thrown" + place;
            EXPECT_EQ(reports, all);
            expect_each_worker_once(count);
        }
    }
}

TEST_F(WorkerPool, UnguardedFaultEndsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [](bool guarded, decltype(guard_reporter) reporter) {
        guard_reporter = reporter;
        worker_pool_start(2, {guarded, false});
        // One worker only: of two that terminate at once neither gets to say why.
        exec_multi_thread_func([](int thread_i, int) {
            if (thread_i == 1) throw std::runtime_error("thrown");
        });
    };
    EXPECT_EXIT(run(false, reporter_go_on), testing::KilledBySignal(SIGABRT), "thrown");
    EXPECT_EXIT(run(true, nullptr), testing::KilledBySignal(SIGABRT), "thrown");
}

TEST_F(WorkerPool, SeparateProcessorsInRisingOrderOnlyWhenAsked) {
    int processors[WORKER_MAX];
    const int n = processor_list(processors, WORKER_MAX);
    cpu_set_t whole;
    ASSERT_EQ(sched_getaffinity(getpid(), sizeof whole, &whole), 0);
    for (const int count : {2, n + 1, 2 * n + 1}) {
        for (const bool separate : {true, false}) {
            worker_pool_start(count, {true, separate});
            for (const int pause_us : {0, 0, 20000}) {  // from watching and from sleep
                usleep(useconds_t(pause_us));
                exec_multi_thread_func(job_see);
                for (int i = 0; i < worker_count(); ++i) {
                    cpu_set_t want;
                    CPU_ZERO(&want);
                    CPU_SET(size_t(processors[i % n]), &want);
                    EXPECT_TRUE(CPU_EQUAL(&seen[i].mask, separate ? &want : &whole)) << i << " of " << count;
                }
            }
        }
    }
}

TEST_F(WorkerPool, StopsInTheMiddleOfAnything) {
    std::vector<std::jthread> load(size_t{2} * size_t(processor_count()));
    for (std::jthread& thread : load)
        thread = std::jthread([](const std::stop_token& end) {
            while (!end.stop_requested()) sched_yield();
        });
    for (int round = 0; round < 200; ++round) {
        worker_pool_start(round % 2 ? 2 : 7, {});
        for (int job = 0; job < round % 3; ++job) exec_multi_thread_func([](int, int) {});
        worker_pool_stop();  // right after the start, after one job, after two
    }
}

TEST_F(WorkerPool, AJobInAJobRunsInPlace) {
    static std::atomic<int> inner;
    inner = 0;
    worker_pool_start(3, {});
    exec_multi_thread_func([](int, int) {
        exec_multi_thread_func([](int thread_i, int thread_n) { inner += thread_i == 0 && thread_n == 1 ? 1 : 100; });
    });
    EXPECT_EQ(inner, 3);
}

TEST_F(WorkerPool, IdlePoolUsesNoProcessorTime) {
    for (const int count : {2, 64}) {
        worker_pool_start(count, {});
        exec_multi_thread_func([](int, int) {});
        usleep(50000);
        const clock_t before = clock();  // of all threads
        usleep(300000);
        EXPECT_LT(clock() - before, CLOCKS_PER_SEC / 100) << count;
    }
}
