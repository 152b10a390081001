#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

#include "platform/ffmpeg/container_convert.h"
#include "platform/parallel.h"

// The row loops below are plain so that the compiler makes vectors of them, which it does from this level on.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("O3")
#endif

static constexpr int MIDDLE = 128 * 64;  // chroma 0
static constexpr int BLACK = 16 * 64;
static constexpr int SHIFT = 14;  // of the coefficients
static constexpr int HALF = 1 << (SHIFT - 1);

/// Y' = BLACK + yy (Y - black) + yu Cb + yv Cr; Cb' = uu Cb + uv Cr; Cr' = vu Cb + vv Cr.
struct COLOUR {
    bool same;  // nothing to do
    int black;
    int yy, yu, yv, uu, uv, vu, vv;
};

struct LUMA_WEIGHTS {
    double r, b;
};
static constexpr LUMA_WEIGHTS LUMA[] = {{0.299, 0.114}, {0.2126, 0.0722}, {0.2627, 0.0593}, {0.212, 0.087}};

/// The way from one matrix over RGB to BT.601, with Y as 0 .. 1 and the chroma as -0.5 .. 0.5. Luma keeps its weight 1
/// as white stays white, and neutral grey stays neutral.
static COLOUR colour_of(const PICTURE_PLANES& p) {
    const LUMA_WEIGHTS in = LUMA[p.matrix], out = LUMA[MATRIX_601];
    const double g_in = 1 - in.r - in.b, g_out = 1 - out.r - out.b;
    // R, G and B without luma, as shares of Cb and Cr.
    const double r_v = 2 * (1 - in.r), b_u = 2 * (1 - in.b);
    const double g_u = -b_u * in.b / g_in, g_v = -r_v * in.r / g_in;
    const double y_u = g_out * g_u + out.b * b_u, y_v = out.r * r_v + g_out * g_v;
    const double cb = 2 * (1 - out.b), cr = 2 * (1 - out.r);
    // Full range of `depth` bits spans (2^depth - 1) steps; in 14 bits:
    const double full = double((1 << p.depth) - 1) * (1 << (SHIFT - p.depth + 2)) / 4;
    const double y_scale = p.full_range ? 219 * 64 / full : 1, c_scale = p.full_range ? 224 * 64 / full : 1;
    const double to_luma = c_scale * 219 / 224;
    const auto fixed = [](double v) { return int(std::lround(v * (1 << SHIFT))); };
    COLOUR c;
    c.same = p.matrix == MATRIX_601 && !p.full_range;
    c.black = p.full_range ? 0 : BLACK;
    c.yy = fixed(y_scale);
    c.yu = fixed(y_u * to_luma);
    c.yv = fixed(y_v * to_luma);
    c.uu = fixed((b_u - y_u) / cb * c_scale);
    c.uv = fixed(-y_v / cb * c_scale);
    c.vu = fixed(-y_u / cr * c_scale);
    c.vv = fixed((r_v - y_v) / cr * c_scale);
    return c;
}

// ---- rows in 14 bits

/// n samples of a plane's row.
static void row_load(int16_t* out, const PLANE_VIEW& plane, int y, int n, int depth) {
    const uint8_t* bytes = plane.data + ptrdiff_t{y} * plane.stride;
    if (depth == 8) {
        for (int x = 0; x < n; ++x) out[x] = int16_t(bytes[x] * 64);
        return;
    }
    const uint16_t* words = reinterpret_cast<const uint16_t*>(bytes);
    const int up = std::max(SHIFT - depth, 0), down = std::max(depth - SHIFT, 0), most = (1 << depth) - 1;
    for (int x = 0; x < n; ++x) out[x] = int16_t(std::min<int>(words[x], most) >> down << up);
}

/// Two rows of chroma and their weights in eighths.
struct ROW_MIX {
    int a, b;
    int weight_a;
};

static ROW_MIX mix_from(double position, int rows) {
    const int a = int(std::floor(position));
    const int weight_b = int(std::lround((position - a) * 8));
    return {std::clamp(a, 0, rows - 1), std::clamp(a + 1, 0, rows - 1), 8 - weight_b};
}

/// Which rows of chroma stand beside luma row y. Chroma row k belongs to the luma rows from k * span on and lies at the
/// first, in the middle or at the last of them. Within a field it lies 1/4 (upper field) or 3/4 (lower field) of a row
/// behind the first of its two.
static ROW_MIX mix_of(const PICTURE_PLANES& p, int y) {
    const int rows = (p.height + (1 << p.log2_h) - 1) >> p.log2_h;
    if (p.log2_h == 0) return {y, y, 8};
    if (!p.interlaced) {
        const int span = 1 << p.log2_h;
        return mix_from((y - p.site_y * (span - 1) / 2.0) / span, rows);
    }
    const int parity = y & 1, field_rows = std::max((rows + 1 - parity) / 2, 1);
    ROW_MIX m = mix_from(((y >> 1) - (parity ? 0.75 : 0.25)) / 2, field_rows);
    m.a = std::min(m.a * 2 + parity, rows - 1);
    m.b = std::min(m.b * 2 + parity, rows - 1);
    return m;
}

static void row_mix(int16_t* out, const int16_t* a, const int16_t* b, int weight_a, int n) {
    for (int x = 0; x < n; ++x) out[x] = int16_t((a[x] * weight_a + b[x] * (8 - weight_a) + 4) >> 3);
}

