#include <csignal>
#include <filesystem>
#include <limits>
#include <set>

#include "core/edit_commands.h"
#include "core/message.h"
#include "hosts/filter.h"
#include "main_fixture.h"
#include "output/progress.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "pipeline/worker_pool.h"
#include "platform/clipboard.h"
#include "platform/clock.h"
#include "resources/string_ids.h"
#include "support/kernel_test.h"
#include "support/track_filter.h"
#include "ui/filter_windows.h"

namespace {

struct WindowFaults : MAIN_FIXTURE {
    static inline int questions;
    static inline bool answer;
    static inline int pumps_until;  // inside the pump of this number `at_pump` happens
    static inline std::function<void()> at_pump;
    static inline bool (*real_pump)();
    static inline WINDOW* inside;

    static intptr_t inside_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
        if (message == WM_USER) at_pump();
        return window_default(window, message, wparam, lparam);
    }
    static bool counted_pump() {
        if (--pumps_until == 0) window_post(inside, WM_USER, 0, 0);
        return real_pump();
    }
    /// The questions are answered and the warnings read.
    void quiet(bool yes) {
        questions = 0;
        answer = yes;
        ui_hooks.ask = [](const char*) { return ++questions, answer; };
        ui_hooks.warn = [](const char*) {};
        ui_hooks.warn_file = nullptr;
    }
    /// Saves the whole edit; something happens in the middle of it.
    int save(const std::string& path, int pump = 0, std::function<void()> what = {}) {
        text_copy(edit->save_name, PATH_SIZE, text_from_utf8(path));
        edit->output_kind = OUTPUT_KIND_AVI;
        pumps_until = pump;
        at_pump = std::move(what);
        real_pump = std::exchange(ui_hooks.pump, counted_pump);
        inside = window_create({WINDOW_TOOL, 0, "", nullptr, inside_proc, 0, 0, 1, 1});
        const int result = save_run(edit, SAVE_REQ_QUIET);
        window_destroy(inside);
        ui_hooks.pump = real_pump;
        return result;
    }
    void expect_sound() const {
        ASSERT_TRUE(window_exists(main_window()));
        EXPECT_FALSE(title().empty());
        if (!(edit->edit_flag & EDIT_OPEN)) return;
        EXPECT_GT(edit->frame_n, 0);
        EXPECT_TRUE(edit->frame >= 0 && edit->frame < edit->frame_n) << edit->frame << " of " << edit->frame_n;
        EXPECT_TRUE(edit->select_start >= 0 && edit->select_end < edit->frame_n)
            << edit->select_start << " .. " << edit->select_end << " of " << edit->frame_n;
        for (int i = 0; i < 5 && control_value(slider()) != edit->frame; ++i) window_pump();  // a move may wait
        EXPECT_EQ(control_value(slider()), edit->frame);
    }
    static void repaint() { window_repaint(main_window()); }
    /// The program anew, with one more filter.
    const FILTER* start_with(const FILTER& record) {
        stop();
        window_run();  // takes the end of the first one
        const FILTER* filter = filter_plugin_add(&record, this, "/plugins/test.vtf", nullptr);
        start();
        quiet(true);
        return filter;
    }
};

// ---- filters

int crashing_proc(void*, uint32_t message, uintptr_t, intptr_t, EDIT_STATE*, FILTER*) {
    return message == WM_PAINT || message == FILTER_MSG_MAIN_LEFT_DOWN ? std::raise(SIGSEGV) : 0;
}

TEST_F(WindowFaults, AFilterThatCrashesLosesItsCall) {
    FILTER record = track_filter("crash");
    record.flags = FILTER_F_MAIN_MESSAGES | FILTER_F_ALWAYS_ON | FILTER_F_OWN_PAINT;
    record.func_WndProc = crashing_proc;
    const FILTER* crash = start_with(record);
    ASSERT_NE(crash, nullptr);
    ui_hooks.ask_continue = [](const char*) { return ++questions, true; };
    open();
    auto* window = static_cast<WINDOW*>(crash->window);
    window_show(window, true);
    window_pump();
    questions = 0;
    window_repaint(window);
    window_repaint(window);
    EXPECT_EQ(questions, 2);
    input_press(main_window(), {30, 30}, INPUT_LEFT);
    input_release(main_window(), {30, 30}, INPUT_LEFT);
    window_pump();
    EXPECT_EQ(questions, 3);
    repaint();
    key(KEY_RIGHT);
    EXPECT_EQ(edit->frame, 1);
    expect_sound();
}

