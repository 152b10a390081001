#include "hosts/filter_functions.h"
#include "window_fixture.h"

// The windows as one sees them, c in the middle.
static const std::vector<const char*> WINDOW_PICTURES[] = {
    {" o ", "oco", " o "},
    {"ooo", "oco", "ooo"},
    {" ooo ", "ooooo", "oocoo", "ooooo", " ooo "},
    {"  ooo  ", " ooooo ", "ooooooo", "ooocooo", "ooooooo", " ooooo ", "  ooo  "},
};

// Tracks: strength, range, threshold.
static int noise_model(const PICTURE& p, int row, int i, const std::vector<int32_t>& tracks) {
    const int strength = tracks[0], r = tracks[1], t = tracks[2];
    const int threshold = !p.bytes ? t * 4 : t * (p.chroma(i) ? 224 : 219) / 1020;
    static constexpr int COUNTS[] = {0, 8, 20, 36};
    const int c = p.at(row, i, 0, 0);
    int sum = p.bytes ? COUNTS[r] / 2 : 0;
    for (int dy = -r; dy <= r; ++dy)
        for (int dx = -r; dx <= r; ++dx) {
            if (WINDOW_PICTURES[r].data()[dy + r][dx + r] != 'o') continue;
            const int d = word(p.at(row, i, dx, dy) - c);
            const int a = d >= 0 ? d : -d - 1;
            const int pull = a <= threshold ? a : a < 2 * threshold ? 2 * threshold - a : 0;
            sum = word(sum + (d >= 0 ? pull : -pull - 1));
        }
    const int v = c + floor_65536(sum * (strength * 256 / (COUNTS[r] + 1)));
    return p.bytes ? std::clamp(v, 0, 255) : word(v);
}

using NoiseTest = WindowTest;
INSTANTIATE_TEST_SUITE_P(PixelSizes, NoiseTest, testing::Values(6, 2));

TEST_P(NoiseTest, AgreesWithTheModel) {
    const auto tracks = [](RNG& rng) -> std::vector<int32_t> {
        static constexpr int THRESHOLDS[] = {0, 24, 90, 100, 227, 228, 256};  // both sides of each change of method
        return {rng.below(2) ? 256 : rng.between(0, 256), rng.between(1, 3),
                rng.below(4) ? THRESHOLDS[rng.below(7)] : rng.between(0, 256)};
    };
    window_check(noise_proc, 60, tracks, noise_model);
}

TEST_P(NoiseTest, LargePictures) {
    if (GetParam() == 6)
        window_check_large(noise_proc, 1920, 1080, {256, 1, 24}, noise_model);
    else
        window_check_large(noise_proc, 1279, 719, {256, 3, 256}, noise_model);
}

// ---- figures worked by hand ----------------------------------------------------------------------------------------

struct NoiseValues : testing::Test {
    void SetUp() override { frame_geometry = frame_geometry_make(320, 240, 6); }
};

/// The centre of a picture whose sample (row, i) was given, after a run.
static int centre_of(WINDOW_RUN& run, std::vector<int32_t> tracks) {
    run.tracks = std::move(tracks);
    EXPECT_TRUE(run.run(noise_proc));
    return WINDOW_RUN::get(run.image, run.h / 2, run.samples() / 2);
}

TEST_F(NoiseValues, Words) {
    WINDOW_RUN run(41, 41);
    const int row = 20, i = 61;  // the cb of pixel 20
    run.fill(90);
    run.set(row, i, 0);
    EXPECT_EQ(79, centre_of(run, {256, 1, 24}));  // 8 * 90 * 7281 / 65536
    run.fill(700);
    EXPECT_EQ(700, centre_of(run, {256, 3, 256}));
    run.set(row, i, 5000);
    EXPECT_EQ(4999, centre_of(run, {256, 2, 24}));           // each darker neighbour counts -1
    EXPECT_EQ(700, WINDOW_RUN::get(run.image, row, i + 3));  // and a brighter one nothing
    EXPECT_EQ(4998, centre_of(run, {256, 3, 0}));            // so without a threshold as well
    EXPECT_EQ(4998, centre_of(run, {0, 3, 256}));            // no strength: as it was
    run.fill(1024);
    run.set(row, i, 0);
    EXPECT_EQ(885, centre_of(run, {256, 3, 256}));  // 36 * 1024 stops at 32767
    run.fill(1024);
    run.set(row, i, 0);
    for (const int dx : {-3, 0, 3}) run.set(row + 3, i + dx, -1024);
    EXPECT_EQ(802, centre_of(run, {256, 3, 256}));  // the last three come after the stop
}

TEST_F(NoiseValues, CornerSeesItselfOutside) {
    for (const auto& [width, height] : {std::pair{200, 40}, {20, 20}}) {
        WINDOW_RUN run(width, height);
        run.fill(0);
        run.set(0, 0, 90);
        run.tracks = {256, 3, 24};
        ASSERT_TRUE(run.run(noise_proc));
        EXPECT_EQ(31, WINDOW_RUN::get(run.image, 0, 0));  // 12 of 36 neighbours are the corner: 90 - 24 * 90 / 37
    }
}

TEST_F(NoiseValues, Bytes) {
    frame_geometry = frame_geometry_make(320, 240, 2);
    WINDOW_RUN run(9, 9);  // 5 pairs
    const auto chroma_and_luma = [&](int brighter, int by, int t) {
        run.fill(100);
        for (int k = 0, n = 0; k < 9 && n < brighter; ++k) {
            if (k == 4) continue;
            for (const int at : {8, 9}) run.set(3 + k / 3, at + (k % 3 - 1) * 4, 100 + by);
            ++n;
        }
        run.tracks = {256, 1, t};
        EXPECT_TRUE(run.run(noise_proc));
        return std::pair(WINDOW_RUN::get(run.image, 4, 8), WINDOW_RUN::get(run.image, 4, 9));
    };
    EXPECT_EQ(std::pair(103, 103), chroma_and_luma(8, 3, 24));
    EXPECT_EQ(std::pair(100, 100), chroma_and_luma(5, 1, 24));  // (4 + 5) * 7281 is just below 65536
    EXPECT_EQ(std::pair(101, 101), chroma_and_luma(6, 1, 24));
    EXPECT_EQ(std::pair(147, 149), chroma_and_luma(8, 55, 256));  // thresholds 54 and 56
}

TEST_F(NoiseValues, RangesOutsideTheTrackAreThree) {
    for (const int range : {0, 4}) {
        WINDOW_RUN run(41, 41);
        run.fill(1024);
        run.set(20, 61, 0);
        EXPECT_EQ(885, centre_of(run, {256, range, 256}));
    }
}
