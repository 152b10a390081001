#include "pipeline/frame_schedule.h"

#include <memory>
#include <string>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/settings.h"
#include "filters/picture_fixture.h"
#include "hosts/filter.h"
#include "pipeline/field_metric.h"
#include "pipeline/frame_cache.h"
#include "resources/string_ids.h"

// A model of the counts, one sample at a time.
static bool comb_model(int w0, int w1, int w2, int w3, int limit) {
    int x = word(w0 - w1), y = word(w2 - w3);
    if (w1 < w2) x = -x - 1, y = -y - 1;
    return x <= limit && y <= limit;
}

static FIELD_COUNTS model_of(const uint8_t* now, const uint8_t* before, int w, int h, int margin, int s, bool top) {
    const bool bytes = byte_samples();
    int g = margin;
    if (w < 2 * g + 32 || h < 2 * g + 32) g = std::max(0, std::min(w, h) / 2 - 16);
    const int first = g / 8 * 8;
    FIELD_COUNTS n = {};
    const int unit = bytes ? 2 : 3;
    for (int k = 0; k < (h - 2 * g - 4) / 2; ++k) {
        const int r = g + (top ? 1 : 2) + 2 * k;
        for (int i = first * unit; i < (w - first) * unit; ++i) {
            const int limit = !bytes ? s * 4 + 64 : (s + 16) * (i % 2 ? 896 : 876) / 4080;
            const int below = bytes ? -1 - limit : -limit;
            const int a = frame_get(now, r - 1, i), b = frame_get(now, r, i), g1 = frame_get(now, r + 1, i),
                      e = frame_get(before, r, i);
            if (size_of(word(b - e)) <= limit) continue;
            ++n.moved;
            n.comb += comb_model(a, b, g1, frame_get(now, r + 2, i), below);
            n.comb_before += comb_model(a, e, g1, frame_get(before, r + 2, i), below);
        }
    }
    return n;
}

// Besides anything at all, steps of exactly the limits and their neighbours.
static void fill_picture(uint8_t* image, int w, int h, int threshold, RNG& rng) {
    const int limit = byte_samples() ? (threshold + 16) * 876 / 4080 : threshold * 4 + 64;
    frame_fill(image, h, rng);
    for (int row = 0; row < h; ++row) {
        if (rng.below(3) == 0) continue;
        for (int i = 0; i < samples_of(w); ++i)
            frame_put(image, row, i, int(rng.below(3)) * limit + rng.between(-1, 1));
    }
}

using FieldMetric = PictureTest;
INSTANTIATE_TEST_SUITE_P(PixelSizes, FieldMetric, testing::Values(6, 2));

TEST_P(FieldMetric, AgreesWithTheModel) {
    frame_geometry = frame_geometry_make(720, 480, GetParam());
    const FRAME now, before;
    for_every_form([&](RNG& rng) {
        const std::pair<int, int> sizes[] = {{33, 35}, {101, 67}, {31, 9}, {47, 4}, {3, 64}, {1, 1}, {65, 200}};
        for (size_t round = 0; round <= 40 * 7; ++round) {
            const auto [w, h] = round ? sizes[round % 7] : std::pair{720, 480};
            const int margin = int(rng.below(3) ? rng.below(40) : rng.below(257)), threshold = int(rng.below(257));
            const bool top = rng.below(2);
            for (const FRAME* frame : {&now, &before}) fill_picture(frame->image, w, h, threshold, rng);
            random_threads(rng);
            SCOPED_TRACE(testing::Message() << w << " x " << h << " margin " << margin << " threads " << fake_threads);
            const FIELD_COUNTS want = model_of(now.image, before.image, w, h, margin, threshold, top);
            const FIELD_COUNTS got = field_metric(now.image, before.image, field_area(w, h, margin, top),
                                                  field_limits(threshold, frame_geometry.pixel_size));
            EXPECT_EQ(want.moved, got.moved);
            EXPECT_EQ(want.comb, got.comb);
            EXPECT_EQ(want.comb_before, got.comb_before);
        }
    });
}

