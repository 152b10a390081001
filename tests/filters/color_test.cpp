#include <array>
#include <memory>

#include "filters/color_kernels.h"
#include "filters/color_params.h"
#include "hosts/filter.h"
#include "hosts/filter_functions.h"
#include "pixels/frame_buffer.h"
#include "platform/parallel.h"
#include "platform/simd.h"
#include "support/frame_test.h"
#include "support/kernel_test.h"

/// A filter record with values, and a picture in each of the two buffers that it gets.
struct SETTING {
    bool extended = false;
    std::array<int32_t, COLOR_EXTENDED_TRACK_N> tracks{};
    std::array<int32_t, COLOR_CHECK_N> checks{};

    COLOR_PARAMS params(int pixel_size) const {
        return extended ? color_params_extended(tracks.data(), checks.data(), pixel_size)
                        : color_params(tracks.data(), pixel_size);
    }
    void run(FILTER_PROC_PARAM* param) {
        FILTER filter{};
        filter.track_values = tracks.data();
        filter.check_values = checks.data();
        EXPECT_EQ(1, (extended ? color_extended_proc : color_correct_proc)(&filter, param));
    }
};

static SETTING random_setting(RNG& rng) {
    SETTING s;
    s.extended = rng.below(3) != 0;
    const bool uses_rgb = rng.below(3) != 0;
    const uint32_t zeros = rng.below(8);  // of 8
    for (size_t i = 0; i < (s.extended ? 15 : 6); ++i) {
        const uint32_t kind = rng.below(4);
        s.tracks[i] = kind == 0 ? -256 : kind == 1 ? 256 : rng.between(-256, 256);
        if (kind == 3) s.tracks[i] /= 8;
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
static WIDE word(WIDE v) { return cut(v, -32768, 32767); }
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
        if (s.extended)
            extended();
        else
            plain();
        for (int i = 0; i < 3 && bytes; ++i) offset[i] = offset[i] * (i ? 224 : 219) / 255;
    }
    void plain() {
        const int b = s.tracks[0], c = s.tracks[1], l = s.tracks[3], sat = s.tracks[4], h = s.tracks[5];
        gain[0] = cut((c + l + 256) * 64, 0, 32767);
        gain[1] = cut((c + sat + h + 256) * 64, 0, 32767);
        gain[2] = cut((c + sat - h + 256) * 64, 0, 32767);
        offset[0] = ((c + 256) * b * 16) / 256 - c * 8;
        offset[1] = offset[2] = 0;
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
    bool uses_rgb() const {
        return s.extended && std::any_of(s.tracks.begin() + 6, s.tracks.end(), [](int v) { return v != 0; });
    }
    bool is_idle() const {
        return !(s.extended && (s.checks[1] || s.checks[2])) &&
               std::all_of(s.tracks.begin(), s.tracks.end(), [](int v) { return v == 0; });
    }

    bool only_brightness() const {
        return !s.extended && std::all_of(s.tracks.begin() + 1, s.tracks.begin() + 6, [](int v) { return v == 0; });
    }
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
            const auto v = pixel(p[0], p[1], p[2]);
            for (size_t k = 0; k < 3; ++k) p[k] = int16_t(v[k]);
        }
        for (int i = 0; i < w && bytes; i += 2) {
            uint8_t* p = row + i * 2;
            const auto even = sample(p[0], p[1], p[3]), odd = sample(p[2], p[1], p[3]);
            p[0] = uint8_t(even[0]), p[1] = uint8_t(even[1]), p[2] = uint8_t(odd[0]), p[3] = uint8_t(even[2]);
        }
    }
};

// ---- whole pictures -------------------------------------------------------------------------------------------------

