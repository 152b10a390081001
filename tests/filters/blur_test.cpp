#include "hosts/filter_functions.h"
#include "window_fixture.h"

// The neighbours that are summed together, a digit for each group.
static const std::vector<const char*> GROUPS[] = {
    {" 0 ", "0c0", " 0 "},
    {"000", "0c1", "111"},
    {" 000 ", "00222", "22c11", "11133", " 333 "},
    {"  000  ", " 00022 ", "2222444", "444c111", "1113333", " 33555 ", "  555  "},
};

static int mean_model(const PICTURE& p, int row, int i, int r) {
    const int reach = std::max(r, 1);
    int groups[6] = {}, sum = 0;
    const auto add = [&](int dx, int dy) {
        const char group = GROUPS[r].data()[dy + reach][dx + reach];
        if (group == ' ' || group == 'c') return;
        sum += p.at(row, i, dx, dy);
        groups[group - '0'] = word(groups[group - '0'] + p.at(row, i, dx, dy));
    };
    if (r == 0)
        add(0, -1), add(0, 1), add(-1, 0), add(1, 0);
    else
        for (int dy = -r; dy <= r; ++dy)
            for (int dx = -r; dx <= r; ++dx) add(dx, dy);
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
static int blur_model(const PICTURE& p, int row, int i, const std::vector<int32_t>& tracks) {
    const int s = tracks[0], r = tracks[1];
    const auto limit = [&](int track) { return !p.bytes ? track * 4 : track * (p.chroma(i) ? 224 : 219) / 1020; };
    const int weights[] = {s * 256 / 5, s * 512 / 9, s * 1280 / 21, s * 2304 / 37};
    const int c = p.at(row, i, 0, 0), d = word(mean_model(p, row, i, r) - c);
    const int a = std::min(d >= 0 ? d : -d - 1, limit(tracks[3])) - limit(tracks[2]);
    const int k = d >= 0 ? std::max(a, 0) : -std::max(a, 0) - 1;
    const int v = c + SIGN * floor_65536(k * 4 * weights[r]);
    return p.bytes ? std::clamp(v, 0, 255) : word(v);
}

using BlurTest = WindowTest;
INSTANTIATE_TEST_SUITE_P(PixelSizes, BlurTest, testing::Values(6, 2));

TEST_P(BlurTest, AgreesWithTheModel) {
    const auto tracks = [](int least_range) {
        return [=](RNG& rng) -> std::vector<int32_t> {
            const int low = rng.below(2) ? 0 : rng.between(0, 1023);
            return {rng.below(2) ? 256 : rng.between(0, 256), rng.between(least_range, 3), low,
                    rng.below(2) ? 1024 : rng.between(low + 1, 1024)};
        };
    };
    window_check(blur_proc, 50, tracks(0), blur_model<1>);
    window_check(sharpen_proc, 20, tracks(1), blur_model<-1>);
}

TEST_P(BlurTest, LargePictures) {
    if (GetParam() == 6)
        window_check_large(blur_proc, 1279, 719, {256, 3, 0, 1024}, blur_model<1>);
    else
        window_check_large(sharpen_proc, 1920, 1080, {256, 2, 128, 1024}, blur_model<-1>);
}

TEST_P(BlurTest, WithoutABandNothingHappens) {
    for (const auto proc : {blur_proc, sharpen_proc})
        for (const int low : {300, 301}) {
            WINDOW_RUN run(20, 20);
            run.fill(7);
            run.set(5, 5, 90);
            run.tracks = {256, 1, low, 300};
            EXPECT_FALSE(run.run(proc));
            EXPECT_EQ(90, WINDOW_RUN::get(run.image, 5, 5));
            EXPECT_EQ(0, WINDOW_RUN::get(run.scratch, 5, 5));
        }
}

// ---- figures worked by hand ----------------------------------------------------------------------------------------

/// The middle sample of a flat picture in which it alone had another value.
static int lone(WINDOW_RUN::PROC proc, int around, int centre, std::vector<int32_t> tracks) {
    WINDOW_RUN run(41, 41);
    run.fill(around);
    run.set(20, run.samples() / 2, centre);
    run.tracks = std::move(tracks);
    EXPECT_TRUE(run.run(proc));
    return WINDOW_RUN::get(run.image, 20, run.samples() / 2);
}

TEST(BlurValues, Words) {
    frame_geometry = frame_geometry_make(320, 240, 6);
    EXPECT_EQ(100, lone(blur_proc, 0, 900, {256, 1, 0, 1024}));
    EXPECT_EQ(900, lone(blur_proc, 0, 900, {0, 1, 0, 1024}));
    EXPECT_EQ(227, lone(blur_proc, 1024, 0, {256, 1, 0, 64}));        // the step ends at 256 * 8 / 9
    EXPECT_EQ(0, lone(sharpen_proc, 512, 0, {256, 1, 128, 1024}));    // below the band
    EXPECT_EQ(513, lone(sharpen_proc, 0, 512, {256, 1, 128, 1024}));  // so too, but for the complement
    EXPECT_EQ(8, lone(blur_proc, 8, 8, {256, 1, 0, 1024}));
    EXPECT_EQ(4, lone(blur_proc, 5, 5, {256, 1, 0, 1024}));            // 20 >> 3 twice is 4
    EXPECT_EQ(7285, lone(blur_proc, 20000, 3645, {256, 1, 0, 1024}));  // sums of 4 stop at 32767: the mean is 8190
}

TEST(BlurValues, Bytes) {
    frame_geometry = frame_geometry_make(320, 240, 2);
    EXPECT_EQ(9, lone(blur_proc, 12, 0, {256, 0, 0, 1024}));  // 50 >> 2 = 12, 48 * 13107 / 65536
    EXPECT_EQ(255, lone(sharpen_proc, 0, 200, {256, 3, 0, 1024}));
    for (int v = 0; v <= 255; v += 5)  // the rounded mean of a flat picture is what it was
        for (int range = 1; range <= 3; ++range)
            for (const auto proc : {blur_proc, sharpen_proc}) EXPECT_EQ(v, lone(proc, v, v, {256, range, 0, 1024}));
}
