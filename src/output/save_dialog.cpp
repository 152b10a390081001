#include "output/save_dialog.h"

#include <algorithm>
#include <cstring>

#include "core/audio_format.h"
#include "core/compression_settings.h"
#include "core/edit_state.h"
#include "core/file_filter.h"
#include "core/ui_hooks.h"
#include "output/codec_headers.h"
#include "output/save_flags.h"
#include "output/save_name.h"
#include "platform/text.h"
#include "readers/codec.h"
#include "readers/codec_dialog.h"
#include "resources/string_ids.h"

// ---- what can be used

enum CONDITION : uint32_t {
    WHEN_NO_VIDEO = 1,
    WHEN_NO_AUDIO = 2,  // the source has none
    WHEN_WAV = 4,
    WHEN_PLUGIN = 8,
    WHEN_AUDIO_OFF = 16,  // the check box
};

static const struct {
    int control;
    uint32_t disabled;  // CONDITION bits
} DISABLED_TABLE[] = {
    {SAVE_CONTROL_INTERLEAVE, WHEN_WAV | WHEN_PLUGIN},
    {SAVE_CONTROL_VIDEO_COPY, WHEN_NO_VIDEO | WHEN_WAV | WHEN_PLUGIN},
    {SAVE_CONTROL_NO_AUDIO, WHEN_NO_AUDIO | WHEN_WAV},
    {SAVE_CONTROL_LOG, WHEN_PLUGIN},
    {SAVE_CONTROL_AUDIO_COPY, WHEN_NO_AUDIO | WHEN_PLUGIN | WHEN_AUDIO_OFF},
    {SAVE_CONTROL_WAV_TOO, WHEN_NO_AUDIO | WHEN_WAV},
    {SAVE_CONTROL_VIDEO_CODEC, WHEN_NO_VIDEO | WHEN_WAV},
    {SAVE_CONTROL_AUDIO_CODEC, WHEN_NO_AUDIO | WHEN_PLUGIN | WHEN_AUDIO_OFF},
    {SAVE_CONTROL_EX_INFO, WHEN_WAV | WHEN_PLUGIN},
    {SAVE_CONTROL_VIDEO_TEXT, WHEN_WAV},
    {SAVE_CONTROL_AUDIO_TEXT, WHEN_AUDIO_OFF},
    {SAVE_CONTROL_SUMMARY, WHEN_WAV},
};

static uint32_t conditions(const SAVE_DIALOG* dialog) {
    const uint32_t media = dialog->edit->base.media_flag;
    uint32_t now = 0;
    if (!(media & MEDIA_HAS_VIDEO)) now |= WHEN_NO_VIDEO;
    if (!(media & MEDIA_HAS_AUDIO)) now |= WHEN_NO_AUDIO;
    if (dialog->mode == OUTPUT_KIND_WAV) now |= WHEN_WAV;
    if (dialog->mode == OUTPUT_KIND_PLUGIN) now |= WHEN_PLUGIN;
    if (dialog->no_audio) now |= WHEN_AUDIO_OFF;
    return now;
}

bool save_dialog_enabled(const SAVE_DIALOG* dialog, int control) {
    const uint32_t now = conditions(dialog);
    return std::none_of(std::begin(DISABLED_TABLE), std::end(DISABLED_TABLE),
                        [&](const auto& row) { return row.control == control && (row.disabled & now); });
}

// ---- check boxes and buttons

void save_dialog_set_video_copy(SAVE_DIALOG* dialog, bool on) {
    if (!save_dialog_enabled(dialog, SAVE_CONTROL_VIDEO_COPY)) return;
    dialog->video_copy = on;
    const uint32_t handler = codec_headers_compressor(dialog->edit->base.video_stream.fccHandler);
    if (on && codec_can_compress(handler)) codec_reset_setting(&dialog->edit->save_context.decoder, handler);
}

void save_dialog_set_audio_copy(SAVE_DIALOG* dialog, bool on) {
    if (!save_dialog_enabled(dialog, SAVE_CONTROL_AUDIO_COPY)) return;
    dialog->audio_copy = on;
    std::memset(&dialog->edit->save_context.converter, 0, sizeof dialog->edit->save_context.converter);
}

void save_dialog_set_no_audio(SAVE_DIALOG* dialog, bool on) {
    if (save_dialog_enabled(dialog, SAVE_CONTROL_NO_AUDIO)) dialog->no_audio = on;
}

bool save_dialog_choose_video(SAVE_DIALOG* dialog) {
    if (dialog->mode == OUTPUT_KIND_PLUGIN || !save_dialog_enabled(dialog, SAVE_CONTROL_VIDEO_CODEC)) return false;
    return codec_choose_dialog(&dialog->edit->save_context.decoder);
}

bool save_dialog_choose_audio(SAVE_DIALOG* dialog) {
    if (!save_dialog_enabled(dialog, SAVE_CONTROL_AUDIO_CODEC)) return false;
    return audio_format_choose(&dialog->edit->save_context.converter, dialog->edit->base.audio_header);
}

