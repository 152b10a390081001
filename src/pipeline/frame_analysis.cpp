#include "pipeline/frame_analysis.h"

#include <algorithm>
#include <string_view>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "hosts/filter.h"
#include "pipeline/field_metric.h"
#include "pipeline/frame_cache.h"
#include "pixels/frame_buffer.h"
#include "resources/string_ids.h"

// Tracks of the method, and the entry of the field order.
enum { TRACK_THRESHOLD, TRACK_RANGE };
enum { ORDER_BOTTOM_FIRST, ORDER_TOP_FIRST };

static constexpr uint32_t COUNT_MAX = 0xFFFF;
static constexpr int CYCLE = 5;

// The signs of a pattern belong to the two answers of each of a run of frames: combed in itself, combed against the
// frame before. A pattern's score adds its signs where the answer is yes.
struct PARITY_PATTERN {
    std::string_view signs;  // frames f - 2 .. f + 2
    int vote;
};
static constexpr PARITY_PATTERN PARITY_PATTERNS[] = {
    {"+----+-++-", -1},
    {"---+-++-+-", -1},
    {"-+-++-+---", +1},
    {"-++-+----+", +1},
};
static constexpr int PARITY_SCORE_MIN = 2;
static constexpr int PARITY_BEFORE = 2, PARITY_RUN = 5;
// What a frame of the run that hardly moved votes for.
static constexpr int STILL_VOTES[PARITY_RUN] = {-1, -1, 0, +1, +1};

// By position of the repeated frame; frames f - 2 .. f + 6 of a cycle that begins at f. One shape, moved by a frame.
static constexpr std::string_view CYCLE_PATTERNS[CYCLE] = {
    "---+-++-+----+-++-", "+----+-++-+----+-+", "+-+----+-++-+----+", "-++-+----+-++-+---", "-+-++-+----+-++-+-",
};
static constexpr int CYCLE_SCORE_MIN = 2;
static constexpr int CYCLE_BEFORE = 2, CYCLE_RUN = 9;
// The position that follows when frame f + k hardly moved.
static constexpr int STILL_POSITIONS[CYCLE] = {2, 3, 4, 0, 1};

// ---- measuring

static bool in_edit(const EDIT_STATE* edit, int frame) { return frame >= 0 && frame < edit->frame_n; }

static uint32_t capped(uint32_t count) { return std::min(count, COUNT_MAX); }

void measure_frame(EDIT_STATE* edit, int frame) {
    if (!in_edit(edit, frame) || (frame_table.frame_flag[frame] & FRAME_METRIC_DONE)) return;
    const FILTER* method = filter_built_in(STR_INTER_AUTO_24FPS);
    const bool top_first = filter_selected(filter_built_in(STR_FILTER_FIELD_ORDER)) == ORDER_TOP_FIRST;
    const FIELD_AREA area = field_area(edit->width, edit->height, method->track_store[TRACK_RANGE], top_first);
    const FIELD_LIMITS limits = field_limits(method->track_store[TRACK_THRESHOLD], frame_geometry.pixel_size);
    const uint8_t* picture = frame_cache_get(edit, frame, 0);
    const uint8_t* before = frame_cache_get(edit, frame, -1);
    const FIELD_COUNTS counts = field_metric(picture, before, area, limits);
    frame_table.frame_field_metric[frame] = capped(counts.comb_before) << 16 | capped(counts.comb);
    frame_table.frame_field_diff[frame] = capped(counts.moved);
    frame_table.frame_flag[frame] |= FRAME_METRIC_DONE;
}

static void measure_run(EDIT_STATE* edit, int first, int n) {
    for (int i = 0; i < n; ++i) measure_frame(edit, first + i);
}

void clear_analysis(EDIT_STATE* edit) {
    for (int i = 0; i < edit->frame_n; ++i) frame_table.frame_flag[i] &= FRAME_USER_FLAGS;
}

int frame_analysis_update(FILTER*, int32_t) {
    if (edit_state) clear_analysis(edit_state);
    return 1;
}

// ---- what the counts of a frame say

struct METRIC {
    int64_t comb, comb_before, diff;  // stored values may come from a file, so products need the room
    int64_t level() const { return diff / 4; }
};

static METRIC metric_of(const EDIT_STATE* edit, int frame) {
    if (!in_edit(edit, frame)) return {};
    const uint32_t metric = frame_table.frame_field_metric[frame];
    return {metric & COUNT_MAX, metric >> 16, frame_table.frame_field_diff[frame]};
}

