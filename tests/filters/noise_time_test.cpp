#include <array>
#include <cstring>
#include <memory>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/profile.h"
#include "filters/noise_time_kernels.h"
#include "hosts/filter_cache.h"
#include "hosts/filter_fixture.h"
#include "hosts/filter_functions.h"
#include "pixels/frame_buffer.h"
#include "platform/parallel.h"
#include "platform/simd.h"
#include "resources/string_ids.h"
#include "support/frame_test.h"
#include "support/kernel_test.h"

// ---- pictures as a cache keeps them ---------------------------------------------------------------------------------

/// Seven pictures with a margin, in one memory. Outside of the picture they hold what reading there must see: zeros
/// from the cache, anything in the tests of the kernel.
struct STORE {
    static constexpr size_t FRAME_N = 7;
    int pixel_size, w, h;
    ptrdiff_t stride;
    std::vector<int16_t> memory;
    const uint8_t* frames[FRAME_N];

    STORE(int pixel_size, int w, int h) : pixel_size(pixel_size), w(w), h(h) {
        const int width = ((w + 7) & ~7) + 8, height = ((h + 7) & ~7) + 8;
        stride = ptrdiff_t{width} * pixel_size;
        const size_t room = size_t(stride) * size_t(height);
        memory.resize(room * FRAME_N / 2);
        auto* origin = reinterpret_cast<uint8_t*>(memory.data()) + (width + 1) * 4 * pixel_size;
        for (size_t n = 0; n < FRAME_N; ++n) frames[n] = origin + room * n;
    }
    /// Sample i of row y, also outside of the picture.
    int at(size_t frame, int y, int i) const {
        const uint8_t* row = frames[frame] + y * stride;
        if (pixel_size == 2) return row[i];
        int16_t word;
        std::memcpy(&word, row + 2 * ptrdiff_t{i}, 2);
        return word;
    }
    int samples() const { return pixel_size == 2 ? (w + 1) / 2 * 4 : w * 3; }
};

static void fill(STORE& store, RNG& rng) {
    if (store.pixel_size == 6) return rng_fill(std::span(store.memory), rng);
    rng_fill(std::span(reinterpret_cast<uint8_t*>(store.memory.data()), store.memory.size() * 2), rng);
}

/// A gradient that moves, with noise: differences on both sides of the thresholds.
static void fill_natural(STORE& store, RNG& rng) {
    auto* bytes = reinterpret_cast<uint8_t*>(store.memory.data());
    const size_t n = store.pixel_size == 6 ? store.memory.size() : store.memory.size() * 2;
    const int noise = rng.between(1, 60), scale = store.pixel_size == 6 ? 16 : 1;
    for (size_t i = 0; i < n; ++i) {
        const int v = int(i / 5 % 97 + i / 1000 % 61) + rng.between(0, noise);
        if (store.pixel_size == 6)
            store.memory[i] = int16_t(v * scale - 500);
        else
            bytes[i] = uint8_t(v);
    }
}

// ---- a model, one sample at a time ----------------------------------------------------------------------------------

static int word(int v) { return v < -32768 ? -32768 : v > 32767 ? 32767 : v; }
static int positive(int v) { return v > 0 ? v : 0; }
static int size_of(int v) { return v >= 0 ? v : -1 - v; }

static int model(const STORE& store, int radius, int strength, int threshold, int y, int i) {
    const bool bytes = store.pixel_size == 2;
    const int side = bytes ? 4 : 3;
    const int t = !bytes ? threshold * 8 : i % 2 ? threshold * 224 / 510 : threshold * 219 / 510;
    const auto cross = [&](size_t f) {
        const int sides = word(store.at(f, y, i - side) + store.at(f, y, i + side));
        return word(word(sides + store.at(f, y - 1, i)) + store.at(f, y + 1, i));
    };
    const int c = store.at(size_t(radius), y, i);
    int sum = 0;
    for (int f = 0; f <= 2 * radius; ++f) {
        if (f == radius) continue;
        const int d = word(store.at(size_t(f), y, i) - c), e = word(cross(size_t(f)) - cross(size_t(radius)));
        const int penalty = word(positive(size_of(d) - t) + positive(size_of(e) - t));
        const int k = positive(size_of(d) - word(2 * penalty));
        sum = word(sum + (d < 0 ? -1 - k : k));
    }
    if (bytes) sum += radius;
    const int result = c + (sum * (strength * 256 / (2 * radius + 1)) >> 16);
    return bytes ? std::min(positive(result), 255) : word(result);
}

