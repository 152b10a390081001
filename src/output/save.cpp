#include "output/save.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "core/compression_settings.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/media.h"
#include "core/message.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "hosts/color.h"
#include "hosts/filter.h"
#include "output/avi_writer.h"
#include "output/progress.h"
#include "output/save_audio.h"
#include "output/save_copy.h"
#include "output/save_flags.h"
#include "output/save_state.h"
#include "output/writer_table.h"
#include "pipeline/audio_fetch.h"
#include "pipeline/frame_cache.h"
#include "pipeline/frame_renderer.h"
#include "pipeline/frame_schedule.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "platform/power.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static constexpr uint32_t FCC_YUY2 = VANTEL_FOURCC('Y', 'U', 'Y', '2');

static const WRITER* writer_override;
static SAVE_REPORT report;

const SAVE_REPORT& save_report() { return report; }
void save_set_writer(const WRITER* writer) { writer_override = writer; }

static void warn(const SAVE& save, int id) { message_warn_file(save.edit->save_name, id, id); }

// ---- setup

static void prepare_context(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    SAVE_CONTEXT& context = edit->save_context;
    context = edit->base;
    render_output_size(edit, &context.media_width, &context.media_height);
    context.decoder = edit->video_setting;
    context.converter = edit->audio_setting;
    save->flags = SAVE_VIDEO;
    if (edit->base.media_flag & MEDIA_HAS_AUDIO) save->flags |= SAVE_AUDIO;
}

// Frames reach the file in the display's RGB, or as YUY2 where that is chosen.
static void fill_video_header(SAVE_CONTEXT* context, const BITMAPINFOHEADER& shown) {
    BITMAPINFOHEADER& header = context->video_header;
    header = shown;
    header.biWidth = context->media_width;
    header.biHeight = context->media_height;
    header.biCompression = media_code_normal(context->decoder.handler) == FCC_YUY2 ? FCC_YUY2 : 0;
    header.biBitCount = uint16_t(color_bits(header.biCompression));
    header.biSizeImage = uint32_t(std::max(media_picture_size(header.biBitCount, header.biWidth, header.biHeight), 0));
}

static void copy_video_formats(EDIT_STATE* edit) {
    SAVE_CONTEXT& context = edit->save_context;
    context.media_width = edit->base.media_width;
    context.media_height = edit->base.media_height;
    context.video_stream.fccHandler = edit->base.video_stream.fccHandler;
}

static const struct {
    int result, text;
} COPY_REASONS[] = {
    {SAVE_COPY_FORMAT_DIFFERS, STR_COPY_FORMAT_DIFFERS},
    {SAVE_COPY_SIZE_DIFFERS, STR_COPY_SIZE_DIFFERS},
    {SAVE_COPY_NO_KEY_FRAME, STR_COPY_NO_KEY_FRAME},
    {SAVE_COPY_DOUBLE_RATE, STR_COPY_DOUBLE_RATE},
};

// A quiet save goes on without asking; there is no compressor for what cannot be copied, so that is copied all the
// same.
static bool copying_agreed(const SAVE& save) {
    for (int f = save.first; f <= save.last; ++f) {
        const int result = save_copy_check(save.edit, f, save.first);
        if (result == SAVE_COPY_GOOD) continue;
        if (save.request & SAVE_REQ_QUIET) return true;
        const auto* row = std::find_if(std::begin(COPY_REASONS), std::end(COPY_REASONS),
                                       [&](const auto& r) { return r.result == result; });
        return message_ask(STR_ASK_RECOMPRESS_FRAME, f + system_settings.startframe, language_string(row->text));
    }
    return true;
}

static bool work_out_video(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    SAVE_CONTEXT& context = edit->save_context;
    if (edit->video_setting.setting_flags & VIDEO_SETTING_COPY) {
        copy_video_formats(edit);
        save->flags |= SAVE_VIDEO_COPY;
        if (!copying_agreed(*save)) return false;
    } else {
        edit->frame_video_setting[0] = context.decoder;
    }
    fill_video_header(&context, edit->shown_header);
    return true;
}

