#include "platform/window.h"

#include <filesystem>
#include <thread>

#include "platform/clipboard.h"
#include "platform/image.h"
#include "platform/window_draw.h"
#include "platform/window_menu.h"
#include "window_fixture.h"

namespace {

using WindowTest = WINDOW_FIXTURE;
using NUMBERS = std::vector<uint32_t>;

int turn_of(const SEEN& wheel) { return int16_t(wheel.wparam >> 16); }
std::pair<int, int> size_of(const RECT& rect) { return {rect.width, rect.height}; }
std::pair<int, int> place_of(const RECT& rect) { return {rect.left, rect.top}; }

// ---- the queue

TEST_F(WindowTest, QueueKeepsTheOrderAndTellsWhatWaits) {
    window_post(window, WM_USER, 1, 0);
    input_wheel(window, {5, 5}, 120);
    input_wheel(window, {5, 5}, -240);
    input_move(window, {1, 1});  // the next one takes its place
    input_move(window, {6, 7});
    input_press(window, {6, 7}, INPUT_LEFT);  // behind what waits, or a drag would end before it moves
    std::thread([this] { window_post(window, WM_USER, 2, 0); }).join();
    EXPECT_TRUE(seen.empty());
    EXPECT_TRUE(window_waiting(window, WM_MOUSEWHEEL) && window_waiting(window, WM_MOUSEMOVE));
    EXPECT_FALSE(window_waiting(window, WM_TIMER));
    EXPECT_TRUE(window_pump());
    EXPECT_EQ(numbers_that_came({WM_USER, WM_MOUSEWHEEL, WM_MOUSEMOVE, WM_LBUTTONDOWN}),
              (NUMBERS{WM_USER, WM_MOUSEWHEEL, WM_MOUSEWHEEL, WM_MOUSEMOVE, WM_LBUTTONDOWN, WM_USER}));
    EXPECT_FALSE(window_waiting(window, WM_MOUSEWHEEL));
    const auto wheel = came({WM_MOUSEWHEEL});
    EXPECT_EQ(turn_of(wheel[0]), 120);
    EXPECT_EQ(turn_of(wheel[1]), -240);
    const POINT corner = window_to_screen(window, {5, 5});
    EXPECT_EQ(wheel[0].lparam, message_point(corner.x, corner.y));
    EXPECT_EQ(came({WM_MOUSEMOVE})[0].lparam, message_point(6, 7));
}

TEST_F(WindowTest, FineTurnsOfTheWheelMakeNotches) {
    for (int i = 0; i < 5; ++i) input_wheel(window, {5, 5}, 50);
    input_wheel(window, {5, 5}, -50);  // the other way starts anew
    window_pump();
    const auto wheel = came({WM_MOUSEWHEEL});
    ASSERT_EQ(wheel.size(), 2u);
    EXPECT_EQ(turn_of(wheel[1]), 120);
}

TEST_F(WindowTest, TimersRunUntilStopped) {
    const auto ticks = [](uintptr_t number) { return std::ranges::count(came({WM_TIMER}), number, &SEEN::wparam); };
    timer_start(window, 3, 5000);
    timer_start(window, 3, 5);  // anew
    timer_start(window, 4, 1);
    timer_stop(window, 4);
    pump(5000, [&] { return ticks(3) >= 3; });
    EXPECT_GE(ticks(3), 3);
    EXPECT_EQ(ticks(4), 0);
    timer_stop(window, 3);
    seen.clear();
    pump(15);
    EXPECT_EQ(ticks(3), 0);
}

TEST_F(WindowTest, RefreshHandlesNothing) {
    at_message[WM_PAINT] = [](const SEEN&) { window_refresh(); };
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

// ---- windows

TEST_F(WindowTest, GoneWindowsAreHarmless) {
    WINDOW* tool = make(WINDOW_TOOL, window);
    WINDOW* inner = make(WINDOW_LIST_TOOL, tool);
    window_post(inner, WM_USER, 0, 0);
    window_destroy(tool);
    const auto ends = came({WM_DESTROY});
    ASSERT_EQ(ends.size(), 2u);
    EXPECT_EQ(ends[0].window, inner);  // the owner outlives what it owns
    EXPECT_EQ(ends[1].window, tool);
    EXPECT_EQ(seen.back().message, WM_DESTROY);
    EXPECT_FALSE(window_exists(tool) || window_exists(inner));
    window_post(tool, WM_USER, 0, 0);
    timer_start(tool, 1, 1);
    window_destroy(tool);
    EXPECT_EQ(window_send(tool, WM_USER, 0, 0), 0);
    EXPECT_EQ(window_frame(tool).width, 0);
    window_set_title(tool, "x");
    pump(5);
    EXPECT_TRUE(came({WM_USER, WM_TIMER}).empty());
    for (int i = 0; i < 100; ++i) EXPECT_NE(make(WINDOW_TOOL, window), tool);  // no stranger at the old address
}

TEST_F(WindowTest, FramesAndSizesAreAsTheyWereSet) {
    window_move(window, 123, 77);
    window_resize_client(window, 321, 210);
    window_pump();
    EXPECT_EQ(place_of(window_frame(window)), (std::pair{123, 77}));
    const auto told = came({WM_SIZE, WM_MOVE});
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told[0].lparam, message_point(123, 77));
    EXPECT_EQ(told[1].lparam, message_point(321, 210));
    window_set_min_client(window, 400, 10);
    EXPECT_EQ(window_client(window).width, 400);
    menu_attach(window, menu_create({{MENU_LINE::POPUP, 0, "&File", ""}}));
    window_set_progress(window, 500);
    window_pump();
    EXPECT_EQ(size_of(window_client(window)), (std::pair{400, 210}));  // neither takes room from the client area
    window_set_state(window, WINDOW_MAXIMISED);
    window_pump();
    EXPECT_EQ(window_state(window), WINDOW_MAXIMISED);
    EXPECT_EQ(came({WM_SIZE}).back().wparam, uintptr_t(WINDOW_MAXIMISED));
    EXPECT_TRUE(screen_holds({0, 0, 10, 10}));
    EXPECT_FALSE(screen_holds({-5000, 0, 10, 10}));
}

// ---- input

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
    input_text(window, "\xE3\x81\x82\xF0\x9F\x98\x80");
    std::vector<uintptr_t> letters;
    for (const SEEN& s : came({WM_CHAR})) letters.push_back(s.wparam);
    EXPECT_EQ(letters, (std::vector<uintptr_t>{0x3042, 0xD83D, 0xDE00})) << "the second one takes two units";
}