// Longer than the time between two breaths, on the workers and on the main thread.
int slow_proc(FILTER*, FILTER_PROC_PARAM*) {
    parallel_run([](int, int, void*) { clock_sleep_ms(80); }, nullptr);
    clock_sleep_ms(80);
    return 1;
}

TEST_F(WindowFaults, ASlowFrameLeavesTheWindowAlive) {
    static int breaths, handled;
    FILTER record = track_filter("slow");
    record.flags = FILTER_F_ALWAYS_ON | FILTER_F_NO_WINDOW;
    record.func_proc = slow_proc;
    ASSERT_TRUE(start_with(record));
    if (!worker_pool_active()) worker_pool_start(2, {});
    open();
    at_pump = [] { ++handled; };
    WINDOW* other = window_create({WINDOW_TOOL, 0, "", nullptr, inside_proc, 0, 0, 1, 1});
    window_post(other, WM_USER, 0, 0);
    breaths = handled = 0;
    const auto real = std::exchange(ui_hooks.breathe, [] { ++breaths, window_refresh(); });
    main_redraw(edit);
    ui_hooks.breathe = real;
    EXPECT_GE(breaths, 2);
    EXPECT_EQ(handled, 0);
    window_pump();
    EXPECT_EQ(handled, 1);
    expect_sound();
}

// ---- files

TEST_F(WindowFaults, TheClipGoesWhileItIsShown) {
    namespace fs = std::filesystem;
    enum { GONE, CUT, EMPTY, FOLDER, CASES };
    for (int what = GONE; what < CASES; ++what) {
        SCOPED_TRACE(what);
        quiet(true);
        const fs::path path = folder / "a.avi";
        fs::remove_all(path);
        open();
        if (what == GONE || what == FOLDER) fs::remove(path);
        if (what == FOLDER) fs::create_directory(path);
        if (what == CUT) fs::resize_file(path, fs::file_size(path) / 3);
        if (what == EMPTY) fs::resize_file(path, 0);
        for (const int code : {int(KEY_RIGHT), int(KEY_END), int(KEY_LEFT), int(KEY_HOME), int(KEY_NEXT)}) key(code);
        window_resize_client(main_window(), 300 + what, 260);
        command(9206);
        repaint();
        edit->select_start = edit->select_end = 3;
        command(5101);
        command(5147);
        command(5112);
        expect_sound();
        const std::string out = folder / "out.avi";
        // What the program has open is still there when only its name has gone.
        EXPECT_EQ(save(out), what == GONE || what == FOLDER ? 1 : save_report().written == 40);
        expect_sound();
        EXPECT_EQ(open_file(edit, text_from_utf8(folder / "a.avi").c_str(), 0) == 1, what == CUT);
        main_redraw(edit);
        expect_sound();
        ASSERT_EQ(open_file(edit, text_from_utf8(out).c_str(), 0), 1);
        EXPECT_EQ(edit->frame_n, save_report().written);
        command(5157);
        fs::remove(out);
    }
}

// ---- the end of a run

