#include <memory>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/profile.h"
#include "core/settings.h"
#include "filters/deinterlace_frame.h"
#include "filters/deinterlace_kernels.h"
#include "filters/picture_fixture.h"
#include "hosts/filter.h"
#include "pipeline/frame_cache.h"
#include "resources/string_ids.h"

// ---- a model on plain numbers, one sample at a time ---------------------------------------------------------------

static int field_at(const PICTURE& p, int row, int i) {  // outside, rows of the same field continue
    return p.at(row < 0 ? row + 2 : row >= p.h() ? row - 2 : row, i);
}
static int average(const PICTURE& p, int a, int b) { return p.bytes ? (a + b + 1) >> 1 : word(a + b) >> 1; }
static int comb_strength(int r0, int r1, int r2, int r3, int r4) {
    const int a = word(r0 - r1), b = word(r1 - r2), c = word(r2 - r3), e = word(r3 - r4);
    const int outer = b < 0 ? std::max(-1 - a, -1 - c) : std::max(a, c);
    const int inner = c < 0 ? std::max(-1 - b, -1 - e) : std::max(b, e);
    return std::min(outer, inner);
}
static int tolerance_of(int t) { return t < 0 ? -1 - t : 0; }
static int shrink(int d, int t) { return d >= 0 ? std::max(d - t, 0) : std::min(d + t, -1); }

static int adaptive_model(const PICTURE& s, int row, int i) {
    const int c = s.at(row, i), u = field_at(s, row - 1, i), d = field_at(s, row + 1, i), m = average(s, u, d);
    const auto pick = [&](int x) { return size_of(word(c - x)) > size_of(word(c - m)) ? m : x; };
    int sum = s.bytes ? 4 : 0;
    for (const int side : {-1, 1})
        for (const int dy : {-1, 1}) sum = word(sum + pick(s.at(row + dy, i, side)));
    sum = word(word((sum >> 1) + pick(u)) + pick(d));
    return sample_limited(sum >> 2);
}

static int motion_model(const PICTURE& cur, const PICTURE& prev, int row, int i, int t) {
    const auto c = [&](int k) { return field_at(cur, row + k * t, i); };
    const auto p = [&](int k) { return field_at(prev, row + k * t, i); };
    int tol = tolerance_of(comb_strength(c(-2), c(-1), c(0), c(1), c(2)));
    tol = std::max(tol, tolerance_of(comb_strength(p(-2), c(-1), p(0), c(1), p(2))));
    tol = std::max(tol, std::min(std::abs(c(0) - p(0)), 32767) >> 1);
    const int a = average(cur, c(-1), c(1));
    return sample_limited(a + shrink(word(average(cur, c(0), p(0)) - a), tol));
}

static int stripes_model(const PICTURE& y, const PICTURE& x, int row, int i) {
    const int c = y.at(row, i), up = field_at(x, row - 1, i), down = field_at(x, row + 1, i);
    const int t = comb_strength(field_at(y, row + 2, i), down, c, up, field_at(y, row - 2, i)) >> 1;
    const int a = word(word(word(down + up) + word(2 * c)) + (y.bytes ? 2 : 0)) >> 2;
    return sample_limited(a + shrink(word(c - a), tolerance_of(t)));
}

enum METHOD { REPEAT, MEAN, ADAPTIVE, DOUBLE, MOTION, WEAVE, STRIPES, METHOD_N };

