#include "platform/parallel.h"

#include <cstdint>

static PARALLEL_DISPATCH current_dispatch = nullptr;

void parallel_set_dispatch(PARALLEL_DISPATCH dispatch) { current_dispatch = dispatch; }

void parallel_run(PARALLEL_FUNC func, void* data) {
    if (current_dispatch)
        current_dispatch(func, data);
    else
        func(0, 1, data);
}

void parallel_run_if(bool use_threads, PARALLEL_FUNC func, void* data) {
    if (use_threads)
        parallel_run(func, data);
    else
        func(0, 1, data);
}

ROW_RANGE parallel_rows(int rows, int thread_i, int thread_n) {
    return {int(int64_t{rows} * thread_i / thread_n), int(int64_t{rows} * (thread_i + 1) / thread_n)};
}
