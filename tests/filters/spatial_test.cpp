#include "filters/picture_fixture.h"
#include "hosts/filter_functions.h"

/// Blur, sharpness and noise reduction: each sample from those around it.

using TRACKS = std::vector<int32_t>;

// The windows as one sees them, c in the middle. The blur sums neighbours of one digit together.
static const std::vector<const char*> WINDOWS[] = {
    {" 0 ", "0c0", " 0 "},
    {"000", "0c1", "111"},
    {" 000 ", "00222", "22c11", "11133", " 333 "},
    {"  000  ", " 00022 ", "2222444", "444c111", "1113333", " 33555 ", "  555  "},
};
template <class FUNC>
static void for_window(int r, const FUNC& func) {
    for (int dy = -r; dy <= r; ++dy)
        for (int dx = -r; dx <= r; ++dx) {
            const char group = WINDOWS[r].data()[dy + r][dx + r];
            if (group != ' ' && group != 'c') func(dx, dy, group - '0');
        }
}

static int floor_65536(int v) { return v >= 0 ? v / 65536 : -((-v + 65535) / 65536); }
static int level_of(const PICTURE& p, int i, int track) {
    return !p.bytes ? track * 4 : track * (p.chroma(i) ? 224 : 219) / 1020;
}

static int mean_model(const PICTURE& p, int row, int i, int r) {
    int groups[6] = {}, sum = 0;
    const auto add = [&](int dx, int dy, int group) {
        sum += p.at(row, i, dx, dy);
        groups[group] = word(groups[group] + p.at(row, i, dx, dy));
    };
    if (r == 0)
        add(0, -1, 0), add(0, 1, 0), add(-1, 0, 0), add(1, 0, 0);
    else
        for_window(r, add);
    if (p.bytes) {
        static constexpr int HALVES[] = {2, 4, 10, 18};
        sum += HALVES[r];
        return r == 0 ? sum >> 2 : r == 1 ? sum >> 3 : floor_65536(sum * (r == 2 ? 3276 : 1820));
    }
    sum = 0;
    for (const int group : groups) sum += group >> (r == 0 || r == 2 ? 2 : 3);
    return r < 2 ? sum : floor_65536(sum * (r == 2 ? 13107 : 14563));
}

// Tracks: strength, range, lower, upper.
template <int SIGN>
static int blur_model(const PICTURE& p, int row, int i, const TRACKS& tracks) {
    const int s = tracks[0], r = tracks[1];
    const int weights[] = {s * 256 / 5, s * 512 / 9, s * 1280 / 21, s * 2304 / 37};
    const int c = p.at(row, i), d = word(mean_model(p, row, i, r) - c);
    const int a = std::min(size_of(d), level_of(p, i, tracks[3])) - level_of(p, i, tracks[2]);
    const int k = d >= 0 ? std::max(a, 0) : -std::max(a, 0) - 1;
    return sample_limited(c + SIGN * floor_65536(k * 4 * weights[r]));
}

// Tracks: strength, range, threshold.
static int noise_model(const PICTURE& p, int row, int i, const TRACKS& tracks) {
    const int r = tracks[1], threshold = level_of(p, i, tracks[2]);
    static constexpr int COUNTS[] = {0, 8, 20, 36};
    const int c = p.at(row, i);
    int sum = p.bytes ? COUNTS[r] / 2 : 0;
    for_window(r, [&](int dx, int dy, int) {
        const int d = word(p.at(row, i, dx, dy) - c), a = size_of(d);
        const int pull = a <= threshold ? a : a < 2 * threshold ? 2 * threshold - a : 0;
        sum = word(sum + (d >= 0 ? pull : -pull - 1));
    });
    return sample_limited(c + floor_65536(sum * (tracks[0] * 256 / (COUNTS[r] + 1))));
}

template <int LEAST_RANGE>
static TRACKS blur_tracks(RNG& rng) {
    const int low = rng.below(2) ? 0 : rng.between(0, 1023);
    return {rng.below(2) ? 256 : rng.between(0, 256), rng.between(LEAST_RANGE, 3), low,
            rng.below(2) ? 1024 : rng.between(low + 1, 1024)};
}
static TRACKS noise_tracks(RNG& rng) {
    static constexpr int THRESHOLDS[] = {0, 24, 90, 100, 227, 228, 256};  // both sides of each change of method
    return {rng.below(2) ? 256 : rng.between(0, 256), rng.between(1, 3),
            rng.below(4) ? THRESHOLDS[rng.below(7)] : rng.between(0, 256)};
}
static constexpr struct {
    FILTER_RUN::PROC proc;
    TRACKS (*tracks)(RNG& rng);
    int (*model)(const PICTURE& p, int row, int i, const TRACKS& tracks);
    int rounds;
} FILTERS[] = {{blur_proc, blur_tracks<0>, blur_model<1>, 50},
               {sharpen_proc, blur_tracks<1>, blur_model<-1>, 20},
               {noise_proc, noise_tracks, noise_model, 60}};

