#include "platform/window.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/clipboard.h"
#include "platform/image.h"
#include "platform/window_draw.h"
#include "platform/window_input.h"
#include "platform/window_menu.h"

namespace {

struct SEEN {
    WINDOW* window;
    uint32_t message;
    uintptr_t wparam;
    intptr_t lparam;
    bool shift, ctrl, alt;
};
std::vector<SEEN> seen;
void (*on_paint)(WINDOW* window) = nullptr;

intptr_t test_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    seen.push_back({window, message, wparam, lparam, key_held(KEY_SHIFT), key_held(KEY_CONTROL), key_held(KEY_MENU)});
    if (message == WM_PAINT && on_paint) {
        on_paint(window);
        return 0;
    }
    return window_default(window, message, wparam, lparam);
}

/// The messages of these numbers that came, in order.
std::vector<SEEN> came(std::initializer_list<uint32_t> numbers) {
    std::vector<SEEN> found;
    for (const SEEN& s : seen)
        if (std::ranges::find(numbers, s.message) != numbers.end()) found.push_back(s);
    return found;
}
std::vector<uint32_t> numbers_of(const std::vector<SEEN>& messages) {
    std::vector<uint32_t> numbers(messages.size());
    std::ranges::transform(messages, numbers.begin(), &SEEN::message);
    return numbers;
}

class WindowTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(window_system_running() || window_system_start("window_test"));
        window = make(WINDOW_MAIN, nullptr);
        ASSERT_TRUE(window);
        window_show(window, true);
        window_pump();
        seen.clear();
    }
    void TearDown() override {
        on_paint = nullptr;
        window_system_stop();
    }
    static WINDOW* make(WINDOW_KIND kind, WINDOW* owner) {
        return window_create({kind, WINDOW_F_SIZABLE, "test", owner, test_proc, 40, 50, 200, 100});
    }
    WINDOW* window = nullptr;
};

TEST_F(WindowTest, QueueKeepsTheOrderAndTellsWhatWaits) {
    window_post(window, WM_USER, 1, 0);
    input_wheel(window, {5, 5}, 120);
    input_wheel(window, {5, 5}, -240);
    input_move(window, {6, 7});
    input_press(window, {6, 7}, INPUT_LEFT);  // behind what waits, or a drag would end before it moves
    std::thread([this] { window_post(window, WM_USER, 2, 0); }).join();
    EXPECT_TRUE(seen.empty());
    EXPECT_TRUE(window_waiting(window, WM_MOUSEWHEEL) && window_waiting(window, WM_MOUSEMOVE));
    EXPECT_FALSE(window_waiting(window, WM_TIMER));
    EXPECT_TRUE(window_pump());
    EXPECT_EQ(numbers_of(came({WM_USER, WM_MOUSEWHEEL, WM_MOUSEMOVE, WM_LBUTTONDOWN})),
              (std::vector<uint32_t>{WM_USER, WM_MOUSEWHEEL, WM_MOUSEWHEEL, WM_MOUSEMOVE, WM_LBUTTONDOWN, WM_USER}));
    EXPECT_FALSE(window_waiting(window, WM_MOUSEWHEEL));
    const auto wheel = came({WM_MOUSEWHEEL});
    EXPECT_EQ(int16_t(wheel[0].wparam >> 16), 120);
    EXPECT_EQ(int16_t(wheel[1].wparam >> 16), -240);
    const POINT at = window_from_screen(window, {message_x(wheel[0].lparam), message_y(wheel[0].lparam)});
    EXPECT_EQ(at.x, 5);
    EXPECT_EQ(at.y, 5);
    input_release(window, {6, 7}, INPUT_LEFT);
}

TEST_F(WindowTest, FineTurnsOfTheWheelMakeNotches) {
    for (int i = 0; i < 5; ++i) input_wheel(window, {5, 5}, 50);
    input_wheel(window, {5, 5}, -50);  // the other way starts anew
    window_pump();
    const auto wheel = came({WM_MOUSEWHEEL});
    ASSERT_EQ(wheel.size(), 2u);
    EXPECT_EQ(int16_t(wheel[1].wparam >> 16), 120);
}

intptr_t quit_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message == WM_USER) window_quit(int(wparam));
    return window_default(window, message, wparam, lparam);
}

