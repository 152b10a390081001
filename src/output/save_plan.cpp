#include "output/save_plan.h"

#include <algorithm>
#include <cstring>

#include "core/edit_state.h"
#include "core/media.h"
#include "core/message.h"
#include "core/settings.h"
#include "output/codec_headers.h"
#include "output/save_audio.h"
#include "output/save_copy.h"
#include "output/save_flags.h"
#include "output/save_state.h"
#include "pipeline/frame_renderer.h"
#include "platform/file.h"
#include "platform/text.h"
#include "readers/codec.h"
#include "resources/language.h"
#include "resources/string_ids.h"

void save_plan_begin(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    SAVE_CONTEXT& context = edit->save_context;
    context = edit->base;
    render_output_size(edit, &context.media_width, &context.media_height);
    context.decoder = edit->video_setting;
    context.converter = edit->audio_setting;
    save->flags = SAVE_VIDEO;
    if (edit->base.media_flag & MEDIA_HAS_AUDIO) save->flags |= SAVE_AUDIO;
}

// The format that frames are given to a handler in, on top of the display's header.
static void fill_video_header(SAVE_CONTEXT* context, uint32_t handler, const BITMAPINFOHEADER& shown) {
    codec_input_format(handler, &context->video_header, context->media_width, context->media_height);
    context->video_header.biXPelsPerMeter = shown.biXPelsPerMeter;
    context->video_header.biYPelsPerMeter = shown.biYPelsPerMeter;
}

// A slot that no source has (the edit was made of others) leaves what the base says.
static void copy_video_formats(EDIT_STATE* edit) {
    SAVE_CONTEXT& context = edit->save_context;
    const MEDIA_RECORD& source = edit->base;
    context.media_width = source.media_width;
    context.media_height = source.media_height;
    context.video_stream = source.video_stream;
    std::memcpy(context.video_format, source.video_format, sizeof context.video_format);
    context.video_format_size = source.video_format_size;
}

static const struct {
    int result, text;
} COPY_REASONS[] = {
    {SAVE_COPY_FORMAT_DIFFERS, STR_COPY_FORMAT_DIFFERS},
    {SAVE_COPY_SIZE_DIFFERS, STR_COPY_SIZE_DIFFERS},
    {SAVE_COPY_NO_KEY_FRAME, STR_COPY_NO_KEY_FRAME},
    {SAVE_COPY_DOUBLE_RATE, STR_COPY_DOUBLE_RATE},
};

static bool recompressing_agreed(const SAVE& save, int frame, int reason) {
    if (save.request & SAVE_REQ_QUIET) return true;
    const auto* row = std::find_if(std::begin(COPY_REASONS), std::end(COPY_REASONS),
                                   [&](const auto& r) { return r.result == reason; });
    return message_ask(STR_ASK_RECOMPRESS_FRAME, frame + system_settings.startframe, language_string(row->text));
}

// The first frame that cannot be copied, -1 when all can; its reason.
static int first_failing_frame(const SAVE& save, int* reason) {
    SAVE_COPY_RUN run;
    for (int f = save.first; f <= save.last; ++f) {
        *reason = save_copy_check(save.edit, f, save.first, &run);
        if (*reason != SAVE_COPY_GOOD) return f;
    }
    return -1;
}

static bool work_out_copying(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    VIDEO_CODEC_SETTING& working = edit->save_context.decoder;
    copy_video_formats(edit);
    save->flags |= SAVE_VIDEO_COPY;
    const uint32_t handler = codec_headers_compressor(edit->base.video_stream.fccHandler);
    int reason = 0;
    const int failing = first_failing_frame(*save, &reason);
    if (failing >= 0 && !recompressing_agreed(*save, failing, reason)) return false;
    if (failing >= 0 && codec_can_compress(handler)) {
        if (media_code_normal(working.handler) != media_code_normal(handler)) codec_reset_setting(&working, handler);
        save->flags |= SAVE_VIDEO_COPY_OR_RECOMPRESS;
    }
    fill_video_header(&edit->save_context, handler, edit->shown_header);
    save_copy_plan(save);
    return true;
}

static bool work_out_video(SAVE* save) {
    EDIT_STATE* edit = save->edit;
    SAVE_CONTEXT& context = edit->save_context;
    if (edit->video_setting.setting_flags & VIDEO_SETTING_COPY) return work_out_copying(save);
    if (codec_can_compress(context.decoder.handler)) save->flags |= SAVE_VIDEO_COMPRESS;
    edit->frame_video_setting[0] = context.decoder;
    fill_video_header(&context, context.decoder.handler, edit->shown_header);
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
    if (lasting & AUDIO_SETTING_COPY) {
        save->flags |= SAVE_AUDIO_COPY;
        save_audio_plan_copy(save);
    } else if (edit->save_context.converter.audio_flags & AUDIO_SETTING_CHOSEN) {
        save->flags |= SAVE_AUDIO_COMPRESS;
    }
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
    message_warn_file(edit->save_name, STR_ERR_OUTPUT_IS_EDITED, STR_ERR_OUTPUT_IS_EDITED);
    return false;
}

bool save_plan(SAVE* save) {
    if (!work_out_video(save)) return false;
    work_out_audio(save);
    return output_allowed(save);
}
