#include "core/settings_store.h"

#include <gtest/gtest.h>

#include "core/fps_list.h"
#include "pipeline/worker_pool.h"
#include "platform/file.h"
#include "platform/simd.h"

TEST(SettingsStore, OnlyAtOnceValuesRunAndAllAreWritten) {
    file_delete(settings_file());
    settings_read();
    const SYSTEM_SETTINGS before = system_settings;
    SYSTEM_SETTINGS wanted = settings_shown();
    wanted.width = 1921;
    wanted.cache = 1000;
    wanted.moveB = -77;
    wanted.multithread = 99;
    wanted.sse2 = 0;
    wanted.loadhistory = 3;  // has no control, so it is not the dialog's to write
    std::strcpy(wanted.fpslist, "*,12");
    std::strcpy(wanted.resizelist, "64x48");
    ASSERT_TRUE(settings_store(wanted));
    EXPECT_EQ(system_settings.width, before.width);
    EXPECT_STREQ(system_settings.resizelist, before.resizelist);
    EXPECT_EQ(system_settings.moveB, -77);
    EXPECT_EQ(system_settings.multithread, 64);
    EXPECT_FALSE(simd_enabled);
    EXPECT_STREQ(fps_list.entry[1].label, "12fps");

    // The dialog opened again shows what waits for the restart, and OK without a change keeps it waiting.
    const SYSTEM_SETTINGS again = settings_shown();
    EXPECT_EQ(again.width, 1928);
    EXPECT_STREQ(again.resizelist, "64x48");
    ASSERT_TRUE(settings_store(again));
    settings_read();
    EXPECT_EQ(system_settings.width, 1928);
    EXPECT_EQ(system_settings.cache, 128);
    EXPECT_EQ(system_settings.moveB, -77);
    EXPECT_EQ(system_settings.loadhistory, before.loadhistory);
    EXPECT_STREQ(system_settings.fpslist, "*,12");
    ASSERT_TRUE(settings_store(before));
    EXPECT_TRUE(simd_enabled);
    worker_pool_stop();
    file_delete(settings_file());
    settings_read();
}
