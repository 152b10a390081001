#include <array>
#include <cstdlib>
#include <memory>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/profile.h"
#include "core/settings.h"
#include "filters/deinterlace_frame.h"
#include "filters/deinterlace_kernels.h"
#include "hosts/filter.h"
#include "pipeline/frame_cache.h"
#include "pixels/frame_buffer.h"
#include "platform/parallel.h"
#include "platform/simd.h"
#include "resources/string_ids.h"
#include "support/frame_test.h"
#include "support/kernel_test.h"

// ---- a model on plain numbers, one sample at a time ---------------------------------------------------------------

struct MODEL {
    std::vector<std::vector<int>> rows;
    bool bytes;
    int h() const { return int(rows.size()); }
    int n() const { return int(rows[0].size()); }
    int unit() const { return bytes ? 4 : 3; }
    int at(int row, int i) const {  // rows of the same field, and the edge pixel, continue outside
        if (row < 0) row += 2;
        if (row >= h()) row -= 2;
        if (i < 0) i += unit();
        if (i >= n()) i -= unit();
        return rows[size_t(row)][size_t(i)];
    }
};

static int word(int v) { return v < -32768 ? -32768 : v > 32767 ? 32767 : v; }
static int cut(const MODEL& m, int v) { return m.bytes ? (v < 0 ? 0 : v > 255 ? 255 : v) : word(v); }
static int average(const MODEL& m, int a, int b) { return m.bytes ? (a + b + 1) >> 1 : word(a + b) >> 1; }
static int size_of(int v) { return v >= 0 ? v : -1 - v; }
static int comb_strength(int r0, int r1, int r2, int r3, int r4) {
    const int a = word(r0 - r1), b = word(r1 - r2), c = word(r2 - r3), e = word(r3 - r4);
    const int outer = b < 0 ? std::max(-1 - a, -1 - c) : std::max(a, c);
    const int inner = c < 0 ? std::max(-1 - b, -1 - e) : std::max(b, e);
    return std::min(outer, inner);
}
static int tolerance_of(int t) { return t < 0 ? -1 - t : 0; }
static int shrink(int d, int t) {
    if (d >= 0) return d > t ? d - t : 0;
    return -1 - d > t ? d + t : -1;
}

static int adaptive_model(const MODEL& s, int row, int i) {
    const int c = s.at(row, i), u = s.at(row - 1, i), d = s.at(row + 1, i), m = average(s, u, d);
    const auto pick = [&](int x) { return size_of(word(c - x)) > size_of(word(c - m)) ? m : x; };
    int sum = s.bytes ? 4 : 0;
    for (const int side : {-s.unit(), s.unit()})
        for (const int dy : {-1, 1}) sum = word(sum + pick(s.at(row + dy, i + side)));
    sum = word(word((sum >> 1) + pick(u)) + pick(d));
    return cut(s, sum >> 2);
}

static int motion_model(const MODEL& cur, const MODEL& prev, int row, int i, int t) {
    const auto c = [&](int k) { return cur.at(row + k * t, i); };
    const auto p = [&](int k) { return prev.at(row + k * t, i); };
    int tol = tolerance_of(comb_strength(c(-2), c(-1), c(0), c(1), c(2)));
    tol = std::max(tol, tolerance_of(comb_strength(p(-2), c(-1), p(0), c(1), p(2))));
    tol = std::max(tol, std::min(std::abs(c(0) - p(0)), 32767) >> 1);
    const int a = average(cur, c(-1), c(1));
    return cut(cur, a + shrink(word(average(cur, c(0), p(0)) - a), tol));
}

static int stripes_model(const MODEL& y, const MODEL& x, int row, int i) {
    const int c = y.at(row, i), up = x.at(row - 1, i), down = x.at(row + 1, i);
    const int t = comb_strength(y.at(row + 2, i), down, c, up, y.at(row - 2, i)) >> 1;
    const int a = word(word(word(down + up) + word(2 * c)) + (y.bytes ? 2 : 0)) >> 2;
    return cut(y, a + shrink(word(c - a), tolerance_of(t)));
}

static constexpr int UNTOUCHED = -100000;

enum METHOD { REPEAT, MEAN, ADAPTIVE, DOUBLE, MOTION, WEAVE, STRIPES, METHOD_N };

/// What a sample becomes. flag: top_first, or for the methods that keep a field: the even rows are kept.
static int sample_model(METHOD method, const MODEL& cur, const MODEL& prev, int row, int i, bool flag) {
    const int h = cur.h();
    const bool even = row % 2 == 0;
    if (h < 3 && method != WEAVE) return cur.at(row, i);
    switch (method) {
        case REPEAT:
            if (flag) return cur.at(even ? row : row - 1, i);
            return cur.at(even && row + 1 < h ? row + 1 : even ? row - 1 : row, i);
        case MEAN:
        case ADAPTIVE:
            if (even == flag) return cur.at(row, i);
            if (row == 0) return cur.at(1, i);
            if (row == h - 1) return cur.at(h - 2, i);
            return method == MEAN ? average(cur, cur.at(row - 1, i), cur.at(row + 1, i)) : adaptive_model(cur, row, i);
        case DOUBLE: {
            const bool outer = row == 0 || row == h - 1;
            const int blurred = outer ? cur.at(row, i) : average(cur, cur.at(row - 1, i), cur.at(row + 1, i));
            return average(cur, cur.at(row, i), blurred);
        }
        case MOTION:
            if (h % 2 && row == h - 1) return UNTOUCHED;
            return even == flag ? cur.at(row, i) : motion_model(cur, prev, row, i, flag ? -1 : 1);
        case WEAVE: return even == flag ? cur.at(row, i) : prev.at(row, i);
        default: return even == flag ? stripes_model(cur, prev, row, i) : stripes_model(prev, cur, row, i);
    }
}

