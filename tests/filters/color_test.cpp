#include "filters/color_kernels.h"
#include "filters/color_params.h"
#include "filters/picture_fixture.h"
#include "hosts/filter.h"
#include "hosts/filter_functions.h"

/// The values of one of the two filters.
struct SETTING {
    bool extended = false;
    std::array<int32_t, COLOR_EXTENDED_TRACK_N> tracks{};
    std::array<int32_t, COLOR_CHECK_N> checks{};
    COLOR_PARAMS params(int pixel_size) const {
        return extended ? color_params_extended(tracks.data(), checks.data(), pixel_size)
                        : color_params(tracks.data(), pixel_size);
    }
};

static SETTING random_setting(RNG& rng) {
    SETTING s;
    s.extended = rng.below(3) != 0;
    const bool uses_rgb = rng.below(3) != 0;
    const uint32_t zeros = rng.below(8);  // of 8
    for (size_t i = 0; i < (s.extended ? 15 : 6); ++i) {
        s.tracks[i] = std::array{-256, 256, rng.between(-256, 256), rng.between(-32, 32)}[rng.below(4)];
        if (rng.below(8) < zeros || (i >= COLOR_TRACK_R && !uses_rgb)) s.tracks[i] = 0;
    }
    for (int32_t& check : s.checks) check = rng.below(3) == 0;
    return s;
}

// ---- a model in 64-bit numbers, which never cut anything by themselves ----------------------------------------------

using WIDE = int64_t;

static WIDE floor_div(WIDE a, WIDE b) { return (a - ((a % b) + b) % b) / b; }
static WIDE mul(WIDE a, WIDE b) { return floor_div(a * b, 65536); }
static WIDE cut(WIDE v, WIDE low, WIDE high) { return v < low ? low : v > high ? high : v; }
static WIDE gained(WIDE v, WIDE gain) { return mul(word(v * 4), gain); }
static WIDE hump(WIDE p, WIDE pivot) {
    const WIDE t = word((p - pivot) * 16);
    return mul(t, t) - 16384;
}

struct MODEL {
    SETTING s;
    bool bytes;
    WIDE gain[3], offset[3];
    MODEL(const SETTING& setting, int pixel_size) : s(setting), bytes(pixel_size == 2) {
        s.extended ? extended() : plain();
        for (int i = 0; i < 3 && bytes; ++i) offset[i] = offset[i] * (i ? 224 : 219) / 255;
    }
    void plain() {
        const int b = s.tracks[0], c = s.tracks[1], l = s.tracks[3], sat = s.tracks[4], h = s.tracks[5];
        const int sums[] = {c + l, c + sat + h, c + sat - h};
        for (int i = 0; i < 3; ++i) gain[i] = cut((sums[i] + 256) * 64, 0, 32767), offset[i] = 0;
        offset[0] = ((c + 256) * b * 16) / 256 - c * 8;
    }
    void extended() {
        const bool to_pc = s.checks[1], to_tv = s.checks[2] && !to_pc;
        for (size_t i = 0; i < 3; ++i) {
            offset[i] = s.tracks[2 * i] * 16;
            const int scaling = to_pc ? (i ? 2267 : 2693) : to_tv ? (i ? -1992 : -2313) : 0;
            gain[i] = std::min(16384 + s.tracks[2 * i + 1] * 64 + scaling, 32767);
        }
        if (to_pc) offset[0] -= 298;
        if (to_tv) offset[0] = (s.tracks[0] + 16) * 16;
    }
    bool zero_from(int first) const {
        return std::all_of(s.tracks.begin() + first, s.tracks.end(), [](int v) { return v == 0; });
    }
    bool uses_rgb() const { return s.extended && !zero_from(6); }
    bool is_idle() const { return !(s.extended && (s.checks[1] || s.checks[2])) && zero_from(0); }
    bool only_brightness() const { return !s.extended && zero_from(1); }
    WIDE component(WIDE v, int i) const {
        if (only_brightness() && !bytes) return i ? v : word(v + s.tracks[0] * 16);
        const WIDE p = word(gained(v, gain[i]) + offset[i]);
        if (s.extended || i || s.tracks[2] == 0) return p;
        return word(p + mul(hump(p, bytes ? 1752 : 2048), -s.tracks[2] * 16));
    }
    /// Of B, G, R; scale 4: on the way through bytes, with two bits more at the end.
    WIDE channel(WIDE v, size_t i, int scale) const {
        const int32_t* t = &s.tracks[6 + 3 * (2 - i)];
        const WIDE p = word(gained(v, std::min(16384 + t[1] * 64, 32767)) + t[0] * 16);
        const WIDE bent = p * scale + mul(hump(p, 2048), -t[2] * 16 * scale);
        return scale == 1 ? word(bent) : bent;
    }
    std::array<WIDE, 3> pixel(WIDE y, WIDE cb, WIDE cr) const {
        y = component(y, 0), cb = component(cb, 1), cr = component(cr, 2);
        if (!uses_rgb()) return {y, cb, cr};
        y = word(y * 4), cb = word(cb * 4), cr = word(cr * 4);
        const WIDE l = mul(y, 16320) + 3;
        const WIDE b = word(4 * channel(l + mul(cb, 28919), 0, 1));
        const WIDE g = word(4 * channel(l + mul(cb, -5616) + mul(cr, -11655), 1, 1));
        const WIDE r = word(4 * channel(l + mul(cr, 22881), 2, 1));
        return {mul(b, 1875) + mul(g, 9655) + mul(r, 4918) - 3, mul(b, 8224) + mul(g, -5449) + mul(r, -2775) + 1,
                mul(b, -1337) + mul(g, -6887) + mul(r, 8224) + 1};
    }
    std::array<WIDE, 3> sample(int luma, int u, int v) const {
        const auto out = [](WIDE value) { return cut(floor_div(value, 16), 0, 255); };
        if (only_brightness()) return {cut(luma + s.tracks[0] * 219 / 255, 0, 255), u, v};
        const WIDE y = component(luma * 16 - 256, 0), cb = component(u * 16 - 2048, 1);
        const WIDE cr = component(v * 16 - 2048, 2);
        if (!uses_rgb()) return {out(y + 256), out(cb + 2048), out(cr + 2048)};
        const WIDE l = mul(y * 8, 9539);
        const WIDE b = 2 * channel(l + mul(cb * 8, 16525), 0, 4), r = 2 * channel(l + mul(cr * 8, 13075), 2, 4);
        const WIDE g = 2 * channel(l + mul(cb * 8, -3209) + mul(cr * 8, -6660), 1, 4);
        return {out(mul(b, 802) + mul(g, 4130) + mul(r, 2104) + 264),
                out(mul(b, 3598) + mul(g, -2384) + mul(r, -1214) + 2056),
                out(mul(b, -585) + mul(g, -3013) + mul(r, 3598) + 2056)};
    }
    void row(uint8_t* row, int w) const {
        for (int i = 0; i < w && !bytes; ++i) {
            auto* p = reinterpret_cast<int16_t*>(row) + i * 3;
            std::ranges::transform(pixel(p[0], p[1], p[2]), p, [](WIDE v) { return int16_t(v); });
        }
        for (int i = 0; i < w && bytes; i += 2) {
            uint8_t* p = row + i * 2;
            const auto even = sample(p[0], p[1], p[3]), odd = sample(p[2], p[1], p[3]);
            p[0] = uint8_t(even[0]), p[1] = uint8_t(even[1]), p[2] = uint8_t(odd[0]), p[3] = uint8_t(even[2]);
        }
    }
};

