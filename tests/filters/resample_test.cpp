#include "filters/resample.h"

#include <array>
#include <cmath>
#include <cstring>
#include <utility>

#include "filters/resample_kernels.h"
#include "pixels/frame_buffer.h"
#include "platform/parallel.h"
#include "platform/simd.h"
#include "support/frame_test.h"
#include "support/kernel_test.h"

// ---- a model on plain numbers -------------------------------------------------------------------------------------

using LINE = std::vector<int>;      // samples along the direction of a pass
using PICTURE = std::vector<LINE>;  // rows of words (3 a pixel) or bytes (2 a pixel)
enum SAMPLE { WORD_SAMPLE, BYTE_SAMPLE };

static int clip16(int v) { return v < -32768 ? -32768 : v > 32767 ? 32767 : v; }
static int clip8(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }
static int add_all(std::initializer_list<int> terms) {
    int sum = 0;
    for (const int term : terms) sum = clip16(sum + term);
    return sum;
}
static int product_high(int a, int b) { return int(std::floor(double(a) * b / 65536)); }

static int at(const LINE& line, int i) { return line[size_t(std::clamp(i, 0, int(line.size()) - 1))]; }

static LINE line_double(const LINE& line) {
    LINE out;
    for (int i = 0; i < int(line.size()); ++i) {
        const int c = at(line, i);
        out.push_back(add_all({c, c, c, at(line, i - 1), 2}) >> 2);
        out.push_back(add_all({c, c, c, at(line, i + 1), 2}) >> 2);
    }
    return out;
}

static LINE line_halve(const LINE& line) {
    LINE out;
    for (size_t i = 0; i + 1 < line.size(); i += 2) out.push_back(add_all({line[i], line[i + 1], 1}) >> 1);
    return out;
}

// The weights of each output position, by running sums: source position and weights of it and the next two.
struct STEP {
    int i;
    std::array<int, 3> w;
};
static std::vector<STEP> steps_of(int n, int m, int count) {
    const int one = 16384;
    const int s = int((int64_t{std::min(n, m)} << 14) / std::max(n, m));
    std::vector<STEP> steps;
    int pos = 0;
    int i = 0;
    for (int j = 0; j < count; ++j) {
        if (n < m) {
            steps.push_back({i, {one - pos, pos, 0}});
            pos += s;
            if (pos >= one) pos -= one, ++i;
        } else {
            const int w0 = s - pos;
            steps.push_back({i, {w0, std::min(one - w0, s), std::max(one - w0 - s, 0)}});
            pos += one - s, ++i;
            if (pos >= s) pos -= s, ++i;
        }
    }
    return steps;
}

static LINE line_fraction(const LINE& line, int m, SAMPLE sample) {
    LINE out;
    for (const STEP& step : steps_of(int(line.size()), m, m)) {
        int sum = 0;
        for (int k = 0; k < 3; ++k) {
            const int s = at(line, step.i + k);
            const int scaled = sample == WORD_SAMPLE ? clip16(clip16(s * 4) + 2) : s << 4;
            sum = clip16(sum + product_high(scaled, step.w[size_t(k)]));
        }
        out.push_back(sample == WORD_SAMPLE ? sum : clip8((sum + 2) >> 2));
    }
    return out;
}

// Rows of pairs: Y0 U Y1 V. Outside the row the first and last pair repeat.
static int pair_byte(const LINE& row, int pair, int byte) {
    const int inside = std::clamp(pair, 0, int(row.size()) / 4 - 1) * 4 + byte;
    return row[size_t(inside)];
}
static int luma(const LINE& row, int pixel) { return pair_byte(row, pixel >> 1, (pixel & 1) * 2); }
static int chroma(const LINE& row, int pair, int which) { return pair_byte(row, pair, 1 + which * 2); }

static LINE pairs_double(const LINE& row, int w) {
    LINE out;
    for (int k = 0; k < w; ++k) {  // output pair k comes from source pixel k
        const int side = k % 2 ? 1 : -1;
        for (int c = 0; c < 2; ++c) {
            out.push_back((3 * luma(row, k) + luma(row, c ? k + 1 : k - 1) + 2) >> 2);
            out.push_back((3 * chroma(row, k / 2, c) + chroma(row, k / 2 + side, c) + 2) >> 2);
        }
    }
    return out;
}

static LINE pairs_halve(const LINE& row) {
    LINE out;
    for (int k = 0; k < int(row.size()) / 4; k += 2)
        for (int c = 0; c < 2; ++c) {
            out.push_back((luma(row, 2 * (k + c)) + luma(row, 2 * (k + c) + 1) + 1) >> 1);
            out.push_back((chroma(row, k, c) + chroma(row, k + 1, c) + 1) >> 1);
        }
    return out;
}

