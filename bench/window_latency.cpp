// From a key to the picture in the main window, beside rendering alone: a 1080p YUY2 clip with noise removal,
// sharpening and colour correction on, with and without the overlay. Runs offscreen without a display.
//     window_latency [STEPS [FILE]]
// With a file: jumps to places all over it, and how long the window leaves the desktop without an answer meanwhile.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/edit_state.h"
#include "core/source.h"
#include "core/start_up.h"
#include "core/ui_hooks.h"
#include "demo/clip.h"
#include "hosts/filter.h"
#include "pipeline/frame_renderer.h"
#include "platform/text.h"
#include "platform/window_input.h"
#include "resources/string_ids.h"
#include "ui/dialogs.h"
#include "ui/main_window.h"

using CLOCK = std::chrono::steady_clock;
static double ms_since(CLOCK::time_point start) {
    return std::chrono::duration<double, std::milli>(CLOCK::now() - start).count();
}

static void print_row(const char* name, std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    std::printf("%-34s median %7.2f ms   worst %7.2f ms\n", name, ms[ms.size() / 2], ms.back());
}

static double key_time(EDIT_STATE* edit) {
    const int before = edit->frame;
    const auto start = CLOCK::now();
    input_key(main_window(), KEY_RIGHT);
    while (edit->frame == before) window_pump();
    const double ms = ms_since(start);
    window_pump();
    return ms;
}

static double render_time(EDIT_STATE* edit) {
    ++edit->frame;
    const auto start = CLOCK::now();
    render_current(edit);
    display_convert(edit, edit->view.display_code);
    return ms_since(start);
}

// In turns, so that a machine that changes its speed changes it for both.
static void measure_steps(EDIT_STATE* edit, int steps) {
    std::vector<double> rendering, key;
    for (int i = 0; i < steps; ++i) {
        rendering.push_back(render_time(edit));
        key.push_back(key_time(edit));
    }
    print_row("rendering and conversion alone", rendering);
    print_row("from the key to the picture", key);
}

static CLOCK::time_point answered;
static std::vector<double> silences;

static void answer() {
    silences.push_back(ms_since(answered));
    answered = CLOCK::now();
}

static int measure_jumps(EDIT_STATE* edit, const char* file, int steps) {
    if (open_file(edit, text_from_utf8(file).c_str(), 0) != 1) return 1;
    const auto breathe = ui_hooks.breathe;
    ui_hooks.breathe = [] { answer(), window_refresh(); };
    std::vector<double> jumps;
    for (int i = 0; i < steps; ++i) {
        edit->frame = int((int64_t{i} * 7919 + 501) % edit->frame_n);
        const auto start = answered = CLOCK::now();
        main_redraw(edit);
        jumps.push_back(ms_since(start));
        answer();
        window_pump();
    }
    ui_hooks.breathe = breathe;
    print_row("jump to a far frame", jumps);
    print_row("time without an answer", silences);
    return 0;
}

static int measure(EDIT_STATE* edit, const std::string& clip, int steps) {
    if (!clip_write({1920, 1080, 30, 1, 4 * steps + 2, 0, 0, 0}, text_from_utf8(clip)) ||
        open_file(edit, text_from_utf8(clip).c_str(), 0) != 1)
        return 1;
    for (const int id : {STR_FILTER_NOISE, STR_FILTER_SHARPEN, STR_FILTER_COLOR})
        filter_set_active(filter_built_in(id), true);
    main_redraw(edit);
    window_pump();
    for (const bool overlay : {false, true}) {
        if (overlay) {
            window_send(main_window(), WM_COMMAND, 9111, 0);
            if (!(edit->view.view_flag & VIEW_OVERLAY)) {
                std::printf("no overlay here\n");
                break;
            }
            window_pump();
        }
        std::printf("== %s\n", overlay ? "overlay" : "drawing");
        measure_steps(edit, steps);
    }
    return 0;
}

int main(int argc, char** argv) {
    const int steps = argc > 1 ? std::atoi(argv[1]) : 30;
    const std::string folder = std::filesystem::temp_directory_path() / ("vantel-latency-" + std::to_string(getpid()));
    std::filesystem::create_directory(folder);
    std::ofstream(folder + "/vantel.ini") << "[system]\nwidth=1920\nheight=1088\n";
    setenv("VANTEL_HOME", folder.c_str(), 1);
    int result = 1;
    const auto start = CLOCK::now();
    if (window_system_start("vantel")) {
        main_window_install();
        EDIT_STATE* edit = start_up(true);
        window_pump();
        std::printf("start to the first picture of the window: %.0f ms\n", ms_since(start));
        if (edit && argc > 2) result = measure_jumps(edit, argv[2], std::max(steps, 1));
        if (edit && argc <= 2) result = measure(edit, folder + "/clip.avi", std::max(steps, 1));
        shut_down();
        dialogs_remove();
        window_system_stop();
    }
    std::filesystem::remove_all(folder);
    return result;
}
