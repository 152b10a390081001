#include "ui/filter_windows.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <memory>

#include "core/edit_state.h"
#include "core/settings.h"
#include "filters/clip_resize.h"
#include "filters/histogram.h"
#include "hosts/filter.h"
#include "pixels/frame_buffer.h"
#include "platform/image.h"
#include "platform/ini.h"
#include "platform/window_control.h"
#include "platform/window_input.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "resources/templates.h"
#include "support/track_filter.h"
#include "ui/filter_window_parts.h"

using STEPS = std::vector<std::string>;
static STEPS steps;  // what filters saw, in order
static int redraws;
static int result_of_proc;

static int note_proc(void*, uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE*, FILTER* filter) {
    const bool wanted = message == WM_COMMAND || message == WM_HSCROLL || message == WM_CLOSE ||
                        (message > WM_USER && message < WM_USER + 200);
    if (!wanted) return 0;
    steps.push_back(std::string(filter->name) + " " + std::to_string(message) + " " + std::to_string(wparam) + " " +
                    std::to_string(lparam));
    return result_of_proc;
}
static int note_update(FILTER* filter, int32_t status) {
    steps.push_back(std::string(filter->name) + " update " + std::to_string(status));
    return 1;
}
static intptr_t main_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message == WM_MOVE) filter_main_forward(FILTER_MSG_MAIN_RESIZED, 0, 0, edit_state);
    if (filter_windows_route(window, message, wparam, lparam, edit_state)) ++redraws;
    return window_default(window, message, wparam, lparam);
}
static std::pair<int, int> size_of(const RECT& rect) { return {rect.width, rect.height}; }
static WINDOW* control(void* handle) { return static_cast<WINDOW*>(handle); }

/// A main window with its menu, and a filter table of the test's own records.
struct FilterWindows : testing::Test {
    std::unique_ptr<EDIT_STATE> edit = std::make_unique<EDIT_STATE>();
    WINDOW* main = nullptr;
    MENU* menu = nullptr;

    const char *track_label[2] = {"one", "two"}, *check_label[3] = {"a", "b", "push"};
    int32_t track_default[2] = {5, 0}, track_low[2] = {2, -100}, track_high[2] = {7, 1000};
    int32_t check_default[3] = {0, 1, -1};

    static void SetUpTestSuite() { ASSERT_TRUE(window_system_start("vantel test")); }
    static void TearDownTestSuite() { window_system_stop(); }
    void SetUp() override {
        std::filesystem::remove(settings_file());
        steps.clear();
        redraws = result_of_proc = 0;
        edit_state = edit.get();
        filter_windows_calls.redraw = [](EDIT_STATE*) { ++redraws; };
        main = window_create({WINDOW_MAIN, 0, "main", nullptr, main_proc, 50, 60, 300, 200});
        menu = menu_create(language_menu("VANTEL"));
        menu_attach(main, menu);
        filter_windows_install(main, menu);
    }
    void TearDown() override {
        filter_system_exit();
        window_destroy(main);
        filter_windows_calls = {};
        edit_state = nullptr;
        window_pump();
    }

    /// Two tracks and three checks, of which the last one is a push button.
    FILTER record(const char* name, uint32_t flags = 0) {
        FILTER filter = track_filter(name);
        filter.flags = flags;
        filter.track_count = 2;
        filter.track_labels = track_label;
        filter.track_defaults = track_default;
        filter.track_lows = track_low;
        filter.track_highs = track_high;
        filter.check_count = 3;
        filter.check_labels = check_label;
        filter.check_defaults = check_default;
        filter.func_WndProc = note_proc;
        filter.func_update = note_update;
        return filter;
    }
    FILTER* add(const FILTER& filter, const char* folder = nullptr) {
        return filter_plugin_add(&filter, this, "/plugins/test.vtf", folder);
    }
    FILTER* add(const char* name, uint32_t flags = 0) { return add(record(name, flags)); }
    /// Everything that start-up posts is handled and forgotten.
    void start() {
        filter_system_init(main, this);
        window_pump();
        steps.clear();
        redraws = 0;
    }
    /// With one filter, whose window is open.
    FILTER* start_shown() {
        FILTER* filter = add("f");
        start();
        window_show(window(filter), true);
        window_activate(window(filter));
        window_pump();
        return filter;
    }
    static WINDOW* window(const FILTER* filter) { return static_cast<WINDOW*>(filter->window); }
    int command(const FILTER* filter, int id, intptr_t lparam = 0) {
        return filter_windows_route(window(filter), WM_COMMAND, uintptr_t(id), lparam, edit.get());
    }
    int from_menu(int id) { return filter_windows_route(main, WM_COMMAND, uintptr_t(id), 0, edit.get()); }
    static std::string text(const FILTER* filter, int i) { return control_text(control(filter->track_edits[i])); }
    static STEPS taken() { return std::exchange(steps, {}); }
};