TEST_F(WindowTest, LoopEndsWithTheCodeAndPumpTellsIt) {
    WINDOW* quitter = window_create({WINDOW_TOOL, 0, "", window, quit_proc, 0, 0, 10, 10});
    window_post(quitter, WM_USER, 7, 0);
    window_post(window, WM_USER + 1, 0, 0);
    EXPECT_EQ(window_run(), 7);
    window_post(quitter, WM_USER, 8, 0);
    EXPECT_FALSE(window_pump());
    EXPECT_EQ(window_run(), 8);
}

TEST_F(WindowTest, GoneWindowsAreHarmless) {
    WINDOW* tool = make(WINDOW_TOOL, window);
    WINDOW* inner = make(WINDOW_LIST_TOOL, tool);
    window_post(inner, WM_USER, 0, 0);
    seen.clear();
    window_destroy(tool);
    const auto ends = came({WM_DESTROY});
    ASSERT_EQ(ends.size(), 2u);
    EXPECT_EQ(ends[0].window, inner);  // the owner outlives what it owns
    EXPECT_EQ(ends[1].window, tool);
    EXPECT_EQ(seen.back().message, WM_DESTROY);
    seen.clear();
    EXPECT_FALSE(window_exists(tool));
    EXPECT_FALSE(window_exists(inner));
    window_post(tool, WM_USER, 0, 0);
    timer_start(tool, 1, 1);
    window_destroy(tool);
    EXPECT_EQ(window_send(tool, WM_USER, 0, 0), 0);
    EXPECT_EQ(window_frame(tool).width, 0);
    window_set_title(tool, "x");
    window_pump();
    EXPECT_TRUE(came({WM_USER, WM_TIMER}).empty());
    for (int i = 0; i < 100; ++i) EXPECT_NE(make(WINDOW_TOOL, window), tool);  // no stranger at the old address
}

TEST_F(WindowTest, FramesAndSizesAreAsTheyWereSet) {
    EXPECT_EQ(window_client(window).width, 200);
    EXPECT_EQ(window_client(window).height, 100);
    window_move(window, 123, 77);
    window_resize_client(window, 321, 210);
    window_pump();
    EXPECT_EQ(window_frame(window).left, 123);
    EXPECT_EQ(window_frame(window).top, 77);
    const auto told = came({WM_SIZE, WM_MOVE});
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told[0].lparam, message_point(123, 77));
    EXPECT_EQ(told[1].lparam, message_point(321, 210));
    window_set_min_client(window, 400, 10);
    EXPECT_EQ(window_client(window).width, 400);
    menu_attach(window, menu_create({{MENU_LINE::POPUP, 0, "&File", ""}}));
    window_set_progress(window, 500);
    window_pump();
    EXPECT_EQ(window_client(window).width, 400);  // neither takes room from the client area
    EXPECT_EQ(window_client(window).height, 210);
    seen.clear();
    window_set_state(window, WINDOW_MAXIMISED);
    window_pump();
    EXPECT_EQ(window_state(window), WINDOW_MAXIMISED);
    ASSERT_FALSE(came({WM_SIZE}).empty());
    EXPECT_EQ(came({WM_SIZE}).back().wparam, uintptr_t(WINDOW_MAXIMISED));
    EXPECT_TRUE(screen_holds({0, 0, 10, 10}));
    EXPECT_FALSE(screen_holds({-5000, 0, 10, 10}));
}

TEST_F(WindowTest, KeysComeUnderTheirNumbers) {
    const int keys[] = {'A',        '7',       KEY_F1 + 11, KEY_LEFT,      KEY_PRIOR,    KEY_NUMPAD0 + 5,
                        KEY_ADD,    KEY_OEM_4, KEY_OEM_6,   KEY_OEM_COMMA, KEY_OEM_PLUS, KEY_OEM_102 - 4,
                        KEY_DELETE, KEY_SPACE, KEY_CONVERT, KEY_RETURN};
    for (const int key : keys) input_key(window, key);
    const auto down = came({WM_KEYDOWN});
    ASSERT_EQ(down.size(), std::size(keys));
    for (size_t i = 0; i < std::size(keys); ++i) EXPECT_EQ(int(down[i].wparam), keys[i]);
    EXPECT_EQ(came({WM_KEYUP}).size(), std::size(keys));
    EXPECT_EQ(came({WM_CHAR}).front().wparam, uintptr_t('a'));
    seen.clear();
    input_text(window, "\xE3\x81\x82\xF0\x9F\x98\x80");  // the second one takes two units
    const auto letters = came({WM_CHAR});
    ASSERT_EQ(letters.size(), 3u);
    EXPECT_EQ(letters[0].wparam, 0x3042u);
    EXPECT_EQ(letters[1].wparam, 0xD83Du);
    EXPECT_EQ(letters[2].wparam, 0xDE00u);
}