// Worked by hand, so that model and kernels cannot share a misreading. Limits 64 and -64.
TEST(FieldMetricRow, KnownValues) {
    const auto counts = [](std::array<int16_t, FIELD_ROW_N> v) {  // a, b, g1, g2, e, f
        const uint8_t* rows[FIELD_ROW_N];
        for (size_t k = 0; k < FIELD_ROW_N; ++k) rows[k] = reinterpret_cast<const uint8_t*>(&v[k]);
        FIELD_COUNTS n = {};
        field_metric_row_ref(6)(&n, rows, 2, field_limits(0, 6));
        return n.moved * 100 + n.comb * 10 + n.comb_before;
    };
    EXPECT_EQ(counts({0, 64, 0, 64, 0, 0}), 0u);      // moved by no more than the limit
    EXPECT_EQ(counts({0, 65, 0, 64, 0, 0}), 110u);    // the comb's limit itself counts
    EXPECT_EQ(counts({0, 65, 0, 63, 0, 0}), 100u);    // one tooth alone is no comb
    EXPECT_EQ(counts({0, -66, 0, -63, 0, 0}), 110u);  // downwards the complement gives a unit away
    EXPECT_EQ(counts({0, 0, 0, 0, 100, 100}), 101u);  // the rows before stand out
    EXPECT_EQ(counts({-32768, 32767, -32768, 32767, -32768, 0}), 110u);
}

static std::string asked;  // what the plug-in method was asked

struct FrameSchedule : testing::Test {
    std::unique_ptr<EDIT_STATE> edit = std::make_unique<EDIT_STATE>();

    void SetUp() override {
        frame_geometry = frame_geometry_make(320, 240, 6);
        system_settings.cache = 4;
        ASSERT_TRUE(frame_table_alloc(256) && frame_cache_start());
        FILTER method{};
        method.name = "method";
        method.flags = FILTER_F_DEINTERLACE_METHOD;
        method.func_is_saveframe = [](FILTER*, EDIT_STATE*, int32_t position, int32_t frame, int32_t fps, int32_t flag,
                                      int32_t inter) {
            for (const int v : {position, frame, fps, flag, inter}) asked += std::to_string(v) + " ";
            return frame % 2 ? 4 : 0;
        };
        filter_plugin_add(&method, this, "", nullptr);
        filter_system_init(nullptr, nullptr);
        edit->frame_n = 40;
        for (int f = 0; f < edit->frame_n; ++f) metric(f, 0, 0, 400);
    }
    void TearDown() override {
        filter_system_exit();
        frame_cache_stop();
        frame_table_free();
    }
    static void metric(int f, uint32_t low, uint32_t high, uint32_t diff) {
        frame_table.frame_field_metric[f] = high << 16 | low;
        frame_table.frame_field_diff[f] = diff;
        frame_table.frame_flag[f] = FRAME_METRIC_DONE;
    }
    static void mark(std::initializer_list<int> frames) {
        for (const int f : frames) frame_table.frame_flag[f] |= FRAME_DROP;
    }
    static void mode(int m, int method = 0, bool automatic = false) {
        filter_select(filter_built_in(STR_FILTER_RATE_CHANGE), m);
        filter_select(filter_built_in(STR_FILTER_DEINTERLACE), method);
        filter_built_in(STR_FILTER_RATE_SETTING)->check_store[0] = automatic;
    }
    /// 'x' for each frame from `start` on that is output, '.' for the others.
    std::string kept(int start, int n) {
        std::string all;
        for (int i = 0; i < n; ++i) all += is_saveframe(edit.get(), i, start + i) ? 'x' : '.';
        return all;
    }
    int parity(int f) {
        frame_table.frame_flag[f] = FRAME_METRIC_DONE;
        return field_parity(edit.get(), f);
    }
    /// Counts of telecined material in which a cycle that begins at frame `first` drops `position`.
    void telecine(int first, int position) {
        for (int f = 0; f < edit->frame_n; ++f) {
            const int k = (f - first + 2 - position + 10 * 5) % 5;
            metric(f, k > 2 ? 200 : 0, k == 1 || k == 2 ? 200 : 0, 400);
        }
    }
};

