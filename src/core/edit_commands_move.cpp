#include <algorithm>
#include <iterator>

#include "core/edit_commands.h"
#include "core/edit_commands_list.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/media.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "pipeline/frame_schedule.h"

// ---- tests of a frame

static bool has_mark(const EDIT_STATE*, int frame) { return frame_table.frame_flag[frame] & FRAME_MARK; }

static bool has_new_setting(const EDIT_STATE*, int frame) {
    const FRAME_TABLE& t = frame_table;
    return t.frame_profile[frame] != t.frame_profile[frame - 1] ||
           t.frame_compress[frame] != t.frame_compress[frame - 1];
}

static bool is_break(const EDIT_STATE*, int frame) {
    return frame_table.frame_video[frame] != frame_table.frame_video[frame - 1] + 1;
}

bool frame_is_source_key(EDIT_STATE* edit, int frame) {
    const uint32_t ref = frame_table.frame_video[frame_clamp(edit, frame)];
    const int source = frame_ref_source(ref), number = frame_ref_number(ref);
    if (source >= SOURCE_MAX) return true;
    MEDIA_RECORD* record = &edit->source[source].media;
    if (!(record->media_flag & MEDIA_HAS_VIDEO)) return true;
    // Both counts are doubled at double rate, so they compare as they are.
    if (number < 0 || uint32_t(number) >= record->video_stream.dwLength) return false;
    return media_is_key(record, number);
}

bool frame_is_stop(EDIT_STATE* edit, int frame) {
    if (frame < 1 || frame >= edit->frame_n - 1) return true;
    if (frame == edit->select_start || frame == edit->select_end) return true;
    if (has_mark(edit, frame) || has_new_setting(edit, frame)) return true;
    return !frame_is_source_key(edit, frame - 1) && frame_is_source_key(edit, frame);
}

// ---- walks: direction is 1 or -1

// To the next frame that passes; the first and the last frame of the table pass in any case.
template <typename TEST>
static void walk_to(EDIT_STATE* edit, int direction, TEST test) {
    int frame = edit->frame + direction;
    while (frame > 0 && frame < edit->frame_n - 1 && !test(edit, frame)) frame += direction;
    move_to(edit, frame);
}

// To the next frame that passes; nowhere when there is none.
template <typename TEST>
static void find_next(EDIT_STATE* edit, int direction, TEST test) {
    int frame = edit->frame + direction;
    while (frame >= 0 && frame < edit->frame_n && !test(edit, frame)) frame += direction;
    if (frame >= 0 && frame < edit->frame_n) move_to(edit, frame);
}

void command_step(EDIT_STATE* edit, int direction) {
    if (ui_hooks.modifier_down && ui_hooks.modifier_down(UI_CTRL))
        walk_to(edit, direction, frame_is_stop);
    else
        move_to(edit, edit->frame + direction);
}

void command_next_saved(EDIT_STATE* edit, int direction) {
    find_next(edit, direction, [](EDIT_STATE* e, int f) { return is_saveframe(e, f - e->select_start, f) == 1; });
}

void command_next_key(EDIT_STATE* edit, int direction) { find_next(edit, direction, frame_is_source_key); }
void command_next_mark(EDIT_STATE* edit, int direction) { walk_to(edit, direction, has_mark); }
void command_next_setting(EDIT_STATE* edit, int direction) { walk_to(edit, direction, has_new_setting); }
void command_next_break(EDIT_STATE* edit, int direction) { walk_to(edit, direction, is_break); }

// ---- places

void command_go_first(EDIT_STATE* edit, int) { move_to(edit, 0); }
void command_go_last(EDIT_STATE* edit, int) { move_to(edit, edit->frame_n - 1); }
void command_go_frame(EDIT_STATE* edit, int frame) { move_to(edit, frame); }

static void go_far(EDIT_STATE* edit, int64_t frame) {
    move_to(edit, int(std::clamp<int64_t>(frame, 0, edit->frame_n - 1)));
}

void command_go_dialog(EDIT_STATE* edit, int) {
    int shown = edit->frame + system_settings.startframe;
    if (ui_hooks.ask_frame && ui_hooks.ask_frame(&shown)) go_far(edit, int64_t{shown} - system_settings.startframe);
}

void command_jump(EDIT_STATE* edit, int value) {
    static constexpr int SYSTEM_SETTINGS::*STEPS[] = {&SYSTEM_SETTINGS::moveA, &SYSTEM_SETTINGS::moveB,
                                                      &SYSTEM_SETTINGS::moveC, &SYSTEM_SETTINGS::moveD};
    const int64_t step = system_settings.*STEPS[value / 2];
    go_far(edit, edit->frame + (value % 2 ? -step : step));
}
