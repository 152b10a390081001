#include "readers/open_progress.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "core/ui_hooks.h"
#include "output/progress.h"
#include "platform/clock.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static constexpr int STEPS = 1000, PUMP_MS = 50;

static struct {
    int depth;
    bool shown, stopped;
    int64_t pumped_ms;
} now;

void open_progress_begin() {
    if (now.depth++ > 0) return;
    now.shown = now.stopped = false;
    now.pumped_ms = int64_t(clock_ms());
}

static void show(double part) {
    const int step = int(std::clamp(part, 0.0, 1.0) * (STEPS - 1));
    const char* label = language_string(STR_PROGRESS_SEARCH);
    if (!now.shown) {
        now.shown = true;
        if (ui_hooks.interface_enable) ui_hooks.interface_enable(false);
        progress_begin(0, STEPS - 1, label);
    }
    progress_tick(step);
    char title[300];
    std::snprintf(title, sizeof title, "%s %d%%", label, step * 100 / STEPS);
    if (ui_hooks.set_title) ui_hooks.set_title(title);
}

bool open_progress_stop(double part) {
    const int64_t time = int64_t(clock_ms());
    if (now.stopped || now.depth == 0 || !ui_hooks.pump || time - now.pumped_ms < PUMP_MS) return now.stopped;
    // Inside another run that run's own progress stays.
    if (now.shown || progress_permille() < 0) show(part);
    now.stopped = ui_hooks.pump();
    now.pumped_ms = int64_t(clock_ms());
    return now.stopped;
}

bool open_progress_stopped() { return now.stopped; }

void open_progress_end() {
    if (--now.depth > 0) return;
    now.stopped = false;
    if (!now.shown) return;
    now.shown = false;
    progress_end();
    if (ui_hooks.interface_enable) ui_hooks.interface_enable(true);
}