// ---- what is made

TEST_F(FilterWindows, MakesWindowsFromRecords) {
    const FILTER* filter = add(record("plain"), "sub");
    const FILTER* none = add("none", FILTER_F_NO_WINDOW);
    const FILTER* always = add("always", FILTER_F_ALWAYS_ON);
    FILTER bare_record = record("bare");
    bare_record.track_count = bare_record.check_count = 0;
    bare_record.func_WndProc = nullptr;
    const FILTER* bare = add(bare_record);
    start();
    EXPECT_TRUE(bare->active_box && menu_enabled(menu, FILTER_COMMAND_SHOW + bare->menu_index));
    EXPECT_TRUE(filter->active_box && !always->active_box && !none->window);
    EXPECT_EQ(window_title(window(filter)), "<sub>plain");
    EXPECT_EQ(filter->main_window, main);
    EXPECT_FALSE(window_shown(window(filter)));
    // The frame goes round all the controls, however many they are.
    for (const auto& [each, tracks] : {std::pair{filter, 2}, {filter_built_in(STR_FILTER_COLOR_EXTENDED), 15}}) {
        const RECT client = window_client(window(each)), frame = window_frame(window(each));
        EXPECT_GE(client.width, 314);
        EXPECT_GE(client.height, tracks * 24 + 3 * 20 + 18);
        EXPECT_GE(frame.top + frame.height, client.top + client.height);
    }
}

TEST_F(FilterWindows, SizeWordsAndPlaces) {
    EXPECT_EQ(filter_window_size(FILTER_SIZE_CLIENT | 256, 314, 10), 256);
    EXPECT_EQ(filter_window_size(258, 314, 10), 248);
    EXPECT_EQ(filter_window_size(FILTER_SIZE_CLIENT | FILTER_SIZE_ADD | 24, 114, 10), 138);
    EXPECT_EQ(filter_window_size(FILTER_SIZE_ADD | 24, 114, 10), 128);
    EXPECT_EQ(filter_window_size(FILTER_SIZE_CLIENT, 314, 10), 314);
    EXPECT_EQ(filter_window_size(0xFFFFFFFF, 0, 0), 16384);
    const POINT place = filter_window_place(46, 1080);  // 45 rows
    EXPECT_TRUE(place.x == 157 && place.y == 24);
    EXPECT_EQ(filter_window_place(1, 10).x, 157);  // a desktop of no rows

    FILTER r = record("own", FILTER_F_OWN_SIZE | FILTER_F_ALWAYS_ON);
    r.track_count = r.check_count = 0;
    r.pos_x = FILTER_SIZE_CLIENT | 200;
    r.pos_y = FILTER_SIZE_CLIENT | 50;
    const FILTER* own = add(r);
    start();
    EXPECT_EQ(size_of(window_client(window(own))), (std::pair{200, 50}));
}

