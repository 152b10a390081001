#include "core/edit_commands.h"

#include <algorithm>

#include "core/edit_commands_list.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "hosts/filter_cache.h"

enum : uint32_t {
    COMMAND_REDRAW = 1,
    COMMAND_WITHOUT_EDIT = 2,  // also while no file is open
    COMMAND_PARAMETER = 4,     // takes the parameter of the call for its value
};

struct EDIT_COMMAND {
    int first, last;  // numbers; a row may stand for several that differ in their value
    void (*run)(EDIT_STATE* edit, int value);
    int value;  // of the first number
    uint32_t flags;
};

static constexpr EDIT_COMMAND COMMAND_TABLE[] = {
    // selection
    {5110, 5110, command_set_start, 0, COMMAND_REDRAW},
    {5111, 5111, command_set_end, 0, COMMAND_REDRAW},
    {9003, 9003, command_set_start, 0, COMMAND_REDRAW},
    {9004, 9004, command_set_end, 0, COMMAND_REDRAW},
    {5103, 5103, command_go_start, 0, COMMAND_REDRAW},
    {5104, 5104, command_go_end, 0, COMMAND_REDRAW},
    {5112, 5112, command_select_everything, 0, COMMAND_REDRAW},
    {5115, 5115, command_select_range, 0, COMMAND_REDRAW},
    {5143, 5143, command_cut_out, 0, COMMAND_REDRAW},
    {5101, 5101, command_delete, 0, COMMAND_REDRAW},
    {5147, 5147, command_undo, 0, COMMAND_REDRAW},
    // clipboards
    {1020, 1020, command_copy_entry, 0, 0},
    {5117, 5117, command_paste_frame, 0, COMMAND_REDRAW},
    {5184, 5184, command_paste_selection, 0, COMMAND_REDRAW},
    {1026, 1026, command_copy_source, 0, 0},
    {1070, 1070, command_copy_output, 0, 0},
    {5123, 5123, command_paste_picture, 0, COMMAND_REDRAW},
    {1090, 1090, command_copy_number, 0, 0},
    // what is kept for a frame
    {5129, 5129, command_toggle_flag, FRAME_KEY, COMMAND_REDRAW},
    {5130, 5130, command_toggle_flag, FRAME_MARK, COMMAND_REDRAW},
    {5132, 5132, command_toggle_flag, FRAME_DROP, COMMAND_REDRAW},
    {5156, 5156, command_toggle_flag, FRAME_COPY, COMMAND_REDRAW},
    {5196, 5201, command_set_inter, INTER_STANDARD, COMMAND_REDRAW},
    {5125, 5125, command_choose_inter, 0, COMMAND_REDRAW},
    {5206, 5215, command_set_profile, 0, COMMAND_REDRAW},
    {5109, 5109, command_new_profile, 0, COMMAND_REDRAW},
    {5126, 5126, command_new_compression, 0, COMMAND_REDRAW},
    {5127, 5127, command_video_setting, 0, COMMAND_REDRAW | COMMAND_WITHOUT_EDIT},
    {5128, 5128, command_audio_setting, 0, COMMAND_REDRAW | COMMAND_WITHOUT_EDIT},
    {5398, 5398, command_play_rate, 0, COMMAND_REDRAW},
    // movement
    {9002, 9002, command_step, 1, COMMAND_REDRAW},
    {9001, 9001, command_step, -1, COMMAND_REDRAW},
    {5396, 5396, command_go_first, 0, COMMAND_REDRAW},
    {5397, 5397, command_go_last, 0, COMMAND_REDRAW},
    {5131, 5131, command_go_dialog, 0, COMMAND_REDRAW},
    {EDIT_COMMAND_MOVE_TO, EDIT_COMMAND_MOVE_TO, command_go_frame, 0, COMMAND_REDRAW | COMMAND_PARAMETER},
    {5142, 5142, command_next_saved, 1, COMMAND_REDRAW},
    {5141, 5141, command_next_saved, -1, COMMAND_REDRAW},
    {5174, 5174, command_next_key, 1, COMMAND_REDRAW},
    {5175, 5175, command_next_key, -1, COMMAND_REDRAW},
    {5178, 5178, command_next_mark, 1, COMMAND_REDRAW},
    {5179, 5179, command_next_mark, -1, COMMAND_REDRAW},
    {5176, 5176, command_next_setting, 1, COMMAND_REDRAW},
    {5177, 5177, command_next_setting, -1, COMMAND_REDRAW},
    {5170, 5170, command_next_break, 1, COMMAND_REDRAW},
    {5171, 5171, command_next_break, -1, COMMAND_REDRAW},
    {5187, 5194, command_jump, 0, COMMAND_REDRAW},
};

static const EDIT_COMMAND* find_command(int id) {
    const auto* row = std::find_if(std::begin(COMMAND_TABLE), std::end(COMMAND_TABLE),
                                   [&](const EDIT_COMMAND& c) { return id >= c.first && id <= c.last; });
    return row == std::end(COMMAND_TABLE) ? nullptr : row;
}

static bool allowed(const EDIT_STATE* edit, const EDIT_COMMAND& command) {
    if (edit->edit_flag & EDIT_SAVING) return false;  // the save walks the table
    return (edit->edit_flag & EDIT_OPEN) || (command.flags & COMMAND_WITHOUT_EDIT);
}

bool edit_command_known(int id) { return find_command(id) != nullptr; }

int edit_command_run(EDIT_STATE* edit, int id, int32_t parameter) {
    const EDIT_COMMAND* command = find_command(id);
    if (!command) return EDIT_COMMAND_UNKNOWN;
    if (!allowed(edit, *command)) return EDIT_COMMAND_REFUSED;
    const int value = command->value + (id - command->first);
    if (edit->edit_flag & EDIT_OPEN) edit->frame = frame_clamp(edit, edit->frame);  // plug-ins write it, too
    command->run(edit, command->flags & COMMAND_PARAMETER ? parameter : value);
    return command->flags & COMMAND_REDRAW ? EDIT_COMMAND_REDRAW : EDIT_COMMAND_DONE;
}

// ---- shared by the commands

FRAME_RANGE command_selection(const EDIT_STATE* edit) {
    const int first = std::max(edit->select_start, 0), last = std::min(edit->select_end, edit->frame_n - 1);
    return first <= last ? FRAME_RANGE{first, last - first + 1} : FRAME_RANGE{0, 0};
}

void command_select_all(EDIT_STATE* edit) {
    edit->select_start = 0;
    edit->select_end = edit->frame_n - 1;
}

void command_changed() {
    if (ui_hooks.edit_changed) ui_hooks.edit_changed();
}

void command_pictures_changed() {
    filter_cache_clear_all();
    command_changed();
}

// ---- the current frame

int move_to(EDIT_STATE* edit, int n) {
    if (!(edit->edit_flag & EDIT_OPEN)) return 0;
    const int old = edit->frame;
    edit->frame = frame_clamp(edit, n);
    const bool shift = ui_hooks.modifier_down && ui_hooks.modifier_down(UI_SHIFT);
    if (!shift || !system_settings.shiftselect || (edit->edit_flag & EDIT_SAVING)) {
        edit->select_anchor = 0;
    } else {
        if (edit->select_anchor == 0) edit->select_anchor = old + 1;
        const int anchor = frame_clamp(edit, edit->select_anchor - 1);
        edit->select_start = std::min(anchor, edit->frame);
        edit->select_end = std::max(anchor, edit->frame);
    }
    command_changed();
    return 1;
}
