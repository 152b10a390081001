#include "pipeline/background_job.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>

#include "platform/thread.h"

struct COUNTER {
    std::atomic<int> runs{0}, result{1};
    EVENT_PTR entered = event_create(), leave = event_create();
};

static int count_run(BACKGROUND_JOB*, void* data) {
    COUNTER* counter = static_cast<COUNTER*>(data);
    ++counter->runs;
    return counter->result;
}

TEST(BackgroundJob, WakeDuringARunIsNotLost) {
    COUNTER counter;
    const JOB_PTR job = job_start(
        [](BACKGROUND_JOB* self, void* data) {
            job_done(self);
            COUNTER* c = static_cast<COUNTER*>(data);
            ++c->runs;
            event_set(c->entered.get());
            event_wait(c->leave.get(), 10000);
            return 1;
        },
        &counter);
    EXPECT_TRUE(job_run_wait(job.get()));  // comes back although the run cannot end
    ASSERT_TRUE(event_wait(counter.entered.get(), 10000));
    event_clear(counter.entered.get());
    ASSERT_TRUE(job_signal(job.get()));  // both fall into the first run and make one more
    ASSERT_TRUE(job_signal(job.get()));
    event_set(counter.leave.get());
    ASSERT_TRUE(event_wait(counter.entered.get(), 10000));
    usleep(20000);
    EXPECT_EQ(counter.runs, 2);
}

TEST(BackgroundJob, NoWakeIsLostUnderLoad) {
    // A ring of the writer's kind: whatever was produced before a wake is consumed by the run that follows it.
    struct RING {
        std::atomic<int> produced{0}, consumed{0};
    } ring;
    const JOB_PTR job = job_start(
        [](BACKGROUND_JOB* self, void* data) {
            RING* r = static_cast<RING*>(data);
            while (r->consumed < r->produced) {
                ++r->consumed;
                job_done(self);
            }
            return 1;
        },
        &ring);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 20000; ++i) {
        while (ring.produced - ring.consumed >= 3) ASSERT_TRUE(job_run_wait(job.get()));
        ++ring.produced;
        ASSERT_TRUE(job_signal(job.get()));
    }
    while (ring.consumed < ring.produced) ASSERT_TRUE(job_run_wait(job.get()));
    // A wake lost even now and then would cost whole slices of 1 s.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(BackgroundJob, AnyOtherResultEndsIt) {
    for (int round = 0; round < 150; ++round) {
        COUNTER counter;
        counter.result = std::array{0, 2, -1}[size_t(round) % 3];
        JOB_PTR job = job_start(count_run, &counter);
        const auto start = std::chrono::steady_clock::now();
        while (job_run_wait(job.get())) continue;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));  // no slice ran out
        EXPECT_FALSE(job_signal(job.get()) || job_run_wait(job.get()));
        job_stop(std::move(job));
        EXPECT_EQ(counter.runs, 1);
    }
}

TEST(BackgroundJob, StopDoesWhatWasSignalledAndEnds) {
    for (int round = 0; round < 200; ++round) {
        COUNTER counter;
        JOB_PTR job = job_start(count_run, &counter);
        job_signal(job.get());
        job_stop(std::move(job));
        EXPECT_TRUE(counter.runs == 1 || counter.runs == 2) << counter.runs;
    }
}