TEST_F(FilterWindows, EntriesStandWhereTheyBelong) {
    MENU *switches = menu_holding(menu, 10000), *settings = menu_holding(menu, 11000);
    MENU* view = menu_holding(menu, 10998);
    const FILTER* plain = add("plain", FILTER_F_IMPORT | FILTER_F_EXPORT);
    const FILTER* in_folder = add(record("inside"), "sub");
    FILTER bad_record = record("bad", FILTER_F_IMPORT);
    bad_record.func_init = [](FILTER*) { return 0; };
    const FILTER* bad = add(bad_record);
    start();
    for (const int id : {10000, 10999, 11000, 11998, 11999, 14000, 15000, 10998, 13999})
        EXPECT_FALSE(menu_has(menu, id)) << id;
    const FILTER* holder = filter_built_in(STR_FILTER_DEINTERLACE);
    const auto expect_in = [&](const FILTER* filter, MENU* of_switch, MENU* of_window) {
        EXPECT_EQ(menu_holding(menu, FILTER_COMMAND_ACTIVE + filter->menu_index), of_switch) << filter->name;
        EXPECT_EQ(menu_holding(menu, FILTER_COMMAND_SHOW + filter->menu_index), of_window) << filter->name;
    };
    expect_in(plain, switches, settings);
    expect_in(in_folder, menu_named(switches, "sub"), menu_named(settings, "sub"));
    EXPECT_EQ(menu_holding(menu, FILTER_COMMAND_SHOW + filter_built_in(STR_FILTER_HISTOGRAM)->menu_index), view);
    EXPECT_EQ(menu_holding(menu, holder->track_values[1] + 5), holder->menu);
    for (const int id : {FILTER_COMMAND_ACTIVE, FILTER_COMMAND_SHOW, FILTER_COMMAND_IMPORT, FILTER_COMMAND_EXPORT})
        EXPECT_FALSE(menu_has(menu, id + bad->menu_index));
    EXPECT_EQ(bad->window, nullptr);
}

TEST_F(FilterWindows, ListsInTheMenu) {
    FILTER r = record("radio", FILTER_F_MENU_RADIO | FILTER_F_SUBMENU);
    check_label[2] = nullptr;  // a number without an entry
    check_default[2] = 0;
    r.track_count = 0;
    FILTER* radio = add(r);
    r.name = "checks";
    r.flags = FILTER_F_MENU_CHECKS | FILTER_F_SHARED_MENU | FILTER_F_ALWAYS_ON;
    const FILTER* checks = add(r);
    start();
    const int first = radio->track_values[1], second = checks->track_values[1];
    EXPECT_EQ(second, first + 3);
    EXPECT_TRUE(menu_holding(menu, first) == radio->menu && menu_holding(menu, second) == radio->menu);
    EXPECT_FALSE(menu_has(menu, first + 2));
    EXPECT_TRUE(menu_checked(menu, first + 1));
    EXPECT_EQ(from_menu(first), 1);
    EXPECT_TRUE(menu_checked(menu, first) && !menu_checked(menu, first + 1));
    EXPECT_EQ(filter_selected(radio), 0);
    EXPECT_EQ(from_menu(second), 1);
    EXPECT_TRUE(menu_checked(menu, second) && menu_checked(menu, second + 1));
    EXPECT_EQ(from_menu(second), 1);
    EXPECT_FALSE(menu_checked(menu, second));
    EXPECT_EQ(steps, (STEPS{"radio update 131072", "checks update 131072", "checks update 131072"}));
    EXPECT_TRUE(menu_has(menu, FILTER_COMMAND_ACTIVE + radio->menu_index));
    EXPECT_FALSE(menu_has(menu, FILTER_COMMAND_ACTIVE + checks->menu_index));
}

// ---- the way of messages

TEST_F(FilterWindows, StepButtonsStopAtTheLimits) {
    const FILTER* filter = start_shown();
    EXPECT_EQ(command(filter, FILTER_CONTROL_MORE, 0), 1);
    EXPECT_EQ(command(filter, FILTER_CONTROL_MORE, 0), 1);
    EXPECT_EQ(filter->track_values[0], 7);
    EXPECT_EQ(text(filter, 0), "7");
    EXPECT_EQ(control_value(control(filter->track_bars[0])), 7);
    EXPECT_EQ(taken(), (STEPS{"f update 65536", "f update 65536"}));
    EXPECT_EQ(command(filter, FILTER_CONTROL_MORE, 0), 0);
    EXPECT_EQ(command(filter, FILTER_CONTROL_MORE, 2), 0);  // no such track
    EXPECT_EQ(taken(), (STEPS{"f 273 12003 0", "f 273 12003 2"}));
    // The button itself, which knows nothing of numbers.
    input_press(control(filter->track_lefts[1]), {5, 5}, INPUT_LEFT);
    input_release(control(filter->track_lefts[1]), {5, 5}, INPUT_LEFT);
    window_pump();
    EXPECT_EQ(filter->track_values[1], -1);
    EXPECT_EQ(redraws, 1);
}