struct BUFFER {
    uint8_t* image = frame_buffer_new();
    BUFFER() = default;
    BUFFER(const BUFFER&) = delete;
    BUFFER& operator=(const BUFFER&) = delete;
    ~BUFFER() { frame_buffer_free(image); }
    std::span<uint8_t> block() { return {image - frame_geometry.origin, frame_geometry.block_size}; }
    std::vector<uint8_t> copy() { return {block().begin(), block().end()}; }
    /// Rows of random characters, extremes among them, or waves within the nominal range under a little noise.
    void fill(RNG& rng) {
        const bool natural = rng.below(3) == 0, bytes = frame_geometry.pixel_size == 2;
        for (int row = 0; row < frame_geometry.max_height; ++row) {
            uint8_t* at = image + ptrdiff_t{row} * frame_geometry.stride;
            const auto n = size_t(frame_geometry.max_width) * size_t(frame_geometry.pixel_size);
            const std::span<int16_t> words(reinterpret_cast<int16_t*>(at), n / 2);
            for (size_t i = 0; i < n && natural && bytes; ++i)
                at[i] = uint8_t(16 + (i + size_t(row)) % 200 + rng.below(16));
            for (size_t i = 0; i < n / 2 && natural && !bytes; ++i)
                words[i] = int16_t(int(i / 3 * 8 + size_t(row)) % 4000 - (i % 3 ? 2000 : 0) + int(rng.below(64)));
            if (!natural && bytes) rng_fill(std::span<uint8_t>(at, n), rng);
            if (!natural && !bytes) rng_fill(words, rng);
        }
    }
};

static void check_picture(const SETTING& setting, int w, int h, RNG& rng) {
    BUFFER image;
    BUFFER scratch;
    image.fill(rng);
    scratch.fill(rng);
    const MODEL model(setting, frame_geometry.pixel_size);
    const std::vector<uint8_t> source = image.copy(), spare = scratch.copy();
    std::vector<uint8_t> want = model.uses_rgb() ? spare : source;
    for (int row = 0; row < h && !model.is_idle(); ++row) {
        const size_t at = frame_geometry.origin + size_t(row) * size_t(frame_geometry.stride);
        std::copy_n(source.data() + at, (w + 1) / 2 * 2 * frame_geometry.pixel_size, want.data() + at);
        if (frame_geometry.pixel_size == 6 && w % 2)  // only pairs are whole
            std::copy_n((model.uses_rgb() ? spare : source).data() + at + w * 6, 6, want.data() + at + w * 6);
        model.row(want.data() + at, w);
    }
    FILTER_PROC_PARAM param{};
    param.image = reinterpret_cast<YC48_PIXEL*>(image.image);
    param.scratch = reinterpret_cast<YC48_PIXEL*>(scratch.image);
    param.width = w;
    param.height = h;
    SETTING(setting).run(&param);
    BUFFER& result = model.uses_rgb() ? scratch : image;
    BUFFER& other = model.uses_rgb() ? image : scratch;
    ASSERT_EQ(reinterpret_cast<uint8_t*>(param.image), result.image);
    ASSERT_EQ(reinterpret_cast<uint8_t*>(param.scratch), other.image);
    const auto at = std::mismatch(want.begin(), want.end(), result.block().begin()).first - want.begin();
    ASSERT_EQ(size_t(at), want.size()) << "row " << (at - ptrdiff_t(frame_geometry.origin)) / frame_geometry.stride
                                       << " byte " << (at - ptrdiff_t(frame_geometry.origin)) % frame_geometry.stride;
    ASSERT_TRUE(other.copy() == (model.uses_rgb() ? source : spare));
}

static void check_pictures(int max_w, int max_h, int w, int h, int rounds, RNG& rng) {
    for (const int pixel_size : {6, 2}) {
        frame_geometry = frame_geometry_make(max_w, max_h, pixel_size);
        for (int i = 0; i < rounds && !testing::Test::HasFatalFailure(); ++i) {
            const SETTING setting = random_setting(rng);
            fake_threads = std::array{1, 2, 7}[rng.below(3)];
            SCOPED_TRACE(testing::Message() << w << " x " << h << ", pixel size " << pixel_size << ", extended "
                                            << setting.extended << ", tracks " << testing::PrintToString(setting.tracks)
                                            << ", checks " << testing::PrintToString(setting.checks));
            check_picture(setting, w, h, rng);
        }
    }
}

