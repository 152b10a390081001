#include <algorithm>

#include "core/edit_commands.h"
#include "core/edit_commands_list.h"
#include "core/edit_commands_undo.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/message.h"
#include "core/settings.h"
#include "core/source.h"
#include "core/ui_hooks.h"
#include "resources/string_ids.h"

// ---- the ends

void command_go_start(EDIT_STATE* edit, int) {
    edit->frame = edit->select_start;
    edit->select_end = std::max(edit->select_end, edit->select_start);
    move_to(edit, edit->frame);
}

void command_go_end(EDIT_STATE* edit, int) {
    edit->frame = edit->select_end;
    edit->select_start = std::min(edit->select_start, edit->select_end);
    move_to(edit, edit->frame);
}

void command_set_start(EDIT_STATE* edit, int) {
    edit->select_start = edit->frame;
    command_go_start(edit, 0);
}

void command_set_end(EDIT_STATE* edit, int) {
    edit->select_end = edit->frame;
    command_go_end(edit, 0);
}

void command_select_everything(EDIT_STATE* edit, int) {
    command_select_all(edit);
    command_changed();
}

static int frame_from_shown(const EDIT_STATE* edit, int shown) {
    return int(std::clamp<int64_t>(int64_t{shown} - system_settings.startframe, 0, edit->frame_n - 1));
}

void command_select_range(EDIT_STATE* edit, int) {
    RANGE_DIALOG dialog = {frame_clamp(edit, edit->select_start) + system_settings.startframe,
                           frame_clamp(edit, edit->select_end) + system_settings.startframe};
    if (!ui_hooks.ask_range || !ui_hooks.ask_range(&dialog)) return;
    edit->select_start = frame_from_shown(edit, dialog.start);
    edit->select_end = std::max(frame_from_shown(edit, dialog.end), edit->select_start);
    command_changed();
}

// ---- cutting

static void copy_down(int to, int from, int n) {
    for (int i = 0; i < n; ++i) frame_entry_copy(to + i, from + i);
}

static void after_cutting(EDIT_STATE* edit) {
    command_select_all(edit);
    move_to(edit, edit->frame);
    command_pictures_changed();
}

void command_cut_out(EDIT_STATE* edit, int) {
    const FRAME_RANGE kept = command_selection(edit);
    if (kept.n == 0 || kept.n == edit->frame_n) return;
    undo_save(edit, 0, edit->frame_n, kept.first);
    copy_down(0, kept.first, kept.n);
    edit->frame_n = kept.n;
    edit->frame = std::clamp(edit->frame - kept.first, 0, kept.n - 1);
    after_cutting(edit);
}

static int frame_after_delete(const EDIT_STATE* edit, FRAME_RANGE gone) {
    if (edit->frame >= gone.first + gone.n) return edit->frame - gone.n;
    return std::min(edit->frame, gone.first);
}

void command_delete(EDIT_STATE* edit, int) {
    const FRAME_RANGE gone = command_selection(edit);
    if (gone.n == 0) return;
    if (gone.n == edit->frame_n && !message_ask(STR_ASK_DELETE_ALL)) return;
    undo_save(edit, gone.first, gone.n, 0);
    copy_down(gone.first, gone.first + gone.n, edit->frame_n - gone.first - gone.n);
    edit->frame = frame_after_delete(edit, gone);
    edit->frame_n -= gone.n;
    after_cutting(edit);
    if (edit->frame_n == 0) close_edit(edit);
}
