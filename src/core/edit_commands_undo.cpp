#include "core/edit_commands_undo.h"

#include <algorithm>

#include "core/edit_commands.h"
#include "core/edit_commands_list.h"
#include "core/edit_state.h"
#include "core/frame_table.h"

static constexpr int ROWS_KEPT_FREE = 10;  // between the edit's frames and the saved ones

static struct {
    int n;              // entries saved
    int frames_before;  // frame_n when the edit began
    int shift;
} record;

static int row_of(int k) { return frame_limit() - 1 - k; }
static int former_frame(int k) { return int(frame_table.frame_field_metric[row_of(k)]); }

void undo_clear() { record.n = 0; }
bool undo_available() { return record.n > 0; }

void undo_save(const EDIT_STATE* edit, int first, int n, int shift) {
    record = {0, edit->frame_n, shift};
    if (n > frame_limit() - edit->frame_n - ROWS_KEPT_FREE) return;
    for (; record.n < n; ++record.n) {
        frame_entry_copy(row_of(record.n), first + record.n);
        frame_table.frame_field_metric[row_of(record.n)] = uint32_t(first + record.n);
    }
}

// Frames that came without the knowledge of the record may have been written over it.
static bool record_intact(const EDIT_STATE* edit) {
    if (edit->frame_n > frame_limit() - record.n) return false;
    for (int k = 0; k < record.n; ++k)
        if (former_frame(k) < 0 || former_frame(k) >= record.frames_before) return false;
    return record.frames_before <= row_of(record.n - 1);
}

static void write_back() {
    for (int k = 0; k < record.n; ++k) frame_entry_copy(former_frame(k), row_of(k));
}

static void undo_cut(EDIT_STATE* edit) {
    write_back();
    edit->frame += record.shift;
    edit->select_start += record.shift;
    edit->select_end += record.shift;
}

static void move_row(EDIT_STATE* edit, int to, int from) {
    frame_entry_copy(to, from);
    for (int32_t* place : {&edit->frame, &edit->select_start, &edit->select_end})
        if (*place == from) *place = to;
}

// From the top down, so that no frame is written before it was read.
static void undo_delete(EDIT_STATE* edit) {
    int to = record.frames_before - 1, from = edit->frame_n - 1;
    for (int k = record.n - 1; k >= 0; --k) {
        for (; to > former_frame(k) && from >= 0; --to, --from) move_row(edit, to, from);
        to = former_frame(k);
        frame_entry_copy(to--, row_of(k));
    }
}

void undo_run(EDIT_STATE* edit) {
    if (!(edit->edit_flag & EDIT_OPEN) || record.n == 0) return;
    if (!record_intact(edit)) {
        undo_clear();
    } else if (record.frames_before <= edit->frame_n) {
        write_back();
    } else {
        record.n == record.frames_before ? undo_cut(edit) : undo_delete(edit);
        edit->frame_n = record.frames_before;
        edit->select_start = frame_clamp(edit, edit->select_start);
        edit->select_end = frame_clamp(edit, edit->select_end);
        move_to(edit, edit->frame);
    }
    undo_clear();
    command_pictures_changed();
}

void command_undo(EDIT_STATE* edit, int) { undo_run(edit); }