static LINE pairs_fraction(const LINE& row, int n, int m) {
    const std::vector<STEP> steps = steps_of(n, m, m + m % 2);
    LINE out;
    for (size_t j = 0; j < steps.size(); ++j) {
        int y = 4;
        int uv = 4;
        for (size_t k = 0; k < 3; ++k) {
            y += product_high(luma(row, steps[j].i + int(k)) << 5, steps[j].w[k]);
            for (const STEP& step : {steps[j / 2 * 2], steps[j / 2 * 2 + 1]})
                uv += product_high(chroma(row, (step.i + int(k)) / 2, int(j % 2)) << 4, step.w[k]);
        }
        out.push_back(clip8(y >> 3));
        out.push_back(clip8(uv >> 3));
    }
    return out;
}

// The passes for a size: 2 doubles, 1 halves, anything else is the target of a fractional pass.
static std::vector<int> plan_of(int size, int wanted) {
    std::vector<int> plan;
    for (; wanted >= 2 * size; size *= 2) plan.push_back(2);
    int halvings = 0;
    while ((wanted << (halvings + 1)) <= size) ++halvings;
    if (wanted << halvings != size) plan.push_back((wanted << halvings) + 10);  // + 10: never 1 or 2
    plan.insert(plan.end(), size_t(halvings), 1);
    return plan;
}

static LINE line_pass(const LINE& line, int pass, SAMPLE sample) {
    return pass == 2 ? line_double(line) : pass == 1 ? line_halve(line) : line_fraction(line, pass - 10, sample);
}

static LINE row_pass(const LINE& row, int w, int pass, SAMPLE sample) {
    if (sample == BYTE_SAMPLE)
        return pass == 2 ? pairs_double(row, w) : pass == 1 ? pairs_halve(row) : pairs_fraction(row, w, pass - 10);
    LINE parts[3];
    for (size_t i = 0; i < row.size(); ++i) parts[i % 3].push_back(row[i]);
    for (LINE& part : parts) part = line_pass(part, pass, sample);
    LINE out;
    for (size_t i = 0; i < parts[0].size() * 3; ++i) out.push_back(parts[i % 3][i / 3]);
    return out;
}

static PICTURE transposed(const PICTURE& picture) {
    PICTURE out(picture[0].size(), LINE(picture.size()));
    for (size_t y = 0; y < picture.size(); ++y)
        for (size_t x = 0; x < picture[y].size(); ++x) out[x][y] = picture[y][x];
    return out;
}

static PICTURE model_resize(PICTURE picture, int in_w, int out_w, int out_h, SAMPLE sample) {
    for (const int pass : plan_of(in_w, out_w)) {
        for (LINE& row : picture) row = row_pass(row, in_w, pass, sample);
        in_w = pass == 2 ? in_w * 2 : pass == 1 ? in_w / 2 : pass - 10;
    }
    const std::vector<int> plan = plan_of(int(picture.size()), out_h);
    picture = transposed(picture);
    for (const int pass : plan)
        for (LINE& column : picture) column = line_pass(column, pass, sample);
    return transposed(picture);
}

// ---- frames between canaries --------------------------------------------------------------------------------------

static constexpr size_t CANARY = 4096;

struct CANARY_FRAME {
    std::vector<uint8_t> memory;
    CANARY_FRAME() : memory(frame_geometry.block_size + 2 * CANARY, 0xC5) {}
    uint8_t* image() { return memory.data() + CANARY + frame_geometry.origin; }
    void fill(RNG& rng) {
        uint8_t* block = memory.data() + CANARY;
        if (frame_geometry.pixel_size == 2)
            rng_fill(std::span(block, frame_geometry.block_size), rng);
        else
            rng_fill(std::span(reinterpret_cast<int16_t*>(block), frame_geometry.block_size / 2), rng);
    }
    bool intact() const {
        const auto canary = [](uint8_t byte) { return byte == 0xC5; };
        return std::all_of(memory.begin(), memory.begin() + CANARY, canary) &&
               std::all_of(memory.end() - CANARY, memory.end(), canary);
    }
};

static LINE row_read(const uint8_t* row, int w) {
    LINE line;
    if (frame_geometry.pixel_size == 2)
        line.assign(row, row + (w + 1) / 2 * 4);
    else
        line.assign(reinterpret_cast<const int16_t*>(row), reinterpret_cast<const int16_t*>(row) + ptrdiff_t{w} * 3);
    return line;
}

static PICTURE picture_read(const uint8_t* image, int x, int y, int w, int h) {
    PICTURE picture;
    for (int row = y; row < y + h; ++row)
        picture.push_back(row_read(image + ptrdiff_t{row} * frame_geometry.stride + x * frame_geometry.pixel_size, w));
    return picture;
}

