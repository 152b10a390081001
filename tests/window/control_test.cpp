#include "platform/window_control.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include "platform/overlay.h"
#include "platform/window_box.h"
#include "platform/window_input.h"

namespace {

/// What the holder of the controls was told.
struct TOLD {
    uint32_t message;
    int id, code;
    WINDOW* control;
    bool checked;  // of the control, at the time of the note
};
std::vector<TOLD> told;

intptr_t holder_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    auto* control = reinterpret_cast<WINDOW*>(lparam);  // NOLINT(performance-no-int-to-ptr)
    if (message == WM_COMMAND)
        told.push_back({message, command_id(wparam), command_note(wparam), control, control_checked(control)});
    if (message == WM_USER) window_post(dialog_current(), WM_COMMAND, wparam, 0);
    if (message == WM_HSCROLL) told.push_back({message, control_id(control), int(wparam & 0xFFFF), control, false});
    return window_default(window, message, wparam, lparam);
}
int told_count(int id, int code) {
    return int(std::ranges::count_if(told, [=](const TOLD& t) { return t.id == id && t.code == code; }));
}

/// Pumps for so long, or until the condition holds.
void pump(int milliseconds, const std::function<bool()>& until = {}) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (window_pump() && std::chrono::steady_clock::now() < end && !(until && until())) usleep(1000);
}

CONTROL_LINE line(CONTROL_KIND kind, int id = 0, const char* text = "", int low = 0, int high = 0) {
    return {.kind = kind, .id = id, .text = text, .unit = {}, .low = low, .high = high};
}
enum {
    LABEL = 10,
    CHECK,
    RADIO_A,
    RADIO_B,
    BUTTON,
    ICON,
    EDIT,
    TEXT,
    NUMBER,
    COMBO,
    FREE,
    LIST,
    MARKS,
    SLIDER,
    PICTURE
};
const std::vector<CONTROL_LINE>& every_kind() {
    static const std::vector<CONTROL_LINE> lines = {line(CONTROL_PAGE, 0, "one"),
                                                    line(CONTROL_FORM),
                                                    line(CONTROL_EDIT, EDIT, "&Name"),
                                                    line(CONTROL_NUMBER, NUMBER, "N&umber:", -5, 500),
                                                    line(CONTROL_ROW),
                                                    line(CONTROL_SLIDER, SLIDER, "Frame", 0, 8388607),
                                                    line(CONTROL_ICON_BUTTON, ICON, "ICON_LEFT"),
                                                    line(CONTROL_END),
                                                    line(CONTROL_COMBO, COMBO, "Choice"),
                                                    line(CONTROL_COMBO, FREE, "Free", 1),
                                                    line(CONTROL_END),
                                                    line(CONTROL_GROUP, 0, "group"),
                                                    line(CONTROL_CHECK, CHECK, "check"),
                                                    line(CONTROL_RADIO, RADIO_A, "a"),
                                                    line(CONTROL_RADIO, RADIO_B, "b"),
                                                    line(CONTROL_END),
                                                    line(CONTROL_RULE),
                                                    line(CONTROL_LABEL, LABEL, "label"),
                                                    line(CONTROL_BUTTON, BUTTON, "button"),
                                                    line(CONTROL_LIST, LIST, "List"),
                                                    line(CONTROL_LIST, MARKS, "Marks", 2),
                                                    line(CONTROL_TEXT, TEXT, "Text"),
                                                    line(CONTROL_PICTURE, PICTURE),
                                                    line(CONTROL_SPACE),
                                                    line(CONTROL_END),
                                                    line(CONTROL_PAGE, 0, "two"),
                                                    line(CONTROL_CHECK, CHECK, "second"),
                                                    line(CONTROL_END)};
    return lines;
}