TEST_F(WindowFaults, ASaveIsStoppedFromEveryWindow) {
    open();
    quiet(true);
    const std::string out = folder / "out.avi";
    const auto stopped = [&](const std::function<void()>& how) {
        questions = 0;
        EXPECT_EQ(save(out, 10, how), 0);
        EXPECT_EQ(questions, 1);
        EXPECT_TRUE(save_report().written > 0 && save_report().written < 40) << save_report().written;
        EXPECT_FALSE(main_busy());
        expect_sound();
    };
    const auto close = [] { window_post(main_window(), WM_CLOSE, 0, 0); };
    stopped(close);
    const FILTER* color = filter_built_in(STR_FILTER_COLOR);
    auto* tool = static_cast<WINDOW*>(color->window);
    window_show(tool, true);
    auto* button = static_cast<WINDOW*>(handle_get(edit->view.button_back));
    for (const auto& [holder, focus] : {std::pair{tool, static_cast<WINDOW*>(color->track_edits[0])},
                                        {main_window(), slider()},
                                        {main_window(), button}})
        stopped([&] {
            window_activate(holder);
            window_focus(focus);
            input_key(holder, KEY_ESCAPE);
        });

    const int cut = save_report().written;
    ASSERT_EQ(open_file(edit, text_from_utf8(out).c_str(), 0), 1);
    EXPECT_EQ(edit->frame_n, cut);
    quiet(false);
    open();
    EXPECT_EQ(save(out, 10, close), 1);
    EXPECT_EQ(questions, 1);
    EXPECT_EQ(save_report().written, 40);
}

TEST_F(WindowFaults, AWindowThatIsNeededStays) {
    // A long open: the window is alive, its edit half made.
    ui_hooks.interface_enable(false);
    window_post(main_window(), WM_CLOSE, 0, 0);
    EXPECT_TRUE(ui_hooks.pump());
    EXPECT_FALSE(ui_hooks.pump());
    ui_hooks.interface_enable(true);
    ASSERT_TRUE(window_exists(main_window()));
    open();
    // A dialog works on the edit.
    user = {[&](WINDOW* dialog) {
        for (const int id : {5157, 5101, 108}) window_post(main_window(), WM_COMMAND, uintptr_t(id), 0);
        window_post(main_window(), WM_CLOSE, 0, 0);
        window_pump();
        EXPECT_EQ(dialog_current(), dialog);
        press(dialog, ID_CANCEL);
    }};
    command(108);
    EXPECT_TRUE(user.empty());
    EXPECT_EQ(edit->frame_n, 40);
    expect_sound();
}

TEST(WindowProcess, EndsWithoutStoppingTheSystem) {
    const auto end = [] {
        window_system_start("vantel");
        window_create({WINDOW_MAIN, 0, "", nullptr, window_default, 0, 0, 64, 48});
        window_pump();
        std::exit(7);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(7), "");
}

// ---- the clipboard

TEST_F(WindowFaults, PicturesThatDoNotFitChangeNothing) {
    open();
    const std::vector<uint8_t> rows(size_t(20000) * 4 * 3);
    const auto pasted = [&] {
        command(5123);
        expect_sound();
        return frame_table.frame_clip[edit->frame] != 0;
    };
    BITMAPINFOHEADER header{};
    header.biBitCount = 24;
    for (const POINT size : {POINT{20000, 4}, POINT{4, 20000}, POINT{65, 48}, POINT{64, 48}}) {
        header.biWidth = size.x;
        header.biHeight = size.y;
        ASSERT_TRUE(clipboard_put_picture(header, rows.data()));
        EXPECT_EQ(pasted(), size.x == 64) << size.x << ' ' << size.y;
    }
    ASSERT_TRUE(clipboard_put_text("text"));
    key(KEY_RIGHT);
    EXPECT_FALSE(pasted());
}

// ---- sizes and places