static void work_out_audio(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    const uint32_t lasting = edit->audio_setting.audio_flags;
    if (lasting & AUDIO_SETTING_NONE) save->flags &= ~uint32_t{SAVE_AUDIO};
    if (save->request & SAVE_REQ_WAV_COMPANION) {
        if (edit->base.media_flag & MEDIA_HAS_AUDIO) save->flags |= SAVE_AUDIO;
        std::memset(&edit->save_context.converter, 0, sizeof edit->save_context.converter);
    }
    if (lasting & AUDIO_SETTING_COPY)
        save->flags |= SAVE_AUDIO_COPY;
    else if (edit->save_context.converter.audio_flags & AUDIO_SETTING_CHOSEN)
        save->flags |= SAVE_AUDIO_COMPRESS;
}

static bool output_is_a_source(const EDIT_STATE* edit) {
    return std::any_of(std::begin(edit->source), std::end(edit->source), [&](const SOURCE_SLOT& slot) {
        return slot.path[0] &&
               (text_compare_nocase(slot.path, edit->save_name) == 0 || file_same(slot.path, edit->save_name));
    });
}

static bool output_allowed(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    if (edit->output_kind == OUTPUT_KIND_WAV) save->flags = (save->flags | SAVE_WAV_FILE) & ~uint32_t{SAVE_VIDEO};
    if (!(save->flags & (SAVE_VIDEO | SAVE_AUDIO))) {
        message_warn(STR_CLI_NOTHING_TO_WRITE, edit->save_name);
        return false;
    }
    if (!output_is_a_source(edit)) return true;
    warn(*save, STR_ERR_OUTPUT_IS_EDITED);
    return false;
}

// ---- information block

static size_t build_info(const EDIT_STATE* edit, uint8_t (&block)[4096]) {
    const struct {
        uint32_t code;
        const char* text;
    } rows[] = {{VANTEL_FOURCC('I', 'S', 'B', 'J'), edit->ex_title},
                {VANTEL_FOURCC('I', 'C', 'M', 'T'), edit->ex_comment},
                {VANTEL_FOURCC('I', 'C', 'O', 'P'), edit->ex_copyright}};
    std::memcpy(block, "INFO", 4);
    uint8_t* end = block + 4;
    for (const auto& row : rows)
        if (row.text[0]) end = avi_info_add(end, row.code, row.text);
    return end == block + 4 ? 0 : size_t(end - block);
}

// ---- the run

static void begin_run(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    power_keep_awake(true);
    if (ui_hooks.interface_enable) ui_hooks.interface_enable(false);
    filter_notify_save_start(save->mask, save->first, save->last, edit);
    if (save->flags & SAVE_AUDIO) audio_fetch(edit, save->first, 0, 0, nullptr, 0, nullptr, AUDIO_RESET);
    progress_begin(save->first, save->last, language_string(STR_PROGRESS_OUTPUT));
    edit->edit_flag |= EDIT_SAVING;
    save_signals_begin();
}

static bool fail_write(SAVE* save, int result) {
    save->error = result == AVI_NO_VIDEO_CODEC   ? STR_ERR_VIDEO_COMPRESS
                  : result == AVI_NO_AUDIO_CODEC ? STR_ERR_AUDIO_COMPRESS
                                                 : STR_ERR_WRITE_FAILED;
    return false;
}

static bool put_filtered_frame(SAVE* save, int f, int index) {
    EDIT_STATE* edit = save->edit;
    SAVE_CONTEXT* context = &edit->save_context;
    frame_cache_rerank();
    if (!is_saveframe(edit, index, f)) return true;
    render_current(edit);
    const uint8_t* pixels = display_convert(edit, context->video_header.biCompression);
    if (edit->out_width != context->media_width || edit->out_height != context->media_height)
        return fail_write(save, AVI_LOST);  // the file has one size; a profile that changes it cannot be written
    const bool repeat = (frame_table.frame_flag[f] & FRAME_COPY) && index > 0;
    const int result =
        repeat ? save->writer->put_stored_frame(context, "", 0, 0) : save->writer->put_frame(context, pixels, nullptr);
    if (result != AVI_OK) return fail_write(save, result);
    ++report.written;
    if ((edit->view.view_flag & VIEW_SAVE_PREVIEW) && ui_hooks.paint) ui_hooks.paint();
    progress_show();
    return true;
}