TEST(Color, AgreesWithTheModel) {
    parallel_set_dispatch(fake_dispatch);
    const auto all = [](RNG& rng) {
        check_pictures(320, 240, 32, 32, 25, rng);
        check_pictures(320, 240, 33, 35, 25, rng);
        for (int i = 0; i < 50; ++i) check_pictures(320, 240, rng.between(1, 100), rng.between(1, 40), 1, rng);
    };
    kernel_for_each_target(all);
    simd_enabled = false;
    RNG rng(kernel_seed());
    all(rng);
    simd_enabled = true;
    check_pictures(1280, 720, 1279, 719, 1, rng);
    check_pictures(1920, 1080, 1920, 1080, 1, rng);
    parallel_set_dispatch(nullptr);
}

// ---- values worked by hand ------------------------------------------------------------------------------------------

using TRACKS = std::array<int32_t, COLOR_EXTENDED_TRACK_N>;

static std::array<int, 3> yc48_of(const SETTING& s, std::array<int16_t, 3> v) {
    const COLOR_PARAMS params = s.params(6);
    std::array<int16_t, 3> out{};
    color_kernels_ref(6)->row[params.kind](reinterpret_cast<uint8_t*>(out.data()),
                                           reinterpret_cast<const uint8_t*>(v.data()), 1, &params);
    return {out[0], out[1], out[2]};
}
static std::array<int, 4> yuy2_of(const SETTING& s, std::array<uint8_t, 4> v) {
    const COLOR_PARAMS params = s.params(2);
    std::array<uint8_t, 4> out{};
    color_kernels_ref(2)->row[params.kind](out.data(), v.data(), 1, &params);
    return {out[0], out[1], out[2], out[3]};
}
using YC = std::array<int, 3>;
using YUYV = std::array<int, 4>;

TEST(Color, KnownValuesOfThePlainFilter) {
    const SETTING bright{false, TRACKS{256}, {}}, contrast{false, TRACKS{0, 256}, {}};
    const SETTING gamma{false, TRACKS{0, 0, 256}, {}}, dark_gamma{false, TRACKS{0, 0, -256}, {}};
    EXPECT_EQ((YC{4096, 5, -5}), yc48_of(bright, {0, 5, -5}));
    EXPECT_EQ((YC{32767, 0, 0}), yc48_of(bright, {32000, 0, 0}));
    EXPECT_EQ((YUYV{235, 9, 255, 200}), yuy2_of(bright, {16, 9, 37, 200}));
    EXPECT_EQ((YUYV{0, 128, 16, 128}), yuy2_of({false, TRACKS{-256}, {}}, {16, 128, 235, 128}));
    EXPECT_EQ((YC{2047, 1999, -2000}), yc48_of(contrast, {2048, 1000, -1000}));  // a gain of 32767, not 32768
    EXPECT_EQ((YC{-2048, 0, 0}), yc48_of(contrast, {0, 0, 0}));
    EXPECT_EQ(-1758, contrast.params(2).offset[0]);  // -1758.9 towards zero
    EXPECT_EQ(3072, yc48_of(gamma, {2048, 0, 0})[0]);
    EXPECT_EQ(0, yc48_of(gamma, {0, 0, 0})[0]);
    EXPECT_EQ(4096, yc48_of(gamma, {4096, 0, 0})[0]);
    EXPECT_EQ(1024, yc48_of(dark_gamma, {2048, 0, 0})[0]);
    EXPECT_EQ(4095, yc48_of(dark_gamma, {4096, 0, 0})[0]);        // t stops at 32767, so a unit is missing
    EXPECT_EQ(125 + 64, yuy2_of(gamma, {125, 128, 16, 128})[0]);  // 125 is 1744, 8 from the pivot
    const COLOR_PARAMS hue = SETTING{false, TRACKS{0, 0, 0, 0, 0, 100}, {}}.params(6);
    EXPECT_EQ(356 * 64, hue.gain[1]);
    EXPECT_EQ(156 * 64, hue.gain[2]);
    const COLOR_PARAMS limits = SETTING{false, TRACKS{0, 0, 0, 256, -256, -200}, {}}.params(6);
    EXPECT_EQ(32767, limits.gain[0]);
    EXPECT_EQ(0, limits.gain[1]);
    EXPECT_EQ(200 * 64, limits.gain[2]);
    EXPECT_EQ(COLOR_NOTHING, SETTING{}.params(6).kind);
}