/// What a sample becomes. flag: top_first, or for the methods that keep a field: the even rows are kept.
static int sample_model(METHOD method, const PICTURE& cur, const PICTURE& prev, int row, int i, bool flag) {
    const int h = cur.h();
    const bool even = row % 2 == 0;
    if (h < 3 && method != WEAVE) return cur.at(row, i);
    switch (method) {
        case REPEAT: return cur.at(even == flag ? row : flag || row + 1 == h ? row - 1 : row + 1, i);
        case MEAN:
        case ADAPTIVE:
            if (even == flag) return cur.at(row, i);
            if (row == 0) return cur.at(1, i);
            if (row == h - 1) return cur.at(h - 2, i);
            return method == MEAN ? average(cur, cur.at(row - 1, i), cur.at(row + 1, i)) : adaptive_model(cur, row, i);
        case DOUBLE:
            if (row == 0 || row == h - 1) return average(cur, cur.at(row, i), cur.at(row, i));
            return average(cur, cur.at(row, i), average(cur, cur.at(row - 1, i), cur.at(row + 1, i)));
        case MOTION:
            if (h % 2 && row == h - 1) return UNTOUCHED;
            return even == flag ? cur.at(row, i) : motion_model(cur, prev, row, i, flag ? -1 : 1);
        case WEAVE: return even == flag ? cur.at(row, i) : prev.at(row, i);
        default: return even == flag ? stripes_model(cur, prev, row, i) : stripes_model(prev, cur, row, i);
    }
}

static void compare(METHOD method, const std::vector<uint8_t>& before, const FRAME& got, const uint8_t* cur_image,
                    const uint8_t* prev_image, int w, int h, bool flag) {
    const PICTURE cur = picture_read(cur_image, w, h), prev = picture_read(prev_image, w, h);
    expect_picture(before, got.block(), w, h,
                   [&](int row, int i) { return sample_model(method, cur, prev, row, i, flag); });
}

static void run(METHOD method, uint8_t* image, const uint8_t* cur, const uint8_t* prev, int w, int h, bool flag) {
    switch (method) {
        case DOUBLE: return deinterlace_double(image, cur, w, h);
        case MOTION: return deinterlace_motion(image, cur, prev, w, h, flag);
        case WEAVE: return deinterlace_weave(image, cur, prev, w, h, flag);
        case STRIPES: return deinterlace_stripes(image, cur, prev, w, h, flag);
        default: return deinterlace_field(image, cur, w, h, flag ? 0 : 1, FIELD_FILL(method));
    }
}
static_assert(int(REPEAT) == FIELD_REPEAT && int(MEAN) == FIELD_MEAN && int(ADAPTIVE) == FIELD_ADAPTIVE);

using DeinterlaceTest = PictureTest;
INSTANTIATE_TEST_SUITE_P(PixelSizes, DeinterlaceTest, testing::Values(6, 2));

TEST_P(DeinterlaceTest, AgreesWithTheModel) {
    static constexpr int SIZES[][2] = {{33, 35}, {32, 32}, {40, 31}, {7, 33}, {320, 36}, {1, 3},
                                       {2, 4},   {3, 5},   {1, 40},  {5, 2},  {4, 1}};
    FRAME cur, prev, image;
    for_every_form([&](RNG& rng) {
        for (int n = 0; n < 200 && !HasFatalFailure(); ++n) {
            const auto [width, h] = SIZES[rng.below(std::size(SIZES))];
            const int w = rng.below(2) ? width : rng.between(1, 140);
            const auto method = METHOD(rng.below(METHOD_N));
            const bool flag = rng.below(2);
            random_threads(rng);
            SCOPED_TRACE(testing::Message() << "method " << method << ", " << w << " x " << h << ", flag " << flag
                                            << ", threads " << fake_threads);
            for (const FRAME* frame : {&cur, &prev, &image}) frame_fill(frame->image, h, rng);
            if (rng.below(4) == 0) std::ranges::copy(cur.block(), prev.block().begin());
            const std::vector<uint8_t> before = image.copy();
            run(method, image.image, cur.image, prev.image, w, h, flag);
            compare(method, before, image, cur.image, prev.image, w, h, flag);
        }
    });
}

// Worked by hand, so that model and kernels cannot share a misreading of the formulas.
template <typename T>
static int kernel_of(DEINTERLACE_ROW DEINTERLACE_KERNELS::*kernel, const std::vector<T>& samples) {
    const uint8_t* rows[8] = {};
    for (size_t k = 0; k < samples.size(); ++k) rows[k] = reinterpret_cast<const uint8_t*>(&samples[k]);
    T out{};
    (deinterlace_kernels_ref(sizeof(T) == 1 ? 2 : 6)->*kernel)(reinterpret_cast<uint8_t*>(&out), rows, sizeof out);
    return out;
}

