#include "output/save_video.h"

#include <cstdio>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/media.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "output/avi_writer.h"
#include "output/progress.h"
#include "output/save_copy.h"
#include "output/save_flags.h"
#include "output/save_state.h"
#include "output/writer_table.h"
#include "pipeline/frame_cache.h"
#include "pipeline/frame_renderer.h"
#include "pipeline/frame_schedule.h"
#include "platform/file.h"
#include "platform/path.h"
#include "resources/string_ids.h"

bool save_fail_write(SAVE* save, int result) {
    save->error = result == AVI_NO_VIDEO_CODEC   ? STR_ERR_VIDEO_COMPRESS
                  : result == AVI_NO_AUDIO_CODEC ? STR_ERR_AUDIO_COMPRESS
                                                 : STR_ERR_WRITE_FAILED;
    return false;
}

static void count_written(SAVE* save) {
    ++save->written;
    progress_show();
}

// ---- the log

void save_log_open(SAVE* save) {
    char name[PATH_SIZE];
    save->log = -1;
    if (save->edit->edit_flag & EDIT_SAVE_LOG && path_set_extension(name, save->edit->save_name, ".txt"))
        save->log = file_create(name);
}

void save_log_close(SAVE* save) {
    if (save->log >= 0) file_close(save->log);
    save->log = -1;
}

// A frame whose picture came out as nothing, although its source frame is another than the one before.
static void log_drop(SAVE* save, int f, int index, uint32_t size) {
    if (save->log < 0 || size != 0 || index == 0 || f == 0) return;
    if (frame_table.frame_video[f] == frame_table.frame_video[f - 1]) return;
    char line[32];
    const int n = std::snprintf(line, sizeof line, "%d : [drop]\r\n", index + system_settings.startframe);
    file_write_at(save->log, line, size_t(n), save->log_size);
    save->log_size += n;
}

// ---- frames through the filters

// The compressor follows the frame's own setting, and begins anew where a key frame is asked for.
static int restart_where_asked(SAVE* save, int f) {
    EDIT_STATE* edit = save->edit;
    SAVE_CONTEXT* context = &edit->save_context;
    const int setting = frame_table.frame_compress[f] % FRAME_SETTING_MAX;
    int result = AVI_OK;
    if (setting != save->frame_setting) {
        save->frame_setting = setting;
        const VIDEO_CODEC_SETTING& chosen = edit->frame_video_setting[setting];
        if (media_code_normal(chosen.handler) == media_code_normal(context->decoder.handler))
            result = save->writer->restart_compressor(context, &chosen);
    }
    if (result == AVI_OK && frame_table.frame_flag[f] & FRAME_KEY)
        result = save->writer->restart_compressor(context, &context->decoder);
    return result;
}

static bool put_rendered_frame(SAVE* save, int f, int index) {
    EDIT_STATE* edit = save->edit;
    SAVE_CONTEXT* context = &edit->save_context;
    render_current(edit);
    const uint8_t* pixels = display_convert(edit, context->video_header.biCompression);
    if (edit->out_width != context->media_width || edit->out_height != context->media_height)
        return save_fail_write(save, AVI_LOST);  // the file has one size; a profile that changes it cannot be written
    int result = restart_where_asked(save, f);
    uint32_t size = 0;
    if (result == AVI_OK) result = save->writer->put_frame(context, pixels, &size);
    if (result != AVI_OK) return save_fail_write(save, result);
    log_drop(save, f, index, size);
    return true;
}

static bool put_filtered_frame(SAVE* save, int f, int index) {
    EDIT_STATE* edit = save->edit;
    frame_cache_rerank();
    if (!is_saveframe(edit, index, f)) return true;
    if ((frame_table.frame_flag[f] & FRAME_COPY) && index > 0) {
        const int result = save->writer->put_stored_frame(&edit->save_context, "", 0, 0);
        if (result != AVI_OK) return save_fail_write(save, AVI_LOST);
    } else if (!put_rendered_frame(save, f, index)) {
        return false;
    }
    if ((edit->view.view_flag & VIEW_SAVE_PREVIEW) && ui_hooks.paint) ui_hooks.paint();
    count_written(save);
    return true;
}

// ---- frames copied

static int put_recompressed(SAVE* save, int f) {
    SAVE_CONTEXT* context = &save->edit->save_context;
    // What follows a copied frame must not lean on what the compressor saw before it.
    if (!save->recompressing) {
        const int result = save->writer->restart_compressor(context, &context->decoder);
        if (result != AVI_OK) return result;
    }
    save->recompressing = true;
    const uint8_t* pixels = render_unfiltered(save->edit, f, context->video_header.biCompression);
    return save_copy_put_compressed(save, pixels);
}

static int put_stored(SAVE* save, int f) {
    EDIT_STATE* edit = save->edit;
    save->recompressing = false;
    const uint32_t ref = frame_table.frame_video[f];
    const int source = frame_ref_source(ref);
    constexpr size_t HEADERS_MAX = FORMAT_SIZE_MAX;
    uint8_t* bytes = display_buffer() + HEADERS_MAX;
    int key = 0;
    size_t size = 0;
    if (source < SOURCE_MAX)
        size = size_t(media_read_frame_raw(&edit->source[source].media, frame_ref_number(ref), bytes,
                                           display_buffer_size() - HEADERS_MAX, &key));
    if (key && size > 0) {
        const std::span<const uint8_t> headers = save_copy_headers(save, source, {bytes, size});
        bytes -= headers.size();
        size += headers.size();
        std::copy(headers.begin(), headers.end(), bytes);
    }
    const int result = save->writer->put_stored_frame(&edit->save_context, bytes, size, uint32_t(key));
    return result == AVI_OK ? AVI_OK : AVI_LOST;
}

static bool put_copied_frame(SAVE* save, int f) {
    const bool good = save_copy_check(save->edit, f, save->first, &save->copy_run) == SAVE_COPY_GOOD;
    const bool recompress = (save->flags & SAVE_VIDEO_COPY_OR_RECOMPRESS) && (save->copy_none || !good);
    const int result = recompress ? put_recompressed(save, f) : put_stored(save, f);
    if (result != AVI_OK) return save_fail_write(save, result);
    count_written(save);
    return true;
}

bool save_put_video(SAVE* save, int f, int index) {
    return save->flags & SAVE_VIDEO_COPY ? put_copied_frame(save, f) : put_filtered_frame(save, f, index);
}
