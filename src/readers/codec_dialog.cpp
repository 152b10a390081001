#include "readers/codec_dialog.h"

#include <algorithm>

#include "core/edit_state.h"
#include "core/ui_hooks.h"
#include "platform/text.h"
#include "platform/video_codec.h"
#include "readers/codec.h"

static constexpr int QUALITY_MAX = 10000, QUALITY_STEP = 100;

static CODEC_ENTRY* selected(const CODEC_DIALOG* dialog) {
    return codec_entry(dialog->choices[size_t(dialog->selected)]);
}

static int info_index(const CODEC_ENTRY* entry) {
    for (int i = 0; i < video_codec_count(); ++i)
        if (video_codec_info(i).handler == entry->handler) return i;
    return -1;
}

// What the setting holds becomes the entry's, for the features that it has.
static void take_setting(CODEC_ENTRY* entry, const VIDEO_CODEC_SETTING* setting) {
    codec_give_state(entry, setting);
    if (entry->flags & CODEC_HAS_QUALITY) entry->quality = std::clamp(setting->quality, 0, QUALITY_MAX);
    if (entry->flags & CODEC_HAS_KEY_RATE) entry->key_rate = std::max(setting->key_rate, 0);
    if (entry->flags & CODEC_HAS_DATA_RATE) entry->data_rate = std::max(setting->data_rate, 0);
}

static CODEC_DIALOG begin(const VIDEO_CODEC_SETTING* setting) {
    CODEC_DIALOG dialog{};
    for (int i = 0; i < codec_count(); ++i)
        if (codec_entry(i)->flags & (CODEC_CAN_RGB | CODEC_PSEUDO)) dialog.choices.push_back(i);
    const int index = codec_find(setting->handler);
    const auto at = std::find(dialog.choices.begin(), dialog.choices.end(), index);
    // "uncompressed" is the last one, and what anything unknown selects
    dialog.selected = int((at == dialog.choices.end() ? at - 1 : at) - dialog.choices.begin());
    CODEC_ENTRY* entry = selected(&dialog);
    if (entry->flags & CODEC_CAN_RGB && codec_compressor(entry)) take_setting(entry, setting);
    return dialog;
}

const char* codec_dialog_name(const CODEC_DIALOG* dialog, int choice) {
    return codec_entry(dialog->choices[size_t(choice)])->display_name;
}

CODEC_FIELDS codec_dialog_fields(const CODEC_DIALOG* dialog) {
    const CODEC_ENTRY* entry = selected(dialog);
    const auto field = [&](uint32_t feature, int value) { return entry->flags & feature ? value : -1; };
    return {field(CODEC_HAS_QUALITY, entry->quality / QUALITY_STEP), field(CODEC_HAS_KEY_RATE, entry->key_rate),
            field(CODEC_HAS_DATA_RATE, entry->data_rate), (entry->flags & CODEC_HAS_CONFIG) != 0,
            (entry->flags & CODEC_HAS_ABOUT) != 0};
}

void codec_dialog_store(CODEC_DIALOG* dialog, const CODEC_FIELDS& fields) {
    CODEC_ENTRY* entry = selected(dialog);
    const int64_t quality = int64_t{fields.quality} * QUALITY_STEP;
    if (entry->flags & CODEC_HAS_QUALITY) entry->quality = int(std::clamp<int64_t>(quality, 0, QUALITY_MAX));
    if (entry->flags & CODEC_HAS_KEY_RATE) entry->key_rate = std::max(fields.key_frame, 0);
    if (entry->flags & CODEC_HAS_DATA_RATE) entry->data_rate = std::max(fields.data_rate, 0);
}

void codec_dialog_select(CODEC_DIALOG* dialog, int choice) {
    dialog->selected = std::clamp(choice, 0, int(dialog->choices.size()) - 1);
}

void codec_dialog_reset(CODEC_DIALOG* dialog) {
    CODEC_ENTRY* entry = selected(dialog);
    const int index = info_index(entry);
    VIDEO_ENCODER* encoder = index < 0 ? nullptr : codec_compressor(entry);
    if (!encoder) return;
    if (entry->flags & CODEC_KEEP_STATE) video_encoder_set_state(encoder, "");
    entry->quality = video_codec_info(index).default_quality;
    entry->key_rate = video_codec_info(index).default_key_rate;
    entry->data_rate = CODEC_DATA_RATE_DEFAULT;
}

std::string codec_dialog_state(CODEC_DIALOG* dialog) {
    CODEC_ENTRY* entry = selected(dialog);
    const VIDEO_ENCODER* encoder = entry->flags & CODEC_HAS_CONFIG ? codec_compressor(entry) : nullptr;
    return encoder ? video_encoder_state(encoder) : "";
}

bool codec_dialog_set_state(CODEC_DIALOG* dialog, const std::string& state) {
    CODEC_ENTRY* entry = selected(dialog);
    VIDEO_ENCODER* encoder = entry->flags & CODEC_HAS_CONFIG ? codec_compressor(entry) : nullptr;
    return encoder && video_encoder_set_state(encoder, state);
}

std::string codec_dialog_about(const CODEC_DIALOG* dialog) {
    const int index = info_index(selected(dialog));
    return index < 0 ? "" : text_from_utf8(video_codec_about(index));
}

static void accept(const CODEC_DIALOG* dialog, VIDEO_CODEC_SETTING* setting) {
    CODEC_ENTRY* entry = selected(dialog);
    for (int i = 0; i < codec_count(); ++i) codec_entry(i)->flags &= ~uint32_t{CODEC_KEEP_OPEN};
    entry->flags |= CODEC_KEEP_OPEN;
    codec_close_compressors(false);
    codec_reset_setting(setting, entry->handler);
    if (entry->flags & CODEC_PSEUDO) setting->quality = setting->key_rate = setting->data_rate = 0;
}

bool codec_choose_dialog(VIDEO_CODEC_SETTING* setting) {
    CODEC_DIALOG dialog = begin(setting);
    const bool agreed = ui_hooks.choose_video && ui_hooks.choose_video(&dialog);
    if (agreed)
        accept(&dialog, setting);
    else
        codec_close_compressors(false);
    return agreed;
}

bool codec_options_dialog() {
    CODEC_OPTIONS_DIALOG dialog;
    for (int i = 0; i < codec_count(); ++i) {
        const uint32_t flags = codec_entry(i)->flags;
        if (flags & CODEC_PSEUDO) continue;
        const bool rgb = flags & CODEC_CAN_RGB, yuy2 = flags & CODEC_CAN_YUY2;
        dialog.rows.push_back({i, flags & CODEC_OPTION_MASK, rgb && yuy2, rgb});
    }
    if (!ui_hooks.codec_options || !ui_hooks.codec_options(&dialog)) return false;
    for (const CODEC_OPTION_ROW& row : dialog.rows)
        if (CODEC_ENTRY* entry = codec_entry(row.entry))
            entry->flags = (entry->flags & ~CODEC_OPTION_MASK) | (row.bits & CODEC_OPTION_MASK);
    return true;
}