TEST_F(WindowTest, ModifiersBelongToTheirMessage) {
    input_key(window, KEY_LEFT, {KEY_CONTROL, KEY_SHIFT});
    input_key(window, 'F', {KEY_MENU});
    input_press(window, {1, 2}, INPUT_LEFT, {KEY_SHIFT});
    input_wheel(window, {1, 2}, 120);
    input_key_state(window, KEY_SHIFT, true);
    input_move(window, {3, 4});
    input_key_state(window, KEY_SHIFT, false);
    EXPECT_FALSE(key_held(KEY_SHIFT));
    input_release(window, {1, 2}, INPUT_LEFT);
    window_pump();
    const auto keys = came({WM_KEYDOWN, WM_SYSKEYDOWN});
    ASSERT_GE(keys.size(), 2u);
    EXPECT_TRUE(keys[0].ctrl && keys[0].shift && !keys[0].alt);
    EXPECT_EQ(keys[1].message, WM_SYSKEYDOWN);
    EXPECT_TRUE(keys[1].alt && !keys[1].ctrl);
    const auto mouse = came({WM_LBUTTONDOWN, WM_MOUSEWHEEL, WM_MOUSEMOVE});
    ASSERT_EQ(mouse.size(), 3u);
    EXPECT_EQ(mouse[0].wparam, uintptr_t(MOUSE_LEFT | MOUSE_SHIFT));
    EXPECT_EQ(mouse[0].lparam, message_point(1, 2));
    EXPECT_EQ(mouse[1].wparam & 0xFFFF, uintptr_t(MOUSE_LEFT));
    EXPECT_EQ(mouse[2].wparam, uintptr_t(MOUSE_LEFT | MOUSE_SHIFT));  // handled after Shift was let go
    EXPECT_TRUE(mouse[2].shift);
}

