#include "output/progress.h"

#include <gtest/gtest.h>

#include "platform/text.h"

static int64_t now_ms;
static int64_t fake_clock() { return now_ms; }

struct Progress : testing::Test {
    void SetUp() override {
        now_ms = 5000;
        progress_set_clock(fake_clock);
    }
    void TearDown() override { progress_set_clock(nullptr); }

    static std::string text() {
        char buffer[400];
        progress_text(buffer, sizeof buffer);
        return text_to_utf8(buffer);
    }
    /// Frames 0 .. n at a steady pace.
    static void run_to(int n, int ms_a_frame) {
        for (int f = 0; f <= n; ++f) {
            progress_tick(f);
            if (f < n) now_ms += ms_a_frame;
        }
    }
};

TEST_F(Progress, BeforeAnEstimateExists) {
    progress_begin(0, 0, "save");
    EXPECT_EQ(text(), "save");
    progress_begin(10, 209, "save");
    EXPECT_EQ(text(), "save 0% [0/200]  残り時間 計測中");
    now_ms += 20000;
    progress_tick(15);
    EXPECT_EQ(text(), "save 2% [6/200]  残り時間 計測中");
}

TEST_F(Progress, TimeLeftInItsFourForms) {
    const struct {
        int total, ms;
        const char* want;
    } rows[] = {{40, 500, "save 50% [21/40]  残り時間 10秒"},
                {200, 1000, "save 10% [21/200]  残り時間 3分00秒"},
                {1000, 1000, "save 2% [21/1000]  残り時間 16分"},
                {10000, 1000, "save 0% [21/10000]  残り時間 2時間46分"}};
    for (const auto& row : rows) {
        progress_begin(0, row.total - 1, "save");
        run_to(20, row.ms);
        EXPECT_EQ(text(), row.want);
    }
}

TEST_F(Progress, RateAndOnceASecond) {
    progress_begin(0, 99, "save");
    progress_tick(0);
    EXPECT_TRUE(progress_due());
    EXPECT_FALSE(progress_due());
    now_ms += 999;
    progress_tick(1);
    EXPECT_FALSE(progress_due());
    now_ms += 1;
    progress_tick(2);
    EXPECT_TRUE(progress_due());
    progress_rate(1234567);
    EXPECT_NE(text().find("  (1234.5kbps)"), std::string::npos);
    progress_rate(12345678);
    EXPECT_NE(text().find("  (12.3Mbps)"), std::string::npos);
}
