#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/source.h"
#include "core/start_up.h"
#include "persist/project_load.h"
#include "persist/project_save.h"
#include "platform/file.h"
#include "platform/path.h"

// Projects of a picture that is shown `frames` times, in the temporary folder: in one piece, or cut every 10 frames,
// with marks, modes and profiles.

static constexpr int SIDE = 32;

static std::string picture_write() {
    struct {
        BITMAPINFOHEADER header;
        uint8_t rows[SIDE * SIDE * 3];
    } picture = {{40, SIDE, SIDE, 1, 24, 0, 0, 0, 0, 0, 0}, {}};
    static_assert(sizeof picture == 40 + SIDE * SIDE * 3);
    const uint32_t sizes[] = {14 + sizeof picture, 0, 14 + 40};
    std::string bytes = "BM" + std::string(reinterpret_cast<const char*>(sizes), sizeof sizes) +
                        std::string(reinterpret_cast<const char*>(&picture), sizeof picture);
    const std::string path = path_temp_prefix() + "bench.bmp";
    return file_replace(path.c_str(), bytes.data(), bytes.size()) ? path : std::string();
}

static bool open_frames(EDIT_STATE* edit, int n, bool cut) {
    if (n > frame_limit() || open_file(edit, picture_write().c_str(), 0) != 1) return false;
    for (int f = 0; f < n; ++f) {
        const int number = cut ? f / 10 * 25 + f % 10 : f;
        frame_table.frame_video[f] = frame_table.frame_audio[f] = frame_ref_make(0, number);
        frame_table.frame_phase[f] = uint8_t(f % 5);
        if (!cut) continue;
        frame_table.frame_inter[f] = uint8_t(f / 7 % 6);
        frame_table.frame_flag[f] = f % 10 ? 0 : FRAME_MARK;
    }
    edit->frame_n = n;
    return true;
}

static void run(benchmark::State& state, bool loading) {
    EDIT_STATE* edit = start_up(false);
    const std::string path = path_temp_prefix() + "bench.vtp";
    bool good = edit && open_frames(edit, int(state.range(0)), state.range(1)) && project_save(edit, path.c_str());
    while (state.KeepRunning())
        good = good && (loading ? project_load(edit, path.c_str(), OPEN_INNER) : project_save(edit, path.c_str()));
    if (!good) state.SkipWithError("no project");
    const int file = file_open_read(path.c_str());
    state.counters["bytes"] = double(file_size(file));
    file_close(file);
    file_delete(path.c_str());
    file_delete((path_temp_prefix() + "bench.bmp").c_str());
    shut_down();
}

static void save(benchmark::State& state) { run(state, false); }
static void load(benchmark::State& state) { run(state, true); }
BENCHMARK(save)->ArgNames({"frames", "cut"})->ArgsProduct({{1000, 320000}, {0, 1}})->Unit(benchmark::kMillisecond);
BENCHMARK(load)->ArgNames({"frames", "cut"})->ArgsProduct({{1000, 320000}, {0, 1}})->Unit(benchmark::kMillisecond);
