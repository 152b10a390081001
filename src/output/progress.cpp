#include "output/progress.h"

#include <algorithm>
#include <cstdio>

#include "core/ui_hooks.h"
#include "platform/clock.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static constexpr int64_t RENEW_MS = 1000;
static constexpr int64_t MEASURE_MS = 10000;  // below this the time left is not told
static constexpr int MEASURE_FRAMES = 10;

struct PROGRESS {
    int64_t start, elapsed;
    int64_t text_time;       // elapsed time of the last text
    int64_t estimate;        // of the whole run
    int64_t remaining;       // seconds
    int64_t remaining_time;  // elapsed time when that was computed
    int first, last, total, n;
    uint32_t rate;
    const char* label;
};

static PROGRESS run;
static int64_t (*clock_now)() = clock_ms;
static bool on_terminal;
static bool line_open;

void progress_set_clock(int64_t (*clock)()) { clock_now = clock ? clock : clock_ms; }
void progress_terminal(bool on) { on_terminal = on; }
void progress_rate(uint32_t bits_per_second) { run.rate = bits_per_second; }

void progress_begin(int first, int last, const char* label) {
    run = {};
    run.start = clock_now();
    run.first = first;
    run.last = last;
    run.total = last - first + 1;
    run.n = -1;
    run.text_time = run.remaining_time = -10000;
    run.label = label;
}

void progress_tick(int f) {
    run.elapsed = clock_now() - run.start;
    run.n = f - run.first;
    const double e = double(run.elapsed);
    if (run.n == 4)
        run.estimate = int64_t(e * run.total * 0.25);
    else if (run.n > 4)
        run.estimate = int64_t((e * run.total / run.n + double(run.estimate)) * 0.5);
}

bool progress_due() {
    if (run.elapsed - run.text_time < RENEW_MS) return false;
    run.text_time = run.elapsed;
    return true;
}

static int64_t remaining_seconds() {
    if (run.elapsed - run.remaining_time >= RENEW_MS) {
        run.remaining_time = run.elapsed;
        run.remaining = (run.estimate - run.elapsed) / 1000;
        if (run.remaining < 0) run.remaining = 0;
    }
    return run.remaining;
}

static void time_text(char* out, size_t size) {
    const char *seconds = language_string(STR_SECONDS), *minutes = language_string(STR_MINUTES);
    const int r = int(remaining_seconds());
    if (r < 60)
        std::snprintf(out, size, "%d%s", r, seconds);
    else if (r < 600)
        std::snprintf(out, size, "%d%s%02d%s", r / 60, minutes, r % 60, seconds);
    else if (r < 3600)
        std::snprintf(out, size, "%d%s", r / 60, minutes);
    else
        std::snprintf(out, size, "%d%s%02d%s", r / 3600, language_string(STR_HOURS), r / 60 % 60, minutes);
}

static void rate_text(char* out, size_t size) {
    const uint32_t v = run.rate;
    if (v == 0)
        out[0] = 0;
    else if (v >= 10000000)
        std::snprintf(out, size, "  (%u.%uMbps)", v / 1000000, v / 100000 % 10);
    else
        std::snprintf(out, size, "  (%u.%ukbps)", v / 1000, v / 100 % 10);
}

void progress_text(char* buffer, size_t size) {
    if (run.n < 0 && run.first == 0 && run.last == 0) {
        std::snprintf(buffer, size, "%s", run.label);
        return;
    }
    char left[80], rate[40];
    if (run.n < 0 || run.elapsed < MEASURE_MS || run.n < MEASURE_FRAMES)
        std::snprintf(left, sizeof left, "%s", language_string(STR_PROGRESS_MEASURING));
    else
        time_text(left, sizeof left);
    rate_text(rate, sizeof rate);
    const int percent = run.total > 0 && run.n > 0 ? int(int64_t{run.n} * 100 / run.total) : 0;
    const int count = run.n < 0 ? 0 : run.n + 1;
    std::snprintf(buffer, size, "%s %d%% [%d/%d]  %s %s%s", run.label, percent, count, run.total,
                  language_string(STR_PROGRESS_REMAINING), left, rate);
}

int progress_permille() {
    if (run.total < 1) return -1;
    return run.n < 1 ? 0 : int(std::min<int64_t>(int64_t{run.n} * 1000 / run.total, 1000));
}

static void show_on_terminal(const char* text) {
    std::fprintf(stderr, "\r\x1b[K%s", text_to_utf8(text).c_str());
    std::fflush(stderr);
    line_open = true;
}

void progress_show() {
    if (!progress_due()) return;
    char text[400];
    progress_text(text, sizeof text);
    if (ui_hooks.set_title)
        ui_hooks.set_title(text);
    else if (on_terminal)
        show_on_terminal(text);
}

void progress_end() {
    if (line_open) std::fputs("\r\x1b[K", stderr);
    line_open = false;
    run.total = 0;
}
