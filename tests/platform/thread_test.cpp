#include "platform/thread.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

TEST(Event, WakesEveryWaiterAlsoWhenClearedAtOnce) {
    const EVENT_PTR event = event_create();
    for (int round = 0; round < 100; ++round) {
        std::atomic<int> woken{0};
        std::vector<std::thread> waiters;
        for (int i = 0; i < 4; ++i) waiters.emplace_back([&] { woken += event_wait(event.get(), 10000); });
        // A waiter that has not begun to wait misses a set that is gone again, so those rounds go on until all came.
        while (woken < 4) {
            event_set(event.get());
            event_clear(event.get());
            sched_yield();
        }
        for (std::thread& waiter : waiters) waiter.join();
    }
}

TEST(Event, PingPongLosesNoSet) {
    struct PAIR {
        EVENT_PTR there = event_create(), back = event_create();
    } pair;
    constexpr int ROUNDS = 20000;
    const THREAD_PTR thread = thread_start(
        [](void* data) {
            PAIR* p = static_cast<PAIR*>(data);
            for (int i = 0; i < ROUNDS; ++i) {
                event_wait(p->there.get(), -1);
                event_clear(p->there.get());
                event_set(p->back.get());
            }
        },
        &pair);
    for (int i = 0; i < ROUNDS; ++i) {
        event_set(pair.there.get());
        ASSERT_TRUE(event_wait(pair.back.get(), 10000)) << i;
        event_clear(pair.back.get());
    }
    EXPECT_TRUE(thread_join_for(thread.get(), -1));
}

TEST(Thread, JoinHasATimeLimit) {
    const EVENT_PTR end = event_create();
    const THREAD_PTR thread = thread_start([](void* data) { event_wait(static_cast<EVENT*>(data), -1); }, end.get());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(thread_join_for(thread.get(), 50));
    EXPECT_TRUE(std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(50));
    event_set(end.get());
    for (const int limit : {10000, 0}) EXPECT_TRUE(thread_join_for(thread.get(), limit));  // joined stays joined
}

TEST(Thread, TakesNoSignalsOfTheProcessButItsOwnFaults) {
    sigset_t mask;
    const THREAD_PTR thread =
        thread_start([](void* data) { pthread_sigmask(SIG_BLOCK, nullptr, static_cast<sigset_t*>(data)); }, &mask);
    ASSERT_TRUE(thread_join_for(thread.get(), 10000));
    for (const int signal : {SIGINT, SIGTERM, SIGALRM, SIGCHLD, SIGUSR1}) EXPECT_EQ(sigismember(&mask, signal), 1);
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) EXPECT_EQ(sigismember(&mask, signal), 0);
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(sigismember(&mask, SIGTERM), 0);  // and the starter's own mask is as it was
}

TEST(Processor, NarrowingBindsAndWideningRestores) {
    std::thread([&] {
        cpu_set_t before, during, after;
        sched_getaffinity(0, sizeof before, &before);
        int list[256];
        const int n = processor_list(list, 256), last = list[n - 1];
        EXPECT_EQ(CPU_COUNT(&before), n);
        for (int i = 0; i < n; ++i) EXPECT_TRUE(CPU_ISSET(list[i], &before));
        PROCESSOR_SET former;
        for (const int none : {-1, 8192}) EXPECT_FALSE(processor_narrow(none, &former));
        ASSERT_EQ(processor_narrow(last, &former), n > 1);
        if (n == 1) return;
        EXPECT_EQ(processor_current(), last);
        sched_getaffinity(0, sizeof during, &during);
        EXPECT_EQ(CPU_COUNT(&during), 1);
        processor_widen(last, former);
        sched_getaffinity(0, sizeof after, &after);
        EXPECT_TRUE(CPU_EQUAL(&before, &after));
    }).join();
}

// In a process of its own: going back up needs a privilege.
TEST(Process, PriorityReachesThreadsThatRunAlready) {
    const auto lowered = [] {
        std::atomic<int> worker = 0;
        std::thread([&worker] {
            worker = gettid();
            worker.notify_all();
            pause();
        }).detach();
        worker.wait(0);
        const bool done = process_set_priority(-2);
        _exit(done && getpriority(PRIO_PROCESS, id_t(worker.load())) == 19 ? 5 : 1);
    };
    EXPECT_EXIT(lowered(), testing::ExitedWithCode(5), "");
}