TEST(DeinterlaceKernels, KnownValues) {
    const auto motion = [](std::vector<int16_t> v) { return kernel_of<int16_t>(&DEINTERLACE_KERNELS::motion, v); };
    EXPECT_EQ(34, motion({10, 20, 34, 40, 50, 10, 34, 50}));  // still, off the ramp but no comb
    EXPECT_EQ(99, motion({0, 100, 0, 100, 0, 0, 0, 0}));      // a comb of 100: all of -100 but the complement's unit
    EXPECT_EQ(0, motion({0, 0, 80, 0, 0, 0, 0, 0}));          // moved by 80: the tolerance eats the 40 of the mean
    EXPECT_EQ(49, kernel_of<uint8_t>(&DEINTERLACE_KERNELS::stripes, {0, 100, 0, 100, 0}));
    EXPECT_EQ(11, kernel_of<int16_t>(&DEINTERLACE_KERNELS::adaptive, {0, 10, 20, 14, 15, 16, 0}));
    EXPECT_EQ(12, kernel_of<uint8_t>(&DEINTERLACE_KERNELS::adaptive, {0, 10, 20, 14, 15, 16, 0}));
}

// ---- the methods as the renderer calls them -----------------------------------------------------------------------

struct DeinterlaceMethodTest : testing::Test {
    static constexpr int W = 34, H = 36;
    std::unique_ptr<EDIT_STATE> edit = std::make_unique<EDIT_STATE>();
    uint8_t *cur = nullptr, *prev = nullptr;
    void SetUp() override {
        frame_geometry = frame_geometry_make(320, 240, 6);
        system_settings.cache = 4;
        ASSERT_TRUE(frame_table_alloc(1024) && frame_cache_start());
        filter_system_init(nullptr, nullptr);
        edit->frame_n = 10;
        // A source that does not exist: the cache hands out its pictures as they are, and here they get a content.
        frame_table.frame_video[5] = frame_ref_make(SOURCE_MAX, 0);
        cur = frame_cache_get(edit.get(), 5, 0);
        prev = frame_cache_get(edit.get(), 5, -1);
        ASSERT_NE(cur, prev);
        RNG rng(1);
        for (uint8_t* image : {cur, prev}) frame_fill_natural(image, W, H, rng);
    }
    void TearDown() override {
        filter_system_exit();
        frame_cache_stop();
        frame_table_free();
    }
    /// Runs a method in a frame whose field order is the user's choice, and compares it with the model.
    void check(int number, METHOD method, bool flag, uint32_t flags = 0) {
        SCOPED_TRACE(testing::Message() << "method number " << number << ", flag " << flag);
        FILTER_RUN run;
        run.param.frame = 5, run.param.edit = edit.get(), run.param.flags = flags;
        const std::vector<uint8_t> before = run.image.copy();
        static int chosen;
        chosen = number;
        const auto proc = [](FILTER*, FILTER_PROC_PARAM* param) {
            filter_run_deinterlace(param, profile_current(), chosen);
            return 1;
        };
        run.run(proc, W, H);
        compare(method, before, run.image, cur, prev, W, H, flag);
    }
};

TEST_F(DeinterlaceMethodTest, FollowFieldOrder) {
    for (const bool top_first : {true, false}) {
        filter_select(filter_built_in(STR_FILTER_FIELD_ORDER), top_first);
        check(0, WEAVE, top_first, PROC_F_FRAME_INVERTED);
        check(5, MOTION, top_first);
        check(3, DOUBLE, top_first);
        for (const int kept : {1, 2}) check(kept, ADAPTIVE, kept == 1);  // whatever the order is
    }
}

TEST_F(DeinterlaceMethodTest, FollowTheirChecks) {
    for (const int number : {1, 2}) {
        int32_t* checks = filter_deinterlace_method(number)->check_values;
        checks[1] = 0;
        check(number, MEAN, number == 1);
        checks[0] = 0;
        check(number, REPEAT, number == 1);
        checks[1] = 1;  // of no effect without the other
        check(number, REPEAT, number == 1);
    }
}