TEST(Color, KnownValuesOfTheExtendedFilter) {
    const SETTING to_pc{true, {}, {0, 1, 1}}, to_tv{true, {}, {0, 0, 1}};
    EXPECT_EQ((YC{-298, 0, 0}), yc48_of(to_pc, {0, 0, 0}));
    EXPECT_EQ((YC{4471, 2331, -2332}), yc48_of(to_pc, {4096, 2048, -2048}));  // 4096 * 19077 / 16384 is 4769.25
    EXPECT_EQ((YUYV{0, 128, 255, 128}), yuy2_of(to_pc, {16, 128, 235, 128}));
    EXPECT_EQ((YC{256, 0, 0}), yc48_of(to_tv, {0, 0, 0}));
    EXPECT_EQ(-2313, (SETTING{true, TRACKS{0, -256}, {0, 0, 1}}.params(6).gain[0]));  // limited at the top alone
    EXPECT_EQ(32767, (SETTING{true, TRACKS{0, 256}, {0, 1, 0}}.params(6).gain[0]));
    EXPECT_EQ(COLOR_NOTHING, (SETTING{true, {}, {1, 0, 0}}.params(2).kind));

    SETTING red_up{true, {}, {}};
    red_up.tracks[6] = 16;                                      // 256 of 4096
    EXPECT_EQ((YC{75, -43, 128}), yc48_of(red_up, {0, 0, 0}));  // b and g 3, r 259, times 4
    EXPECT_EQ((YUYV{20, 126, 239, 135}), yuy2_of(red_up, {16, 128, 235, 128}));
    SETTING bent{true, {}, {}};
    for (size_t i = 8; i < 15; i += 3) bent.tracks[i] = 256;
    EXPECT_EQ((YUYV{16, 128, 236, 128}), yuy2_of(bent, {16, 128, 235, 128}));  // white is 4080, the end 4096
    EXPECT_EQ(125 + 55, yuy2_of(bent, {125, 128, 16, 128})[0]);                // 219 / 4 more in the middle
    EXPECT_NEAR(3072, yc48_of(bent, {2048, 0, 0})[0], 4);
}

// Every colour of the video range comes back from RGB, also those that no byte of R, G or B can hold.
TEST(Color, TheWayThroughRgbLosesNoSample) {
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

// ---- three tracks as one --------------------------------------------------------------------------------------------

TEST(Color, SyncFollowsTheTrackThatMoved) {
    static int shown;
    filter_window_hooks.show = [](FILTER*) { ++shown; };
    const auto update = [](std::array<int32_t, 3> rgb, size_t kind, bool sync) {
        SETTING s{true, {}, {sync, 0, 0}};
        for (size_t i = 0; i < 3; ++i) s.tracks[6 + 3 * i + kind] = rgb[i];
        FILTER filter{};
        filter.track_values = s.tracks.data();
        filter.check_values = s.checks.data();
        EXPECT_EQ(1, color_extended_update(&filter, 0));
        for (size_t i = 0; i < 15; ++i) EXPECT_TRUE(s.tracks[i] == 0 || (i >= 6 && i % 3 == kind)) << i;
        return std::array{s.tracks[6 + kind], s.tracks[9 + kind], s.tracks[12 + kind]};
    };
    using RGB = std::array<int32_t, 3>;
    for (size_t kind = 0; kind < 3; ++kind) {
        EXPECT_EQ((RGB{30, 30, 30}), update({10, 10, 30}, kind, true));
        EXPECT_EQ((RGB{30, 30, 30}), update({10, 30, 10}, kind, true));
        EXPECT_EQ((RGB{30, 30, 30}), update({30, 10, 10}, kind, true));
        EXPECT_EQ((RGB{1, 1, 1}), update({1, 2, 3}, kind, true));
    }
    EXPECT_EQ(12, shown);
    EXPECT_EQ((RGB{10, 10, 30}), update({10, 10, 30}, 0, false));
    EXPECT_EQ(12, shown);
    filter_window_hooks = {};
}