TEST_F(FrameSchedule, MeasuresWithTheSettings) {
    const int w = 318, h = 240;
    edit->width = w, edit->height = h;
    frame_table.frame_video[5] = frame_ref_make(SOURCE_MAX, 1);  // no such source: pictures keep what they hold
    uint8_t* cur = frame_cache_get(edit.get(), 5, 0);
    uint8_t* prev = frame_cache_get(edit.get(), 5, -1);
    RNG rng(1);
    for (uint8_t* image : {cur, prev}) fill_picture(image, w, h, 20, rng);
    FILTER* method = filter_built_in(STR_INTER_AUTO_24FPS);
    for (const auto& [margin, top] : {std::pair{16, true}, {16, false}, {101, true}}) {
        method->track_store[0] = 20, method->track_store[1] = margin;
        filter_select(filter_built_in(STR_FILTER_FIELD_ORDER), top);
        const FIELD_COUNTS want = model_of(cur, prev, w, h, margin, 20, top);
        metric(5, 1, 1, 1);
        measure_frame(edit.get(), 5);
        EXPECT_EQ(frame_table.frame_field_diff[5], 1u);  // it was done
        mark({5});
        clear_analysis(edit.get());
        EXPECT_EQ(frame_table.frame_flag[5], FRAME_DROP);
        measure_frame(edit.get(), 5);
        EXPECT_EQ(frame_table.frame_field_diff[5], std::min(want.moved, 65535u));
        EXPECT_EQ(frame_table.frame_field_metric[5] & 0xFFFF, want.comb);
        EXPECT_EQ(frame_table.frame_field_metric[5] >> 16, want.comb_before);
        EXPECT_EQ(frame_table.frame_flag[5], FRAME_DROP | FRAME_METRIC_DONE);
    }
    // Counts that do not fit stay at the largest ones.
    for (int row = 0; row < h; ++row)
        for (int i = 0; i < w * 3; ++i) frame_put(cur, row, i, row % 2 * 4000), frame_put(prev, row, i, row % 2 * 8000);
    clear_analysis(edit.get());
    method->track_store[1] = 0;
    filter_select(filter_built_in(STR_FILTER_FIELD_ORDER), 1);
    measure_frame(edit.get(), 5);
    EXPECT_EQ(frame_table.frame_field_metric[5], 0xFFFFFFFF);
    EXPECT_EQ(frame_table.frame_field_diff[5], 0xFFFFu);
}

TEST_F(FrameSchedule, ParityFollowsTheRules) {
    for (const auto& [more, less, diff] : {std::array{465u, 100u, 8u},  // clearly more
                                           {464u, 100u, 1600u},         // 464 > 400 > 100
                                           {60u, 50u, 0u}}) {           // nothing else tells
        metric(20, more, less, diff);
        EXPECT_EQ(parity(20), FRAME_FIELD_ODD) << more;
        metric(20, less, more, diff);
        EXPECT_EQ(parity(20), 0) << more;
    }
    // Each neighbourhood of a pattern alone. The frame itself is undecided and leans to the other side.
    const auto around = [&](std::initializer_list<int> low, std::initializer_list<int> high, bool odd) {
        for (int f = 18; f <= 22; ++f) metric(f, 0, 0, 400);
        metric(20, odd ? 100 : 101, odd ? 101 : 100, 404);
        for (const int f : low) frame_table.frame_field_metric[f] |= 101;
        for (const int f : high) frame_table.frame_field_metric[f] |= 101 << 16;
        return parity(20) == (odd ? FRAME_FIELD_ODD : 0);
    };
    EXPECT_TRUE(around({18, 22}, {21}, false));
    EXPECT_TRUE(around({21, 22}, {19}, false));
    EXPECT_TRUE(around({21}, {18, 19}, true));
    EXPECT_TRUE(around({19}, {18, 22}, true));
    // A still neighbour, which needs a count below the level.
    for (const auto& [still, odd] : {std::pair{18, 0}, {19, 0}, {21, 0x20}, {22, 0x20}}) {
        for (int f = 18; f <= 22; ++f) metric(f, 0, 0, 400);
        metric(20, 90, odd ? 91 : 89, 400);
        frame_table.frame_field_diff[still] = 99;
        EXPECT_EQ(parity(20), odd) << still;
        frame_table.frame_field_diff[still] = 100;
        EXPECT_EQ(parity(20), odd ? 0 : 0x20) << still;
    }
    EXPECT_TRUE(frame_table.frame_flag[20] & FRAME_FIELD_DONE);
    metric(20, 0, 5000, 0);
    frame_table.frame_flag[20] |= FRAME_FIELD_DONE | FRAME_FIELD_ODD;
    EXPECT_EQ(field_parity(edit.get(), 20), FRAME_FIELD_ODD);  // stored
}

