#include <csignal>
#include <stdexcept>

#include "core/profile.h"
#include "filter_fixture.h"
#include "hosts/filter_functions.h"
#include "hosts/filter_order.h"

struct FILTER_CHAIN_TEST : FILTER_TABLE_TEST {
    inline static STEPS events;  // what the filters were told
    void SetUp() override {
        FILTER_TABLE_TEST::SetUp();
        events.clear();
    }
    static STEPS run(FILTER* first = nullptr, FILTER* stop = nullptr) {
        FILTER_PROC_PARAM param{};
        return steps_of([&] { filter_chain_run(&param, profile_current(), first, stop); });
    }
    // Names of the test's own filters; the built-in ones around them keep out of it.
    template <class FILTERS>
    static STEPS names(const FILTERS& filters) {
        STEPS found;
        for (const FILTER* filter : filters)
            if (filter->module) found.push_back(filter->name);
        return found;
    }
};

TEST_F(FILTER_CHAIN_TEST, IsOrderedByPlaceThenByList) {
    FILTER* a = add("a");
    FILTER* z = add("z", FILTER_F_ORDER_LAST);
    FILTER* f = add("f", FILTER_F_ORDER_FIRST);
    FILTER* b = add("b");
    add("s", FILTER_F_AUDIO);
    FILTER* tool = add("tool", FILTER_F_DISPLAY);
    FILTER* method = add("method", FILTER_F_DEINTERLACE_METHOD);
    FILTER idle = record("idle", 0);
    idle.func_proc = nullptr;
    FILTER* none = add(idle);
    start();
    EXPECT_EQ(names(filter_order_now(false)), (STEPS{"f", "a", "b", "z"}));
    EXPECT_EQ(names(filter_order_now(true)), (STEPS{"s"}));
    // noise, sharpen, blur, clip, border, volume and size come before plug-ins
    EXPECT_EQ((std::array{f->chain_order, a->chain_order, z->chain_order}), (std::array{0, 8, 127}));
    for (const FILTER* filter : {tool, method, none}) EXPECT_EQ(filter->chain_order, -1);

    FILTER_ORDER order = filter_order_now(false);
    const int n = int(order.size()), from = int(std::ranges::find(order, a) - order.begin());
    for (const auto& [bad, to] : {std::pair{0, -1}, {-1, 0}, {n - 1, n}})
        EXPECT_FALSE(filter_order_move(&order, bad, to));
    EXPECT_TRUE(filter_order_move(&order, from, n - 1));
    EXPECT_EQ(names(order), (STEPS{"f", "b", "z", "a"}));
    EXPECT_TRUE(filter_order_move(&order, n - 1, 0));
    EXPECT_EQ(names(order), (STEPS{"a", "f", "b", "z"}));
    EXPECT_EQ(names(filter_order_now(false)), (STEPS{"f", "a", "b", "z"})) << "a copy until it is applied";
    filter_order_apply(order);
    EXPECT_EQ(names(chain()), (STEPS{"a", "f", "b", "s", "z"}));

    // Places outside of the chain: only the initial order brings the filter back.
    a->chain_order = 200;
    b->chain_order = 0;
    filter_chain_rebuild();
    EXPECT_EQ(names(filter_order_now(false)), (STEPS{"b", "f", "z"}));
    filter_order_apply(filter_order_now(false));
    EXPECT_EQ(a->chain_order, 200);
    filter_order_apply(filter_order_initial(false));
    EXPECT_EQ(names(filter_order_now(false)), (STEPS{"f", "a", "b", "z"}));
}

TEST_F(FILTER_CHAIN_TEST, RunsActivePictureFiltersBetweenStartAndStop) {
    add("a", FILTER_F_ACTIVE);
    FILTER* b = add("b", FILTER_F_ACTIVE);
    add("off");
    add("sound", FILTER_F_ACTIVE | FILTER_F_AUDIO);
    FILTER* c = add("c", FILTER_F_ACTIVE);
    FILTER* off = filter_plugin_add(b, &faults, "", nullptr);
    start();
    EXPECT_EQ(run(), (STEPS{"a", "b", "c", "b"}));
    EXPECT_EQ(run(b), (STEPS{"b", "c", "b"}));
    EXPECT_EQ(run(nullptr, c), (STEPS{"a", "b"}));
    EXPECT_EQ(run(c, c), STEPS{});
    filter_set_active(off, false);
    FILTER_PROC_PARAM param{};
    EXPECT_EQ(steps_of([&] { filter_chain_run_audio(&param, profile_current(), nullptr); }), STEPS{"sound"});
    EXPECT_EQ(steps_of([&] { filter_chain_run_audio(&param, profile_current(), b); }), STEPS{});
    EXPECT_EQ(param.flags, 0u);
    filter_all_off();
    EXPECT_EQ(run(), STEPS{});
    EXPECT_TRUE(filter_built_in(STR_FILTER_SIZE)->flags & FILTER_F_ACTIVE);
}

