#include <gtest/gtest.h>

#include "app.h"

// Without a display there is no window to wait in.
TEST(Display, WithoutOneTheProgramSaysSoAndEnds) {
    const TEMP_FOLDER_PATH folder;
    const COMMAND_OUTPUT alone = vantel(folder, {}, {.limit_seconds = 20});
    EXPECT_EQ(alone.status, 1);
    EXPECT_NE(alone.error.find("--help"), std::string::npos) << alone.error;
    EXPECT_EQ(vantel(folder, {"-q"}, {.limit_seconds = 20}).status, 0);
    COMMAND_OPTIONS unreachable = {.limit_seconds = 20};
    unreachable.environment.emplace_back("DISPLAY=:9999");
    EXPECT_EQ(vantel(folder, {"-q"}, unreachable).status, 0) << "a quiet run needs no display";
}