TEST_F(FrameSchedule, CyclesAreFound) {
    for (int p = 0; p < 5; ++p) {
        for (const int first : {0, 10, 37}) {
            telecine(first, p);
            EXPECT_EQ(cycle_drop_position(edit.get(), first), p) << first;
            frame_table.frame_field_metric[first] = 0;
            EXPECT_EQ(cycle_drop_position(edit.get(), first), p);  // stored
            for (int k = 0; k < 5 && first + k < 40; ++k)
                EXPECT_EQ(frame_table.frame_phase[first + k], (5 + k - p) % 5);
        }
        // No combing: the frame that hardly moves tells.
        for (int f = 0; f < 40; ++f) metric(f, 0, 0, 400);
        EXPECT_EQ(cycle_drop_position(edit.get(), 20), 0);
        metric(20 + p, 0, 0, 99);
        frame_table.frame_flag[20] = FRAME_METRIC_DONE;
        EXPECT_EQ(cycle_drop_position(edit.get(), 20), (p + 2) % 5);
    }
    EXPECT_EQ(frame_table.frame_flag[40] | frame_table.frame_phase[40] | frame_table.frame_flag[41], 0);
}

TEST_F(FrameSchedule, ModesWithoutAnalysis) {
    const std::pair<const char*, int> modes[] = {{"xxxxxxxxxxxxxxx", 17}, {"xxxx.xxxx.xxxx.", 13},
                                                 {"xx.xx.xx.xx.xx.", 11}, {"x.x.x.x.x.x.x.x", 8},
                                                 {"x.x..x.x..x.x..", 6},  {"x..x..x..x..x..", 5}};
    for (int m = 0; m < 6; ++m) {
        mode(m);
        EXPECT_EQ(output_frame_count(17), modes[m].second);
        EXPECT_EQ(kept(7, 15), modes[m].first) << m;
    }
    mode(1);
    mark({1, 5, 6, 10, 12, 13, 14});
    EXPECT_EQ(kept(0, 15), "x.xxx.xxxx.xxxx");
    EXPECT_EQ(is_saveframe(edit.get(), 3, 1), 0);  // its cycle would begin before the edit: frame 1 is its own first
    EXPECT_EQ(is_saveframe(edit.get(), 3, 2), 1);
    mode(2);  // (0 1m 2) (3 4 5m) (6m 7 8) (9 10m 11) (12m 13m 14m)
    EXPECT_EQ(kept(0, 15), "x.xxx..xxx.x.xx");
    mode(3);  // pairs; 6, 10, 12 and 14 give way
    EXPECT_EQ(kept(0, 16), "x.x.x..xx..x.x.x");
    mode(5);
    EXPECT_EQ(kept(0, 15), "x..x...x.x....x");
    mode(4);  // of 0 and 2 none is marked; of 5 and 7 the first; of 10 and 12 both, and only 11 is free
    EXPECT_EQ(kept(0, 15), "x.x....x.x.xx..");
    EXPECT_EQ(is_saveframe(edit.get(), -4, 20), is_saveframe(edit.get(), 1, 20));
}