static void check(const auto& f, int w, int h, RNG& rng) {
    FILTER_RUN run;
    run.tracks = f.tracks(rng);
    frame_fill(run.image.image, h, rng);
    if (rng.below(3)) frame_fill_natural(run.image.image, w, h, rng);
    random_threads(rng);
    SCOPED_TRACE(testing::Message() << w << " x " << h << ", tracks " << testing::PrintToString(run.tracks));
    const PICTURE before = picture_read(run.image.image, w, h);
    const std::vector<uint8_t> scratch = run.scratch.copy();
    ASSERT_EQ(run.run(f.proc, w, h), 1);
    ASSERT_TRUE(run.swapped() && run.param.width == w && run.param.height == h);
    expect_picture(scratch, run.scratch.block(), w, h,
                   [&](int row, int i) { return f.model(before, row, i, run.tracks); });
}

using Spatial = PictureTest;
INSTANTIATE_TEST_SUITE_P(PixelSizes, Spatial, testing::Values(6, 2));

TEST_P(Spatial, AgreesWithTheModel) {
    static constexpr int SIZES[][2] = {{32, 32}, {33, 35}, {320, 36}, {64, 3}, {1, 1}, {1, 40}, {2, 2}, {3, 5}};
    for (const auto& f : FILTERS)
        for_every_form([&](RNG& rng) {
            for (int k = 0; k < f.rounds && !HasFatalFailure(); ++k) {
                const auto [w, h] = SIZES[size_t(k / 2) % std::size(SIZES)];
                check(f, k % 2 ? w : rng.between(1, 140), h, rng);  // rows below and above a few vectors
            }
        });
    frame_geometry = frame_geometry_make(1920, 1080, GetParam());
    RNG rng(kernel_seed());
    for (const auto& f : FILTERS) check(f, 1919, 21, rng), check(f, 35, 1080, rng);
}

TEST_P(Spatial, WithoutABandNothingHappens) {
    for (const auto proc : {blur_proc, sharpen_proc})
        for (const int low : {300, 301}) {
            FILTER_RUN run;
            frame_put(run.image.image, 5, 5, 90);
            const std::vector<uint8_t> before = run.image.copy();
            run.tracks = {256, 1, low, 300};
            run.run(proc, 20, 20);
            EXPECT_FALSE(run.swapped());
            EXPECT_TRUE(before == run.image.copy());
        }
}

// ---- figures worked by hand, so that models and kernels cannot share a misreading

/// The middle sample of a flat picture in which it alone had another value; `next` samples behind the middle.
static int lone(FILTER_RUN::PROC proc, int around, int centre, TRACKS tracks, int next = 0) {
    FILTER_RUN run;
    const int i = samples_of(41) / 2 + next;
    for (int y = 0; y < 41; ++y)
        for (int k = 0; k < samples_of(41); ++k) frame_put(run.image.image, y, k, around);
    frame_put(run.image.image, 20, i, centre);
    run.tracks = std::move(tracks);
    run.run(proc, 41, 41);
    return frame_get(run.result().image, 20, i);
}

TEST(SpatialValues, Words) {
    frame_geometry = frame_geometry_make(320, 240, 6);
    EXPECT_EQ(100, lone(blur_proc, 0, 900, {256, 1, 0, 1024}));
    EXPECT_EQ(227, lone(blur_proc, 1024, 0, {256, 1, 0, 64}));         // the step ends at 256 * 8 / 9
    EXPECT_EQ(0, lone(sharpen_proc, 512, 0, {256, 1, 128, 1024}));     // below the band
    EXPECT_EQ(513, lone(sharpen_proc, 0, 512, {256, 1, 128, 1024}));   // so too, but for the complement
    EXPECT_EQ(4, lone(blur_proc, 5, 5, {256, 1, 0, 1024}));            // 20 >> 3 twice is 4
    EXPECT_EQ(7285, lone(blur_proc, 20000, 3645, {256, 1, 0, 1024}));  // sums of 4 stop at 32767: the mean is 8190
    EXPECT_EQ(79, lone(noise_proc, 90, 0, {256, 1, 24}));              // 8 * 90 * 7281 / 65536
    EXPECT_EQ(4999, lone(noise_proc, 700, 5000, {256, 2, 24}));        // each darker neighbour counts -1
    for (const int range : {0, 3, 4})                                  // any other one is 3
        EXPECT_EQ(885, lone(noise_proc, 1024, 0, {256, range, 256}));  // 36 * 1024 stops at 32767
}

TEST(SpatialValues, Bytes) {
    frame_geometry = frame_geometry_make(320, 240, 2);
    EXPECT_EQ(9, lone(blur_proc, 12, 0, {256, 0, 0, 1024}));  // 50 >> 2 = 12, 48 * 13107 / 65536
    EXPECT_EQ(255, lone(sharpen_proc, 0, 200, {256, 3, 0, 1024}));
    EXPECT_EQ(103, lone(noise_proc, 103, 100, {256, 1, 24}));
    EXPECT_EQ(147, lone(noise_proc, 155, 100, {256, 1, 256}));     // the threshold is 54
    EXPECT_EQ(149, lone(noise_proc, 155, 100, {256, 1, 256}, 1));  // and 56 for chroma
    for (int v = 0; v <= 255; v += 5)                              // the rounded mean of a flat picture is what it was
        for (int range = 1; range <= 3; ++range)
            for (const auto proc : {blur_proc, sharpen_proc}) EXPECT_EQ(v, lone(proc, v, v, {256, range, 0, 1024}));
}