// ---- frames -------------------------------------------------------------------------------------------------------

static std::span<int16_t> words(std::span<uint8_t> bytes) {
    return {reinterpret_cast<int16_t*>(bytes.data()), bytes.size() / 2};
}

static int row_samples(int w) { return frame_geometry.pixel_size == 2 ? (w + 1) / 2 * 4 : w * 3; }

// The block down to the margin below the picture, so that what is read outside of the picture differs as well.
static void fill(uint8_t* image, int h, RNG& rng) {
    const std::span<uint8_t> rows(image - frame_geometry.origin,
                                  size_t(h + 2 * FRAME_MARGIN) * size_t(frame_geometry.stride));
    if (frame_geometry.pixel_size == 2)
        rng_fill(rows, rng);
    else
        rng_fill(words(rows), rng);
}

static MODEL read(const uint8_t* image, int w, int h) {
    MODEL model{{}, frame_geometry.pixel_size == 2};
    for (int y = 0; y < h; ++y) {
        const uint8_t* row = image + ptrdiff_t{y} * frame_geometry.stride;
        const auto* row_words = reinterpret_cast<const int16_t*>(row);
        if (model.bytes)
            model.rows.emplace_back(row, row + row_samples(w));
        else
            model.rows.emplace_back(row_words, row_words + row_samples(w));
    }
    return model;
}