TEST_F(FrameSchedule, AnalysisAndPluginsDecide) {
    for (const bool by_method : {true, false}) {
        telecine(0, 1);
        mode(1, by_method ? 4 : 6, !by_method);
        EXPECT_EQ(kept(0, 10), "x.xxxx.xxx");
        mark({3});
        EXPECT_EQ(kept(0, 10), "xxx.xx.xxx");
        mode(4, by_method ? 4 : 6, !by_method);
        EXPECT_EQ(kept(5, 5), "..x.x");
    }
    mode(3, 4);
    EXPECT_EQ(kept(0, 4), "x.x.");
    metric(8, 0, 0, 0);
    frame_table.frame_inter[8] = INTER_AUTO;
    for (int m = 0; m < 6; ++m) {
        mode(m, 6, m == 2);  // the entry matters to cycles of five alone
        asked.clear();
        EXPECT_EQ(is_saveframe(edit.get(), 3, 8), m == 0);
        EXPECT_EQ(asked, m ? "3 8 " + std::to_string(RATE_MODES[m].rate) + " 128 5 " : "");
        EXPECT_EQ(is_saveframe(edit.get(), 3, 9), 1);
    }
}

TEST_F(FrameSchedule, IndexLeadsToTheFrame) {
    mark({8, 14, 15, 21, 22, 30});
    const auto output = [&](int start) {
        std::vector<int> frames;
        for (int f = start; f < edit->frame_n; ++f)
            if (is_saveframe(edit.get(), f - start, f)) frames.push_back(f);
        return frames;
    };
    for (int m = 0; m < 6; ++m) {
        mode(m);
        SCOPED_TRACE(m);
        const std::vector<int> want = output(7), other = output(12);
        const int n = int(want.size());
        RNG rng(kernel_seed());
        for (int i = 0; i < 400; ++i) {  // onwards and back, in one output and now and then in the other
            const int at = i < n ? i : i < 2 * n ? 2 * n - 1 - i : int(rng.below(uint32_t(n)));
            EXPECT_EQ(output_frame_of(edit.get(), at, 7), want[size_t(at)]);
            if (i % 3) continue;
            const int place = std::min(at, int(other.size()) - 1);
            EXPECT_EQ(output_frame_of(edit.get(), place, 12), other[size_t(place)]);
        }
        EXPECT_GE(output_frame_of(edit.get(), n, 7), edit->frame_n - 1);
        EXPECT_GE(output_frame_of(edit.get(), 1 << 30, 7), edit->frame_n - 1);
    }
}

TEST_F(FrameSchedule, RateAndScale) {
    auto context = std::make_unique<MEDIA_RECORD>();
    using PAIR = std::pair<uint32_t, uint32_t>;
    const auto scaled = [&](PAIR from) {
        context->video_stream.dwRate = from.first, context->video_stream.dwScale = from.second;
        EXPECT_EQ(save_scale_rate(edit.get(), context.get(), 17), output_frame_count(17));
        return PAIR(context->video_stream.dwRate, context->video_stream.dwScale);
    };
    static constexpr PAIR EXPECTED[6][3] = {
        {{30000, 1001}, {25, 1}, {29971, 1000000}}, {{24000, 1001}, {20, 1}, {23976, 1000000}},
        {{20000, 1001}, {50, 3}, {19980, 1000000}}, {{15000, 1001}, {25, 2}, {14985, 1000000}},
        {{12000, 1001}, {10, 1}, {11988, 1000000}}, {{10000, 1001}, {25, 3}, {9990, 1000000}}};
    for (int m = 0; m < 6; ++m) {
        mode(m);
        for (size_t i = 0; i < 3; ++i) EXPECT_EQ(scaled(EXPECTED[0][i]), EXPECTED[m][i]) << m;
    }
    mode(1);
    EXPECT_EQ(scaled({29971, 999999}), PAIR(119884, 4999995));
}