struct Control : testing::Test {
    WINDOW* holder = nullptr;
    static void SetUpTestSuite() { ASSERT_TRUE(window_system_start("control_test")); }
    static void TearDownTestSuite() { window_system_stop(); }
    void SetUp() override {
        holder = window_create({WINDOW_TOOL, WINDOW_F_SIZABLE, "holder", nullptr, holder_proc, 40, 40, 100, 50});
        ASSERT_NE(holder, nullptr);
        window_set_controls(holder, every_kind());
        window_show(holder, true);
        window_activate(holder);
        pump(20);
        told.clear();
    }
    void TearDown() override { window_destroy(holder); }
    WINDOW* of(int id) const { return control_of(holder, id); }
};

TEST_F(Control, WindowTakesTheSizeThatItsControlsNeed) {
    const RECT client = window_client(holder), list = window_frame(of(LIST));
    EXPECT_GT(client.width, 200);
    EXPECT_GT(client.height, list.top + list.height);
    EXPECT_TRUE(control_of(holder, CHECK, 1));
    EXPECT_NE(control_of(holder, CHECK, 1), of(CHECK));
    EXPECT_EQ(control_of(holder, CHECK, 2), nullptr);
    const std::vector<CONTROL_LINE> other = {line(CONTROL_CHECK, CHECK, "alone")};
    window_set_controls(holder, other);
    pump(10);
    EXPECT_EQ(of(EDIT), nullptr);
    EXPECT_TRUE(of(CHECK) && window_shown(of(CHECK)));
    EXPECT_GE(window_client(holder).height, list.top) << "never smaller by itself";
}

TEST_F(Control, SettersAreReadBackAndSilent) {
    for (const int id : {LABEL, CHECK, BUTTON, EDIT, TEXT, FREE}) {
        control_set_text(of(id), "テキスト");
        EXPECT_EQ(control_text(of(id)), "テキスト") << id;
    }
    control_check(of(RADIO_A), true);
    control_check(of(RADIO_B), true);
    EXPECT_FALSE(control_checked(of(RADIO_A)));
    control_check(of(RADIO_B), false);
    EXPECT_FALSE(control_checked(of(RADIO_B)));
    for (const int id : {LIST, MARKS, COMBO, FREE}) {
        WINDOW* rows = of(id);
        rows_add(rows, "a"), rows_add(rows, "c"), rows_insert(rows, 1, "b");
        EXPECT_EQ(rows_selected(rows), -1) << id;
        rows_select(rows, 2);
        rows_remove(rows, 0);
        rows_set_text(rows, 0, "B");
        EXPECT_EQ(rows_count(rows), 2);
        EXPECT_EQ(rows_selected(rows), 1);
        EXPECT_EQ(rows_text(rows, 0), "B");
        EXPECT_EQ(rows_text(rows, 2), "");
    }
    rows_mark(of(MARKS), 1, true);
    EXPECT_TRUE(rows_marked(of(MARKS), 1) && !rows_marked(of(MARKS), 0) && !rows_marked(of(LIST), 1));
    control_set_value(of(NUMBER), 999);
    EXPECT_EQ(control_value(of(NUMBER)), 500);
    control_set_text(of(NUMBER), "");
    window_show(holder, false);
    window_show(holder, true);
    EXPECT_EQ(control_text(of(NUMBER)), "");
    EXPECT_EQ(control_value(of(NUMBER)), -5);
    control_set_value(of(NUMBER), -5);
    EXPECT_EQ(control_text(of(NUMBER)), "-5");
    control_set_range(of(NUMBER), 10, 20);
    EXPECT_EQ(control_value(of(NUMBER)), 10);
    for (const int place : {65535, 65536, 131073, 8388607, 0}) {
        control_set_value(of(SLIDER), place);
        EXPECT_EQ(control_value(of(SLIDER)), place);
    }
    pump(5);
    EXPECT_TRUE(told.empty());
    // a control of another kind, and none at all
    EXPECT_EQ(control_value(of(LABEL)), 0);
    EXPECT_EQ(rows_count(nullptr), 0);
    control_set_text(nullptr, "x");
}

