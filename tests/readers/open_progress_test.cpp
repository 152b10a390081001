#include "readers/open_progress.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "core/ui_hooks.h"
#include "output/progress.h"

static int pumps, enabled;
static std::string title;

TEST(OpenProgress, ShowsHowFarALongListingIsAndStopsAtTheUsersWish) {
    pumps = enabled = 0;
    ui_hooks.pump = [] { return ++pumps == 3; };
    ui_hooks.interface_enable = [](bool on) { enabled += on ? 1 : -1; };
    ui_hooks.set_title = [](const char* text) { title = text; };
    open_progress_begin();
    open_progress_begin();
    EXPECT_FALSE(open_progress_stop(0.1)) << "a short one shows nothing";
    EXPECT_TRUE(pumps == 0 && enabled == 0);
    int looks = 0;
    for (; looks < 500 && !open_progress_stop(0.5); ++looks) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(pumps, 3);
    EXPECT_GT(looks, 20) << "not at every look";
    EXPECT_EQ(enabled, -1);
    EXPECT_EQ(progress_permille(), 499);
    EXPECT_NE(title.find("49%"), std::string::npos) << title;
    open_progress_end();
    EXPECT_TRUE(open_progress_stop(0.6) && open_progress_stopped()) << "the rest stops as well";
    open_progress_end();
    EXPECT_EQ(enabled, 0);
    EXPECT_EQ(progress_permille(), -1);
    EXPECT_FALSE(open_progress_stopped());
    ui_hooks = {};
}
