#include "filters/resample.h"

#include <cmath>

#include "filters/picture_fixture.h"
#include "filters/resample_kernels.h"

// ---- a model on plain numbers -------------------------------------------------------------------------------------

using LINE = std::vector<int>;    // samples along the direction of a pass
using LINES = std::vector<LINE>;  // rows of words (3 a pixel) or bytes (2 a pixel)

static int clip8(int v) { return std::clamp(v, 0, 255); }
static int add_all(std::initializer_list<int> terms) {
    int sum = 0;
    for (const int term : terms) sum = word(sum + term);
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
    const int one = 16384, s = int((int64_t{std::min(n, m)} << 14) / std::max(n, m));
    std::vector<STEP> steps;
    int pos = 0, i = 0;
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

static LINE line_fraction(const LINE& line, int m) {
    LINE out;
    for (const STEP& step : steps_of(int(line.size()), m, m)) {
        int sum = 0;
        for (int k = 0; k < 3; ++k) {
            const int s = at(line, step.i + k);
            sum = word(sum + product_high(byte_samples() ? s << 4 : word(word(s * 4) + 2), step.w[size_t(k)]));
        }
        out.push_back(byte_samples() ? clip8((sum + 2) >> 2) : sum);
    }
    return out;
}

// Rows of pairs: Y0 U Y1 V. Outside the row the first and last pair repeat.
static int pair_byte(const LINE& row, int pair, int byte) {
    return row[size_t(std::clamp(pair, 0, int(row.size()) / 4 - 1) * 4 + byte)];
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
        int y = 4, uv = 4;
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

static LINE line_pass(const LINE& line, int pass) {
    return pass == 2 ? line_double(line) : pass == 1 ? line_halve(line) : line_fraction(line, pass - 10);
}

static LINE row_pass(const LINE& row, int w, int pass) {
    if (byte_samples())
        return pass == 2 ? pairs_double(row, w) : pass == 1 ? pairs_halve(row) : pairs_fraction(row, w, pass - 10);
    LINE parts[3];
    for (size_t i = 0; i < row.size(); ++i) parts[i % 3].push_back(row[i]);
    for (LINE& part : parts) part = line_pass(part, pass);
    LINE out;
    for (size_t i = 0; i < parts[0].size() * 3; ++i) out.push_back(parts[i % 3][i / 3]);
    return out;
}

static LINES transposed(const LINES& lines) {
    LINES out(lines[0].size(), LINE(lines.size()));
    for (size_t y = 0; y < lines.size(); ++y)
        for (size_t x = 0; x < lines[y].size(); ++x) out[x][y] = lines[y][x];
    return out;
}

static LINES model_resize(LINES rows, int in_w, int out_w, int out_h) {
    for (const int pass : plan_of(in_w, out_w)) {
        for (LINE& row : rows) row = row_pass(row, in_w, pass);
        in_w = pass == 2 ? in_w * 2 : pass == 1 ? in_w / 2 : pass - 10;
    }
    const std::vector<int> plan = plan_of(int(rows.size()), out_h);
    LINES columns = transposed(rows);
    for (const int pass : plan)
        for (LINE& column : columns) column = line_pass(column, pass);
    return transposed(columns);
}

using ResampleTest = PictureTest;
INSTANTIATE_TEST_SUITE_P(PixelSizes, ResampleTest, testing::Values(6, 2));

struct CASE {
    int out_w, out_h, x, y, in_w, in_h;
};

static void check_case(const CASE& c, const FRAME& src, const FRAME& alt, RNG& rng) {
    SCOPED_TRACE(testing::Message() << c.in_w << " x " << c.in_h << " at " << c.x << ", " << c.y << " to " << c.out_w
                                    << " x " << c.out_h << ", threads " << fake_threads);
    samples_fill(src.block(), rng);
    samples_fill(alt.block(), rng);
    const LINES want = model_resize(picture_read(src.image, c.in_w, c.in_h, c.x, c.y).rows, c.in_w, c.out_w, c.out_h);
    const uint8_t* result = frame_resize(src.image, c.out_w, c.out_h, c.x, c.y, c.in_w, c.in_h, alt.image);
    ASSERT_TRUE(result == src.image || result == alt.image);
    const LINES got = picture_read(result, c.out_w, c.out_h).rows;
    for (size_t y = 0; y < got.size(); ++y) ASSERT_EQ(want[y], got[y]) << "row " << y;
}

static int random_size(RNG& rng) { return rng.below(3) ? rng.between(1, 200) : rng.between(1, 9); }

TEST_P(ResampleTest, AgreesWithTheModel) {
    const FRAME src, alt;
    for_every_form([&](RNG& rng) {
        for (int i = 0; i < 40 && !HasFatalFailure(); ++i) {
            CASE c = {random_size(rng), random_size(rng), 0, 0, random_size(rng), random_size(rng)};
            if (rng.below(2)) c.x = rng.between(0, 320 - c.in_w - 1) & ~1, c.y = rng.between(0, 240 - c.in_h);
            if (rng.below(6) == 0) c.out_w = c.in_w;
            if (rng.below(6) == 0) c.out_h = c.in_h;
            random_threads(rng);
            check_case(c, src, alt, rng);
        }
    });
}

TEST_P(ResampleTest, WholeMaximumPicture) {                       // the margin is all there is around it
    frame_geometry = frame_geometry_make(2304, 240, GetParam());  // more positions than one set of taps has
    const FRAME src, alt;
    RNG rng(kernel_seed());
    for (const CASE& c : {CASE{2303, 240, 0, 0, 2304, 239},
                          {1152, 120, 0, 0, 2304, 240},
                          {2304, 240, 0, 0, 1300, 200},
                          {1300, 130, 0, 0, 2304, 240},
                          {2304, 240, 0, 0, 1, 1},
                          {1, 1, 0, 0, 2304, 240},
                          {5, 3, 2296, 232, 8, 8}})
        check_case(c, src, alt, rng);
}

// Which of the two pictures holds the result tells it.
TEST_P(ResampleTest, TakesAsManyPassesAsTheSizesAskFor) {
    frame_geometry = frame_geometry_make(720, 240, GetParam());
    const FRAME src, alt;
    const struct {
        int in_w, out_w, x;
        bool moved;
    } rows[] = {{640, 640, 0, false},  // nothing
                {640, 640, 8, true},   // a copy
                {640, 160, 0, false},  // halved in place
                {640, 160, 8, true},   // the first one moves it, the second is in place
                {320, 700, 0, false},  // 640, then 700
                {720, 352, 0, true}};  // 704, then in place
    for (const auto& c : rows)
        EXPECT_EQ(frame_resize(src.image, c.out_w, 2, c.x, 0, c.in_w, 2, alt.image) == alt.image, c.moved) << c.out_w;
}

// ---- kernels against their definitions, byte by byte and within their rows ----------------------------------------

static void check_kernels(int pixel_size, int w, RNG& rng) {
    const RESAMPLE_KERNELS* ref = resample_kernels_ref(pixel_size);
    const RESAMPLE_KERNELS* simd = resample_kernels(pixel_size);
    const size_t margin = size_t(pixel_size == 2 ? 4 : 6);
    const auto bytes_of = [=](int pixels) { return size_t(pixel_size == 2 ? (pixels + 1) / 2 * 4 : pixels * 6); };
    const auto both = [&](size_t bytes, const char* what, const auto& call) {
        GUARDED_ROW<uint8_t> want(bytes, 2 * rng.below(8)), got(bytes, 2 * rng.below(8));
        call(ref, want.data());
        call(simd, got.data());
        ASSERT_TRUE(rows_equal(want, got)) << what << " w " << w;
    };
    // Rows of words start at even addresses.
    GUARDED_ROW<int16_t> a((bytes_of(w) + 2 * margin) / 2, rng), b(bytes_of(w) / 2, rng), c(bytes_of(w) / 2, rng);
    const auto bytes = [](const auto& row) { return reinterpret_cast<const uint8_t*>(row.data()); };
    const uint8_t *padded = bytes(a) + margin, *rows[3] = {padded, bytes(b), bytes(c)};
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