struct ResampleTest : testing::TestWithParam<int> {
    void SetUp() override {
        frame_geometry = frame_geometry_make(320, 240, GetParam());
        parallel_set_dispatch(fake_dispatch);
    }
    void TearDown() override { parallel_set_dispatch(nullptr); }
};
INSTANTIATE_TEST_SUITE_P(PixelSizes, ResampleTest, testing::Values(6, 2));

struct CASE {
    int out_w, out_h, x, y, in_w, in_h;
};

static void check_case(const CASE& c, CANARY_FRAME& src, CANARY_FRAME& alt, RNG& rng) {
    src.fill(rng);
    alt.fill(rng);
    const SAMPLE sample = frame_geometry.pixel_size == 2 ? BYTE_SAMPLE : WORD_SAMPLE;
    const PICTURE want =
        model_resize(picture_read(src.image(), c.x, c.y, c.in_w, c.in_h), c.in_w, c.out_w, c.out_h, sample);
    const uint8_t* result = frame_resize(src.image(), c.out_w, c.out_h, c.x, c.y, c.in_w, c.in_h, alt.image());
    ASSERT_TRUE(result == src.image() || result == alt.image());
    ASSERT_TRUE(src.intact() && alt.intact());
    const PICTURE got = picture_read(result, 0, 0, c.out_w, c.out_h);
    for (size_t y = 0; y < got.size(); ++y)
        for (size_t i = 0; i < got[y].size(); ++i) ASSERT_EQ(want[y][i], got[y][i]) << "row " << y << " sample " << i;
}

static int random_size(RNG& rng) { return rng.below(3) ? rng.between(1, 200) : rng.between(1, 9); }

TEST_P(ResampleTest, AgreesWithTheModel) {
    CANARY_FRAME src;
    CANARY_FRAME alt;
    const auto round = [&](RNG& rng, int count) {
        for (int i = 0; i < count; ++i) {
            CASE c = {random_size(rng), random_size(rng), 0, 0, random_size(rng), random_size(rng)};
            if (rng.below(2)) c.x = rng.between(0, 320 - c.in_w - 1) & ~1, c.y = rng.between(0, 240 - c.in_h);
            if (rng.below(6) == 0) c.out_w = c.in_w;
            if (rng.below(6) == 0) c.out_h = c.in_h;
            fake_threads = std::array{1, 2, 7}[rng.below(3)];
            SCOPED_TRACE(testing::Message() << c.in_w << " x " << c.in_h << " at " << c.x << ", " << c.y << " to "
                                            << c.out_w << " x " << c.out_h << ", threads " << fake_threads);
            check_case(c, src, alt, rng);
            if (testing::Test::HasFatalFailure()) return;
        }
    };
    kernel_for_each_target([&](RNG& rng) { round(rng, 30); });
    simd_enabled = false;
    RNG rng(kernel_seed());
    round(rng, 60);
    simd_enabled = true;
}

TEST_P(ResampleTest, WholeMaximumPicture) {                       // the margin is all there is around it
    frame_geometry = frame_geometry_make(2304, 240, GetParam());  // more positions than one set of taps has
    CANARY_FRAME src;
    CANARY_FRAME alt;
    RNG rng(kernel_seed());
    const CASE cases[] = {{2303, 240, 0, 0, 2304, 239}, {2304, 240, 0, 0, 1152, 120}, {2304, 240, 0, 0, 1300, 200},
                          {1300, 130, 0, 0, 2304, 240}, {576, 60, 0, 0, 2304, 240},   {2304, 240, 0, 0, 1, 1},
                          {1, 1, 0, 0, 2304, 240},      {5, 3, 2296, 232, 8, 8}};
    for (const CASE& c : cases) {
        SCOPED_TRACE(testing::Message() << c.in_w << " to " << c.out_w);
        check_case(c, src, alt, rng);
    }
}

TEST_P(ResampleTest, TakesAsManyPassesAsTheSizesAskFor) {
    frame_geometry = frame_geometry_make(720, 240, GetParam());
    CANARY_FRAME src;
    CANARY_FRAME alt;
    const auto turns = [&](int in_w, int out_w, int x) {
        const uint8_t* result = frame_resize(src.image(), out_w, 2, x, 0, in_w, 2, alt.image());
        return result == src.image() ? 0 : 1;
    };
    EXPECT_EQ(0, turns(640, 640, 0));  // nothing
    EXPECT_EQ(1, turns(640, 640, 8));  // a copy
    EXPECT_EQ(0, turns(640, 320, 0));  // halved in place
    EXPECT_EQ(0, turns(640, 160, 0));
    EXPECT_EQ(1, turns(640, 160, 8));  // the first one moves it, the second is in place
    EXPECT_EQ(1, turns(320, 640, 0));
    EXPECT_EQ(0, turns(320, 700, 0));  // 640, then 700
    EXPECT_EQ(1, turns(720, 352, 0));  // 704, then in place
    EXPECT_EQ(0, turns(0, 352, 0));    // refused
}

