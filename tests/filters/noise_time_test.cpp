#include "filters/noise_time_kernels.h"
#include "filters/picture_fixture.h"
#include "hosts/filter_functions.h"
#include "hosts/frame_source_fixture.h"

/// Seven pictures with a margin, in one memory. Outside of the picture they hold what reading there must see: zeros
/// from the cache, anything in the tests of the kernel.
struct STORE {
    static constexpr size_t FRAME_N = 7;
    ptrdiff_t stride;
    std::vector<int16_t> memory;
    const uint8_t* frames[FRAME_N];
    STORE(int w, int h) {
        const int width = ((w + 7) & ~7) + 8, height = ((h + 7) & ~7) + 8;
        stride = ptrdiff_t{width} * frame_geometry.pixel_size;
        const size_t room = size_t(stride) * size_t(height);
        memory.resize(room * FRAME_N / 2);
        auto* origin = reinterpret_cast<uint8_t*>(memory.data()) + (width + 1) * 4 * frame_geometry.pixel_size;
        for (size_t n = 0; n < FRAME_N; ++n) frames[n] = origin + room * n;
    }
    uint8_t* row(size_t frame, int y) const { return const_cast<uint8_t*>(frames[frame]) + y * stride; }
    int at(size_t frame, int y, int i) const { return sample_get(row(frame, y), i); }  // also outside of the picture
    std::span<uint8_t> bytes() { return {reinterpret_cast<uint8_t*>(memory.data()), memory.size() * 2}; }
    /// A gradient that moves, with noise: differences on both sides of the thresholds.
    void fill_natural(RNG& rng) {
        const int noise = rng.between(1, 60), n = int(memory.size()) * (byte_samples() ? 2 : 1);
        for (int i = 0; i < n; ++i) {
            const int v = i / 5 % 97 + i / 1000 % 61 + rng.between(0, noise);
            sample_put(bytes().data(), i, byte_samples() ? v : v * 16 - 500);
        }
    }
};

// ---- a model, one sample at a time ----------------------------------------------------------------------------------

static int model(const STORE& store, int radius, int strength, int threshold, int y, int i) {
    const bool bytes = byte_samples();
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
        const int penalty = word(std::max(size_of(d) - t, 0) + std::max(size_of(e) - t, 0));
        const int k = std::max(size_of(d) - word(2 * penalty), 0);
        sum = word(sum + (d < 0 ? -1 - k : k));
    }
    if (bytes) sum += radius;
    return sample_limited(c + (sum * (strength * 256 / (2 * radius + 1)) >> 16));
}

using NoiseTimeTest = PictureTest;
INSTANTIATE_TEST_SUITE_P(PixelSizes, NoiseTimeTest, testing::Values(6, 2));

static void check(int w, int h, RNG& rng) {
    STORE store(w, h);
    rng.below(2) ? samples_fill(store.bytes(), rng) : store.fill_natural(rng);
    const int radius = rng.between(1, 3), strength = rng.between(0, 256), threshold = rng.between(0, 256);
    random_threads(rng);
    SCOPED_TRACE(testing::Message() << w << " x " << h << ", radius " << radius << ", strength " << strength
                                    << ", threshold " << threshold);
    const FRAME image;
    frame_fill(image.image, h, rng);
    const std::vector<uint8_t> before = image.copy();
    noise_time_picture(image.image, store.frames, store.stride, w, h, radius,
                       noise_time_levels(frame_geometry.pixel_size, radius, strength, threshold));
    expect_picture(before, image.block(), w, h,
                   [&](int y, int i) { return model(store, radius, strength, threshold, y, i); });
}

TEST_P(NoiseTimeTest, AgreesWithTheModel) {
    static constexpr int SIZES[][2] = {{32, 32}, {33, 35}, {320, 9}, {5, 3}, {1, 1}};
    for_every_form([](RNG& rng) {
        for (int n = 0; n < 40 && !HasFatalFailure(); ++n) {
            const auto [w, h] = SIZES[rng.below(std::size(SIZES))];
            check(rng.below(2) ? w : rng.between(1, 100), h, rng);
        }
    });
    frame_geometry = frame_geometry_make(1920, 1080, GetParam());
    RNG rng(kernel_seed());
    check(1919, 21, rng), check(33, 1080, rng);
}

// ---- known values: one sample of a flat picture differs -------------------------------------------------------------