TEST_F(FilterWindows, SlidersSetAllTracksThatMoved) {
    track_low[1] = INT32_MIN;  // more steps than an int counts
    track_high[1] = INT32_MAX;
    const FILTER* filter = start_shown();
    steps.clear();
    control_set_value(control(filter->track_bars[1]), 44);
    const auto scroll = [&](int code) {
        return filter_windows_route(window(filter), WM_HSCROLL, uintptr_t(code), 0, edit.get());
    };
    EXPECT_EQ(scroll(SCROLL_ENDS), 0);
    EXPECT_EQ(scroll(SCROLL_THUMB_DONE), 0);
    EXPECT_EQ(filter->track_values[1], 0);
    EXPECT_EQ(scroll(SCROLL_THUMB_MOVES), 1);
    EXPECT_EQ(filter->track_values[1], 44);
    EXPECT_EQ(text(filter, 1), "44");
    EXPECT_EQ(taken().back(), "f update 65537");
    EXPECT_EQ(scroll(SCROLL_PAGE_MORE), 0);  // the window's own bar moved, no track
    EXPECT_EQ(steps, STEPS{"f 276 3 0"});
}

TEST_F(FilterWindows, NumberFieldsFollowWhatIsTyped) {
    FILTER* filter = start_shown();
    window_focus(control(filter->track_edits[1]));
    window_pump();
    input_text(control(filter->track_edits[1]), "12");  // in place of the selected text
    window_pump();
    EXPECT_EQ(filter->track_values[1], 12);
    EXPECT_EQ(control_value(control(filter->track_bars[1])), 12);
    const struct {
        int track;
        const char* typed;
        int value;
    } cases[] = {{1, "-", 0},  // half a number
                 {1, "4000", 1000},
                 {0, "-", 2},  // 0 is below the limit
                 {0, "", 5}};  // the default
    for (const auto& [track, typed, value] : cases) {
        WINDOW* field = control(filter->track_edits[track]);
        window_focus(field);
        control_select_all(field);
        input_key(field, KEY_BACK);
        if (*typed) input_text(field, typed);
        window_pump();
        EXPECT_EQ(text(filter, track), typed);
        EXPECT_EQ(filter->track_values[track], value) << typed;
    }
    EXPECT_EQ(text(filter, 1), "1000") << "in its range once it is left";
    filter_window_hooks.show(filter);
    EXPECT_EQ(text(filter, 0), "");
    EXPECT_EQ(command(filter, FILTER_CONTROL_MORE, 0), 1);  // a value from elsewhere is shown
    EXPECT_EQ(text(filter, 0), "6");
    EXPECT_EQ(filter_window_typed(filter, 1, " +12x"), 12);
    EXPECT_EQ(filter_window_typed(filter, 1, "-99999999999999999999999"), -100);
    EXPECT_EQ(filter_window_typed(filter, 1, std::string(32, ' ').append(1, '9')), 0);
}

