#include "platform/window_control.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/image.h"
#include "platform/overlay.h"
#include "platform/window_box.h"
#include "platform/window_draw.h"
#include "platform/window_menu.h"
#include "window_fixture.h"

namespace {

/// How often the holder of the controls was told so.
int told_count(int id, int code) {
    return int(std::ranges::count_if(seen, [=](const SEEN& s) {
        auto* control = reinterpret_cast<WINDOW*>(s.lparam);  // NOLINT(performance-no-int-to-ptr)
        if (s.message == WM_COMMAND) return command_id(s.wparam) == id && command_note(s.wparam) == code;
        return s.message == WM_HSCROLL && control_id(control) == id && int(s.wparam & 0xFFFF) == code;
    }));
}

enum { CHECK = 10, RADIO_A, RADIO_B, ICON, EDIT, TEXT, NUMBER, COMBO, FREE, LIST, MARKS, SLIDER };
const std::vector<CONTROL_LINE> EVERY_KIND = {{CONTROL_PAGE, 0, "one"},
                                              {CONTROL_FORM},
                                              {CONTROL_EDIT, EDIT, "&Name"},
                                              {CONTROL_NUMBER, NUMBER, "N&umber:", "", -5, 500},
                                              {CONTROL_ROW},
                                              {CONTROL_SLIDER, SLIDER, "Frame", "", 0, 8388607},
                                              {CONTROL_ICON_BUTTON, ICON, "ICON_LEFT"},
                                              {CONTROL_END},
                                              {CONTROL_COMBO, COMBO, "Choice"},
                                              {CONTROL_COMBO, FREE, "Free", "", 1},
                                              {CONTROL_END},
                                              {CONTROL_GROUP, 0, "group"},
                                              {CONTROL_CHECK, CHECK, "check"},
                                              {CONTROL_RADIO, RADIO_A, "a"},
                                              {CONTROL_RADIO, RADIO_B, "b"},
                                              {CONTROL_END},
                                              {CONTROL_LIST, LIST, "List"},
                                              {CONTROL_LIST, MARKS, "Marks", "", 2},
                                              {CONTROL_TEXT, TEXT, "Text"},
                                              {CONTROL_END},
                                              {CONTROL_PAGE, 0, "two"},
                                              {CONTROL_CHECK, CHECK, "second"},
                                              {CONTROL_END}};

struct Control : WINDOW_FIXTURE {
    void SetUp() override {
        WINDOW_FIXTURE::SetUp();
        window_set_controls(window, EVERY_KIND);
        window_activate(window);
        pump(20);
        seen.clear();
    }
    WINDOW* of(int id) const { return control_of(window, id); }
};

TEST_F(Control, WindowTakesTheSizeThatItsControlsNeed) {
    const RECT client = window_client(window), list = window_frame(of(LIST));
    EXPECT_GT(client.width, 200);
    EXPECT_GT(client.height, list.top + list.height);
    EXPECT_TRUE(control_of(window, CHECK, 1));
    EXPECT_NE(control_of(window, CHECK, 1), of(CHECK));
    EXPECT_EQ(control_of(window, CHECK, 2), nullptr);
    window_set_controls(window, std::vector<CONTROL_LINE>{{CONTROL_CHECK, CHECK, "alone"}});
    pump(10);
    EXPECT_EQ(of(EDIT), nullptr);
    EXPECT_TRUE(of(CHECK) && window_shown(of(CHECK)));
    EXPECT_GE(window_client(window).height, list.top) << "never smaller by itself";
}

TEST_F(Control, SettersAreSilentAndKeepToTheirBounds) {
    for (const int id : {EDIT, TEXT, FREE}) control_set_text(of(id), "テキスト");
    control_check(of(RADIO_A), true);
    control_check(of(RADIO_B), true);
    EXPECT_FALSE(control_checked(of(RADIO_A)));
    for (const int id : {LIST, MARKS, COMBO, FREE}) {
        WINDOW* rows = of(id);
        rows_add(rows, "a"), rows_add(rows, "c"), rows_insert(rows, 1, "b");
        EXPECT_EQ(rows_selected(rows), -1) << id;
        rows_select(rows, 2);
        rows_remove(rows, 0);
        EXPECT_EQ(rows_selected(rows), 1);
        EXPECT_EQ(rows_text(rows, 0), "b");
    }
    for (const int place : {65535, 65536, 131073, 8388607, 0}) {
        control_set_value(of(SLIDER), place);
        EXPECT_EQ(control_value(of(SLIDER)), place);
    }
    pump(5);
    EXPECT_EQ(came({WM_COMMAND, WM_HSCROLL}).size(), 0u);
    // a control of another kind, and none at all
    EXPECT_EQ(control_value(of(CHECK)), 0);
    EXPECT_EQ(rows_count(nullptr), 0);
    control_set_text(nullptr, "x");
}

TEST_F(Control, NumbersStayInTheirRange) {
    WINDOW* number = of(NUMBER);
    window_focus(number);
    control_select_all(number);
    input_text(number, "77777");
    EXPECT_EQ(control_value(number), 500);
    window_focus(of(EDIT));
    EXPECT_EQ(control_text(number), "500") << "in its range once it is left";
    EXPECT_GE(told_count(NUMBER, NOTE_CHANGED), 1);
    control_set_value(number, 999);
    EXPECT_EQ(control_value(number), 500);
    control_set_text(number, "");
    window_show(window, false);
    window_show(window, true);
    EXPECT_EQ(control_text(number), "");
    EXPECT_EQ(control_value(number), 0);
    control_set_value(number, 0);
    EXPECT_EQ(control_text(number), "0");
    control_set_range(number, 10, 20);
    EXPECT_EQ(control_value(number), 10);
}

TEST_F(Control, InputIsToldToTheHolder) {
    bool checked = false;
    at_message[WM_COMMAND] = [&](const SEEN&) { checked = control_checked(of(CHECK)); };
    click(of(CHECK), {6, 6});
    ASSERT_EQ(told_count(CHECK, NOTE_CLICKED), 1);
    EXPECT_TRUE(checked) << "toggled before the note";
    EXPECT_EQ(came({WM_COMMAND})[0].lparam, reinterpret_cast<intptr_t>(of(CHECK)));

    window_focus(of(EDIT));
    input_text(of(EDIT), "ab");
    window_focus(of(NUMBER));
    EXPECT_EQ(control_text(of(EDIT)), "ab");
    EXPECT_GE(told_count(EDIT, NOTE_CHANGED), 1);
    EXPECT_EQ(told_count(EDIT, NOTE_FOCUS), 1);
    EXPECT_EQ(told_count(EDIT, NOTE_BLUR), 1);
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

TEST_F(Control, AnOpenMenuLeavesAFieldAsItIs) {
    MENU* menu = menu_create({{MENU_LINE::ITEM, 60, "Copy", ""}});
    at_message[WM_TIMER] = [](const SEEN& s) {
        timer_stop(s.window, 1);
        input_key(s.window, KEY_ESCAPE);
    };
    for (const int id : {EDIT, FREE}) {
        window_focus(of(id));
        EXPECT_EQ(told_count(id, NOTE_FOCUS), 1);
        timer_start(window, 1, 20);
        menu_popup(window, menu, 10, 10);
        EXPECT_EQ(told_count(id, NOTE_FOCUS), 1);
        EXPECT_EQ(told_count(id, NOTE_BLUR), 0);
        window_focus(of(NUMBER));
        EXPECT_EQ(told_count(id, NOTE_BLUR), 1);
    }
    menu_destroy(menu);
}

TEST_F(Control, SliderScrollsThroughTheQueue) {
    slider_set_steps(of(SLIDER), 100000, 4194303);
    slider_set_selection(of(SLIDER), 1000000, 8000000);
    control_set_value(of(SLIDER), 70000);
    input_key(of(SLIDER), KEY_RIGHT);
    EXPECT_TRUE(window_waiting(window, WM_HSCROLL));
    EXPECT_TRUE(came({WM_HSCROLL}).empty());
    pump(5);
    EXPECT_EQ(told_count(SLIDER, SCROLL_LINE_MORE), 1);
    EXPECT_EQ(told_count(SLIDER, SCROLL_ENDS), 1);
    EXPECT_EQ(control_value(of(SLIDER)), 70001);
    const RECT place = window_frame(of(SLIDER));
    click(of(SLIDER), {place.width - 3, place.height / 2});
    pump(5);
    EXPECT_EQ(control_value(of(SLIDER)), 170001);
    EXPECT_EQ(told_count(SLIDER, SCROLL_PAGE_MORE), 1);
}

TEST_F(Control, IconButtonFiresAtThePressAndRepeats) {
    const auto fired = [] { return told_count(ICON, NOTE_CLICKED); };
    input_press(of(ICON), {5, 5}, INPUT_LEFT);
    EXPECT_EQ(window_focused(), of(ICON));
    pump(20);
    EXPECT_EQ(fired(), 1);
    pump(key_repeat_delay() + 20 * key_repeat_interval() + 1000, [&] { return fired() >= 4; });
    EXPECT_EQ(fired(), 4);
    input_release(of(ICON), {500, 500}, INPUT_LEFT);
    pump(5);
    const int stopped = fired();
    EXPECT_EQ(window_focused(), window);
    pump(key_repeat_delay() + 3 * key_repeat_interval());
    EXPECT_EQ(fired(), stopped);
}

// ---- dialogs

/// A dialog's procedure that follows a script: what it did is in `did`.
struct SCRIPT {
    std::vector<int> post;  // at WM_INITDIALOG
    bool veto_once = false;
    int end_with = 0;  // in the place of the usual answer to ID_OK
    std::string did = {};
    bool controls_stood = false;
};
intptr_t script_proc(WINDOW* dialog, uint32_t message, uintptr_t wparam, intptr_t lparam, void* data) {
    auto& script = *static_cast<SCRIPT*>(data);
    if (message == WM_INITDIALOG) {
        script.controls_stood = control_of(dialog, EDIT) && lparam == reinterpret_cast<intptr_t>(data);
        for (const int id : script.post) window_post(dialog, WM_COMMAND, uintptr_t(id), 0);
    }
    if (message == WM_DESTROY) script.did += 'd';
    if (message != WM_COMMAND || command_note(wparam) != NOTE_CLICKED) return 0;
    script.did += char('0' + command_id(wparam));
    if (command_id(wparam) == 5) dialog_end(dialog, ID_OK);
    if (command_id(wparam) != ID_OK) return 0;
    if (script.end_with) dialog_end(dialog, script.end_with);
    return script.end_with || std::exchange(script.veto_once, false);
}
const DIALOG_TEMPLATE SMALL = {"dialog",
                               {{CONTROL_FORM}, {CONTROL_EDIT, EDIT, "&Name"}, {CONTROL_END}},
                               {{CONTROL_BUTTON, ID_OK, "OK"}, {CONTROL_BUTTON, ID_CANCEL, "Cancel"}}};

TEST_F(Control, DialogIsAnsweredByCommands) {
    const auto run = [&](SCRIPT script, int result, const char* did) {
        EXPECT_EQ(dialog_run(SMALL, window, script_proc, &script), result);
        EXPECT_EQ(script.did, did);
        EXPECT_TRUE(script.controls_stood);
        EXPECT_EQ(dialog_current(), nullptr);
    };
    run({.post = {ID_CANCEL}}, ID_CANCEL, "2d");
    run({.post = {ID_OK, 3, ID_OK}, .veto_once = true}, ID_OK, "131d");
    run({.post = {ID_OK}, .end_with = 77}, 77, "1d");

    SCRIPT keys{.post = {}, .veto_once = true};
    WINDOW* open = dialog_open(SMALL, window, script_proc, &keys);
    ASSERT_NE(open, nullptr);
    pump(20);
    EXPECT_EQ(window_focused(), control_of(open, EDIT));
    input_key(control_of(open, EDIT), KEY_RETURN);
    EXPECT_TRUE(window_exists(open));
    input_key(control_of(open, EDIT), KEY_ESCAPE);
    EXPECT_FALSE(window_exists(open));
    EXPECT_EQ(keys.did, "12d");
}

TEST_F(Control, FileBoxWithOptionsIsAnsweredFromInside) {
    const std::filesystem::path folder =
        std::filesystem::path(testing::TempDir()) / ("file_box." + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    for (const char* name : {"there.avi", "pointless"}) std::ofstream(folder / name) << "x";
    const auto run = [&](const char* name, int post, const char* did, bool save = true) {
        SCRIPT script{.post = {post}};
        FILE_BOX box;
        box.filters = {{"AviFile (*.avi)", "*.avi"}, {"AllFile (*.*)", "*.*"}};
        box.folder = folder.string(), box.name = name, box.extension = ".avi";
        box.save = save, box.ask_overwrite = false;
        box.options = &SMALL, box.proc = script_proc, box.data = &script;
        const auto chosen = file_box(window, box);
        EXPECT_TRUE(script.controls_stood);
        EXPECT_TRUE(script.did.starts_with(did)) << script.did << ": told of the answer before the controls went";
        return chosen;
    };
    EXPECT_EQ(run("new", 5, "51d"), std::vector{(folder / "new.avi").string()});
    EXPECT_TRUE(run("new", ID_CANCEL, "2d").empty());
    EXPECT_EQ(run("there.avi", ID_OK, "1"), std::vector{(folder / "there.avi").string()});
    EXPECT_EQ(run("pointless", ID_OK, "1", false), std::vector{(folder / "pointless").string()});
    std::filesystem::remove_all(folder);
}

// ---- pictures

TEST(PicturesAtAScale, MeetEachOtherAndWhatIsFilled) {
    constexpr uint32_t GAP = 0xFF00FF;
    constexpr int SIDE = 90;
    setenv("QT_SCALE_FACTOR", "1.3333", 1);
    ASSERT_TRUE(window_system_start("window_test"));
    WINDOW* window = WINDOW_FIXTURE::make(WINDOW_MAIN, nullptr);
    at_message[WM_PAINT] = [](const SEEN& s) {
        static const std::vector<uint8_t> white(size_t{SIDE} * 4 * SIDE, 0xFF);
        const BITMAPINFOHEADER header = {40, SIDE, SIDE, 1, 24, 0, 0, 0, 0, 0, 0};
        draw_fill(s.window, {0, 0, 200, 100}, GAP);
        draw_picture(s.window, {1, 2, SIDE, SIDE}, header, white.data(), {0, 0, SIDE, SIDE}, false);
        draw_picture(s.window, {1 + SIDE, 2, 50, SIDE}, header, white.data(), {0, 0, 25, SIDE / 2}, true);
        for (const RECT& margin : {RECT{0, 0, 200, 2}, {0, 2, 1, SIDE}, {0, 2 + SIDE, 200, 8}, {141, 2, 59, SIDE}})
            draw_fill(s.window, margin, 0xFFFFFF);
    };
    const std::string path = testing::TempDir() + "/control_test." + std::to_string(getpid());
    ASSERT_TRUE(window_picture(window, path));
    int width = 0, height = 0, gaps = 0;
    ASSERT_TRUE(image_file_size(path.c_str(), &width, &height));
    EXPECT_GT(width, 260);
    std::vector<uint8_t> bgra(size_t(width) * size_t(height) * 4);
    EXPECT_EQ(image_file_read(path.c_str(), width, height, bgra.data()), IMAGE_WHOLE);
    for (size_t i = 0; i < bgra.size(); i += 4) gaps += bgra[i + 1] == 0;
    EXPECT_EQ(gaps, 0);
    std::filesystem::remove(path);
    at_message.clear();
    window_system_stop();
    unsetenv("QT_SCALE_FACTOR");
}

// ---- video

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

using Overlay = WINDOW_FIXTURE;

/// The same test once more, on a display of its own.
int run_on_display() {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    return std::system(
        ("ASAN_OPTIONS=detect_leaks=0 QT_QPA_PLATFORM=xcb xvfb-run -a '" + self + "' --gtest_filter=Overlay.*")
            .c_str());
}

TEST_F(Overlay, ShowsVideoColours) {
    window_resize_client(window, 200, 120);
    window_activate(window);
    pump(20);
    OVERLAY_SURFACE* surface = overlay_surface_open(window);
    if (!window_system_visible()) {
        ASSERT_EQ(surface, nullptr);
        if (std::system("command -v xvfb-run > /dev/null") != 0) GTEST_SKIP() << "no display";
        ASSERT_EQ(run_on_display(), 0);
        return;
    }
    if (!surface) GTEST_SKIP() << "no OpenGL";
    overlay_check(window, surface);
    ASSERT_TRUE(overlay_surface_place(surface, {0, 0, 200, 120}, {0, 0, FILM_WIDTH, FILM_HEIGHT}));
    pump(50);
    click(window, {30, 20});
    ASSERT_EQ(came({WM_LBUTTONDOWN}).size(), 1u) << "input goes through the picture";
    EXPECT_EQ(message_x(came({WM_LBUTTONDOWN})[0].lparam), 30);
    window_destroy(window);
    pump(20);
    const uint8_t pair[4] = {};
    EXPECT_FALSE(overlay_surface_put(surface, 2, 1, pair, 4)) << "gone with its window";
    overlay_surface_close(surface);
}

}  // namespace
