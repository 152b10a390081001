#pragma once

/// The one place through which row-parallel code reaches the worker pool. The bottom folders know only this header;
/// pipeline/worker_pool installs itself here when it starts and takes itself out when it stops.

/// A job: called once on each worker with its number (0 .. thread_n - 1) and the number of workers. Must not throw,
/// must not start another job. `data` is the caller's own, shared by all workers.
using PARALLEL_FUNC = void (*)(int thread_i, int thread_n, void* data);

/// Runs func on all workers and returns when all are done. Without a pool: func(0, 1, data) on the calling thread.
/// Only the thread that drives rendering may call this; not re-entrant.
void parallel_run(PARALLEL_FUNC func, void* data);

/// As parallel_run with use_threads, else func(0, 1, data) on the calling thread.
void parallel_run_if(bool use_threads, PARALLEL_FUNC func, void* data);

/// Installs (or with null removes) the dispatcher that parallel_run calls. For the worker pool and for tests.
using PARALLEL_DISPATCH = void (*)(PARALLEL_FUNC func, void* data);
void parallel_set_dispatch(PARALLEL_DISPATCH dispatch);

/// The rows of worker i of n: from rows * i / n up to, not including, rows * (i + 1) / n. Ranges may be empty.
struct ROW_RANGE {
    int begin;
    int end;
};
ROW_RANGE parallel_rows(int rows, int thread_i, int thread_n);
