#include "core/edit_state.h"
#include "core/ui_hooks.h"
#include "pipeline/audio_fetch.h"
#include "pipeline/frame_cache.h"
#include "pipeline/frame_renderer.h"
#include "pipeline/frame_schedule.h"
#include "pixels/frame_buffer.h"
#include "platform/handle.h"

static void set_flag(EDIT_STATE* edit, uint32_t flag, bool on) {
    edit->view.view_flag = on ? edit->view.view_flag | flag : edit->view.view_flag & ~flag;
}

static void update_flags(EDIT_STATE* edit) {
    const bool frames = edit->frame_n > 0;
    set_flag(edit, VIEW_AT_START, frames && edit->frame == edit->select_start);
    set_flag(edit, VIEW_AT_END, frames && edit->frame == edit->select_end);
    if (!frames)
        set_flag(edit, VIEW_IS_DROP, false);
    else if (edit->view.view_flag & VIEW_SHOW_DROPS)
        set_flag(edit, VIEW_IS_DROP, !is_saveframe(edit, edit->frame - edit->select_start, edit->frame));
}

static void fit_window(EDIT_STATE* edit) {
    if (ui_hooks.fit_window)
        ui_hooks.fit_window(edit->out_width, edit->out_height, (edit->edit_flag & EDIT_RELAYOUT) != 0);
    edit->edit_flag &= ~uint32_t{EDIT_RELAYOUT};
}

// The samples go into whichever working picture is not on show.
static void fetch_wave(EDIT_STATE* edit) {
    const bool saving = edit->edit_flag & EDIT_SAVING;
    const bool sound = edit->base.media_flag & MEDIA_HAS_AUDIO;
    if (saving || !sound || !(edit->view.view_flag & VIEW_WAVE) || edit->shown_wave) return;
    uint8_t* buffer = work_buffer(handle_get(edit->shown_image) == work_buffer(0) ? 1 : 0);
    const AUDIO_MODE mode = edit->view.view_flag & VIEW_FILTER_ON_SAVE ? AUDIO_CONVERTED : AUDIO_FILTERED;
    const size_t room = frame_geometry.block_size - frame_geometry.origin;
    edit->shown_wave_n = audio_fetch(edit, edit->frame, 0, 0, buffer, room, nullptr, mode) / 2;
    edit->shown_wave = pipeline_buffer_id(buffer);
}

void paint_current(EDIT_STATE* edit) {
    update_flags(edit);
    if (edit->edit_flag & EDIT_OPEN) fit_window(edit);
    display_convert(edit, edit->view.display_code);
    fetch_wave(edit);
    if (ui_hooks.paint) ui_hooks.paint();
}
