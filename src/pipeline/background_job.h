#pragma once

#include <memory>

/// One thread that runs one function each time it is woken. Who owns the job calls everything here but job_done, from
/// one thread.

struct BACKGROUND_JOB;

/// What the thread runs at each wake. 1 = wait for the next wake; any other result ends the thread. A wake during a run
/// makes one more run; several such wakes make one.
using JOB_FUNC = int (*)(BACKGROUND_JOB* job, void* data);

struct JOB_DELETE {
    void operator()(BACKGROUND_JOB* job) const;
};
using JOB_PTR = std::unique_ptr<BACKGROUND_JOB, JOB_DELETE>;

/// Starts the thread; the function first runs at the first wake. Null when the thread cannot be started. Letting the
/// pointer go is job_stop.
JOB_PTR job_start(JOB_FUNC function, void* data);

/// Ends the thread and waits for it for at most 10 s; one that does not answer is left behind, with its memory. The
/// thread wakes for one last run, so that what was signalled before is done. False for one left behind.
bool job_stop(JOB_PTR job);

/// Wakes the thread and does not wait. False when the thread has ended.
bool job_signal(BACKGROUND_JOB* job);

/// Wakes the thread and waits until a run has ended or the function has called job_done. A run that was under way
/// counts, so look again whether what is awaited has come. False when the thread has ended.
bool job_run_wait(BACKGROUND_JOB* job);

/// From the function: tells job_run_wait of progress while the run goes on.
void job_done(BACKGROUND_JOB* job);