TEST_F(FilterWindows, ChecksToggleOrActAsOneOfSeveral) {
    const FILTER *plain = add("plain"), *group = add("group", FILTER_F_RADIO_CHECKS);
    start();
    const auto values_after = [&](const FILTER* filter, int i, bool on) {
        control_check(control(filter->check_boxes[i]), on);
        EXPECT_EQ(command(filter, FILTER_CONTROL_CHECK), 1);
        return std::pair{filter->check_values[0], filter->check_values[1]};
    };
    EXPECT_EQ(values_after(plain, 0, true), (std::pair{1, 1}));
    EXPECT_EQ(taken(), STEPS{"plain update 131072"});
    EXPECT_EQ(values_after(group, 0, true), (std::pair{1, 0}));
    EXPECT_FALSE(control_checked(control(group->check_boxes[1])));
    EXPECT_EQ(values_after(group, 0, false), (std::pair{1, 0})) << "the selected one";
    EXPECT_TRUE(control_checked(control(group->check_boxes[0])));
    EXPECT_EQ(group->check_values[2], -1);
    steps.clear();
    EXPECT_EQ(command(plain, 12006), 0);  // push buttons are the filter's own business
    EXPECT_EQ(steps, STEPS{"plain 273 12006 0"});
}

TEST_F(FilterWindows, EntriesReachTheirFilter) {
    const FILTER* filter = add("f", FILTER_F_IMPORT | FILTER_F_EXPORT);
    start();
    EXPECT_EQ(from_menu(FILTER_COMMAND_IMPORT + filter->menu_index), 0);
    result_of_proc = 1;
    EXPECT_EQ(from_menu(FILTER_COMMAND_EXPORT + filter->menu_index), 1);
    EXPECT_EQ(taken(), (STEPS{"f 1131 0 0", "f 1132 0 0"}));
    result_of_proc = 0;
    const int active = FILTER_COMMAND_ACTIVE + filter->menu_index, show = FILTER_COMMAND_SHOW + filter->menu_index;
    EXPECT_EQ(from_menu(active), 1);
    EXPECT_TRUE((filter->flags & FILTER_F_ACTIVE) && menu_checked(menu, active));
    EXPECT_TRUE(control_checked(control(filter->active_box)));
    EXPECT_EQ(taken(), STEPS{});
    window_pump();
    EXPECT_EQ(taken(), STEPS{"f 1133 0 0"});  // came through the queue

    EXPECT_EQ(from_menu(show), 0);
    EXPECT_TRUE(window_shown(window(filter)) && (filter->flags & FILTER_F_SHOWN) && menu_checked(menu, show));
    EXPECT_EQ(taken(), STEPS{"f 1134 0 0"});
    window_send(window(filter), WM_CLOSE, 0, 0);
    EXPECT_TRUE(window_shown(window(filter)));
    window_pump();
    EXPECT_FALSE(window_shown(window(filter)) || menu_checked(menu, show));
    EXPECT_TRUE(window_exists(window(filter)));
    // The command comes to the filter's own window, so func_WndProc sees it first.
    EXPECT_EQ(steps, (STEPS{"f 16 0 0", "f 273 " + std::to_string(show) + " 0", "f 1134 0 0"}));
}

TEST_F(FilterWindows, ResetAndSwitchOfTheContextMenu) {
    uint8_t extra[4];
    static const uint8_t EXTRA_DEFAULT[4] = {1, 2, 3, 4};
    FILTER r = record("f", FILTER_F_EXTRA_DATA);
    r.extra_data = extra;
    r.extra_size = 4;
    r.extra_defaults = EXTRA_DEFAULT;
    const FILTER* filter = add(r);
    start();
    command(filter, FILTER_CONTROL_MORE, 0);
    filter->check_values[1] = 0;
    extra[0] = 7;
    steps.clear();
    EXPECT_EQ(command(filter, FILTER_CONTEXT_RESET), 1);
    EXPECT_EQ(text(filter, 0), "5");
    EXPECT_TRUE(control_checked(control(filter->check_boxes[1])));
    EXPECT_EQ(std::memcmp(extra, EXTRA_DEFAULT, 4), 0);
    EXPECT_EQ(steps, STEPS{"f update 0"});
    EXPECT_EQ(command(filter, FILTER_CONTEXT_ACTIVE), 1);
    EXPECT_TRUE(filter->flags & FILTER_F_ACTIVE);
    for (const bool on : {false, true}) {
        filter_enable_windows(on);
        for (void* handle : {filter->active_box, filter->track_bars[1], filter->track_lefts[0], filter->track_edits[0],
                             filter->check_boxes[2]})
            EXPECT_EQ(window_enabled(control(handle)), on);
    }
}

