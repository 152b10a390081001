#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>

/// Crash guard: runs foreign or risky code so that a crash or an exception ends that call and not the program.
///
/// Caught are SIGSEGV, SIGBUS, SIGFPE and SIGILL of the calling thread (also a stack that ran over: the handler has a
/// stack of its own) and every C++ exception. Guards nest; each belongs to its thread. What the abandoned function
/// held, memory or locks, stays held, and no destructor of it runs after a signal. A signal outside of all guards goes
/// to the handler that was there before, by default the core dump. Handlers are installed at the first guarded call.

enum GUARD_KIND : int { GUARD_SIGNAL = 1, GUARD_EXCEPTION = 2 };

/// What happened. Plain bytes, so it can be copied to another thread. Filled in only when a guarded call fails.
struct GUARD_FAULT {
    GUARD_KIND kind;
    int code;           // signal number; 0 for an exception
    uintptr_t address;  // of the instruction that faulted; 0 for an exception, whose place nobody records
    uintptr_t offset;   // of the address from the start of its module; 0 without a module
    char module[4096];  // path of the module of the address, UTF-8; "" when no module holds it
    char text[256];     // what() of the exception, or else the name of its type, cut to fit; for a signal, its name
};

/// Runs func(data). True when it returned; false when it crashed or threw, with *fault filled in (may be null).
/// Any thread. A call costs some ten nanoseconds, the first one of a thread some microseconds.
bool guard_run(void (*func)(void* data), void* data, GUARD_FAULT* fault);

/// The same for a lambda: guard_call(&fault, [&] { ... }).
template <typename CALL>
bool guard_call(GUARD_FAULT* fault, CALL&& call) {
    using TARGET = std::remove_reference_t<CALL>;
    return guard_run([](void* data) { (*static_cast<TARGET*>(data))(); },
                     const_cast<void*>(static_cast<const void*>(std::addressof(call))), fault);
}

/// Asks the user whether to go on after a fault: name of the plug-in, place = the entry that was called. True = go on.
/// Null (nobody to ask) counts as false. Set once at start-up. Called by guard_report, one call at a time.
extern bool (*guard_reporter)(const GUARD_FAULT& fault, const char* name, const char* place);

/// Reports a fault. Returns true when the answer is to go on. Otherwise the fault passes on and this does not return:
/// the signal is raised again with its default action, or std::terminate is called for an exception.
/// Any thread; threads wait for each other.
bool guard_report(const GUARD_FAULT& fault, const char* name, const char* place);
