#include <benchmark/benchmark.h>

#include "core/profile.h"
#include "hosts/filter.h"

// A walk of the chain as every frame makes it: nothing on (range 0), or all plug-ins on, doing nothing.
static void walk(benchmark::State& state) {
    FILTER record{};
    record.name = "nothing";
    record.func_proc = [](FILTER*, FILTER_PROC_PARAM*) { return 1; };
    if (state.range(0)) record.flags = FILTER_F_ACTIVE;
    for (int i = 0; i < FILTER_PLUGIN_MAX; ++i) filter_plugin_add(&record, &record, "", nullptr);
    filter_system_init(nullptr, &record);
    FILTER_PROC_PARAM param{};
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(filter_chain_restart_point(&param, profile_current(), nullptr));
        filter_chain_run(&param, profile_current(), nullptr, nullptr);
    }
    filter_system_exit();
}
BENCHMARK(walk)->ArgName("on")->Arg(0)->Arg(1);