TEST_F(FilterWindows, ForwardsEventsOfTheMainWindow) {
    add("one", FILTER_F_MAIN_MESSAGES);
    add("deaf");
    add("two", FILTER_F_MAIN_MESSAGES);
    filter_system_init(main, this);
    EXPECT_EQ(taken().back(), "two 1149 0 0");  // the end of the start
    EXPECT_EQ(filter_main_forward(FILTER_MSG_MAIN_MOVE, 1, 2, edit.get()), 0);
    EXPECT_EQ(taken(), (STEPS{"one 1146 1 2", "two 1146 1 2"}));
    result_of_proc = 1;
    EXPECT_EQ(filter_main_forward_once(FILTER_MSG_MAIN_CONTEXT, 0, 0, edit.get()), 1);
    EXPECT_EQ(steps, STEPS{"one 1154 0 0"});
    edit->edit_flag = EDIT_SAVING;
    EXPECT_EQ(filter_main_forward(FILTER_MSG_MAIN_MOVE, 0, 0, edit.get()), 0);
    EXPECT_EQ(filter_main_forward_once(FILTER_MSG_MAIN_CONTEXT, 0, 0, edit.get()), 0);
    EXPECT_EQ(steps.size(), 1u);

    const int32_t rect[6] = {10, 20, 320, 240, 640, 481};
    std::memcpy(edit->view.draw_rect, rect, sizeof rect);
    EXPECT_EQ(filter_main_place(edit.get(), 100, 100), 0);
    edit->edit_flag = EDIT_OPEN;
    EXPECT_EQ(filter_main_place(edit.get(), 110, 121), message_point(200, 202));
    EXPECT_EQ(filter_main_place(edit.get(), 5, 20), message_point(-10, 0));

    window_pump();
    steps.clear();
    filter_broadcast_post(3, 4);
    EXPECT_TRUE(steps.empty());
    window_pump();
    EXPECT_EQ(steps, (STEPS{"one 1124 3 4", "deaf 1124 3 4", "two 1124 3 4"}));
}

// ---- places and windows of their own

TEST_F(FilterWindows, PlacesAreKeptAndMonitorsMayGo) {
    const auto store = [](const char* section, std::initializer_list<std::pair<const char*, int>> values) {
        for (const auto& [key, value] : values) ini_write_int(settings_file(), section, key, value);
    };
    store("gone", {{"x", 90000}, {"y", 90000}});
    store("kept", {{"x", 33}, {"y", 44}, {"disp", 1}, {"w", 400}, {"h", 300}});
    const FILTER *gone = add("gone"), *kept = add("kept", FILTER_F_SIZABLE);
    start();
    const POINT place = filter_window_place(filter_windows.window_n - 1, screen_desktop().height);
    EXPECT_TRUE(gone->pos_x == place.x && gone->pos_y == place.y);
    EXPECT_TRUE(kept->pos_x == 33 && kept->pos_y == 44);
    EXPECT_TRUE(window_shown(window(kept)) && !window_shown(window(gone)));
    EXPECT_EQ(size_of(window_client(window(kept))), (std::pair{400, 300}));
    window_move(window(kept), 70, 80);
    window_resize_client(window(kept), 410, 310);
    from_menu(FILTER_COMMAND_SHOW + gone->menu_index);
    filter_system_exit();
    const auto stored = [](const char* section, std::initializer_list<const char*> keys) {
        std::vector<int> values;
        for (const char* key : keys) values.push_back(int(ini_read_int(settings_file(), section, key, -1)));
        return values;
    };
    EXPECT_EQ(stored("kept", {"x", "y", "disp", "w", "h"}), (std::vector{70, 80, 1, 410, 310}));
    EXPECT_EQ(stored("gone", {"disp", "w"}), (std::vector{1, -1}));
}

