#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct VIDEO_CODEC_SETTING;

/// What stands behind the two dialogs of the codecs; a window only shows it. Texts are code page 932. Main thread.

/// The compressor dialog "VCMSET" while it is open.
struct CODEC_DIALOG {
    std::vector<int> choices;  // entries (codec_entry) that can be chosen, in the order of the list
    int selected;              // place in choices
};
/// The three fields of the selected codec: empty (-1) and disabled where it has no such thing.
struct CODEC_FIELDS {
    int quality;    // 0 .. 100
    int key_frame;  // every n frames, 0 = none
    int data_rate;  // KB a second, 0 = none
    bool has_options, has_about;
};

const char* codec_dialog_name(const CODEC_DIALOG* dialog, int choice);
CODEC_FIELDS codec_dialog_fields(const CODEC_DIALOG* dialog);
/// Keeps typed fields for the selected codec, within their ranges; fields that it does not have are passed over.
void codec_dialog_store(CODEC_DIALOG* dialog, const CODEC_FIELDS& fields);
/// Selects another one; store the fields of the old one first.
void codec_dialog_select(CODEC_DIALOG* dialog, int choice);
/// "標準に戻す": the codec's own defaults.
void codec_dialog_reset(CODEC_DIALOG* dialog);
/// The configuration block of the selected codec as text, "" when it has none; and the other way, false when refused.
/// The keys to choose from are video_codec_options' (platform/video_codec.h).
std::string codec_dialog_state(CODEC_DIALOG* dialog);
bool codec_dialog_set_state(CODEC_DIALOG* dialog, const std::string& state);
std::string codec_dialog_about(const CODEC_DIALOG* dialog);
/// The option dialog "CODEC": the real codecs in table order, with the user's three bits of each.
struct CODEC_OPTION_ROW {
    int entry;
    uint32_t bits;                       // CODEC_DECODE_YUY2, CODEC_ENCODE_YUY2, CODEC_KEEP_STATE
    bool encode_enabled, state_enabled;  // the boxes that can be changed; the first one always can
};
struct CODEC_OPTIONS_DIALOG {
    std::vector<CODEC_OPTION_ROW> rows;
};

/// The two dialogs as the commands call them: through ui_hooks.choose_video and ui_hooks.codec_options. True when the
/// user agreed and the setting, or the entries, changed.
bool codec_choose_dialog(VIDEO_CODEC_SETTING* setting);
bool codec_options_dialog();