static void put(uint8_t* row, int i, int value) {
    const auto sample = int16_t(value);
    if (frame_geometry.pixel_size == 2)
        row[i] = uint8_t(value);
    else
        std::memcpy(row + 2 * ptrdiff_t{i}, &sample, 2);
}

struct NoiseTimeTest : testing::TestWithParam<int> {
    void SetUp() override { parallel_set_dispatch(fake_dispatch); }
    void TearDown() override { parallel_set_dispatch(nullptr); }
};
INSTANTIATE_TEST_SUITE_P(PixelSizes, NoiseTimeTest, testing::Values(6, 2));

TEST_P(NoiseTimeTest, AgreesWithTheModel) {
    frame_geometry = frame_geometry_make(320, 240, GetParam());
    static constexpr int SIZES[][2] = {{32, 32}, {33, 35}, {320, 9}, {5, 3}, {1, 1}};
    const FRAME image;
    const auto round = [&](RNG& rng, int count) {
        for (int n = 0; n < count; ++n) {
            const auto [w, h] = SIZES[rng.below(std::size(SIZES))];
            STORE store(GetParam(), w, h);
            rng.below(2) ? fill(store, rng) : fill_natural(store, rng);
            const int radius = rng.between(1, 3), strength = rng.between(0, 256), threshold = rng.between(0, 256);
            fake_threads = std::array{1, 2, 7}[rng.below(3)];
            rng_fill(image.block(), rng);
            std::vector<uint8_t> want(image.block().begin(), image.block().end());
            for (int y = 0; y < h; ++y)
                for (int i = 0; i < store.samples(); ++i)
                    put(want.data() + frame_geometry.origin + ptrdiff_t{y} * frame_geometry.stride, i,
                        model(store, radius, strength, threshold, y, i));
            noise_time_picture(image.image, store.frames, store.stride, w, h, radius,
                               noise_time_levels(GetParam(), radius, strength, threshold));
            ASSERT_TRUE(std::equal(want.begin(), want.end(), image.block().begin()))
                << w << " x " << h << ", radius " << radius << ", strength " << strength << ", threshold " << threshold;
        }
    };
    kernel_for_each_target([&](RNG& rng) { round(rng, 40); });
    simd_enabled = false;
    RNG rng(kernel_seed());
    round(rng, 40);
    simd_enabled = true;
}

TEST_P(NoiseTimeTest, VectorFormsMatchTheDefinitionOnWholePictures) {
    for (const auto& [w, h] : {std::pair{1279, 719}, {1920, 1080}}) {
        frame_geometry = frame_geometry_make(w, h, GetParam());
        const FRAME want;
        const FRAME got;
        RNG rng(kernel_seed());
        for (const int radius : w == 1920 ? std::vector{3} : std::vector{1, 2, 3}) {
            STORE store(GetParam(), w, h);
            radius == 1 ? fill(store, rng) : fill_natural(store, rng);
            const NOISE_TIME_LEVELS levels = noise_time_levels(GetParam(), radius, 256, rng.between(1, 80));
            fake_threads = radius == 2 ? 7 : 2;
            simd_enabled = false;
            noise_time_picture(want.image, store.frames, store.stride, w, h, radius, levels);
            simd_enabled = true;
            noise_time_picture(got.image, store.frames, store.stride, w, h, radius, levels);
            ASSERT_EQ(std::memcmp(want.block().data(), got.block().data(), want.block().size()), 0)
                << w << " x " << h << ", radius " << radius << ", VANTEL_TEST_SEED=" << kernel_seed();
        }
    }
}

