#include "pipeline/frame_schedule.h"

#include <algorithm>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "hosts/filter.h"
#include "resources/string_ids.h"

enum { MODE_NONE, MODE_24, MODE_20, MODE_15, MODE_12, MODE_10 };
constexpr RATE_MODE RATE_MODES[RATE_MODE_N] = {{1, 1, 0}, {5, 4, 24}, {3, 2, 20}, {2, 1, 15}, {5, 2, 12}, {3, 1, 10}};

static constexpr int METHOD_AUTO_24FPS = 4;
static constexpr int METHOD_PLUGIN = 6;  // and above
static constexpr int DROP_DEFAULT = 4;   // of a cycle of five that is not analysed
static constexpr uint32_t SCALE_LIMIT = 1000000;

int frame_rate_mode() {
    const int mode = filter_selected(filter_built_in(STR_FILTER_RATE_CHANGE));
    return mode > MODE_NONE && mode < RATE_MODE_N ? mode : int{MODE_NONE};
}

static bool auto_24fps_wanted() { return filter_built_in(STR_FILTER_RATE_SETTING)->check_store[0] != 0; }

static int modulo(int a, int n) { return (a % n + n) % n; }

// ---- one frame

// A cycle as it lies in the edit, and the place in it of the frame that is asked for.
struct PLACE {
    EDIT_STATE* edit;
    int base;
    int q;
    bool marked(int k) const {
        const int64_t frame = int64_t{base} + k;
        return frame >= 0 && frame < edit->frame_n && (frame_table.frame_flag[frame] & FRAME_DROP);
    }
};

static bool keep_1_of_2(const PLACE& at) { return at.q == (at.marked(0) ? 1 : 0); }

static bool keep_2_of_3(const PLACE& at) {
    const int dropped = at.marked(0) ? 0 : at.marked(1) ? 1 : 2;
    return at.q != dropped;
}

static bool keep_1_of_3(const PLACE& at) {
    const int kept = !at.marked(0) ? 0 : !at.marked(1) ? 1 : 2;
    return at.q == kept;
}

static bool keep_4_of_5(const PLACE& at, int repeated) {
    for (int k = 4; k >= 0; --k) {
        if (at.marked(k)) repeated = k;
    }
    return at.q != repeated;
}

// Where a marked frame's turn goes: to the last unmarked one that has no turn yet.
static int turn_of(const PLACE& at, int wanted, int other) {
    if (!at.marked(wanted)) return wanted;
    for (int k = 4; k >= 0; --k) {
        if (k != wanted && k != other && !at.marked(k)) return k;
    }
    return wanted;
}

static bool keep_2_of_5(const PLACE& at, int repeated) {
    const int second = (repeated + 3) % 5;
    const int first = turn_of(at, (repeated + 1) % 5, second);
    return at.q == first || at.q == turn_of(at, second, first);
}

static bool keep_of_5(PLACE at, int frame, int mode, bool analysed) {
    if (at.base < 0) at.base = frame, at.q = 0;
    const int repeated = analysed ? cycle_drop_position(at.edit, at.base) : DROP_DEFAULT;
    return mode == MODE_24 ? keep_4_of_5(at, repeated) : keep_2_of_5(at, repeated);
}

static int ask_plugin(FILTER* filter, EDIT_STATE* edit, int position, int frame, int rate) {
    const bool inside = frame >= 0 && frame < edit->frame_n;
    return filter_is_saveframe(filter, edit, position, frame, rate, inside ? frame_table.frame_flag[frame] : 0,
                               inside ? frame_table.frame_inter[frame] : 0);
}

int is_saveframe(EDIT_STATE* edit, int position, int frame) {
    const int mode = frame_rate_mode();
    if (mode == MODE_NONE) return 1;
    const int method = filter_selected(filter_built_in(STR_FILTER_DEINTERLACE));
    const bool automatic = (mode == MODE_24 || mode == MODE_12) && auto_24fps_wanted();
    if (method >= METHOD_PLUGIN && !automatic) {
        FILTER* filter = filter_deinterlace_method(method);
        if (filter && filter->func_is_saveframe)
            return ask_plugin(filter, edit, position, frame, RATE_MODES[mode].rate);
    }
    const int q = modulo(position, RATE_MODES[mode].cycle);
    const PLACE at = {edit, frame - q, q};
    switch (mode) {
        case MODE_20: return keep_2_of_3(at);
        case MODE_15: return keep_1_of_2(at);
        case MODE_10: return keep_1_of_3(at);
        default: return keep_of_5(at, frame, mode, automatic || method == METHOD_AUTO_24FPS);
    }
}

// ---- counting and walking

int output_frame_count(int frames) {
    const RATE_MODE& mode = RATE_MODES[frame_rate_mode()];
    return int(int64_t{frames} * mode.kept / mode.cycle);
}

static struct { int start = -1, index = -1, position = -1; } walk;

static int next_position(EDIT_STATE* edit, int position, int start) {
    const int last = edit->frame_n - start - 1;
    while (position < last && !is_saveframe(edit, position, position + start)) ++position;
    return std::min(position, last);
}

// Marks and analysis move frames within their cycle only, so a cycle can be entered without walking there.
static int position_in_cycle(EDIT_STATE* edit, int index, int start) {
    const RATE_MODE& mode = RATE_MODES[frame_rate_mode()];
    int position = index / mode.kept * mode.cycle, skip = index % mode.kept;
    for (int i = 0; i < mode.cycle; ++i, ++position) {
        if (is_saveframe(edit, position, position + start) && skip-- == 0) break;
    }
    return position;
}

int output_frame_of(EDIT_STATE* edit, int index, int start) {
    if (frame_rate_mode() == MODE_NONE) return index + start;
    index = std::clamp(index, 0, edit->frame_n);  // an output plug-in may ask for anything
    if (index == 0) walk = {start, -1, -1};
    if (walk.start != start || (index != walk.index && index != walk.index + 1))
        walk = {start, index, position_in_cycle(edit, index, start)};
    else if (index != walk.index)
        walk = {start, index, next_position(edit, walk.position + 1, start)};
    return walk.position + start;
}

// ---- the output's rate

int save_scale_rate(EDIT_STATE*, MEDIA_RECORD* context, int frames) {
    const RATE_MODE& mode = RATE_MODES[frame_rate_mode()];
    const uint32_t cycle = uint32_t(mode.cycle);
    uint32_t& rate = context->video_stream.dwRate;
    uint32_t& scale = context->video_stream.dwScale;
    const uint64_t scaled = uint64_t{rate} * uint32_t(mode.kept);
    if (scaled % cycle != 0 && scale < SCALE_LIMIT && scaled <= UINT32_MAX) {
        rate = uint32_t(scaled);
        scale *= cycle;
    } else {
        rate = uint32_t(scaled / cycle);
    }
    return output_frame_count(frames);
}