TEST_F(FILTER_CHAIN_TEST, RestartsAtTheLastTemporalFilterAheadOfTheStop) {
    add("a", FILTER_F_ACTIVE);
    FILTER* early = add("early", FILTER_F_ACTIVE | FILTER_F_TEMPORAL);
    add("sound", FILTER_F_ACTIVE | FILTER_F_TEMPORAL | FILTER_F_AUDIO);
    FILTER* b = add("b", FILTER_F_ACTIVE);
    FILTER* late = add("late", FILTER_F_ACTIVE | FILTER_F_TEMPORAL);
    start();
    const std::pair<FILTER*, FILTER*> rows[] = {{nullptr, late}, {late, early}, {b, early}, {early, nullptr}};
    FILTER_PROC_PARAM param{};
    const auto restart = [&](FILTER* stop) { return filter_chain_restart_point(&param, profile_current(), stop); };
    for (const auto& [stop, from] : rows) EXPECT_EQ(restart(stop), from);
    filter_set_active(late, false);
    EXPECT_EQ(restart(nullptr), early);
}

TEST_F(FILTER_CHAIN_TEST, RunsDeinterlaceMethodsByNumberAndToolsByList) {
    add("method", FILTER_F_DEINTERLACE_METHOD);
    add("tool", FILTER_F_DISPLAY | FILTER_F_ACTIVE);
    start();
    FILTER_PROC_PARAM param{};
    const auto method = [&](int number) {
        return steps_of([&] { filter_run_deinterlace(&param, profile_current(), number); });
    };
    EXPECT_EQ(method(6), STEPS{"method"});
    EXPECT_EQ(method(7), STEPS{});
    EXPECT_EQ(param.flags, uint32_t(PROC_F_FIELDS_SWAPPED));  // the default: top field first
    filter_select(filter_built_in(STR_FILTER_FIELD_ORDER), 0);
    param.flags = PROC_F_FRAME_INVERTED;
    EXPECT_EQ(steps_of([&] { filter_run_display(&param, profile_current()); }),
              (STEPS{language_string(STR_FILTER_HISTOGRAM), "tool"}));
    EXPECT_EQ(param.flags, uint32_t(PROC_F_FRAME_INVERTED));
    filter_system_exit();
    add("tool", FILTER_F_DISPLAY | FILTER_F_ACTIVE);
    start(true);
    EXPECT_EQ(steps_of([&] { filter_run_display(&param, "another profile"); }), STEPS{});
}

TEST_F(FILTER_CHAIN_TEST, GoesOnBehindAFilterThatCrashes) {
    FILTER crash = record("crash", FILTER_F_ACTIVE);
    crash.func_proc = [](FILTER*, FILTER_PROC_PARAM*) -> int { return std::raise(SIGSEGV); };
    crash.func_is_saveframe = [](FILTER*, EDIT_STATE*, int, int, int, int, int) -> int { throw 1; };
    crash.func_project_save = [](FILTER*, EDIT_STATE*, void*, int* size) -> int {
        *size = 1000;
        throw std::runtime_error("disk");
    };
    FILTER* filter = add(crash);
    add("behind", FILTER_F_ACTIVE);
    start();
    EXPECT_EQ(run(), (STEPS{"crash", "behind"}));
    EXPECT_EQ(filter_is_saveframe(filter, nullptr, 0, 0, 24, 0, 0), 1);
    int size = 4;
    EXPECT_FALSE(filter_project_save(filter, nullptr, nullptr, &size));
    EXPECT_EQ(size, 4);
    EXPECT_EQ(faults, (STEPS{"crash FILTER::func_proc()", "crash FILTER::func_is_saveframe()",
                             "crash FILTER::func_project_save()"}));
}

TEST_F(FILTER_CHAIN_TEST, TellsFiltersInOrder) {
    static const auto tell = [](const FILTER* f, const std::string& what) {
        events.push_back(f->name + (" " + what));
        return 1;
    };
    FILTER filter = record("video", 0);
    filter.func_update = [](FILTER* f, int status) { return tell(f, "update " + std::to_string(status)); };
    filter.func_save_start = [](FILTER* f, int first, int last, EDIT_STATE*) {
        return tell(f, "start " + std::to_string(first) + "-" + std::to_string(last));
    };
    filter.func_save_end = [](FILTER* f, EDIT_STATE*) { return tell(f, "end"); };
    filter.func_modify_title = [](FILTER* f, EDIT_STATE*, int, char* text, int) {
        return std::strcat(text, f->name), 1;
    };
    filter.func_WndProc = [](void*, uint32_t, uintptr_t, intptr_t, EDIT_STATE*, FILTER*) { return 0; };
    FILTER* video = add(filter);
    filter.name = "audio";
    filter.flags = FILTER_F_AUDIO;
    FILTER* audio = add(filter);
    start();
    // Messages go to filters with a window only.
    video->window = &events;
    filter_window_hooks.send = filter_window_hooks.post = [](FILTER* f, uint32_t message, uintptr_t wparam) {
        tell(f, std::to_string(message) + " " + std::to_string(wparam));
    };
    filter_notify_save_start(FILTER_SAVE_AUDIO, 2, 5, nullptr);
    filter_notify_save_end(FILTER_SAVE_VIDEO | FILTER_SAVE_AUDIO, nullptr);
    EXPECT_EQ(events, (STEPS{"audio start 2-5", "video 1129 0", "video 1130 0", "video end", "audio end"}));
    events.clear();
    filter_notify_update(video, 1 | FILTER_UPDATE_TRACK);
    filter_set_active(audio, true);
    filter_set_active(audio, true);
    EXPECT_EQ(events, (STEPS{"video update 65537", "video 1135 65537", "audio 1133 0"}));
    char title[64] = "title ";
    filter_modify_title(nullptr, 0, title, sizeof title);
    EXPECT_STREQ(title, "title videoaudio");
}