TEST_F(WindowTest, ModifiersBelongToTheirMessage) {
    input_key(window, KEY_LEFT, {KEY_CONTROL, KEY_SHIFT});
    input_key(window, 'F', {KEY_MENU});
    input_press(window, {1, 2}, INPUT_LEFT, {KEY_SHIFT});
    input_wheel(window, {1, 2}, 120);
    input_key_state(window, KEY_SHIFT, true);
    input_move(window, {3, 4});
    EXPECT_TRUE(key_held(KEY_SHIFT));
    input_key_state(window, KEY_SHIFT, false);
    EXPECT_FALSE(key_held(KEY_SHIFT));
    input_release(window, {1, 2}, INPUT_LEFT);
    window_pump();
    const auto keys = came({WM_KEYDOWN, WM_SYSKEYDOWN});
    ASSERT_GE(keys.size(), 2u);
    EXPECT_TRUE(keys[0].ctrl && keys[0].shift && !keys[0].alt);
    EXPECT_EQ(keys[1].message, WM_SYSKEYDOWN);
    EXPECT_TRUE(keys[1].alt && !keys[1].ctrl);
    const auto press = came({WM_LBUTTONDOWN}), moves = came({WM_MOUSEMOVE}), wheel = came({WM_MOUSEWHEEL});
    ASSERT_TRUE(press.size() == 1 && moves.size() == 1 && wheel.size() == 1);
    EXPECT_EQ(press[0].wparam, uintptr_t(MOUSE_LEFT | MOUSE_SHIFT));
    EXPECT_EQ(press[0].lparam, message_point(1, 2));
    EXPECT_EQ(wheel[0].wparam & 0xFFFF, uintptr_t(MOUSE_LEFT));
    EXPECT_EQ(moves[0].wparam, uintptr_t(MOUSE_LEFT | MOUSE_SHIFT));  // handled after Shift was let go
    EXPECT_TRUE(moves[0].shift);
}

TEST_F(WindowTest, RightButtonOpensContextMenuAndDoubleClickComesAsSuch) {
    input_press(window, {9, 8}, INPUT_RIGHT);
    input_release(window, {9, 8}, INPUT_RIGHT);
    input_double(window, {9, 8});
    EXPECT_EQ(numbers_of(
                  came({WM_RBUTTONDOWN, WM_RBUTTONUP, WM_CONTEXTMENU, WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK})),
              (std::vector<uint32_t>{WM_RBUTTONDOWN, WM_RBUTTONUP, WM_CONTEXTMENU, WM_LBUTTONDOWN, WM_LBUTTONUP,
                                     WM_LBUTTONDBLCLK, WM_LBUTTONUP}));
    const POINT at = window_to_screen(window, {9, 8});
    EXPECT_EQ(came({WM_CONTEXTMENU})[0].lparam, message_point(at.x, at.y));
    EXPECT_TRUE(pointer_place().x == at.x && pointer_place().y == at.y);
    seen.clear();
    window_enable(window, false);
    input_press(window, {9, 8}, INPUT_LEFT);
    input_release(window, {9, 8}, INPUT_LEFT);
    input_key(window, 'A');
    EXPECT_TRUE(came({WM_LBUTTONDOWN, WM_KEYDOWN}).empty());
}

MENU_TEMPLATE test_menu() {
    return {{MENU_LINE::POPUP, 0, "&File", ""}, {MENU_LINE::ITEM, 10, "&Open", "Ctrl+O"},
            {MENU_LINE::POPUP, 0, "&More", ""}, {MENU_LINE::ITEM, 20, "One", ""},
            {MENU_LINE::ITEM, 21, "Two", ""},   {MENU_LINE::ITEM, 22, "Three", ""},
            {MENU_LINE::END, 0, "", ""},        {MENU_LINE::END, 0, "", ""},
            {MENU_LINE::POPUP, 0, "&Edit", ""}, {MENU_LINE::ITEM, 30, "Undo", ""},
            {MENU_LINE::END, 0, "", ""}};
}