/// Chroma of a row, n wide, to the m columns of YUY2, level with the even luma samples.
static void row_to_pairs(int16_t* out, const int16_t* in, int n, int m, int log2_w, int site_x) {
    const auto at = [&](int x) { return int(in[std::clamp(x, 0, n - 1)]); };
    if (log2_w == 1 && site_x == 0) {
        std::memcpy(out, in, size_t(m) * sizeof *out);
    } else if (log2_w == 0) {
        out[0] = int16_t((3 * at(0) + at(1) + 2) >> 2);
        for (int x = 1; x < n / 2; ++x) out[x] = int16_t((in[2 * x - 1] + 2 * in[2 * x] + in[2 * x + 1] + 2) >> 2);
        if (n & 1 && n > 1) out[m - 1] = int16_t((at(n - 2) + 3 * at(n - 1) + 2) >> 2);
    } else if (log2_w == 1) {
        // A sample in the middle of a pair (or at its end) is 1/4 (1/2) of a chroma step to the right.
        for (int x = 0; x < m; ++x) out[x] = int16_t((at(x - 1) * site_x + at(x) * (4 - site_x) + 2) >> 2);
    } else {
        for (int x = 0; x < m; ++x) out[x] = int16_t((at(x / 2) + at((x + 1) / 2) + 1) >> 1);
    }
}

static void colour_luma(int16_t* y, const int16_t* u, const int16_t* v, int pairs, const COLOUR& c) {
    for (int x = 0; x < pairs; ++x) {
        const int next = std::min(x + 1, pairs - 1);
        const int u0 = u[x] - MIDDLE, v0 = v[x] - MIDDLE;
        const int u1 = (u[x] + u[next] + 1) / 2 - MIDDLE, v1 = (v[x] + v[next] + 1) / 2 - MIDDLE;
        const int a = (c.yy * (y[2 * x] - c.black) + c.yu * u0 + c.yv * v0 + HALF) >> SHIFT;
        const int b = (c.yy * (y[2 * x + 1] - c.black) + c.yu * u1 + c.yv * v1 + HALF) >> SHIFT;
        y[2 * x] = int16_t(a + BLACK);
        y[2 * x + 1] = int16_t(b + BLACK);
    }
}

static void colour_chroma(int16_t* u, int16_t* v, int pairs, const COLOUR& c) {
    for (int x = 0; x < pairs; ++x) {
        const int u0 = u[x] - MIDDLE, v0 = v[x] - MIDDLE;
        u[x] = int16_t(((c.uu * u0 + c.uv * v0 + HALF) >> SHIFT) + MIDDLE);
        v[x] = int16_t(((c.vu * u0 + c.vv * v0 + HALF) >> SHIFT) + MIDDLE);
    }
}

static uint8_t level(int v) { return uint8_t(std::clamp((v + 32) >> 6, 0, 255)); }

static void row_pack(uint8_t* out, const int16_t* y, const int16_t* u, const int16_t* v, int pairs) {
    for (int x = 0; x < pairs; ++x) {
        out[4 * x] = level(y[2 * x]);
        out[4 * x + 1] = level(u[x]);
        out[4 * x + 2] = level(y[2 * x + 1]);
        out[4 * x + 3] = level(v[x]);
    }
}

// ---- the picture

/// Rows of one worker.
struct ROWS {
    int16_t *y, *a, *b, *mixed, *u, *v;
};

static void chroma_row(const PICTURE_PLANES& p, int plane, const ROW_MIX& mix, const ROWS& rows, int16_t* out) {
    const int n = (p.width + (1 << p.log2_w) - 1) >> p.log2_w, pairs = (p.width + 1) / 2;
    row_load(rows.a, p.plane[plane], mix.a, n, p.depth);
    const int16_t* in = rows.a;
    if (mix.weight_a != 8) {
        row_load(rows.b, p.plane[plane], mix.b, n, p.depth);
        row_mix(rows.mixed, rows.a, rows.b, mix.weight_a, n);
        in = rows.mixed;
    }
    row_to_pairs(out, in, n, pairs, p.log2_w, p.site_x);
}

static void picture_row(const PICTURE_PLANES& p, const COLOUR& colour, int y, const ROWS& rows, uint8_t* out) {
    const int pairs = (p.width + 1) / 2;
    row_load(rows.y, p.plane[0], y, p.width, p.depth);
    if (p.width & 1) rows.y[p.width] = rows.y[p.width - 1];
    if (p.grey) {
        std::fill_n(rows.u, pairs, int16_t{MIDDLE});
        std::fill_n(rows.v, pairs, int16_t{MIDDLE});
    } else {
        const ROW_MIX mix = mix_of(p, y);
        chroma_row(p, 1, mix, rows, rows.u);
        chroma_row(p, 2, mix, rows, rows.v);
    }
    if (!colour.same) {
        colour_luma(rows.y, rows.u, rows.v, pairs, colour);
        colour_chroma(rows.u, rows.v, pairs, colour);
    }
    row_pack(out + size_t(y) * size_t(pairs) * 4, rows.y, rows.u, rows.v, pairs);
}

struct YUY2_JOB {
    const PICTURE_PLANES* planes;
    COLOUR colour;
    uint8_t* out;
};

static void job_run(int thread_i, int thread_n, void* data) {
    const YUY2_JOB& job = *static_cast<YUY2_JOB*>(data);
    const size_t row = size_t(job.planes->width) + 16;
    const std::unique_ptr<int16_t[]> memory(new (std::nothrow) int16_t[row * 6]);
    if (!memory) return;
    int16_t* m = memory.get();
    const ROWS rows = {m, m + row, m + 2 * row, m + 3 * row, m + 4 * row, m + 5 * row};
    const ROW_RANGE range = parallel_rows(job.planes->height, thread_i, thread_n);
    for (int y = range.begin; y < range.end; ++y) picture_row(*job.planes, job.colour, y, rows, job.out);
}

void planes_to_yuy2(const PICTURE_PLANES& planes, uint8_t* out) {
    YUY2_JOB job = {&planes, colour_of(planes), out};
    parallel_run(job_run, &job);
}