/// Random characters, extremes among them, or waves within the nominal range under a little noise.
static void fill(FRAME& frame, RNG& rng) {
    samples_fill(frame.block(), rng);
    if (rng.below(3)) return;
    for (int row = 0; row < frame_geometry.max_height; ++row)
        for (int i = 0; i < samples_of(frame_geometry.max_width); ++i) {
            const int v = byte_samples() ? 16 + (i + row) % 200 : (i / 3 * 8 + row) % 4000 - (i % 3 ? 2000 : 0);
            frame_put(frame.image, row, i, v + int(rng.below(byte_samples() ? 16 : 64)));
        }
}

static void check(int w, int h, RNG& rng) {
    const SETTING setting = random_setting(rng);
    const MODEL model(setting, frame_geometry.pixel_size);
    FILTER_RUN run;
    std::ranges::copy(setting.tracks, run.tracks.begin());
    std::ranges::copy(setting.checks, run.checks.begin());
    fill(run.image, rng);
    random_threads(rng);
    SCOPED_TRACE(testing::Message() << w << " x " << h << ", pixel size " << frame_geometry.pixel_size << ", extended "
                                    << setting.extended << ", tracks " << testing::PrintToString(setting.tracks)
                                    << ", checks " << testing::PrintToString(setting.checks));
    const std::vector<uint8_t> source = run.image.copy(), spare = run.scratch.copy();
    std::vector<uint8_t> want = model.uses_rgb() ? spare : source;
    for (int row = 0; row < h && !model.is_idle(); ++row) {
        const size_t at = frame_geometry.origin + size_t(row) * size_t(frame_geometry.stride);
        const int whole = byte_samples() ? (w + 1) / 2 * 2 : w;
        std::copy_n(source.data() + at, whole * frame_geometry.pixel_size, want.data() + at);
        model.row(want.data() + at, w);
    }
    ASSERT_EQ(run.run(setting.extended ? color_extended_proc : color_correct_proc, w, h), 1);
    ASSERT_EQ(run.swapped(), model.uses_rgb());
    expect_block(want, run.result().block());
    EXPECT_TRUE(run.other().copy() == (model.uses_rgb() ? source : spare));
}

using Color = PictureTest;
INSTANTIATE_TEST_SUITE_P(PixelSizes, Color, testing::Values(6, 2));