TEST_F(Control, InputIsToldToTheHolder) {
    input_press(of(CHECK), {6, 6}, INPUT_LEFT);
    input_release(of(CHECK), {6, 6}, INPUT_LEFT);
    ASSERT_EQ(told_count(CHECK, NOTE_CLICKED), 1);
    EXPECT_TRUE(told.front().checked) << "toggled before the note";
    EXPECT_EQ(told.front().control, of(CHECK));

    window_focus(of(EDIT));
    input_text(of(EDIT), "ab");
    window_focus(of(NUMBER));
    EXPECT_EQ(control_text(of(EDIT)), "ab");
    EXPECT_GE(told_count(EDIT, NOTE_CHANGED), 1);
    EXPECT_EQ(told_count(EDIT, NOTE_FOCUS), 1);
    EXPECT_EQ(told_count(EDIT, NOTE_BLUR), 1);

    control_select_all(of(NUMBER));
    input_text(of(NUMBER), "77777");
    EXPECT_EQ(control_value(of(NUMBER)), 500);
    window_focus(of(EDIT));
    EXPECT_EQ(control_text(of(NUMBER)), "500") << "in its range once it is left";
    EXPECT_GE(told_count(NUMBER, NOTE_CHANGED), 1);

    for (const int id : {LIST, COMBO}) {
        rows_add(of(id), "a"), rows_add(of(id), "b");
        rows_select(of(id), 0);
        window_focus(of(id));
        input_key(of(id), KEY_DOWN);
        EXPECT_EQ(rows_selected(of(id)), 1);
        EXPECT_EQ(told_count(id, NOTE_SELECTED), 1);
    }
    input_key(of(LIST), KEY_RETURN);
    EXPECT_EQ(told_count(LIST, NOTE_ACTIVATED), 1);
    input_text(of(TEXT), "x");
    EXPECT_EQ(told_count(TEXT, NOTE_CHANGED), 1);
}

TEST_F(Control, SliderScrollsThroughTheQueue) {
    slider_set_steps(of(SLIDER), 100000, 4194303);
    slider_set_selection(of(SLIDER), 1000000, 8000000);
    control_set_value(of(SLIDER), 70000);
    input_key(of(SLIDER), KEY_RIGHT);
    EXPECT_TRUE(window_waiting(holder, WM_HSCROLL));
    EXPECT_TRUE(told.empty());
    pump(5);
    EXPECT_EQ(told_count(SLIDER, SCROLL_LINE_MORE), 1);
    EXPECT_EQ(told_count(SLIDER, SCROLL_ENDS), 1);
    EXPECT_EQ(control_value(of(SLIDER)), 70001);
    const RECT place = window_frame(of(SLIDER));
    input_press(of(SLIDER), {place.width - 3, place.height / 2}, INPUT_LEFT);
    input_release(of(SLIDER), {place.width - 3, place.height / 2}, INPUT_LEFT);
    pump(5);
    EXPECT_EQ(control_value(of(SLIDER)), 170001);
    EXPECT_EQ(told_count(SLIDER, SCROLL_PAGE_MORE), 1);
}

TEST_F(Control, IconButtonFiresAtThePressAndRepeats) {
    input_press(of(ICON), {5, 5}, INPUT_LEFT);
    EXPECT_EQ(window_focused(), of(ICON));
    pump(20);
    EXPECT_EQ(told_count(ICON, NOTE_CLICKED), 1);
    pump(key_repeat_delay() + 20 * key_repeat_interval() + 1000, [] { return told_count(ICON, NOTE_CLICKED) >= 4; });
    EXPECT_EQ(told_count(ICON, NOTE_CLICKED), 4);
    input_release(of(ICON), {500, 500}, INPUT_LEFT);
    pump(5);
    const int stopped = told_count(ICON, NOTE_CLICKED);
    EXPECT_EQ(window_focused(), holder);
    pump(key_repeat_delay() + 3 * key_repeat_interval());
    EXPECT_EQ(told_count(ICON, NOTE_CLICKED), stopped);
}