static bool put_copied_frame(SAVE* save, int f) {
    EDIT_STATE* edit = save->edit;
    const uint32_t ref = frame_table.frame_video[f];
    const int source = frame_ref_source(ref);
    int key = 0, size = 0;
    if (source < SOURCE_MAX)
        size = media_read_frame_raw(&edit->source[source].media, frame_ref_number(ref), display_buffer(),
                                    display_buffer_size(), &key);
    const int result =
        save->writer->put_stored_frame(&edit->save_context, display_buffer(), size_t(size), uint32_t(key));
    if (result != AVI_OK) return fail_write(save, result);
    ++report.written;
    progress_show();
    return true;
}

static bool save_frame(SAVE* save, int f, int index) {
    EDIT_STATE* edit = save->edit;
    edit->frame = f;
    progress_tick(f);
    if (save->flags & SAVE_AUDIO) {
        const int result = save_put_audio(save, f);
        if (result != AVI_OK) return fail_write(save, result);
    }
    if (!(save->flags & SAVE_VIDEO)) {
        progress_show();
        return true;
    }
    const bool rate = edit->view.view_flag & VIEW_DATA_RATE;
    progress_rate(rate ? uint32_t(std::min<int64_t>(save->writer->data_rate(&edit->save_context), UINT32_MAX)) : 0);
    return save->flags & SAVE_VIDEO_COPY ? put_copied_frame(save, f) : put_filtered_frame(save, f, index);
}

static bool run_frames(SAVE* save) {
    for (int f = save->first; f <= save->last; ++f) {
        if (save_poll_abort(STR_ASK_STOP_OUTPUT) || !save_frame(save, f, f - save->first)) return false;
        ++report.frames;
    }
    return true;
}

static bool end_run(SAVE* save, int frame_before) {
    EDIT_STATE* edit = save->edit;
    edit->edit_flag &= ~uint32_t{EDIT_SAVING};
    if (save->flags & SAVE_AUDIO) save->writer->put_audio(&edit->save_context, nullptr, 0);
    const bool whole = save->writer->close(&edit->save_context) == 1;
    save_signals_end();
    filter_notify_save_end(save->mask, edit);
    if (ui_hooks.interface_enable) ui_hooks.interface_enable(true);
    power_keep_awake(false);
    progress_end();
    edit->frame = frame_clamp(edit, frame_before);
    render_current(edit);
    if (ui_hooks.edit_changed) ui_hooks.edit_changed();
    return whole;
}

static bool open_writer(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    uint8_t info[4096];
    const size_t info_size = build_info(edit, info);
    const int result = save->writer->open(&edit->save_context, edit->save_name, save->flags, info, info_size);
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
    if (!open_writer(save)) return false;
    const int frame_before = edit->frame;
    begin_run(save);
    bool done = run_frames(save);
    const bool whole = end_run(save, frame_before);
    if (done && !whole) done = fail_write(save, AVI_LOST);  // the ring's last bytes found no room
    if (save->error) warn(*save, save->error);
    if (save_aborted()) message_warn(STR_CLI_OUTPUT_STOPPED, edit->save_name, report.written);
    return done;
}

int save_run(EDIT_STATE* edit, uint32_t request) {
    report = {};
    if (!(edit->edit_flag & EDIT_OPEN) || (edit->edit_flag & EDIT_SAVING)) return 0;
    if (edit->output_kind == OUTPUT_KIND_PLUGIN) {
        message_warn(STR_ERR_NO_OUTPUT_PLUGIN);
        return 0;
    }
    const int64_t start = clock_ms();
    compression_load(edit);
    SAVE save{};
    save.edit = edit;
    save.request = request;
    save.first = edit->select_start;
    save.last = edit->select_end;
    save.writer = writer_override ? writer_override : &writer_avi;
    prepare_context(&save);
    if (!work_out_video(&save)) return 0;
    work_out_audio(&save);
    if (!output_allowed(&save)) return 0;
    if ((save.flags & SAVE_VIDEO) && !(save.flags & SAVE_VIDEO_COPY))
        save_scale_rate(edit, &edit->save_context, save.last - save.first + 1);
    const bool done = write_file(&save);
    report.elapsed_ms = clock_ms() - start;
    return done && save_finish(edit, request) ? 1 : 0;
}
