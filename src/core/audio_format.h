#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

struct AUDIO_OUTPUT_SETTING;
struct WAVEFORMATEX;

/// The sound format of an output: names and choice. Texts are code page 932. Main thread.

/// Name of a format's kind by its tag; string 26 for an unknown one.
std::string audio_format_name(std::span<const uint8_t> format);

/// What a user may choose for an edit with this format: PCM of the usual rates, channels and depths (the edit's own
/// first), then what the machine encodes at the edit's rate and channels and at the usual ones.
struct AUDIO_FORMAT_ROW {
    std::vector<uint8_t> format;  // a WAVEFORMATEX with its extra bytes
    std::string name;
};
std::vector<AUDIO_FORMAT_ROW> audio_format_rows(const WAVEFORMATEX& edit_format);

/// Lets the user choose (ui_hooks.choose_audio), starting from what is chosen or the edit's format. False when
/// cancelled or when the format that came back is none: the setting stays. AUDIO_SETTING_CHOSEN is set when the result
/// is not the edit's format.
bool audio_format_choose(AUDIO_OUTPUT_SETTING* setting, const WAVEFORMATEX& edit_format);
