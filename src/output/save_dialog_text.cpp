#include <algorithm>
#include <cstdio>

#include "core/audio_conv.h"
#include "core/audio_format.h"
#include "core/edit_state.h"
#include "hosts/filter.h"
#include "output/codec_headers.h"
#include "output/save_dialog.h"
#include "pipeline/frame_schedule.h"
#include "readers/codec.h"
#include "resources/language.h"
#include "resources/string_ids.h"

// What the save dialog says of the output.

// ---- the summary

/// What would be written.
struct OUTPUT_SHAPE {
    int width, height;
    uint32_t rate, scale;
    const char* deinterlace;
};

static OUTPUT_SHAPE shape_filtered(EDIT_STATE* edit) {
    SAVE_CONTEXT& context = edit->save_context;
    const uint32_t rate = context.video_stream.dwRate, scale = context.video_stream.dwScale;
    save_scale_rate(edit, &context, 0);
    const FILTER* method = filter_deinterlace_method(filter_selected(filter_built_in(STR_FILTER_DEINTERLACE)));
    const OUTPUT_SHAPE shape = {context.media_width, context.media_height, context.video_stream.dwRate,
                                context.video_stream.dwScale, method ? method->name : language_string(STR_NONE)};
    context.video_stream.dwRate = rate;  // the save itself does that at its time
    context.video_stream.dwScale = scale;
    return shape;
}

static OUTPUT_SHAPE shape_copied(const EDIT_STATE* edit) {
    const MEDIA_RECORD& source = edit->base;
    return {source.media_width, source.media_height, source.video_stream.dwRate, source.video_stream.dwScale,
            language_string(STR_NONE)};
}

static std::string rate_text(uint32_t rate, uint32_t scale) {
    const uint64_t thousandths = scale ? uint64_t{rate} * 1000 / scale : 0;
    char text[32];
    std::snprintf(text, sizeof text, "%d.%03d", int(thousandths / 1000), int(thousandths % 1000));
    return text;
}

static std::string length_text(const EDIT_STATE* edit) {
    const AVI_STREAM_INFO& stream = edit->base.video_stream;
    const int64_t frames = std::max<int64_t>(int64_t{edit->select_end} - edit->select_start + 1, 0);
    const int64_t all = stream.dwRate ? int64_t(uint64_t(frames) * stream.dwScale / stream.dwRate) : 0;
    const int seconds = int(all % 60), minutes = int(all / 60 % 60);
    char text[48];
    if (all < 3600)
        std::snprintf(text, sizeof text, "%d:%02d", minutes, seconds);
    else
        std::snprintf(text, sizeof text, "%lld:%02d:%02d", static_cast<long long>(all / 3600), minutes, seconds);
    return text;
}

std::string save_dialog_summary(const SAVE_DIALOG* dialog) {
    EDIT_STATE* edit = dialog->edit;
    const OUTPUT_SHAPE shape = dialog->video_copy ? shape_copied(edit) : shape_filtered(edit);
    char text[512];
    std::snprintf(text, sizeof text, " %dx%d  %sfps  %s  -  %s : %s", shape.width, shape.height,
                  rate_text(shape.rate, shape.scale).c_str(), length_text(edit).c_str(),
                  language_string(STR_DEINTERLACE), shape.deinterlace);
    return text;
}

// ---- the codecs

std::string save_dialog_video_text(const SAVE_DIALOG* dialog) {
    const EDIT_STATE* edit = dialog->edit;
    if (dialog->mode == OUTPUT_KIND_PLUGIN) return dialog->title;
    if (!dialog->video_copy) return codec_name(edit->save_context.decoder.handler);
    const uint32_t handler = codec_headers_compressor(edit->base.video_stream.fccHandler);
    const std::string name = codec_name(handler);
    return codec_can_compress(handler) ? name : name + " (" + language_string(STR_CODEC_NO_RECOMPRESS) + ")";
}

static std::span<const uint8_t> audio_format(const SAVE_DIALOG* dialog) {
    const EDIT_STATE* edit = dialog->edit;
    const auto block = [](const uint8_t* bytes, int size) {
        return std::span(bytes, size_t(std::clamp(size, 0, FORMAT_SIZE_MAX)));
    };
    if (dialog->audio_copy) return block(edit->base.audio_format, edit->base.audio_format_size);
    const AUDIO_OUTPUT_SETTING& working = edit->save_context.converter;
    if (working.audio_flags & AUDIO_SETTING_CHOSEN) return block(working.target_format, working.target_format_size);
    return {reinterpret_cast<const uint8_t*>(&edit->base.audio_header), sizeof edit->base.audio_header};
}

std::string save_dialog_audio_text(const SAVE_DIALOG* dialog) {
    if (!(dialog->edit->base.media_flag & MEDIA_HAS_AUDIO)) return "";
    const std::span<const uint8_t> format = audio_format(dialog);
    const WAVEFORMATEX head = audio_format_head(format);
    char text[320];
    std::snprintf(text, sizeof text, "%s %d.%03dkHz %dch", audio_format_name(format).c_str(),
                  int(head.nSamplesPerSec / 1000), int(head.nSamplesPerSec % 1000), head.nChannels);
    return text;
}
