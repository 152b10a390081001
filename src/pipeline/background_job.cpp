#include "pipeline/background_job.h"

#include <atomic>
#include <new>

#include "platform/thread.h"

constexpr int STOP_LIMIT_MS = 10000;
constexpr int WAIT_SLICE_MS = 1000;

struct BACKGROUND_JOB {
    THREAD_PTR thread;
    EVENT_PTR done;
    EVENT_PTR go;
    std::atomic<bool> alive{true};
    JOB_FUNC function = nullptr;
    void* data = nullptr;
};

static void job_main(void* argument) {
    BACKGROUND_JOB* job = static_cast<BACKGROUND_JOB*>(argument);
    int result = 1;
    do {
        event_set(job->done.get());
        event_wait(job->go.get(), -1);
        event_clear(job->go.get());
        result = job->function(job, job->data);
    } while (result == 1 && job->alive);
    // In this order: job_run_wait looks at alive between clearing done and waiting for it.
    job->alive = false;
    event_set(job->done.get());
}

JOB_PTR job_start(JOB_FUNC function, void* data) {
    JOB_PTR job(new (std::nothrow) BACKGROUND_JOB);
    if (!job) return nullptr;
    job->function = function;
    job->data = data;
    job->done = event_create();
    job->go = event_create();
    if (!job->done || !job->go) return nullptr;
    job->thread = thread_start(job_main, job.get());
    return job->thread ? std::move(job) : nullptr;
}

static bool stop(BACKGROUND_JOB* job) {
    if (job->thread) {
        job->alive = false;
        event_set(job->go.get());
        if (!thread_join_for(job->thread.get(), STOP_LIMIT_MS)) return false;  // the thread still uses the record
    }
    delete job;
    return true;
}

void JOB_DELETE::operator()(BACKGROUND_JOB* job) const { stop(job); }

bool job_stop(JOB_PTR job) { return !job || stop(job.release()); }

bool job_signal(BACKGROUND_JOB* job) {
    if (!job->alive) return false;
    event_set(job->go.get());
    return true;
}

bool job_run_wait(BACKGROUND_JOB* job) {
    if (!job->alive) return false;
    event_clear(job->done.get());
    while (job->alive) {
        event_set(job->go.get());
        if (event_wait(job->done.get(), WAIT_SLICE_MS)) break;
    }
    return job->alive;
}

void job_done(BACKGROUND_JOB* job) { event_set(job->done.get()); }