/// A dialog's procedure that follows a script: what it did is in `seen`.
struct SCRIPT {
    std::vector<int> post;  // at WM_INITDIALOG
    bool veto_once = false;
    int end_with = 0;  // in the place of the usual answer to ID_OK
    std::string seen = {};
    bool controls_stood = false;
};
intptr_t script_proc(WINDOW* dialog, uint32_t message, uintptr_t wparam, intptr_t lparam, void* data) {
    auto& script = *static_cast<SCRIPT*>(data);
    if (message == WM_INITDIALOG) {
        script.controls_stood = control_of(dialog, EDIT) && lparam == reinterpret_cast<intptr_t>(data);
        for (const int id : script.post) window_post(dialog, WM_COMMAND, uintptr_t(id), 0);
    }
    if (message == WM_DESTROY) script.seen += 'd';
    if (message != WM_COMMAND || command_note(wparam) != NOTE_CLICKED) return 0;
    script.seen += char('0' + command_id(wparam));
    if (command_id(wparam) == 5) dialog_end(dialog, ID_OK);
    if (command_id(wparam) != ID_OK) return 0;
    if (script.end_with) dialog_end(dialog, script.end_with);
    return script.end_with || std::exchange(script.veto_once, false);
}
const DIALOG_TEMPLATE SMALL = {"dialog",
                               {line(CONTROL_FORM), line(CONTROL_EDIT, EDIT, "&Name"), line(CONTROL_END)},
                               {line(CONTROL_BUTTON, ID_OK, "OK"), line(CONTROL_BUTTON, ID_CANCEL, "Cancel")}};

TEST_F(Control, DialogIsAnsweredByCommands) {
    SCRIPT cancel{.post = {ID_CANCEL}}, veto{.post = {ID_OK, 3, ID_OK}, .veto_once = true};
    SCRIPT own{.post = {ID_OK}, .end_with = 77};
    EXPECT_EQ(dialog_run(SMALL, holder, script_proc, &cancel), ID_CANCEL);
    EXPECT_TRUE(cancel.controls_stood);
    EXPECT_EQ(dialog_run(SMALL, holder, script_proc, &veto), ID_OK);
    EXPECT_EQ(veto.seen, "131d") << "the first OK was refused";
    EXPECT_EQ(dialog_run(SMALL, nullptr, script_proc, &own), 77);
    EXPECT_EQ(dialog_current(), nullptr);

    SCRIPT keys;
    WINDOW* open = dialog_open(SMALL, holder, script_proc, &keys);
    ASSERT_NE(open, nullptr);
    pump(20);
    EXPECT_EQ(window_focused(), control_of(open, EDIT));
    keys.veto_once = true;
    input_key(control_of(open, EDIT), KEY_RETURN);
    EXPECT_TRUE(window_exists(open));
    input_key(control_of(open, EDIT), KEY_ESCAPE);
    EXPECT_FALSE(window_exists(open));
    EXPECT_EQ(keys.seen, "12d");
}

TEST_F(Control, BoxesAreAnsweredByCommands) {
    for (const int answer : {ID_OK, ID_CANCEL}) {
        window_post(holder, WM_USER, uintptr_t(answer), 0);
        EXPECT_EQ(message_box(holder, "title", "text", BOX_WARNING, BOX_YES_NO), answer == ID_OK);
        window_post(holder, WM_USER, uintptr_t(answer), 0);
        information_box(holder, "title", std::string(5000, '\n'));
        window_post(holder, WM_USER, ID_CANCEL, 0);
        EXPECT_TRUE(file_box(holder, {}).empty());
    }
    EXPECT_EQ(dialog_current(), nullptr);
}