void save_dialog_press_batch(SAVE_DIALOG* dialog) { dialog->add_to_batch = true; }

bool save_dialog_set_info(SAVE_DIALOG* dialog, const char* title, const char* comment, const char* copyright) {
    const size_t size = sizeof dialog->ex_title;
    for (const char* text : {title, comment, copyright})
        if (std::strlen(text) >= size) return false;
    return text_copy(dialog->ex_title, size, title) && text_copy(dialog->ex_comment, size, comment) &&
           text_copy(dialog->ex_copyright, size, copyright);
}

// ---- opening

static void set_mode(SAVE_DIALOG* dialog, uint32_t request) {
    dialog->mode = request & SAVE_REQ_WAV      ? OUTPUT_KIND_WAV
                   : request & SAVE_REQ_PLUGIN ? OUTPUT_KIND_PLUGIN
                                               : OUTPUT_KIND_AVI;
    const bool wav = dialog->mode == OUTPUT_KIND_WAV;
    dialog->title = language_string(wav ? STR_TITLE_SAVE_WAV : STR_TITLE_SAVE_AVI);
    dialog->filter = wav ? file_filter_one(STR_FILES_WAV, "*.wav") : file_filter_one(STR_FILES_AVI, "*.avi");
    dialog->extension = wav ? ".wav" : ".avi";
    if (wav) dialog->no_audio = dialog->wav_too = false;
    if (dialog->mode != OUTPUT_KIND_PLUGIN) return;
    dialog->title = dialog->edit->output_setting.plugin_name;
    dialog->video_copy = dialog->audio_copy = false;
}

static SAVE_DIALOG begin(EDIT_STATE* edit, uint32_t request) {
    SAVE_DIALOG dialog{};
    dialog.edit = edit;
    const uint32_t audio = edit->save_context.converter.audio_flags;
    dialog.video_copy = edit->save_context.decoder.setting_flags & VIDEO_SETTING_COPY;
    dialog.audio_copy = audio & AUDIO_SETTING_COPY;
    dialog.no_audio = audio & AUDIO_SETTING_NONE;
    dialog.wav_too = edit->edit_flag & EDIT_SAVE_WAV;
    dialog.log = edit->edit_flag & EDIT_SAVE_LOG;
    dialog.interleave = std::max(edit->save_context.converter.interleave, 1);
    std::memcpy(dialog.ex_title, edit->ex_title, sizeof dialog.ex_title);
    std::memcpy(dialog.ex_comment, edit->ex_comment, sizeof dialog.ex_comment);
    std::memcpy(dialog.ex_copyright, edit->ex_copyright, sizeof dialog.ex_copyright);
    set_mode(&dialog, request);
    if (*path_name(edit->save_name)) path_set_extension(edit->save_name, edit->save_name, dialog.extension.c_str());
    std::memcpy(dialog.path, edit->save_name, PATH_SIZE);
    return dialog;
}

// ---- keeping

static uint32_t with_bit(uint32_t flags, uint32_t bit, bool on) { return on ? flags | bit : flags & ~bit; }

static void keep(const SAVE_DIALOG& dialog, uint32_t* request) {
    EDIT_STATE* edit = dialog.edit;
    VIDEO_CODEC_SETTING& video = edit->save_context.decoder;
    AUDIO_OUTPUT_SETTING& audio = edit->save_context.converter;
    video.setting_flags = with_bit(video.setting_flags, VIDEO_SETTING_COPY, dialog.video_copy);
    audio.audio_flags = with_bit(audio.audio_flags, AUDIO_SETTING_COPY, dialog.audio_copy);
    audio.audio_flags = with_bit(audio.audio_flags, AUDIO_SETTING_NONE, dialog.no_audio);
    edit->edit_flag = with_bit(edit->edit_flag, EDIT_SAVE_WAV, dialog.wav_too);
    edit->edit_flag = with_bit(edit->edit_flag, EDIT_SAVE_LOG, dialog.log);
    audio.interleave = dialog.interleave;
    std::memcpy(edit->ex_title, dialog.ex_title, sizeof edit->ex_title);
    std::memcpy(edit->ex_comment, dialog.ex_comment, sizeof edit->ex_comment);
    std::memcpy(edit->ex_copyright, dialog.ex_copyright, sizeof edit->ex_copyright);
    if (dialog.add_to_batch) *request |= SAVE_REQ_ADD_TO_BATCH;
    edit->video_setting = video;
    edit->audio_setting = audio;
    compression_store(edit);
}

int save_option_dialog(EDIT_STATE* edit, uint32_t* request) {
    save_resolve_name(edit);
    SAVE_DIALOG dialog = begin(edit, *request);
    edit->output_kind = dialog.mode;
    const bool agreed = ui_hooks.save_dialog && ui_hooks.save_dialog(&dialog);
    keep(dialog, request);
    const size_t length = strnlen(dialog.path, PATH_SIZE);
    return agreed && length > 0 && text_copy(edit->save_name, PATH_SIZE, {dialog.path, length}) ? 1 : 0;
}