TEST_P(NoiseTimeTest, RowsOfEveryLengthStayInTheirRow) {
    const size_t sample = GetParam() == 2 ? 1 : 2;
    kernel_for_each_target([&](RNG& rng) {
        for (size_t n = 0; n <= 80; n += 2) {
            STORE store(GetParam(), 40, 1);
            fill(store, rng);
            const int radius = rng.between(1, 3);
            NOISE_TIME_JOB job{{}, store.stride, noise_time_levels(GetParam(), radius, 200, rng.between(0, 256))};
            for (int k = 0; k < 2 * radius; ++k) job.others[k] = store.frames[k + 1] - store.frames[0];
            GUARDED_ROW<uint8_t> want(n * sample, 2 * rng.below(8));
            GUARDED_ROW<uint8_t> got(n * sample, 2 * rng.below(8));
            noise_time_row_ref(GetParam(), radius)(want.data(), store.frames[0], &job, n * sample);
            noise_time_row(GetParam(), radius)(got.data(), store.frames[0], &job, n * sample);
            ASSERT_TRUE(rows_equal(want, got)) << "n " << n << " radius " << radius;
        }
    });
}

// ---- known values: one sample of a flat picture differs -------------------------------------------------------------

/// Luma of pixel (8, 8) where it is `value` in the picture to smooth and `other` in the k-th of the others; all else is
/// 100.
static int spot(int pixel_size, int radius, int strength, int threshold, int value, int other, int k = -1) {
    frame_geometry = frame_geometry_make(320, 240, pixel_size);
    STORE store(pixel_size, 16, 16);
    auto* bytes = reinterpret_cast<uint8_t*>(store.memory.data());
    if (pixel_size == 2)
        std::fill_n(bytes, store.memory.size() * 2, uint8_t{100});
    else
        std::fill(store.memory.begin(), store.memory.end(), int16_t{100});
    for (int f = 0; f <= 2 * radius; ++f) {
        auto* row = const_cast<uint8_t*>(store.frames[f]) + 8 * store.stride;
        put(row, pixel_size == 2 ? 16 : 24, f == radius ? value : k < 0 || f == k ? other : value);
    }
    const FRAME image;
    noise_time_picture(image.image, store.frames, store.stride, 16, 16, radius,
                       noise_time_levels(pixel_size, radius, strength, threshold));
    const uint8_t* row = image.image + ptrdiff_t{8} * frame_geometry.stride;
    return pixel_size == 2 ? row[16] : reinterpret_cast<const int16_t*>(row)[24];
}

TEST(NoiseTime, KnownValues) {
    EXPECT_EQ(spot(6, 3, 256, 36, 100, 100), 100);
    EXPECT_EQ(spot(6, 1, 0, 36, 160, 100), 160);
    // T 288, W 21845: two differences of 60 give 120 * 21845 >> 16 = 39; -60 counts as ~59: -120 floors to -40.
    EXPECT_EQ(spot(6, 1, 256, 36, 40, 100), 40 + 39);
    EXPECT_EQ(spot(6, 1, 256, 36, 160, 100), 160 - 40);
    EXPECT_EQ(spot(6, 2, 256, 36, 160, 100), 160 - 48);        // W 13107: -240 * 13107 >> 16
    EXPECT_EQ(spot(6, 3, 256, 36, 160, 100), 160 - 52);        // W 9362: -360 * 9362 >> 16 = -51.4
    EXPECT_EQ(spot(6, 3, 128, 36, 160, 100), 160 - 26);        // W 4681
    EXPECT_EQ(spot(6, 1, 256, 36, 0, 300, 0), 91);             // 12 above T: 300 - 24 = 276, * 21845 >> 16 = 91.998
    EXPECT_EQ(spot(6, 1, 256, 36, 0, 576, 2), 0);              // twice T: nothing
    EXPECT_EQ(spot(6, 1, 256, 36, 0, 575, 2), 0);              // 575 - 2 * 287 = 1, a third of which is lost
    EXPECT_EQ(spot(6, 1, 256, 36, 30000, -30000), 30000 - 1);  // nothing, but the complements' units: -2 / 3 floors
    // T of luma 36 * 219 / 510 = 15; 12 and 12 and the start value 1: 25 * 21845 >> 16 = 8.
    EXPECT_EQ(spot(2, 1, 256, 36, 88, 100), 88 + 8);
    EXPECT_EQ(spot(2, 1, 256, 36, 112, 100), 112 - 8);  // (-24 + 1) * 21845 >> 16 = -7.67
    EXPECT_EQ(spot(2, 3, 256, 36, 140, 100), 140 - 1);  // six complements of 0 and 3: -3 * 9362 >> 16 = -1
}