TEST_F(Control, FileBoxWithOptionsIsAnsweredFromInside) {
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "file_box_test";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "there.avi") << "x";
    FILE_BOX box;
    box.filters = {{"AviFile (*.avi)", "*.avi"}, {"AllFile (*.*)", "*.*"}};
    box.folder = folder.string(), box.name = "new", box.extension = ".avi";
    box.options = &SMALL, box.proc = script_proc;
    SCRIPT inside{.post = {5}}, refuse{.post = {ID_CANCEL}}, over{.post = {ID_OK}};
    box.save = true, box.data = &inside;
    EXPECT_EQ(file_box(holder, box), std::vector{(folder / "new.avi").string()});
    EXPECT_TRUE(inside.controls_stood);
    EXPECT_EQ(inside.seen, "51d") << "told of the answer before the controls went";
    box.data = &refuse;
    EXPECT_TRUE(file_box(holder, box).empty());
    EXPECT_EQ(refuse.seen, "2d");
    box.name = "there.avi", box.ask_overwrite = false, box.data = &over;
    EXPECT_EQ(file_box(holder, box), std::vector{(folder / "there.avi").string()});
    std::filesystem::remove_all(folder);
}

constexpr int FILM_WIDTH = 61, FILM_HEIGHT = 32;

/// Mixed colours of a place in the picture, in its pixels from the middle of the first one; B, G, R. Colour belongs to
/// the left pixel of each pair.
std::array<int, 3> film_colour(const std::vector<uint8_t>& yuy2, size_t stride, double x, double y) {
    x = std::clamp(x, 0.0, FILM_WIDTH - 1.0), y = std::clamp(y, 0.0, FILM_HEIGHT - 1.0);
    const auto byte = [&](int column, int row, int k) {
        return double(yuy2[size_t(std::min(row, FILM_HEIGHT - 1)) * stride + size_t(column * 2 + k)]);
    };
    // between the samples on both sides, of which the columns are `step` apart
    const auto mixed = [&](int step, int k) {
        const int left = int(x) / step * step, right = left + step < FILM_WIDTH ? left + step : left, top = int(y);
        const double across = (x - left) / step, down = y - top;
        const auto row = [&](int r) { return byte(left, r, k) * (1 - across) + byte(right, r, k) * across; };
        return row(top) * (1 - down) + row(top + 1) * down;
    };
    // BT.601 of video range
    const double luma = (mixed(1, 0) - 16) / 219, b = (mixed(2, 1) - 128) / 224, r = (mixed(2, 3) - 128) / 224;
    std::array<int, 3> colour{};
    const double value[] = {luma + 1.772 * b, luma - 0.344136 * b - 0.714136 * r, luma + 1.402 * r};
    for (int c = 0; c < 3; ++c) colour[size_t(c)] = int(std::lround(std::clamp(value[c], 0.0, 1.0) * 255));
    return colour;
}

/// How many pixels of the surface are not as they should be.
int film_faults(OVERLAY_SURFACE* surface, const RECT& client, const std::vector<uint8_t>& yuy2, size_t stride,
                const RECT& dest, const RECT& source) {
    std::vector<uint8_t> shown;
    int width = 0, height = 0, faults = 0;
    pump(50);
    pump(3000, [&] { return !(shown = overlay_surface_read(surface, &width, &height)).empty(); });
    if (width != dest.width || height != dest.height) return -1;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            if (dest.left + x < 0 || dest.left + x >= client.width) continue;
            const auto want = film_colour(yuy2, stride, source.left + (x + 0.5) * source.width / width - 0.5,
                                          source.top + (y + 0.5) * source.height / height - 0.5);
            for (size_t c = 0; c < 3; ++c)
                faults += std::abs(want[c] - shown[(size_t(y) * size_t(width) + size_t(x)) * 4 + c]) > 2;
        }
    return faults;
}

intptr_t film_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message == WM_LBUTTONDOWN) told.push_back({message, 0, message_x(lparam), nullptr, false});
    return window_default(window, message, wparam, lparam);
}