TEST_F(WindowTest, MenusAreChangedInPlace) {
    MENU* menu = menu_create(test_menu());
    MENU* context = menu_create(test_menu());
    menu_attach(window, menu);
    MENU* more = menu_named(menu_named(menu, "File"), "More");
    ASSERT_TRUE(more);
    EXPECT_EQ(menu_holding(menu, 21), more);
    menu_radio(menu, 20, 22, 21);
    menu_radio(menu, 20, 22, 22);
    EXPECT_TRUE(!menu_checked(menu, 20) && !menu_checked(menu, 21) && menu_checked(menu, 22));
    EXPECT_FALSE(menu_checked(context, 22));
    menu_radio(menu, 20, 22, 0);
    EXPECT_FALSE(menu_checked(menu, 22));
    menu_enable_popup(more, false);
    EXPECT_FALSE(menu_enabled(menu, 20));
    menu_enable_popup(more, true);
    EXPECT_TRUE(menu_enabled(menu, 20));
    menu_insert(menu, 21, 40, "New", "F5");
    EXPECT_EQ(menu_holding(menu, 40), more);
    MENU* popup = menu_insert_popup(menu, 0, "Added");
    menu_insert(popup, 0, 50, "x");
    EXPECT_EQ(menu_named(menu, "Added"), popup);
    menu_clear(menu_named(menu, "File"));
    EXPECT_FALSE(menu_has(menu, 10) || menu_has(menu, 22) || menu_has(menu, 40));
    EXPECT_TRUE(menu_has(menu, 30) && menu_has(menu, 50) && menu_has(context, 10));
    menu_remove(menu, 30);
    menu_check(menu, 30, true);
    EXPECT_FALSE(menu_checked(menu, 30) || menu_enabled(menu, 30));
    menu_destroy(context);
}

intptr_t popup_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message == WM_TIMER) {
        timer_stop(window, 1);
        input_key(window, KEY_DOWN);
        input_key(window, KEY_RETURN);
    }
    return test_proc(window, message, wparam, lparam);
}

TEST_F(WindowTest, ChosenEntryComesThroughTheQueueAndKeepsItsMark) {
    WINDOW* owner = window_create({WINDOW_TOOL, 0, "", window, popup_proc, 0, 0, 50, 50});
    window_show(owner, true);
    MENU* menu = menu_create({{MENU_LINE::ITEM, 60, "Only", "F2"}});
    menu_check(menu, 60, true);
    timer_start(owner, 1, 20);
    seen.clear();
    menu_popup(owner, menu, 10, 10);
    window_pump();
    const auto command = came({WM_COMMAND});
    ASSERT_EQ(command.size(), 1u);
    EXPECT_EQ(command[0].window, owner);
    EXPECT_TRUE(command[0].wparam == 60 && command[0].lparam == 0);
    EXPECT_TRUE(menu_checked(menu, 60));
    menu_destroy(menu);
}

// A picture of 3 x 2 whose pixels are all different.
const BITMAPINFOHEADER SMALL = {40, 3, 2, 1, 24, 0, 24, 0, 0, 0, 0};
const uint8_t SMALL_ROWS[24] = {1,   2,  3,  40,  50,  60,  70, 80,  90,  0, 0, 0,
                                200, 10, 30, 110, 120, 130, 5,  255, 250, 0, 0, 0};
uint32_t small_pixel(int x, int y) {
    const uint8_t* p = SMALL_ROWS + (1 - y) * 12 + x * 3;
    return uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
}