TEST(ViewPlaces, StayInsideAreaAndPicture) {
    VIEW_RECORD view{};
    const int areas[] = {-1, 0, 1, 4, 97, 4000};
    const POINT pictures[] = {{16, 16}, {16, 16384}, {16384, 16}, {16384, 16384}, {1, 1}};
    for (view.zoom = 0; view.zoom <= VIEW_ZOOM_WINDOW; ++view.zoom)
        for (const POINT picture : pictures)
            for (const int aw : areas)
                for (const int ah : areas) {
                    view_place_picture(&view, aw, ah, picture.x, picture.y);
                    const int32_t* r = view.draw_rect;
                    ASSERT_TRUE(r[0] >= 0 && r[1] >= 0 && r[2] >= 0 && r[3] >= 0 && r[0] + r[2] <= std::max(aw, 0) &&
                                r[1] + r[3] <= std::max(ah, 0) && r[4] <= picture.x && r[5] <= picture.y)
                        << view.zoom << ' ' << aw << ' ' << ah << ' ' << picture.x << ' ' << picture.y;
                    for (POINT at : {POINT{r[0], r[1]}, POINT{r[0] + r[2] - 1, r[1] + r[3] - 1}}) {
                        if (!view_to_picture(&view, &at)) continue;
                        ASSERT_TRUE(at.x >= 0 && at.y >= 0 && at.x < r[4] && at.y < r[5]) << at.x << ' ' << at.y;
                    }
                }
}

TEST_F(WindowFaults, WindowsOfNearlyNoSizeArePainted) {
    quiet(true);
    EXPECT_EQ(open_file(edit, clip("small.avi", {16, 16, 30, 1, 3, 24, 44100, 0}).c_str(), 0), 0);
    for (const CLIP& what : {CLIP{32, 32, 30, 1, 3, 24, 44100, 0}, CLIP{1280, 720, 30, 1, 2, 24, 44100, 0}}) {
        open("a.avi", what);
        for (int zoom = 0; zoom <= VIEW_ZOOM_WINDOW; ++zoom)
            for (const int height : {0, 1, 33, 97}) {
                command(9200 + zoom);
                command(9104);  // the strip goes and comes
                window_resize_client(main_window(), 4, height);
                for (const int x : {-1, 0, 3, 9}) input_move(main_window(), {x, height / 2});
                window_pump();
                repaint();
                POINT far = {std::numeric_limits<int16_t>::max(), std::numeric_limits<int16_t>::min()};
                view_to_picture(&edit->view, &far);
                filter_main_place(edit, far.x, far.y);
                expect_sound();
            }
        command(5157);
    }
}

TEST_F(WindowFaults, PlacesBeyondAllScreensAreLeft) {
    constexpr int MOST = std::numeric_limits<int>::max(), LEAST = std::numeric_limits<int>::min();
    const std::string tool = filter_section(filter_built_in(STR_FILTER_COLOR));
    for (const int far : {MOST, LEAST, 90000, -90000}) {
        stop();
        for (const char* key : {"x", "y", "w", "h"}) {
            ini_write_int(settings_file(), "window", key, far);
            ini_write_int(settings_file(), tool.c_str(), key, far);
        }
        start();
        ASSERT_TRUE(window_exists(main_window()));
        EXPECT_TRUE(screen_holds(window_frame(main_window()))) << far;
        EXPECT_TRUE(screen_holds(window_frame(static_cast<WINDOW*>(filter_built_in(STR_FILTER_COLOR)->window))));
        EXPECT_LE(window_client(main_window()).width, 16384);
    }
}

// ---- the keyboard and the menu bar

TEST_F(WindowFaults, F10OpensTheMenuBar) {
    quiet(true);
    static int asked;
    asked = 0;
    ui_hooks.file_dialog = [](FILE_DIALOG*) { return ++asked, false; };
    key(KEY_F1 + 9);
    key(KEY_DOWN);
    key(KEY_RETURN);
    EXPECT_EQ(asked, 1);  // the first entry of the first popup opens a file
}

// ---- everything in any order

int cancelled;

/// Cancels whatever opens.
intptr_t cancel_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message != WM_TIMER) return window_default(window, message, wparam, lparam);
    if (dialog_current())
        ++cancelled, dialog_end(dialog_current(), ID_CANCEL);
    else if (main_window())
        input_key(main_window(), KEY_ESCAPE);  // an open menu
    return 0;
}

struct MONKEY {
    WindowFaults* test;
    RNG rng;