void overlay_check(WINDOW* window, OVERLAY_SURFACE* surface) {
    const RECT all{0, 0, FILM_WIDTH, FILM_HEIGHT}, client = window_client(window);
    int width = 0, height = 0;
    ASSERT_TRUE(overlay_surface_place(surface, all, all));
    uint32_t seed = 1;
    for (const size_t stride : {124, 128, 130}) {  // packed, with gaps, with gaps that no card takes
        std::vector<uint8_t> yuy2(stride * FILM_HEIGHT + 2);
        for (uint8_t& byte : yuy2) byte = uint8_t((seed = seed * 1664525 + 1013904223) >> 24);
        ASSERT_TRUE(overlay_surface_put(surface, FILM_WIDTH, FILM_HEIGHT, yuy2.data(), stride));
        for (const auto& [dest, source] : {std::pair{RECT{5, 5, FILM_WIDTH, FILM_HEIGHT}, all},
                                           {{-20, 7, FILM_WIDTH, FILM_HEIGHT}, all},
                                           {{client.width - 50, 6, 2 * FILM_WIDTH, 3 * FILM_HEIGHT}, all},
                                           {{5, 5, 31, 20}, {30, 4, 31, 20}},
                                           {{5, 5, 62, 40}, {30, 4, 31, 20}}}) {
            ASSERT_TRUE(overlay_surface_place(surface, dest, source));
            EXPECT_EQ(film_faults(surface, client, yuy2, stride, dest, source), 0) << stride << ' ' << dest.left;
        }
        overlay_surface_hide(surface);
        pump(20);
        EXPECT_TRUE(overlay_surface_read(surface, &width, &height).empty());
        // The desktop's window is made anew beneath it.
        window_on_top(window, stride == 124);
        ASSERT_TRUE(overlay_surface_place(surface, all, all));
        EXPECT_EQ(film_faults(surface, client, yuy2, stride, all, all), 0);
        window_on_top(window, stride != 124);
        EXPECT_EQ(film_faults(surface, client, yuy2, stride, all, all), 0);
    }
    ASSERT_TRUE(overlay_surface_place(surface, {500, 500, 60, 60}, all));
    pump(20);
    EXPECT_TRUE(overlay_surface_read(surface, &width, &height).empty()) << "outside";
}

TEST_F(Control, OverlayShowsVideoColours) {
    WINDOW* film = window_create({WINDOW_MAIN, 0, "film", nullptr, film_proc, 400, 300, 200, 120});
    window_show(film, true);
    window_activate(film);
    pump(20);
    OVERLAY_SURFACE* surface = overlay_surface_open(film);
    if (!window_system_visible()) {
        window_destroy(film);
        ASSERT_EQ(surface, nullptr);
        // The same test once more, on a display of its own when one can be had.
        if (std::system("command -v xvfb-run > /dev/null") != 0) GTEST_SKIP() << "no display";
        const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
        const std::string run = "ASAN_OPTIONS=detect_leaks=0 QT_QPA_PLATFORM=xcb xvfb-run -a '" + self +
                                "' --gtest_filter=Control.OverlayShows*";
        ASSERT_EQ(std::system(run.c_str()), 0);
        return;
    }
    if (surface) {
        overlay_check(film, surface);
        ASSERT_TRUE(overlay_surface_place(surface, {0, 0, 200, 120}, {0, 0, FILM_WIDTH, FILM_HEIGHT}));
        pump(50);
        input_press(film, {30, 20}, INPUT_LEFT);
        input_release(film, {30, 20}, INPUT_LEFT);
        ASSERT_FALSE(told.empty()) << "input goes through the picture";
        EXPECT_EQ(told.back().code, 30);
    }
    window_destroy(film);
    pump(20);
    const uint8_t pair[4] = {};
    EXPECT_FALSE(overlay_surface_put(surface, 2, 1, pair, 4)) << "gone with its window";
    overlay_surface_close(surface);
    if (!surface) GTEST_SKIP() << "no OpenGL";
}

}  // namespace