TEST_F(WindowTest, PicturesAreDrawnToThePixel) {
    on_paint = [](WINDOW* w) {
        draw_fill(w, {0, 0, 200, 100}, 0x123456);
        draw_picture(w, {2, 3, 3, 2}, SMALL, SMALL_ROWS, {0, 0, 3, 2}, true);
        draw_picture(w, {10, 3, 6, 4}, SMALL, SMALL_ROWS, {0, 0, 3, 2}, false);
        draw_picture(w, {20, 3, 10, 5}, SMALL, SMALL_ROWS, {1, 1, 2, 1}, false);
    };
    draw_fill(window, {0, 0, 200, 100}, 0xFFFFFF);  // no WM_PAINT is running: nothing happens
    const std::string path = std::filesystem::temp_directory_path() / ("window_test." + std::to_string(getpid()));
    ASSERT_TRUE(window_picture(window, path));
    std::vector<uint8_t> bgra(200 * 100 * 4);
    const bool read = image_file_read(path.c_str(), 200, 100, bgra.data()) == IMAGE_WHOLE;
    std::filesystem::remove(path);
    ASSERT_TRUE(read);
    const auto wanted = [](int x, int y) -> uint32_t {
        if (x >= 2 && x < 5 && y >= 3 && y < 5) return small_pixel(x - 2, y - 3);
        if (x >= 10 && x < 16 && y >= 3 && y < 7) return small_pixel((x - 10) / 2, (y - 3) / 2);
        if (x >= 20 && x < 30 && y >= 3 && y < 8) return small_pixel(1 + (x - 20) / 5, 1);
        return 0x123456;
    };
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 200; ++x) {
            const uint8_t* p = bgra.data() + (size_t(99 - y) * 200 + size_t(x)) * 4;
            ASSERT_EQ(uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0], wanted(x, y)) << x << " " << y;
        }
}

TEST_F(WindowTest, TimersRunUntilStopped) {
    const auto ticks = [](int number) {
        return std::ranges::count_if(
            seen, [number](const SEEN& s) { return s.message == WM_TIMER && s.wparam == uintptr_t(number); });
    };
    timer_start(window, 3, 5000);
    timer_start(window, 3, 5);  // anew
    timer_start(window, 4, 1);
    timer_stop(window, 4);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (ticks(3) < 3 && std::chrono::steady_clock::now() < end) window_pump();
    EXPECT_GE(ticks(3), 3);
    EXPECT_EQ(ticks(4), 0);
    timer_stop(window, 3);
    seen.clear();
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
    window_pump();
    EXPECT_EQ(ticks(3), 0);
}

TEST_F(WindowTest, RefreshHandlesNothing) {
    on_paint = [](WINDOW*) { window_refresh(); };
    timer_start(window, 7, 1);
    window_post(window, WM_USER, 1, 0);
    window_invalidate(window);
    for (int round = 0; round < 5; ++round) {
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        window_refresh();
    }
    std::thread(window_refresh).join();
    EXPECT_TRUE(came({WM_USER, WM_TIMER, WM_PAINT, WM_SIZE}).empty());
    timer_stop(window, 7);
    window_pump();
    for (const uint32_t message : {WM_USER, WM_TIMER, WM_PAINT}) EXPECT_EQ(came({message}).size(), 1u) << message;
}

TEST_F(WindowTest, DropsComeOnlyWhenWanted) {
    input_drop(window, {"/tmp/a.avi"});
    window_pump();
    EXPECT_TRUE(came({WM_DROPFILES}).empty());
    window_accept_drops(window, true);
    input_drop(window, {"/tmp/a b.avi", "/tmp/\xE6\x98\xA0.avi"}, {KEY_CONTROL});
    window_pump();
    ASSERT_EQ(came({WM_DROPFILES}).size(), 1u);
    EXPECT_TRUE(came({WM_DROPFILES})[0].ctrl);
    EXPECT_EQ(window_dropped_files(), (std::vector<std::string>{"/tmp/a b.avi", "/tmp/\xE6\x98\xA0.avi"}));
}

TEST_F(WindowTest, ClipboardGivesBackWhatWasPut) {
    ASSERT_TRUE(clipboard_put_picture(SMALL, SMALL_ROWS));
    BITMAPINFOHEADER header;
    std::vector<uint8_t> rows;
    std::string text;
    EXPECT_FALSE(clipboard_take_text(&text));
    ASSERT_TRUE(clipboard_take_picture(&header, &rows));
    EXPECT_EQ(header.biWidth, 3);
    EXPECT_EQ(header.biHeight, 2);
    EXPECT_TRUE(std::ranges::equal(rows, SMALL_ROWS));
    ASSERT_TRUE(clipboard_put_text("\xE6\x98\xA0\xE5\x83\x8F"));
    EXPECT_FALSE(clipboard_take_picture(&header, &rows));
    ASSERT_TRUE(clipboard_take_text(&text));
    EXPECT_EQ(text, "\xE6\x98\xA0\xE5\x83\x8F");
}

}  // namespace