TEST_F(FilterWindows, ArrangedWindowsGoDownTheScreenInListOrder) {
    const FILTER* first = add("first");
    add("none", FILTER_F_NO_WINDOW);
    const FILTER* second = add("second", FILTER_F_SIZABLE);
    start();
    window_resize_client(window(second), 410, 310);
    window_move(window(first), 700, 500);
    filter_windows_arrange(main);
    const RECT frame = window_frame(main);
    EXPECT_TRUE(frame.left == 0 && frame.top == 0);
    int k = filter_windows.window_n - 1;
    for (const FILTER* filter : {first, second}) {
        const POINT place = filter_window_place(k++, screen_desktop().height);
        const RECT at = window_frame(window(filter));
        EXPECT_TRUE(at.left == place.x && at.top == place.y) << filter->name;
        EXPECT_TRUE(filter->pos_x == place.x && filter->pos_y == place.y) << filter->name;
    }
    EXPECT_EQ(size_of(window_client(window(second))), (std::pair{410, 310}));
}

/// A pixel of a window of the histogram's size, as it is painted.
static uint32_t colour_of(WINDOW* window, int x, int y) {
    const std::string path = settings_folder_file("window.png");
    window_pump();
    if (!window_picture(window, path)) return 0;
    const RECT client = window_client(window), frame = window_frame(window);
    std::vector<uint8_t> pixels(size_t(client.width) * size_t(frame.height) * 4);
    int w = 0, h = 0;
    image_file_size(path.c_str(), &w, &h);
    if (w != client.width || h < client.height || h > frame.height) return 1;
    image_file_read(path.c_str(), w, h, pixels.data());
    const uint8_t* p = pixels.data() + (size_t(client.height - 1 - y) * size_t(w) + size_t(x)) * 4;
    return uint32_t(p[0] | p[1] << 8 | p[2] << 16);
}

TEST_F(FilterWindows, SizeOfTheClipIsTypedOrChosen) {
    start();
    FILTER* clip = filter_built_in(STR_FILTER_CLIP);
    WINDOW *size = control_of(window(clip), 20000), *aspect = control_of(window(clip), 20001);
    frame_geometry = frame_geometry_make(1280, 720, PIXEL_SIZE_YC48);
    control_set_text(size, "352*10");
    EXPECT_EQ(command(clip, 20000 | NOTE_CHANGED << 16), 1);
    EXPECT_TRUE(clip_target_get(clip).width == 352 && clip_target_get(clip).height == 0);
    EXPECT_EQ(control_text(size), "352*10") << "while it is typed";
    command(clip, 20000 | NOTE_BLUR << 16);
    EXPECT_EQ(control_text(size), language_text_utf8(STR_NONE));
    control_set_text(size, "352*10");
    control_check(aspect, true);
    EXPECT_EQ(command(clip, 20001), 1);
    EXPECT_EQ(command(clip, 20001), 0);
    rows_select(size, 2);
    EXPECT_EQ(command(clip, 20000 | NOTE_SELECTED << 16), 1);
    filter_reset(clip);
    window_pump();
    EXPECT_EQ(control_text(size), language_text_utf8(STR_NONE));
    EXPECT_EQ(rows_selected(size), 0) << "the same row can be chosen again";
    EXPECT_FALSE(control_checked(aspect));
    filter_enable_windows(false);
    EXPECT_FALSE(window_enabled(size) || window_enabled(aspect));
}

TEST_F(FilterWindows, HistogramIsDrawnToThePixel) {
    start();
    const FILTER* histogram = filter_built_in(STR_FILTER_HISTOGRAM);
    EXPECT_EQ(size_of(window_client(window(histogram))), (std::pair{256, 242}));
    EXPECT_EQ(command(histogram, 101), 1);
    EXPECT_EQ(command(histogram, 102), 0);
    histogram_view.heights.level[0][3] = 80;
    window_show(window(histogram), true);
    EXPECT_EQ(colour_of(window(histogram), 3, 79), 0x6F6F6Fu);
    EXPECT_EQ(colour_of(window(histogram), 15, 81), 0xBFBFBFu);
    filter_system_exit();
    EXPECT_EQ(ini_read_int(settings_file(), language_string(STR_FILTER_HISTOGRAM), "mode", 0), 1);
}