TEST_P(Color, AgreesWithTheModel) {
    for_every_form([](RNG& rng) {
        for (int i = 0; i < 100 && !HasFatalFailure(); ++i)
            i % 4 ? check(rng.between(1, 100), rng.between(1, 40), rng) : check(32 + i % 8 / 4, 33, rng);
    });
    frame_geometry = frame_geometry_make(1920, 1080, GetParam());
    RNG rng(kernel_seed());
    check(1919, 21, rng), check(33, 1080, rng);
}

// ---- values worked by hand ------------------------------------------------------------------------------------------

using TRACKS = decltype(SETTING::tracks);

template <int PIXEL_SIZE, typename T, size_t N>
static std::array<int, N> row_of(const SETTING& s, std::array<T, N> v) {
    const COLOR_PARAMS params = s.params(PIXEL_SIZE);
    std::array<T, N> out{};
    color_kernels_ref(PIXEL_SIZE)
        ->row[params.kind](reinterpret_cast<uint8_t*>(out.data()), reinterpret_cast<const uint8_t*>(v.data()), 1,
                           &params);
    std::array<int, N> values;
    std::ranges::copy(out, values.begin());
    return values;
}
static constexpr auto yc48_of = row_of<6, int16_t, 3>;
static constexpr auto yuy2_of = row_of<2, uint8_t, 4>;
using YC = std::array<int, 3>;
using YUYV = std::array<int, 4>;

TEST(ColorValues, OfThePlainFilter) {
    const SETTING bright{false, TRACKS{256}, {}}, contrast{false, TRACKS{0, 256}, {}};
    const SETTING gamma{false, TRACKS{0, 0, 256}, {}}, dark_gamma{false, TRACKS{0, 0, -256}, {}};
    EXPECT_EQ((YC{32767, 5, -5}), yc48_of(bright, {32000, 5, -5}));
    EXPECT_EQ((YUYV{235, 9, 255, 200}), yuy2_of(bright, {16, 9, 37, 200}));
    EXPECT_EQ((YC{2047, 1999, -2000}), yc48_of(contrast, {2048, 1000, -1000}));  // a gain of 32767, not 32768
    EXPECT_EQ(-1758, contrast.params(2).offset[0]);                              // -1758.9 towards zero
    EXPECT_EQ(3072, yc48_of(gamma, {2048, 0, 0})[0]);
    EXPECT_EQ(4095, yc48_of(dark_gamma, {4096, 0, 0})[0]);        // t stops at 32767, so a unit is missing
    EXPECT_EQ(125 + 64, yuy2_of(gamma, {125, 128, 16, 128})[0]);  // 125 is 1744, 8 from the pivot
    const COLOR_PARAMS limits = SETTING{false, TRACKS{0, 0, 0, 256, -256, -200}, {}}.params(6);
    EXPECT_EQ((YC{32767, 0, 200 * 64}), (YC{limits.gain[0], limits.gain[1], limits.gain[2]}));
    EXPECT_EQ(COLOR_NOTHING, SETTING{}.params(6).kind);
}

// Every colour of the video range comes back from RGB, also those that no byte of R, G or B can hold.
TEST(ColorValues, TheWayThroughRgbLosesNoSample) {
    COLOR_PARAMS neutral = SETTING{true, {}, {}}.params(2);
    for (int y = 16; y <= 235; ++y)
        for (int u = 16; u <= 240; u += 4)
            for (int v = 16; v <= 240; v += 4) {
                const std::array<uint8_t, 4> in = {uint8_t(y), uint8_t(u), uint8_t(251 - y), uint8_t(v)};
                std::array<uint8_t, 4> out{};
                color_kernels_ref(2)->row[COLOR_RGB](out.data(), in.data(), 1, &neutral);
                ASSERT_EQ(in, out);
            }
}

TEST(ColorValues, SyncFollowsTheTrackThatMoved) {
    static int shown;
    filter_window_hooks.show = [](FILTER*) { ++shown; };
    using RGB = std::array<int32_t, 3>;
    const auto update = [](RGB rgb, size_t kind, bool sync) {
        SETTING s{true, {}, {sync, 0, 0}};
        for (size_t i = 0; i < 3; ++i) s.tracks[6 + 3 * i + kind] = rgb[i];
        FILTER filter{};
        filter.track_values = s.tracks.data();
        filter.check_values = s.checks.data();
        EXPECT_EQ(1, color_extended_update(&filter, 0));
        for (size_t i = 0; i < 15; ++i) EXPECT_TRUE(s.tracks[i] == 0 || (i >= 6 && i % 3 == kind)) << i;
        return std::array{s.tracks[6 + kind], s.tracks[9 + kind], s.tracks[12 + kind]};
    };
    for (size_t kind = 0; kind < 3; ++kind) {
        for (const RGB& moved : {RGB{10, 10, 30}, {10, 30, 10}, {30, 10, 10}})
            EXPECT_EQ((RGB{30, 30, 30}), update(moved, kind, true));
        EXPECT_EQ((RGB{1, 1, 1}), update({1, 2, 3}, kind, true));
    }
    EXPECT_EQ((RGB{10, 10, 30}), update({10, 10, 30}, 0, false));
    EXPECT_EQ(12, shown);
    filter_window_hooks = {};
}