TEST(NoiseTime, MeasuresTheCrossAgainstTheThreshold) {
    // Around a still sample everything has moved by 100: the cross by 400, 112 above T, so 224 are taken of a.
    frame_geometry = frame_geometry_make(320, 240, 6);
    STORE store(6, 16, 16);
    const size_t room = size_t(store.frames[1] - store.frames[0]) / 2;
    std::fill(store.memory.begin() + ptrdiff_t(room), store.memory.end(), int16_t{100});  // all but the first
    std::fill_n(store.memory.begin(), room, int16_t{200});
    const auto result = [&](int difference) {
        put(const_cast<uint8_t*>(store.frames[0]) + 8 * store.stride, 24, 100 + difference);
        const FRAME image;
        noise_time_picture(image.image, store.frames, store.stride, 16, 16, 1, noise_time_levels(6, 1, 256, 36));
        return reinterpret_cast<const int16_t*>(image.image + ptrdiff_t{8} * frame_geometry.stride)[24] - 100;
    };
    EXPECT_EQ(result(224), 0);
    EXPECT_EQ(result(284), 19);    // 60 * 21845 >> 16
    EXPECT_EQ(result(-285), -21);  // ~(284 - 224) = -61, * 21845 >> 16 = -20.3
}

// ---- the filter in its chain ----------------------------------------------------------------------------------------

/// Ten frames out of a deinterlace method: sample i of row y of frame n is tone(n) + y + i. The source may change size.
struct NoiseTimeFilterTest : FILTER_TABLE_TEST {
    static inline int width, height;
    std::unique_ptr<EDIT_STATE> edit = std::make_unique<EDIT_STATE>();
    FILTER* filter = nullptr;
    FRAME image, scratch;

