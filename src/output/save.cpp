#include "output/save.h"

#include <algorithm>

#include "core/compression_settings.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/message.h"
#include "core/ui_hooks.h"
#include "hosts/filter.h"
#include "output/avi_writer.h"
#include "output/info_block.h"
#include "output/progress.h"
#include "output/save_audio.h"
#include "output/save_dialog.h"
#include "output/save_flags.h"
#include "output/save_plan.h"
#include "output/save_state.h"
#include "output/save_video.h"
#include "output/writer_table.h"
#include "pipeline/audio_fetch.h"
#include "pipeline/frame_renderer.h"
#include "pipeline/frame_schedule.h"
#include "platform/clock.h"
#include "platform/power.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static const WRITER* writer_override;
static SAVE_REPORT report;

const SAVE_REPORT& save_report() { return report; }
void save_set_writer(const WRITER* writer) { writer_override = writer; }

static void warn(const SAVE& save, int id) { message_warn_file(save.edit->save_name, id, id); }

// ---- the run

static void begin_run(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    save_signals_begin();
    power_keep_awake(true);
    if (ui_hooks.interface_enable) ui_hooks.interface_enable(false);
    filter_notify_save_start(save->mask, save->first, save->last, edit);
    save_abort_clear();  // a filter's scan that the user stopped; the save goes on without it
    if (save->flags & SAVE_AUDIO) audio_reset(edit, save->first, save->last);
    progress_begin(save->first, save->last, language_string(STR_PROGRESS_OUTPUT));
    edit->edit_flag |= EDIT_SAVING;
}

static bool save_frame(SAVE* save, int f, int index) {
    EDIT_STATE* edit = save->edit;
    edit->frame = f;
    progress_tick(f);
    if (save->flags & SAVE_AUDIO) {
        const int result = save_put_audio(save, f);
        if (result != AVI_OK) return save_fail_write(save, result);
    }
    if (!(save->flags & SAVE_VIDEO)) {
        progress_show();
        return true;
    }
    const bool rate = edit->view.view_flag & VIEW_DATA_RATE;
    progress_rate(rate ? uint32_t(std::min<int64_t>(save->writer->data_rate(&edit->save_context), UINT32_MAX)) : 0);
    return save_put_video(save, f, index);
}

static bool run_frames(SAVE* save) {
    for (int f = save->first; f <= save->last; ++f) {
        if (save_poll_abort(STR_ASK_STOP_OUTPUT) || !save_frame(save, f, f - save->first)) return false;
        ++report.frames;
        report.written = save->written;
    }
    return true;
}

// A result of the writer: what the rest of the sound gave, or that something is not in the file.
static int end_run(SAVE* save, int frame_before) {
    EDIT_STATE* edit = save->edit;
    edit->edit_flag &= ~uint32_t{EDIT_SAVING};
    int result = AVI_OK;
    if (save->flags & SAVE_AUDIO) result = save->writer->put_audio(&edit->save_context, nullptr, 0);
    const bool whole = save->writer->close(&edit->save_context) == 1;
    if (result == AVI_OK && !whole) result = AVI_LOST;  // the ring's last bytes found no room
    save_log_close(save);
    save_signals_end();
    filter_notify_save_end(save->mask, edit);
    if (ui_hooks.interface_enable) ui_hooks.interface_enable(true);
    power_keep_awake(false);
    progress_end();
    edit->frame = frame_clamp(edit, frame_before);
    render_current(edit);
    if (ui_hooks.edit_changed) ui_hooks.edit_changed();
    return result;
}

static bool open_writer(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    const INFO_BLOCK info = info_block_make(edit->ex_title, edit->ex_comment, edit->ex_copyright);
    const int result = save->writer->open(&edit->save_context, edit->save_name, save->flags, info.bytes, info.size);
    if (result == AVI_OK) return true;
    warn(*save, result == AVI_NO_VIDEO_CODEC   ? STR_ERR_VIDEO_COMPRESS
                : result == AVI_NO_AUDIO_CODEC ? STR_ERR_AUDIO_COMPRESS
                                               : STR_ERR_CREATE_FAILED);
    return false;
}

static bool write_file(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    if ((save->flags & SAVE_VIDEO) && !(save->flags & SAVE_VIDEO_COPY)) save->mask |= FILTER_SAVE_VIDEO;
    if ((save->flags & SAVE_AUDIO) && !(save->flags & SAVE_AUDIO_COPY)) save->mask |= FILTER_SAVE_AUDIO;
    save_abort_clear();
    if (save_aborted()) return false;  // a signal came before; the file of that name stays
    if (!open_writer(save)) return false;
    save_log_open(save);
    const int frame_before = edit->frame;
    begin_run(save);
    bool done = run_frames(save);
    const int ended = end_run(save, frame_before);
    if (done && ended != AVI_OK) done = save_fail_write(save, ended);
    if (save->error) warn(*save, save->error);
    if (save_aborted()) message_warn(STR_CLI_OUTPUT_STOPPED, edit->save_name, report.written);
    return done;
}

int save_run(EDIT_STATE* edit, uint32_t request) {
    report = {};
    if (!(edit->edit_flag & EDIT_OPEN) || (edit->edit_flag & EDIT_SAVING)) return 0;
    compression_load(edit);
    SAVE save{};
    save.edit = edit;
    save.request = request;
    save.first = edit->select_start;
    save.last = edit->select_end;
    save.writer = writer_override ? writer_override : &writer_avi;
    save_plan_begin(&save);
    if (!(request & (SAVE_REQ_QUIET | SAVE_REQ_WAV_COMPANION)) && !save_option_dialog(edit, &save.request)) return 0;
    if (edit->output_kind == OUTPUT_KIND_PLUGIN) {
        message_warn(STR_ERR_NO_OUTPUT_PLUGIN);
        return 0;
    }
    const int64_t start = clock_ms();
    if (!save_plan(&save)) return 0;
    if (save.request & SAVE_REQ_ADD_TO_BATCH) {  // there is no list of jobs: better told than run at once
        message_warn(STR_ERR_OUTPUT_FAILED);
        return 0;
    }
    if ((save.flags & SAVE_VIDEO) && !(save.flags & SAVE_VIDEO_COPY))
        save_scale_rate(edit, &edit->save_context, save.last - save.first + 1);
    const bool done = write_file(&save);
    report.elapsed_ms = clock_ms() - start;
    return done && save_finish(edit, save.request) ? 1 : 0;
}
