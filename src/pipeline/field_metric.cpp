#include "pipeline/field_metric.h"

#include <algorithm>
#include <atomic>

#include "pixels/frame_buffer.h"
#include "pixels/word_math.h"
#include "platform/parallel.h"
#include "platform/simd.h"

static constexpr int RANGE_MAX = 0x7FFF;  // a margin that no picture has; keeps the sums below in range
static constexpr int MIN_INSIDE = 32;     // pixels that a margin leaves over, and rows that are worth the workers

// ---- what is compared, and how strictly

static FIELD_LIMITS limits_of(int even, int odd, int below) {
    return {{word_saturate(even), word_saturate(odd)}, {word_saturate(below - even), word_saturate(below - odd)}};
}

FIELD_LIMITS field_limits(int threshold, int pixel_size) {
    const int s = std::clamp(threshold, -RANGE_MAX, RANGE_MAX);
    if (pixel_size == PIXEL_SIZE_YUY2) return limits_of((s + 16) * 876 / 4080, (s + 16) * 896 / 4080, -1);
    return limits_of(s * 4 + 64, s * 4 + 64, 0);
}

FIELD_AREA field_area(int width, int height, int margin, bool top_first) {
    int g = std::clamp(margin, 0, RANGE_MAX);
    const int smaller = std::min(width, height);
    if (smaller < 2 * g + MIN_INSIDE) g = std::max(smaller / 2 - MIN_INSIDE / 2, 0);
    const int left = g & ~7;
    return {left, width - 2 * left, g + (top_first ? 1 : 2), std::max((height - 2 * g - 4) / 2, 0), height - 2 * g};
}

// ---- the definition

static int magnitude(int v) { return v < 0 ? ~v : v; }

static bool combed(int w0, int w1, int w2, int w3, int limit) {
    const int flip = word_sub(w1, w2) < 0 ? -1 : 0;
    return std::max(word_sub(w0, w1) ^ flip, word_sub(w2, w3) ^ flip) <= limit;
}

template <typename SAMPLE>
static void row_ref(FIELD_COUNTS* counts, const uint8_t* const* rows, size_t bytes, const FIELD_LIMITS& limits) {
    const auto at = [rows](int row, size_t i) -> int { return reinterpret_cast<const SAMPLE*>(rows[row])[i]; };
    for (size_t i = 0; i < bytes / sizeof(SAMPLE); ++i) {
        const int b = at(FIELD_ROW_B, i), e = at(FIELD_ROW_E, i);
        if (magnitude(word_sub(b, e)) <= limits.moved[i & 1]) continue;
        const int a = at(FIELD_ROW_A, i), g1 = at(FIELD_ROW_G1, i), limit = limits.comb[i & 1];
        ++counts->moved;
        counts->comb += combed(a, b, g1, at(FIELD_ROW_G2, i), limit);
        counts->comb_before += combed(a, e, g1, at(FIELD_ROW_F, i), limit);
    }
}

FIELD_METRIC_ROW field_metric_row_ref(int pixel_size) {
    return pixel_size == PIXEL_SIZE_YUY2 ? row_ref<uint8_t> : row_ref<int16_t>;
}

// ---- bands of rows

struct METRIC_JOB {
    const uint8_t* picture;  // first sampled row and column
    const uint8_t* before;
    int rows;
    size_t bytes;
    FIELD_LIMITS limits;
    FIELD_METRIC_ROW row;
    std::atomic<uint32_t> moved, comb, comb_before;
};

static void metric_band(int thread_i, int thread_n, void* data) {
    auto* job = static_cast<METRIC_JOB*>(data);
    const ptrdiff_t stride = frame_geometry.stride;
    const ROW_RANGE range = parallel_rows(job->rows, thread_i, thread_n);
    FIELD_COUNTS counts = {};
    for (int i = range.begin; i < range.end; ++i) {
        const uint8_t* b = job->picture + i * 2 * stride;
        const uint8_t* e = job->before + i * 2 * stride;
        const uint8_t* const rows[FIELD_ROW_N] = {b - stride, b, b + stride, b + 2 * stride, e, e + 2 * stride};
        job->row(&counts, rows, job->bytes, job->limits);
    }
    job->moved += counts.moved;
    job->comb += counts.comb;
    job->comb_before += counts.comb_before;
}

FIELD_COUNTS field_metric(const uint8_t* picture, const uint8_t* before, const FIELD_AREA& area,
                          const FIELD_LIMITS& limits) {
    const int size = frame_geometry.pixel_size;
    const ptrdiff_t offset = ptrdiff_t{area.top} * frame_geometry.stride + area.left * size;
    METRIC_JOB job = {picture + offset,
                      before + offset,
                      area.rows,
                      size_t(std::max(area.width, 0)) * size_t(size),
                      limits,
                      simd_enabled ? field_metric_row_simd(size) : field_metric_row_ref(size),
                      0,
                      0,
                      0};
    parallel_run_if(area.height >= MIN_INSIDE, metric_band, &job);
    return {job.moved, job.comb, job.comb_before};
}