/// Compares a whole block, what should not be written included.
static void compare(METHOD method, std::span<const uint8_t> before, FRAME& got, const MODEL& cur, const MODEL& prev,
                    bool flag) {
    std::vector<uint8_t> want(before.begin(), before.end());
    for (int row = 0; row < cur.h(); ++row)
        for (int i = 0; i < cur.n(); ++i) {
            const int v = sample_model(method, cur, prev, row, i, flag);
            uint8_t* at = want.data() + frame_geometry.origin + ptrdiff_t{row} * frame_geometry.stride;
            if (v == UNTOUCHED) continue;
            if (cur.bytes)
                at[i] = uint8_t(v);
            else
                reinterpret_cast<int16_t*>(at)[i] = int16_t(v);
        }
    const auto difference = std::mismatch(want.begin(), want.end(), got.block().begin()).first - want.begin();
    if (size_t(difference) == want.size()) return;
    const ptrdiff_t place = difference - ptrdiff_t(frame_geometry.origin);
    FAIL() << "row " << place / frame_geometry.stride << " byte " << place % frame_geometry.stride;
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

struct DeinterlaceTest : testing::TestWithParam<int> {
    void SetUp() override {
        frame_geometry = frame_geometry_make(320, 240, GetParam());
        parallel_set_dispatch(fake_dispatch);
    }
    void TearDown() override { parallel_set_dispatch(nullptr); }
};
INSTANTIATE_TEST_SUITE_P(PixelSizes, DeinterlaceTest, testing::Values(6, 2));

TEST_P(DeinterlaceTest, AgreesWithTheModel) {
    static constexpr int SIZES[][2] = {{33, 35}, {32, 32}, {40, 31}, {7, 33}, {320, 36}, {1, 3},
                                       {2, 4},   {3, 5},   {1, 40},  {5, 2},  {4, 1}};
    FRAME cur;
    FRAME prev;
    FRAME image;
    const auto round = [&](RNG& rng, int count) {
        for (int n = 0; n < count; ++n) {
            const auto [w, h] = SIZES[rng.below(std::size(SIZES))];
            const auto method = METHOD(rng.below(METHOD_N));
            const bool flag = rng.below(2);
            fake_threads = std::array{1, 2, 7}[rng.below(3)];
            SCOPED_TRACE(testing::Message() << "method " << method << ", " << w << " x " << h << ", flag " << flag
                                            << ", threads " << fake_threads);
            fill(cur.image, h, rng);
            fill(prev.image, h, rng);
            fill(image.image, h, rng);
            if (rng.below(4) == 0) std::copy_n(cur.block().data(), cur.block().size(), prev.block().data());
            const std::vector<uint8_t> before(image.block().begin(), image.block().end());
            run(method, image.image, cur.image, prev.image, w, h, flag);
            compare(method, before, image, read(cur.image, w, h), read(prev.image, w, h), flag);
            if (testing::Test::HasFatalFailure()) return;
        }
    };
    kernel_for_each_target([&](RNG& rng) { round(rng, 200); });
    simd_enabled = false;
    RNG rng(kernel_seed());
    round(rng, 200);
    simd_enabled = true;
}

// ---- kernels --------------------------------------------------------------------------------------------------------

static void check_kernels(int pixel_size, size_t n, RNG& rng) {
    const DEINTERLACE_KERNELS* ref = deinterlace_kernels_ref(pixel_size);
    const DEINTERLACE_KERNELS* simd = deinterlace_kernels(pixel_size);
    const size_t sample = pixel_size == 2 ? 1 : 2;
    std::vector<std::unique_ptr<GUARDED_ROW<int16_t>>> sources;
    const uint8_t* rows[8];
    for (const uint8_t*& row : rows) {
        sources.push_back(std::make_unique<GUARDED_ROW<int16_t>>((n * sample + 1) / 2, rng));
        if (rng.below(3) == 0) std::copy_n(sources[0]->data(), sources[0]->size, sources.back()->data());
        row = reinterpret_cast<const uint8_t*>(sources.back()->data());
    }
    for (const auto kernel : {&DEINTERLACE_KERNELS::mean, &DEINTERLACE_KERNELS::soften, &DEINTERLACE_KERNELS::adaptive,
                              &DEINTERLACE_KERNELS::motion, &DEINTERLACE_KERNELS::stripes}) {
        GUARDED_ROW<uint8_t> want(n * sample, 2 * rng.below(8));
        GUARDED_ROW<uint8_t> got(n * sample, 2 * rng.below(8));
        (ref->*kernel)(want.data(), rows, n * sample);
        (simd->*kernel)(got.data(), rows, n * sample);
        ASSERT_TRUE(rows_equal(want, got)) << "n " << n << " pixel size " << pixel_size;
    }
}

TEST(DeinterlaceKernels, VectorFormsMatchTheDefinitions) {
    kernel_for_each_target([](RNG& rng) {
        for (const int pixel_size : {6, 2})
            for (size_t n = 0; n <= 140; ++n) check_kernels(pixel_size, n, rng);
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
    EXPECT_EQ(30, motion({10, 20, 30, 40, 50, 10, 30, 50}));  // still, a ramp
    EXPECT_EQ(34, motion({10, 20, 34, 40, 50, 10, 34, 50}));  // still, off the ramp but no comb
    EXPECT_EQ(99, motion({0, 100, 0, 100, 0, 0, 0, 0}));      // a comb of 100: all of -100 but the complement's unit
    EXPECT_EQ(0, motion({0, 0, 80, 0, 0, 0, 0, 0}));          // moved by 80: the tolerance eats the 40 of the mean
    EXPECT_EQ(-1, motion({0, 0, -81, 0, 0, 0, 0, 0}));
    EXPECT_EQ(49, kernel_of<int16_t>(&DEINTERLACE_KERNELS::stripes, {0, 100, 0, 100, 0}));
    EXPECT_EQ(49, kernel_of<uint8_t>(&DEINTERLACE_KERNELS::stripes, {0, 100, 0, 100, 0}));
    EXPECT_EQ(34, kernel_of<int16_t>(&DEINTERLACE_KERNELS::stripes, {10, 20, 34, 40, 50}));  // no comb: as it was
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
        for (uint8_t* image : {cur, prev})
            for (int row = 0; row < H; ++row)
                for (int i = 0; i < W * 3; ++i)
                    words({image + ptrdiff_t{row} * frame_geometry.stride, W * 6})[size_t(i)] =
                        int16_t(rng.between(-300, 4400));
    }
    void TearDown() override {
        filter_system_exit();
        frame_cache_stop();
        frame_table_free();
    }
    /// Runs a method in a frame whose field order is the user's choice, and compares it with the model.
    void check(int number, METHOD method, bool flag, uint32_t flags = 0) {
        FRAME image;
        FRAME scratch;
        FILTER_PROC_PARAM param{};
        param.image = reinterpret_cast<YC48_PIXEL*>(image.image);
        param.scratch = reinterpret_cast<YC48_PIXEL*>(scratch.image);
        param.width = W;
        param.height = H;
        param.frame = 5;
        param.edit = edit.get();
        param.flags = flags;
        const std::vector<uint8_t> before(image.block().begin(), image.block().end());
        filter_run_deinterlace(&param, profile_current(), number);
        SCOPED_TRACE(testing::Message() << "method number " << number << ", flag " << flag);
        compare(method, before, image, read(cur, W, H), read(prev, W, H), flag);
    }
};

TEST_F(DeinterlaceMethodTest, FollowFieldOrder) {
    for (const bool top_first : {true, false}) {
        filter_select(filter_built_in(STR_FILTER_FIELD_ORDER), top_first);
        check(0, WEAVE, top_first, PROC_F_FRAME_INVERTED);
        check(5, MOTION, top_first);
        check(3, DOUBLE, top_first);
        check(1, ADAPTIVE, true);  // which rows are kept has nothing to do with the order
        check(2, ADAPTIVE, false);
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