    int any(std::initializer_list<int> of) { return of.begin()[rng.below(uint32_t(of.size()))]; }
    int command() {
        static constexpr int RANGES[][2] = {{5100, 5132},   {5139, 5147},   {5156, 5157}, {5167, 5194}, {5196, 5215},
                                            {5396, 5398},   {9001, 9004},   {9104, 9115}, {9200, 9206}, {1020, 1026},
                                            {1054, 1058},   {1070, 1073},   {8000, 8011}, {100, 111},   {10001, 10040},
                                            {11001, 11040}, {12000, 12130}, {1003, 1006}, {5596, 5605}};
        const auto& range = RANGES[rng.below(uint32_t(std::size(RANGES)))];
        return rng.between(range[0], range[1]);
    }
    int key() {
        return any({KEY_LEFT, KEY_RIGHT,    KEY_UP, KEY_DOWN, KEY_PRIOR, KEY_NEXT,   KEY_HOME,    KEY_END,
                    'A',      'C',          'V',    'Z',      KEY_OEM_4, KEY_OEM_6,  KEY_NUMPAD0, KEY_NUMPAD0 + 4,
                    KEY_ADD,  KEY_SUBTRACT, '0',    '3',      KEY_TAB,   KEY_ESCAPE, KEY_F1 + 9,  KEY_SPACE});
    }
    POINT point() { return {rng.between(-20, 500), rng.between(-20, 400)}; }
    void step() {
        WINDOW* window = main_window();
        switch (rng.below(10)) {
            case 0: rng.below(3) ? input_key(window, key()) : input_key(window, key(), {KEY_SHIFT}); break;
            case 1: input_key(window, key(), {KEY_CONTROL}); break;
            case 2: input_wheel(window, point(), rng.below(2) ? 120 : -360); break;
            case 3:
                input_press(window, point(), rng.below(4) ? INPUT_LEFT : INPUT_RIGHT);
                input_move(window, point());
                input_release(window, point(), rng.below(4) ? INPUT_LEFT : INPUT_RIGHT);
                break;
            case 4:
                control_set_value(test->slider(), rng.between(-5, 90));
                window_post(window, WM_HSCROLL, SCROLL_THUMB_MOVES, reinterpret_cast<intptr_t>(test->slider()));
                break;
            case 5: window_post(window, WM_COMMAND, EDIT_COMMAND_MOVE_TO, rng.between(-10, 90)); break;
            case 6: window_resize_client(window, rng.between(0, 700), rng.between(0, 600)); break;
            default: window_post(window, WM_COMMAND, uintptr_t(command()), rng.between(-2, 60)); break;
        }
    }
};

TEST_F(WindowFaults, AnythingInAnyOrderKeepsTheEditWhole) {
    RecordProperty("seed", std::to_string(kernel_seed()));
    SCOPED_TRACE("VANTEL_TEST_SEED=" + std::to_string(kernel_seed()));
    constexpr int STEPS = 2000;
    WINDOW* canceller = window_create({WINDOW_TOOL, 0, "", nullptr, cancel_proc, 0, 0, 1, 1});
    timer_start(canceller, 1, 2);
    MONKEY monkey{this, RNG(kernel_seed())};
    const std::string path = clip("a.avi"), other = clip("b.avi", {64, 48, 24, 1, 7, 0, 8000, 0});
    std::set<int> frames, lengths;
    cancelled = 0;
    for (int i = 0; i < STEPS && !HasFailure(); ++i) {
        if (!(edit->edit_flag & EDIT_OPEN)) open_file(edit, path.c_str(), 0);
        if (edit->frame_n < 20) open_file(edit, path.c_str(), OPEN_APPEND);
        if (i % 300 == 299) open_file(edit, other.c_str(), OPEN_APPEND);
        monkey.step();
        if (monkey.rng.below(3)) window_pump();  // some pile up
        if (i % 50 == 49) repaint();
        window_pump();
        expect_sound();
        frames.insert(edit->frame);
        lengths.insert(edit->frame_n);
    }
    EXPECT_TRUE(frames.size() > 10 && lengths.size() > 1 && cancelled > 10)
        << frames.size() << ' ' << lengths.size() << ' ' << cancelled;
    window_destroy(canceller);
}

}  // namespace
