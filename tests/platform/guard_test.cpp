#include "platform/guard.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// Real faults, made by the instruction itself. The sanitizers must not look at them first.
#define UNCHECKED __attribute__((noinline, no_sanitize("address", "undefined")))

static volatile int zero = 0;
static char* volatile nowhere = reinterpret_cast<char*>(64);

UNCHECKED static void fault_segv() { *nowhere = 1; }
UNCHECKED static void fault_ill() { __builtin_trap(); }
UNCHECKED static void fault_fpe() {
#if defined(__x86_64__)
    asm volatile("cltd; idivl %0" : : "m"(zero), "a"(1) : "edx", "cc");  // a compiler may know what 1 / 0 is
#else
    raise(SIGFPE);
#endif
}

UNCHECKED static void fault_bus() {
    const int file = memfd_create("empty", MFD_CLOEXEC);
    void* memory = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    *static_cast<volatile char*>(memory) = 1;  // the file has no byte there
}

UNCHECKED static int stack_overflow(volatile int* above) {
    volatile int below[256];
    below[0] = *above;
    return below[0] != 0 ? 1 : stack_overflow(below) + below[0];  // the value is always 0
}

TEST(Guard, CatchesEverySignalAgainAndAgain) {
    for (int round = 0; round < 3; ++round) {  // a signal left blocked would kill at the second round
        for (const auto& [func, signal] :
             {std::pair{&fault_segv, SIGSEGV}, {fault_bus, SIGBUS}, {fault_fpe, SIGFPE}, {fault_ill, SIGILL}}) {
            GUARD_FAULT fault;
            ASSERT_FALSE(guard_call(&fault, func));
            EXPECT_TRUE(fault.kind == GUARD_SIGNAL && fault.code == signal) << fault.code;
        }
    }
}

TEST(Guard, TellsInstructionAndModule) {
    GUARD_FAULT fault;
    ASSERT_FALSE(guard_call(&fault, [] { fault_segv(); }));
    EXPECT_LT(fault.address - reinterpret_cast<uintptr_t>(&fault_segv), 128U);
    char self[4096] = {};
    ASSERT_GT(readlink("/proc/self/exe", self, sizeof self - 1), 0);
    EXPECT_STREQ(fault.module, self);
    EXPECT_TRUE(fault.offset > 0 && fault.offset < fault.address);
    ASSERT_FALSE(guard_call(&fault, [] { raise(SIGSEGV); }));
    EXPECT_NE(strstr(fault.module, "libc"), nullptr) << fault.module;
    ASSERT_FALSE(guard_call(&fault, [] { reinterpret_cast<void (*)()>(nowhere)(); }));  // a jump to nowhere
    EXPECT_EQ(fault.address, 64U);
    EXPECT_TRUE(fault.module[0] == 0 && fault.offset == 0);
}

TEST(Guard, CatchesExceptions) {
    GUARD_FAULT fault;
    ASSERT_FALSE(guard_call(&fault, [] { throw std::runtime_error(std::string(1000, 'x')); }));
    EXPECT_EQ(fault.kind, GUARD_EXCEPTION);
    EXPECT_EQ(fault.text, std::string(sizeof fault.text - 1, 'x'));
    ASSERT_FALSE(guard_call(&fault, [] { throw GUARD_KIND(GUARD_SIGNAL); }));
    EXPECT_STREQ(fault.text, "GUARD_KIND");
    EXPECT_FALSE(guard_call(nullptr, [] { throw 1; }));
    EXPECT_FALSE(guard_call(nullptr, [] { fault_segv(); }));
}

TEST(Guard, NestsAndGoesOnAfterwards) {
    GUARD_FAULT inner, outer;
    int steps = 0;
    EXPECT_FALSE(guard_call(&outer, [&] {
        EXPECT_FALSE(guard_call(&inner, [&] { fault_segv(); }));
        ++steps;
        EXPECT_TRUE(guard_call(&inner, [&] { ++steps; }));
        EXPECT_FALSE(guard_call(&inner, [&] { throw std::logic_error("inner"); }));
        ++steps;
        fault_fpe();
        ++steps;
    }));
    EXPECT_EQ(steps, 3);
    EXPECT_EQ(outer.code, SIGFPE);
    EXPECT_STREQ(inner.text, "inner");
}

TEST(Guard, EachThreadHasItsOwn) {
    std::atomic<int> caught{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&caught, i] {
            for (int round = 0; round < 200; ++round) {
                GUARD_FAULT fault;
                caught += !guard_call(&fault, [i] { i & 1 ? fault_segv() : fault_fpe(); }) &&
                          fault.code == (i & 1 ? SIGSEGV : SIGFPE);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(caught, 8 * 200);
}

TEST(Guard, SurvivesAStackThatRanOver) {
    std::thread([] {
        for (int round = 0; round < 2; ++round) {
            GUARD_FAULT fault;
            volatile int start[1] = {0};
            ASSERT_FALSE(guard_call(&fault, [&] { stack_overflow(start); }));
            EXPECT_EQ(fault.code, SIGSEGV);
        }
    }).join();
}

// Outside of a guard, and passing on: each needs a process that dies.
TEST(GuardDeathTest, FaultsOutsideGoToTheFormerHandler) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto own_handler = [] {
        struct sigaction action = {};
        action.sa_handler = [](int) { _exit(42); };
        sigaction(SIGFPE, &action, nullptr);
        action.sa_handler = SIG_DFL;
        for (const int signal : {SIGSEGV, SIGILL}) sigaction(signal, &action, nullptr);
        guard_call(nullptr, [] { fault_segv(); });
    };
    EXPECT_EXIT((own_handler(), fault_fpe()), testing::ExitedWithCode(42), "");
    EXPECT_EXIT((own_handler(), fault_segv()), testing::KilledBySignal(SIGSEGV), "");
    EXPECT_EXIT((own_handler(), raise(SIGILL)), testing::KilledBySignal(SIGILL), "");
}

TEST(GuardDeathTest, ReportPassesOnUnlessToldToGoOn) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    static GUARD_FAULT fault;
    static std::string seen;
    ASSERT_FALSE(guard_call(&fault, [] { fault_fpe(); }));
    guard_reporter = [](const GUARD_FAULT& f, const char* name, const char* place) {
        seen += std::to_string(f.code) + name + place;
        // A question on show pumps messages, whose work may fault as well.
        return strcmp(place, "outer") != 0 || guard_report(f, name, "nested");
    };
    EXPECT_TRUE(guard_report(fault, "name", "outer"));
    EXPECT_EQ(seen, "8nameouter8namenested");
    guard_reporter = [](const GUARD_FAULT&, const char*, const char*) { return false; };
    EXPECT_EXIT(guard_report(fault, "", ""), testing::KilledBySignal(SIGFPE), "");
    guard_reporter = nullptr;
    EXPECT_EXIT(guard_report(fault, "", ""), testing::KilledBySignal(SIGFPE), "");
    ASSERT_FALSE(guard_call(&fault, [] { throw std::runtime_error("what it said"); }));
    EXPECT_EXIT(guard_report(fault, "", ""), testing::KilledBySignal(SIGABRT), "what it said");
}
