#pragma once

#include "platform/parallel.h"

/// The fixed pool of worker threads for image work. A caller hands over one function, each worker runs it exactly once
/// with its own number, and the caller sleeps until all have returned; it does no part of the work itself. There is no
/// queue: one job at a time, started by the main thread alone. While it runs, the pool also serves parallel_run.
///
/// Jobs come in bursts. Where there is a processor for each worker, the workers watch for the next job for 0.2 ms
/// before they sleep, giving way to whoever else wants to run, and keep off each other's processors. An idle pool
/// sleeps.

constexpr int WORKER_MAX = 64;

/// Built-in work: thread number 0 .. thread_n - 1, number of threads. Its arguments lie in globals that the caller
/// fills in before the job and the workers only read; parallel_run takes a pointer instead.
using MULTI_THREAD_FUNC = void (*)(int thread_i, int thread_n);

struct WORKER_POOL_OPTIONS {
    bool guarded = true;  // a crash or an exception in a job is reported (guard_report) instead of ending the program
    bool separate_cpu =
        false;  // each worker gets one processor of the process's mask, in rising order, around and around
};

/// Starts count workers (at most WORKER_MAX; a running pool is stopped first). With a count below 2 the pool stays off
/// and every job runs as function(0, 1) on the caller's thread. False, with the pool off, when the machine refuses
/// threads. Main thread.
bool worker_pool_start(int count, const WORKER_POOL_OPTIONS& options);

/// Ends the workers, waiting at most 10 s for each; one that does not answer is left behind, with its memory. Main
/// thread.
void worker_pool_stop();

/// Whether workers run.
bool worker_pool_active();

/// Number of threads that a job is spread over: at least 1, also while the pool is off.
int worker_count();

/// Runs the function on all workers and returns when all are done. Main thread; a job that starts another job gets
/// that one run as function(0, 1) on its own thread. In a guarded pool a job that crashes or throws is reported on the
/// calling thread with the texts "MULTI_THREAD_FUNC" and "FILTER::exec_multi_thread_func()"; when the answer is to go
/// on, that worker counts as finished with whatever it had not done, and is there for the next job.
void exec_multi_thread_func(MULTI_THREAD_FUNC function);

/// As exec_multi_thread_func with use_threads, else function(0, 1) on the caller's thread.
void worker_run(MULTI_THREAD_FUNC function, bool use_threads);