TEST_P(ResampleTest, UnchangedWhenThereIsNothingToDo) {
    CANARY_FRAME src;
    CANARY_FRAME alt;
    RNG rng(kernel_seed());
    src.fill(rng);
    const std::vector<uint8_t> before = src.memory;
    EXPECT_EQ(src.image(), frame_resize(src.image(), 64, 48, 0, 0, 64, 48, alt.image()));
    EXPECT_EQ(before, src.memory);
}

TEST(Resample, FlatPictureLosesAtMostTheRounding) {
    frame_geometry = frame_geometry_make(320, 240, 6);
    CANARY_FRAME src;
    CANARY_FRAME alt;
    const auto lowest = [&](int value, int in_w, int out_w) {
        std::fill_n(reinterpret_cast<int16_t*>(src.image()), in_w * 3, int16_t(value));
        const LINE row = row_read(frame_resize(src.image(), out_w, 1, 0, 0, in_w, 1, alt.image()), out_w);
        EXPECT_GE(value, *std::max_element(row.begin(), row.end()));
        return value - *std::min_element(row.begin(), row.end());
    };
    for (const int value : {-2048, -299, -1, 0, 1, 777, 4096}) {
        EXPECT_LE(lowest(value, 100, 173), 1) << value;
        EXPECT_LE(lowest(value, 173, 100), 2) << value;
        EXPECT_EQ(lowest(value, 200, 50), 0) << value;
        EXPECT_EQ(lowest(value, 50, 200), 0) << value;
    }
}

// ---- kernels against their definitions, byte by byte and within their rows ----------------------------------------

static void check_kernels(int pixel_size, int w, RNG& rng) {
    const RESAMPLE_KERNELS* ref = resample_kernels_ref(pixel_size);
    const RESAMPLE_KERNELS* simd = resample_kernels(pixel_size);
    const size_t margin = size_t(pixel_size == 2 ? 4 : 6);
    const auto bytes_of = [=](int pixels) { return size_t(pixel_size == 2 ? (pixels + 1) / 2 * 4 : pixels * 6); };
    const auto both = [&](size_t bytes, const char* what, const auto& call) {
        GUARDED_ROW<uint8_t> want(bytes, 2 * rng.below(8));
        GUARDED_ROW<uint8_t> got(bytes, 2 * rng.below(8));
        call(ref, want.data());
        call(simd, got.data());
        ASSERT_TRUE(rows_equal(want, got)) << what << " w " << w;
    };
    // Rows of words start at even addresses.
    GUARDED_ROW<int16_t> a((bytes_of(w) + 2 * margin) / 2, rng);
    GUARDED_ROW<int16_t> b(bytes_of(w) / 2, rng);
    GUARDED_ROW<int16_t> c(bytes_of(w) / 2, rng);
    const uint8_t* padded = reinterpret_cast<const uint8_t*>(a.data()) + margin;
    const uint8_t* rows[3] = {padded, reinterpret_cast<const uint8_t*>(b.data()),
                              reinterpret_cast<const uint8_t*>(c.data())};
    both(bytes_of(2 * w), "double_width", [&](auto* k, uint8_t* dst) { k->double_width(dst, padded, w); });
    const int even = pixel_size == 2 ? w : w & ~1;
    both(bytes_of((even + 1) / 2), "halve_width", [&](auto* k, uint8_t* dst) { k->halve_width(dst, rows[1], even); });
    both(bytes_of(w), "lean", [&](auto* k, uint8_t* dst) { k->lean(dst, rows[1], rows[2], bytes_of(w)); });
    both(bytes_of(w), "mean", [&](auto* k, uint8_t* dst) { k->mean(dst, rows[1], rows[2], bytes_of(w)); });
    const int to = rng.between(w / 2 + 1, 2 * w);
    const RESAMPLE_TAP tap = resample_tap(resample_scale_make(w, to, w), rng.between(0, to - 1));
    both(bytes_of(w), "blend", [&](auto* k, uint8_t* dst) { k->blend(dst, rows, tap.weights, bytes_of(w)); });
    if (to == 2 * w) return;
    RESAMPLE_TAPS taps;
    const int pairs_to = pixel_size == 2 ? (to + 1) & ~1 : to;
    resample_taps_fill(&taps, resample_scale_make(w, to, pixel_size == 2 ? ((w + 1) & ~1) + 1 : w), 0, pairs_to);
    both(bytes_of(to), "fraction_width", [&](auto* k, uint8_t* dst) { k->fraction_width(dst, padded, &taps); });
}

TEST(ResampleKernels, VectorFormsMatchTheDefinitions) {
    kernel_for_each_target([](RNG& rng) {
        for (const int pixel_size : {6, 2})
            for (int w = 1; w <= 140; ++w) check_kernels(pixel_size, w, rng);
    });
}
