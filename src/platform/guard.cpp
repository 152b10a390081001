#include "platform/guard.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <typeinfo>

bool (*guard_reporter)(const GUARD_FAULT& fault, const char* name, const char* place) = nullptr;

struct GUARD_FRAME {
    sigjmp_buf context;
    GUARD_FRAME* outer;
    volatile int code;
    volatile uintptr_t address;
};

static thread_local GUARD_FRAME* guard_top = nullptr;
static thread_local bool guard_thread_ready = false;

// ---- signals ----

struct GUARD_HANDLER {
    int signal;
    const char* name;
    struct sigaction former;
};
static GUARD_HANDLER HANDLERS[] = {
    {SIGSEGV, "SIGSEGV", {}},
    {SIGBUS, "SIGBUS", {}},
    {SIGFPE, "SIGFPE", {}},
    {SIGILL, "SIGILL", {}},
};

static GUARD_HANDLER* handler_find(int signal) {
    for (GUARD_HANDLER& handler : HANDLERS) {
        if (handler.signal == signal) return &handler;
    }
    return nullptr;
}

static uintptr_t instruction_address(const void* context) {
    const mcontext_t& machine = static_cast<const ucontext_t*>(context)->uc_mcontext;
#if defined(__x86_64__)
    return uintptr_t(machine.gregs[REG_RIP]);
#elif defined(__aarch64__)
    return uintptr_t(machine.pc);
#else
#error "where does this machine keep the instruction address?"
#endif
}

static void signal_pass_to_former(int signal, siginfo_t* info, void* context) {
    const struct sigaction& former = handler_find(signal)->former;
    if (former.sa_flags & SA_SIGINFO) {
        former.sa_sigaction(signal, info, context);
    } else if (former.sa_handler != SIG_DFL && former.sa_handler != SIG_IGN) {
        former.sa_handler(signal);
    } else {
        // On return the instruction faults again, so the core shows the true place. A signal that was sent by a
        // process would not come again by itself.
        sigaction(signal, &former, nullptr);
        if (info->si_code <= 0) raise(signal);
    }
}

static void guard_signal(int signal, siginfo_t* info, void* context) {
    GUARD_FRAME* frame = guard_top;
    if (!frame) {
        signal_pass_to_former(signal, info, context);
        return;
    }
    // Only what is safe in a handler here; the module is looked up after the jump.
    guard_top = frame->outer;
    frame->code = signal;
    frame->address = instruction_address(context);
    siglongjmp(frame->context, 1);
}

static bool handlers_install() {
    for (GUARD_HANDLER& handler : HANDLERS) {
        struct sigaction action = {};
        action.sa_sigaction = guard_signal;
        // With SA_NODEFER the handler runs under the thread's own mask, so the jump out of it has no mask to restore:
        // that saves a system call on every guarded call.
        action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
        sigaction(handler.signal, &action, &handler.former);
    }
    return true;
}

// ---- the handler's stack ----

constexpr size_t STACK_BYTES = 64 * 1024;  // AVX-512 state alone takes almost 3 KiB of it

struct GUARD_STACK {
    void* memory = nullptr;
    ~GUARD_STACK() {
        if (!memory) return;
        stack_t current;
        if (sigaltstack(nullptr, &current) == 0 && current.ss_sp == memory) {
            current.ss_flags = SS_DISABLE;
            sigaltstack(&current, nullptr);
        }
        munmap(memory, STACK_BYTES);
    }
};
static thread_local GUARD_STACK guard_stack;

static void guard_thread_prepare() {
    static const bool installed = handlers_install();
    guard_thread_ready = installed;
    stack_t current;
    // One that is there (sanitizers make one for each thread) stays: its owner will free it.
    if (sigaltstack(nullptr, &current) != 0 || !(current.ss_flags & SS_DISABLE)) return;
    void* memory = mmap(nullptr, STACK_BYTES, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (memory == MAP_FAILED) return;
    stack_t stack = {};
    stack.ss_sp = memory;
    stack.ss_size = STACK_BYTES;
    if (sigaltstack(&stack, nullptr) == 0)
        guard_stack.memory = memory;
    else
        munmap(memory, STACK_BYTES);
}

// ---- what happened ----

static void text_copy(char* out, size_t size, const char* text) { snprintf(out, size, "%s", text ? text : ""); }

static void fault_find_module(GUARD_FAULT* fault) {
    // Not dladdr: that takes the loader's lock, which a crash inside a module's start-up code leaves held.
    dl_find_object found;
    if (_dl_find_object(reinterpret_cast<void*>(fault->address), &found) != 0) return;
    fault->offset = fault->address - uintptr_t(found.dlfo_map_start);
    text_copy(fault->module, sizeof fault->module, found.dlfo_link_map->l_name);
    if (fault->module[0]) return;
    // The loader gives the program itself no name.
    const ssize_t n = readlink("/proc/self/exe", fault->module, sizeof fault->module - 1);
    fault->module[n > 0 ? n : 0] = 0;
}

static void fault_from_signal(GUARD_FAULT* fault, int signal, uintptr_t address) {
    if (!fault) return;
    *fault = {};
    fault->kind = GUARD_SIGNAL;
    fault->code = signal;
    fault->address = address;
    fault_find_module(fault);
    text_copy(fault->text, sizeof fault->text, handler_find(signal)->name);
}

static void fault_from_exception(GUARD_FAULT* fault, const char* text) {
    if (!fault) return;
    *fault = {};
    fault->kind = GUARD_EXCEPTION;
    text_copy(fault->text, sizeof fault->text, text);
}

static void fault_from_exception_type(GUARD_FAULT* fault) {
    const std::type_info* type = abi::__cxa_current_exception_type();
    const char* name = type ? type->name() : "";
    const std::unique_ptr<char, void (*)(void*)> readable(abi::__cxa_demangle(name, nullptr, nullptr, nullptr), free);
    fault_from_exception(fault, readable ? readable.get() : name);
}

// ---- the guard ----

static bool run_catching(void (*func)(void* data), void* data, GUARD_FRAME* frame, GUARD_FAULT* fault) {
    try {
        func(data);
        return true;
    } catch (const std::exception& exception) {
        fault_from_exception(fault, exception.what());
    } catch (abi::__forced_unwind&) {  // the thread is being ended; swallowing that is not allowed
        guard_top = frame->outer;
        throw;
    } catch (...) {
        fault_from_exception_type(fault);
    }
    return false;
}

bool guard_run(void (*func)(void* data), void* data, GUARD_FAULT* fault) {
    if (!guard_thread_ready) guard_thread_prepare();
    GUARD_FRAME frame;
    frame.outer = guard_top;
    if (sigsetjmp(frame.context, 0) != 0) {
        fault_from_signal(fault, frame.code, frame.address);
        return false;
    }
    guard_top = &frame;
    const bool finished = run_catching(func, data, &frame, fault);
    guard_top = frame.outer;
    return finished;
}

[[noreturn]] static void fault_pass_on(const GUARD_FAULT& fault) {
    if (fault.kind == GUARD_SIGNAL) {
        signal(fault.code, SIG_DFL);
        raise(fault.code);
    }
    fprintf(stderr, "%s\n", fault.text);
    std::terminate();
}

bool guard_report(const GUARD_FAULT& fault, const char* name, const char* place) {
    // Recursive: while a question is on show, messages are pumped, and what they start may fault as well.
    static std::recursive_mutex one_at_a_time;
    const std::lock_guard lock(one_at_a_time);
    if (!guard_reporter || !guard_reporter(fault, name, place)) fault_pass_on(fault);
    return true;
}