// Two bits a frame, in the order of the patterns' signs.
static uint32_t comb_bits(const EDIT_STATE* edit, int first, int n) {
    uint32_t bits = 0;
    for (int i = 0; i < n; ++i) {
        const METRIC m = metric_of(edit, first + i);
        bits |= (uint32_t{m.comb > m.level()} | uint32_t{m.comb_before > m.level()} << 1) << (2 * i);
    }
    return bits;
}

static int score(std::string_view signs, uint32_t bits) {
    int sum = 0;
    for (size_t i = 0; i < signs.size(); ++i) {
        if (bits >> i & 1) sum += signs[i] == '+' ? 1 : -1;
    }
    return sum;
}

// Whether frame first + k moved less than a quarter of each of the other four.
static bool is_still(const EDIT_STATE* edit, int first, int k) {
    const int64_t limit = metric_of(edit, first + k).diff * 4;
    for (int i = 0; i < CYCLE; ++i) {
        if (i != k && limit >= metric_of(edit, first + i).diff) return false;
    }
    return true;
}

// ---- field parity

static int parity_pattern_votes(const EDIT_STATE* edit, int first) {
    const uint32_t bits = comb_bits(edit, first, PARITY_RUN);
    int sum = 0;
    for (const PARITY_PATTERN& pattern : PARITY_PATTERNS) {
        if (score(pattern.signs, bits) >= PARITY_SCORE_MIN) sum += pattern.vote;
    }
    return sum;
}

static int parity_still_votes(const EDIT_STATE* edit, int first) {
    int sum = 0;
    for (int k = 0; k < PARITY_RUN; ++k) {
        if (is_still(edit, first, k)) sum += STILL_VOTES[k];
    }
    return sum;
}

static bool parity_decide(EDIT_STATE* edit, int frame) {
    measure_frame(edit, frame);
    const METRIC m = metric_of(edit, frame);
    if (m.comb - 64 > 4 * m.comb_before) return true;
    if (m.comb_before - 64 > 4 * m.comb) return false;
    if (m.comb > m.level() && m.comb_before < m.level()) return true;
    if (m.comb_before > m.level() && m.comb < m.level()) return false;
    const int first = frame - PARITY_BEFORE;
    measure_run(edit, first, PARITY_RUN);
    int votes = parity_pattern_votes(edit, first);
    if (votes == 0 && (m.comb < m.level() || m.comb_before < m.level())) votes = parity_still_votes(edit, first);
    return votes != 0 ? votes > 0 : m.comb > m.comb_before;
}

int field_parity(EDIT_STATE* edit, int frame) {
    if (!in_edit(edit, frame)) return 0;
    uint8_t& flag = frame_table.frame_flag[frame];
    if (!(flag & FRAME_FIELD_DONE)) {
        const bool odd = parity_decide(edit, frame);
        flag = uint8_t((flag & ~FRAME_FIELD_ODD) | FRAME_FIELD_DONE | (odd ? FRAME_FIELD_ODD : 0));
    }
    return flag & FRAME_FIELD_ODD;
}

// ---- cycles of five

static int cycle_decide(const EDIT_STATE* edit, int frame) {
    const uint32_t bits = comb_bits(edit, frame - CYCLE_BEFORE, CYCLE_RUN);
    int position = 0, best = 0;
    for (int p = 0; p < CYCLE; ++p) {
        const int s = score(CYCLE_PATTERNS[p], bits);
        if (s > best) best = s, position = p;
    }
    if (best >= CYCLE_SCORE_MIN) return position;
    for (int k = 0; k < CYCLE; ++k) {
        if (is_still(edit, frame, k)) position = STILL_POSITIONS[k];
    }
    return position;
}

int cycle_drop_position(EDIT_STATE* edit, int frame) {
    if (in_edit(edit, frame) && (frame_table.frame_flag[frame] & FRAME_PHASE_DONE))
        return (CYCLE - frame_table.frame_phase[frame] % CYCLE) % CYCLE;  // a file may hold any phase
    measure_run(edit, frame - CYCLE_BEFORE, CYCLE_RUN);
    const int position = cycle_decide(edit, frame);
    for (int k = 0; k < CYCLE; ++k) {
        if (!in_edit(edit, frame + k)) continue;  // entries behind the edit may belong to its undo record
        frame_table.frame_phase[frame + k] = uint8_t((CYCLE + k - position) % CYCLE);
        frame_table.frame_flag[frame + k] |= FRAME_PHASE_DONE;
    }
    return position;
}