/// Luma of pixel (8, 8) where it is `value` in the picture to smooth and `other` in the k-th of the others; all else is
/// 100.
static int spot(int pixel_size, int radius, int strength, int value, int other, int k = -1) {
    frame_geometry = frame_geometry_make(320, 240, pixel_size);
    STORE store(16, 16);
    const int n = int(store.memory.size()) * (byte_samples() ? 2 : 1), i = byte_samples() ? 16 : 24;
    for (int at = 0; at < n; ++at) sample_put(store.bytes().data(), at, 100);
    for (int f = 0; f <= 2 * radius; ++f)
        sample_put(store.row(size_t(f), 8), i, f == radius ? value : k < 0 || f == k ? other : value);
    const FRAME image;
    noise_time_picture(image.image, store.frames, store.stride, 16, 16, radius,
                       noise_time_levels(pixel_size, radius, strength, 36));
    return frame_get(image.image, 8, i);
}

TEST(NoiseTime, KnownValues) {
    // T 288, W 21845: two differences of 60 give 120 * 21845 >> 16 = 39; -60 counts as ~59: -120 floors to -40.
    EXPECT_EQ(spot(6, 1, 256, 40, 100), 40 + 39);
    EXPECT_EQ(spot(6, 1, 256, 160, 100), 160 - 40);
    EXPECT_EQ(spot(6, 3, 128, 160, 100), 160 - 26);        // W 4681
    EXPECT_EQ(spot(6, 1, 256, 0, 300, 0), 91);             // 12 above T: 300 - 24 = 276, * 21845 >> 16 = 91.998
    EXPECT_EQ(spot(6, 1, 256, 0, 575, 2), 0);              // 575 - 2 * 287 = 1, a third of which is lost
    EXPECT_EQ(spot(6, 1, 256, 30000, -30000), 30000 - 1);  // nothing, but the complements' units: -2 / 3 floors
    // T of luma 36 * 219 / 510 = 15; 12 and 12 and the start value 1: 25 * 21845 >> 16 = 8.
    EXPECT_EQ(spot(2, 1, 256, 88, 100), 88 + 8);
    EXPECT_EQ(spot(2, 3, 256, 140, 100), 140 - 1);  // six complements of 0 and 3: -3 * 9362 >> 16 = -1
}

struct NoiseTimeFilterTest : FRAME_SOURCE_TEST {
    FILTER* filter = nullptr;
    FILTER_RUN chain;
    static int tone(int n, int y, int i) { return n * n * 5 + y + i; }
    void SetUp() override {
        FRAME_SOURCE_TEST::SetUp();
        width = 33, height = 35;
        sample = tone;
        FILTER user = record("user", FILTER_F_ACTIVE | FILTER_F_TEMPORAL);
        user.func_proc = noise_time_proc;
        user.track_count = 3;
        static const char* labels[] = {"s", "r", "t"};
        static int32_t defaults[] = {256, 3, 36};
        user.track_labels = labels;
        user.track_defaults = defaults;
        start_with({{&filter, user}});
    }
    void run(int n) {
        chain.param = {};
        chain.param.frame = n;
        chain.param.edit = edit.get();
        const auto proc = [](FILTER*, FILTER_PROC_PARAM* param) {
            filter_chain_run(param, profile_current(), nullptr, nullptr);
            return 1;
        };
        chain.run(proc, 99, 99);
    }
    void check(int n, int radius) {
        STORE store(width, height);
        for (int f = 0; f <= 2 * radius; ++f)
            for (int y = 0; y < height; ++y)
                for (int i = 0; i < width * 3; ++i)
                    sample_put(store.row(size_t(f), y), i, tone(std::clamp(n + f - radius, 0, 9), y, i));
        run(n);
        ASSERT_EQ((std::array{chain.param.width, chain.param.height}), (std::array{width, height}));
        ASSERT_FALSE(chain.swapped());
        SCOPED_TRACE(n);
        expect_picture(chain.image.copy(), chain.image.block(), width, height, [&](int y, int i) {
            return model(store, radius, filter->track_values[0], filter->track_values[2], y, i);
        });
    }
    size_t renders(int n) {
        return size_t(std::ranges::count(steps_of([&] { run(n); }), "source"));
    }
};

TEST_F(NoiseTimeFilterTest, SmoothsOverItsNeighbours) {
    for (const int n : {0, 1, 5, 9}) check(n, 3);  // before the first frame the first one stands
    for (const auto& [range, radius] : {std::pair{1, 1}, {2, 2}, {17, 3}}) {
        filter->track_values[1] = range;
        check(6, radius);
    }
}

TEST_F(NoiseTimeFilterTest, RendersEachFrameOnce) {
    EXPECT_EQ(renders(4), 1u + 7u);  // the first is only for the size
    EXPECT_EQ(renders(4), 0u);
    EXPECT_EQ(renders(5), 1u);
    width = 40, height = 20;
    filter_cache_clear_all();
    check(6, 3);
    filter_set_active(filter, false);  // no store for a filter that is off
    chain.param.width = chain.param.height = 0;
    EXPECT_EQ(noise_time_proc(filter, &chain.param), 0);
    EXPECT_EQ((std::array{chain.param.width, chain.param.height}), (std::array{width, height}));
}
