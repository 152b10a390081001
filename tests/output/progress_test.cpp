#include "output/progress.h"

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
};

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
        for (int f = 0; f <= 20; ++f, now_ms += f <= 20 ? row.ms : 0) progress_tick(f);
        EXPECT_EQ(text(), row.want);
    }
}

TEST_F(Progress, RateAndOnceASecond) {
    progress_begin(0, 99, "save");
    progress_tick(0);
    EXPECT_TRUE(progress_due());
    for (const int wait : {0, 999, 1}) {
        EXPECT_FALSE(progress_due());
        now_ms += wait;
        progress_tick(1);
    }
    EXPECT_TRUE(progress_due());
    for (const auto& [rate, want] : {std::pair{1234567u, "  (1234.5kbps)"}, {12345678u, "  (12.3Mbps)"}}) {
        progress_rate(rate);
        EXPECT_NE(text().find(want), std::string::npos) << text();
    }
}