    static int tone(int n) { return n * n * 5; }
    static int draw(FILTER*, FILTER_PROC_PARAM* param) {
        param->width = width;
        param->height = height;
        for (int y = 0; y < height; ++y)
            for (int i = 0; i < width * 3; ++i)
                put(reinterpret_cast<uint8_t*>(param->image) + y * param->line_size, i, tone(param->frame) + y + i);
        return 1;
    }
    NoiseTimeFilterTest() { frame_geometry = frame_geometry_make(320, 240, 6); }
    void SetUp() override {
        FILTER_TABLE_TEST::SetUp();
        width = 33, height = 35;
        edit->edit_flag = EDIT_OPEN;
        edit->frame_n = 10;
        edit->width = width;
        edit->height = height;
        std::strncpy(edit->profile_name[0], profile_current(), PATH_SIZE - 1);
        ASSERT_EQ(frame_table_alloc(10), 1);
        FILTER method = record("source", FILTER_F_DEINTERLACE_METHOD);
        method.func_proc = draw;
        add(method);
        FILTER user = record("user", FILTER_F_ACTIVE | FILTER_F_TEMPORAL);
        user.func_proc = noise_time_proc;
        user.track_count = 3;
        static const char* labels[] = {"s", "r", "t"};
        static int32_t defaults[] = {256, 3, 36};
        user.track_labels = labels;
        user.track_defaults = defaults;
        filter = add(user);
        start();
        filter_select(filter_built_in(STR_FILTER_DEINTERLACE), 6);
    }
    void TearDown() override {
        FILTER_TABLE_TEST::TearDown();
        frame_table_free();
    }
    FILTER_PROC_PARAM run(int n) {
        FILTER_PROC_PARAM param{};
        param.image = reinterpret_cast<YC48_PIXEL*>(image.image);
        param.scratch = reinterpret_cast<YC48_PIXEL*>(scratch.image);
        param.width = param.height = 99;
        param.frame = n;
        param.edit = edit.get();
        filter_chain_run(&param, profile_current(), nullptr, nullptr);
        return param;
    }
    void check(int n, int radius) {
        STORE store(6, width, height);
        for (int f = 0; f <= 2 * radius; ++f)
            for (int y = 0; y < height; ++y)
                for (int i = 0; i < width * 3; ++i)
                    put(const_cast<uint8_t*>(store.frames[f]) + y * store.stride, i,
                        tone(std::clamp(n + f - radius, 0, 9)) + y + i);
        const FILTER_PROC_PARAM param = run(n);
        ASSERT_EQ(param.width * 1000 + param.height, width * 1000 + height);
        ASSERT_EQ(reinterpret_cast<uint8_t*>(param.image), image.image);
        for (int y = 0; y < height; ++y)
            for (int i = 0; i < width * 3; ++i)
                ASSERT_EQ(reinterpret_cast<int16_t*>(image.image + ptrdiff_t{y} * frame_geometry.stride)[i],
                          model(store, radius, filter->track_values[0], filter->track_values[2], y, i))
                    << "frame " << n << " row " << y << " sample " << i;
    }
    size_t renders(int n) {
        return size_t(std::ranges::count(steps_of([&] { run(n); }), "source"));
    }
};

TEST_F(NoiseTimeFilterTest, SmoothsOverItsNeighbours) {
    for (const int n : {0, 1, 5, 9}) check(n, 3);  // before the first frame the first one stands
    filter->track_values[1] = 1;
    check(5, 1);
    filter->track_values[1] = 2;
    check(8, 2);
    filter->track_values[1] = 17;
    check(6, 3);
    filter->track_values[0] = 0;
    run(4);
    EXPECT_EQ(reinterpret_cast<int16_t*>(image.image)[5], tone(4) + 5);
}

TEST_F(NoiseTimeFilterTest, RendersEachFrameOnce) {
    EXPECT_EQ(renders(4), 1u + 7u);  // the first is only for the size
    EXPECT_EQ((std::array{filter->cache_width, filter->cache_height, filter->cache_depth, filter->cache_flags}),
              (std::array{48, 48, 7, 1}));
    EXPECT_EQ(renders(4), 0u);
    EXPECT_EQ(renders(5), 1u);
    EXPECT_EQ(renders(6), 1u);
    width = 40, height = 20;
    filter_cache_clear_all();
    check(6, 3);
}

TEST_F(NoiseTimeFilterTest, LeavesThePictureWithoutACache) {
    std::memset(image.image, 0x5A, 100);
    FILTER_PROC_PARAM param{};
    param.image = reinterpret_cast<YC48_PIXEL*>(image.image);
    param.edit = edit.get();
    filter_set_active(filter, false);  // no store for a filter that is off
    EXPECT_EQ(noise_time_proc(filter, &param), 0);
    EXPECT_EQ(param.width * 1000 + param.height, width * 1000 + height);
    edit->edit_flag = 0;
    EXPECT_EQ(noise_time_proc(filter, &param), 0);
    EXPECT_EQ(image.image[0] + image.image[99], 2 * 0x5A);
}
