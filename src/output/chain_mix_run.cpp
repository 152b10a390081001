#include "output/chain_mix_run.h"

#include <algorithm>
#include <iterator>

#include "core/frame_table.h"
#include "core/memory.h"
#include "core/message.h"
#include "core/ui_hooks.h"
#include "output/avi_writer.h"
#include "output/info_block.h"
#include "output/progress.h"
#include "output/save_flags.h"
#include "pipeline/audio_fetch.h"
#include "platform/file.h"
#include "platform/power.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static CHAIN_MIX_REPORT report;

const CHAIN_MIX_REPORT& chain_mix_report() { return report; }

// ---- checks

static bool same_file(const char* a, const char* b) {
    return a[0] && (text_compare_nocase(a, b) == 0 || file_same(a, b));
}

static bool output_is_edited(const EDIT_STATE* edit, const char* output) {
    if (!(edit->edit_flag & EDIT_OPEN)) return false;
    return same_file(edit->file_name, output) ||
           std::any_of(std::begin(edit->source), std::end(edit->source),
                       [&](const SOURCE_SLOT& slot) { return same_file(slot.path, output); });
}

bool copy_output_allowed(const EDIT_STATE* edit, const char* output, const char* const* inputs, int input_n) {
    int refusal = 0;
    if (std::any_of(inputs, inputs + input_n, [&](const char* input) { return same_file(input, output); }))
        refusal = STR_ERR_OUTPUT_IS_INPUT;
    else if (output_is_edited(edit, output))
        refusal = STR_ERR_OUTPUT_IS_EDITED;
    if (refusal) message_warn_file(output, refusal, refusal);
    return refusal == 0;
}

bool copy_length_allowed(const char* path, int64_t frames) {
    if (frames < frame_limit()) return true;
    message_warn_file(path, STR_ERR_TOO_MANY_FRAMES, STR_ERR_TOO_MANY_FRAMES, frame_limit());
    return false;
}

// ---- begin and end

static bool open_output(COPY_RUN* run, const COPY_FIELDS& fields) {
    const INFO_BLOCK info = info_block_make(fields.title, fields.comment, fields.copyright);
    return avi_open(&run->context, run->output, run->flags, info.bytes, info.size) == AVI_OK;
}

bool copy_run_begin(COPY_RUN* run, const COPY_FIELDS& fields) {
    report = {run->frame_n, 0, false};
    run->interleave = audio_interleave(run->edit, &run->context);
    if (!copy_buffer_start(&run->buffer)) {
        memory_warn();
        return false;
    }
    save_abort_clear();
    save_signals_begin();
    if (!open_output(run, fields)) {
        save_signals_end();
        message_warn_file(run->output, STR_ERR_CREATE_FAILED, STR_ERR_CREATE_FAILED);
        return false;
    }
    power_keep_awake(true);
    if (ui_hooks.interface_enable) ui_hooks.interface_enable(false);
    run->edit->edit_flag |= EDIT_SAVING;
    progress_begin(1, run->frame_n, language_string(STR_PROGRESS_OUTPUT));
    progress_show();
    return true;
}

void copy_run_end(COPY_RUN* run) {
    run->edit->edit_flag &= ~uint32_t{EDIT_SAVING};
    if (ui_hooks.interface_enable) ui_hooks.interface_enable(true);
    progress_end();
    if (ui_hooks.edit_changed) ui_hooks.edit_changed();
    const bool stored = avi_close(&run->context) == 1;
    save_signals_end();
    power_keep_awake(false);
    if (!stored && !run->error) {  // the last bytes found no room
        run->error = STR_ERR_WRITE_FAILED;
        run->error_file = run->output;
    }
    report.whole = !run->error && report.written == run->frame_n;
    if (run->error) message_warn_file(run->error_file, run->error, run->error);
}

// ---- the loop

bool copy_run_tick(int i) {
    progress_tick(i + 1);
    return !save_poll_abort(STR_ASK_STOP_OUTPUT);
}

static bool fail(COPY_RUN* run, int error, const char* path) {
    run->error = error;
    run->error_file = path;
    return false;
}

bool copy_run_sound(COPY_RUN* run, COPY_SOURCE* source, int n, int count) {
    COPY_SOUND sound = copy_source_sound(source, n, count, &run->context);
    for (;;) {
        const int size = copy_source_sound_read(source, &sound, &run->buffer);
        if (size == COPY_LOST) return fail(run, STR_ERR_READ_FAILED, source->path);
        if (size == 0) return true;
        if (avi_put_stored_audio(&run->context, run->buffer.memory.get(), size_t(size)) != AVI_OK)
            return fail(run, STR_ERR_WRITE_FAILED, run->output);
    }
}

bool copy_run_frame(COPY_RUN* run, COPY_SOURCE* source, int n) {
    uint32_t key = 0;
    const int size = copy_source_frame(source, n, &run->buffer, &key);
    if (size == COPY_LOST) return fail(run, STR_ERR_READ_FAILED, source->path);
    if (avi_put_stored_frame(&run->context, run->buffer.memory.get(), size_t(size), key) != AVI_OK)
        return fail(run, STR_ERR_WRITE_FAILED, run->output);
    ++report.written;
    progress_show();
    return true;
}