TEST_F(WindowTest, RightButtonOpensContextMenuAndDoubleClickComesAsSuch) {
    click(window, {9, 8}, INPUT_RIGHT);
    input_double(window, {9, 8});
    EXPECT_EQ(numbers_that_came(
                  {WM_RBUTTONDOWN, WM_RBUTTONUP, WM_CONTEXTMENU, WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK}),
              (NUMBERS{WM_RBUTTONDOWN, WM_RBUTTONUP, WM_CONTEXTMENU, WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK,
                       WM_LBUTTONUP}));
    const POINT at = window_to_screen(window, {9, 8});
    EXPECT_EQ(came({WM_CONTEXTMENU})[0].lparam, message_point(at.x, at.y));
    EXPECT_TRUE(pointer_place().x == at.x && pointer_place().y == at.y);
    seen.clear();
    input_key(window, KEY_F1 + 9, {KEY_SHIFT});
    ASSERT_EQ(came({WM_CONTEXTMENU}).size(), 1u);
    EXPECT_EQ(came({WM_CONTEXTMENU})[0].lparam, -1);
    seen.clear();
    window_enable(window, false);
    click(window, {9, 8});
    input_key(window, 'A');
    EXPECT_TRUE(came({WM_LBUTTONDOWN, WM_KEYDOWN}).empty());
}

// ---- menus

TEST_F(WindowTest, ChosenEntryComesThroughTheQueueAndKeepsItsMark) {
    MENU* menu = menu_create({{MENU_LINE::ITEM, 60, "Only", "F2"}});
    menu_check(menu, 60, true);
    at_message[WM_TIMER] = [](const SEEN& s) {
        timer_stop(s.window, 1);
        input_key(s.window, KEY_DOWN);
        input_key(s.window, KEY_RETURN);
    };
    timer_start(window, 1, 20);
    menu_popup(window, menu, 10, 10);
    window_pump();
    const auto command = came({WM_COMMAND});
    ASSERT_EQ(command.size(), 1u);
    EXPECT_TRUE(command[0].wparam == 60 && command[0].lparam == 0);
    EXPECT_TRUE(menu_checked(menu, 60));
    menu_destroy(menu);
}

// ---- pictures

// A picture of 3 x 2 whose pixels are all different.
const BITMAPINFOHEADER SMALL = {40, 3, 2, 1, 24, 0, 24, 0, 0, 0, 0};
const uint8_t SMALL_ROWS[24] = {1,   2,  3,  40,  50,  60,  70, 80,  90,  0, 0, 0,
                                200, 10, 30, 110, 120, 130, 5,  255, 250, 0, 0, 0};
uint32_t colour_at(const uint8_t* p) { return uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0]; }
uint32_t small_pixel(int x, int y) { return colour_at(SMALL_ROWS + (1 - y) * 12 + x * 3); }

TEST_F(WindowTest, PicturesAreDrawnToThePixel) {
    at_message[WM_PAINT] = [](const SEEN& s) {
        draw_fill(s.window, {0, 0, 200, 100}, 0x123456);
        draw_picture(s.window, {2, 3, 3, 2}, SMALL, SMALL_ROWS, {0, 0, 3, 2}, true);
        draw_picture(s.window, {10, 3, 6, 4}, SMALL, SMALL_ROWS, {0, 0, 3, 2}, false);
        draw_picture(s.window, {20, 3, 10, 5}, SMALL, SMALL_ROWS, {1, 1, 2, 1}, false);
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
        for (int x = 0; x < 200; ++x)
            ASSERT_EQ(colour_at(bgra.data() + (size_t(99 - y) * 200 + size_t(x)) * 4), wanted(x, y)) << x << " " << y;
}

TEST_F(WindowTest, ClipboardGivesBackWhatWasPut) {
    BITMAPINFOHEADER header;
    std::vector<uint8_t> rows;
    std::string text;
    ASSERT_TRUE(clipboard_put_picture(SMALL, SMALL_ROWS));
    EXPECT_FALSE(clipboard_take_text(&text));
    ASSERT_TRUE(clipboard_take_picture(&header, &rows));
    EXPECT_EQ(header.biWidth * 10 + header.biHeight, 32);
    EXPECT_TRUE(std::ranges::equal(rows, SMALL_ROWS));
    ASSERT_TRUE(clipboard_put_text("\xE6\x98\xA0\xE5\x83\x8F"));
    EXPECT_FALSE(clipboard_take_picture(&header, &rows));
    ASSERT_TRUE(clipboard_take_text(&text));
    EXPECT_EQ(text, "\xE6\x98\xA0\xE5\x83\x8F");
}

}  // namespace
