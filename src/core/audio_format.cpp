#include "core/audio_format.h"

#include <algorithm>
#include <cstring>

#include "core/audio_conv.h"
#include "core/edit_state.h"
#include "core/ui_hooks.h"
#include "platform/audio_codec.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static constexpr uint16_t TAG_PCM = 1;
static constexpr uint32_t PCM_RATES[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000, 88200, 96000};
static constexpr uint32_t CODEC_RATES[] = {48000, 44100, 32000, 24000, 22050};
static constexpr uint16_t PCM_DEPTHS[] = {8, 16, 24, 32};

std::string audio_format_name(std::span<const uint8_t> format) {
    const uint16_t tag = audio_format_head(format).wFormatTag;
    if (tag == TAG_PCM) return "PCM";
    if (audio_format_is_pcm(format)) return "PCM(extensible)";
    const std::string name = audio_codec_name(tag);
    return name.empty() ? language_string(STR_UNKNOWN) : text_from_utf8(name);
}

// ---- what there is to choose

static AUDIO_FORMAT_ROW pcm_row(uint32_t rate, int channels, uint16_t bits) {
    WAVEFORMATEX format = audio_format_pcm16(rate, channels);
    format.wBitsPerSample = bits;
    format.nBlockAlign = uint16_t(channels * bits / 8);
    format.nAvgBytesPerSec = rate * format.nBlockAlign;
    const auto* bytes = reinterpret_cast<const uint8_t*>(&format);
    const char* name = channels == 1 ? " bit, mono" : " bit, stereo";
    return {{bytes, bytes + sizeof format}, "PCM " + std::to_string(rate) + " Hz, " + std::to_string(bits) + name};
}

static void add_new(std::vector<AUDIO_FORMAT_ROW>* rows, AUDIO_FORMAT_ROW row) {
    const bool known = std::any_of(rows->begin(), rows->end(), [&](const auto& r) { return r.format == row.format; });
    if (!known) rows->push_back(std::move(row));
}

static void add_codecs(std::vector<AUDIO_FORMAT_ROW>* rows, uint32_t rate, int channels) {
    for (AUDIO_CODEC_CHOICE& choice : audio_codec_choices(rate, channels)) {
        if (choice.format.size() < sizeof(WAVEFORMATEX) || choice.format.size() > FORMAT_SIZE_MAX) continue;
        add_new(rows, {std::move(choice.format), text_from_utf8(choice.name)});
    }
}

std::vector<AUDIO_FORMAT_ROW> audio_format_rows(const WAVEFORMATEX& edit) {
    std::vector<AUDIO_FORMAT_ROW> rows;
    add_new(&rows, pcm_row(edit.nSamplesPerSec, std::clamp<int>(edit.nChannels, 1, 2), 16));
    for (const uint32_t rate : PCM_RATES)
        for (int channels = 1; channels <= 2; ++channels)
            for (const uint16_t bits : PCM_DEPTHS) add_new(&rows, pcm_row(rate, channels, bits));
    add_codecs(&rows, edit.nSamplesPerSec, edit.nChannels);
    for (const uint32_t rate : CODEC_RATES)
        for (int channels = 1; channels <= 2; ++channels) add_codecs(&rows, rate, channels);
    return rows;
}

// ---- choosing

static bool same_as_edit(const WAVEFORMATEX& a, const WAVEFORMATEX& edit) {
    return a.wFormatTag == edit.wFormatTag && a.nChannels == edit.nChannels &&
           a.nSamplesPerSec == edit.nSamplesPerSec && a.wBitsPerSample == edit.wBitsPerSample;
}

// Bytes of the block that count; 0 when it does not hold what it says.
static int format_size(const AUDIO_FORMAT_DIALOG& dialog) {
    const int held = std::clamp(dialog.chosen_size, 0, FORMAT_SIZE_MAX);
    if (held < 16) return 0;
    const WAVEFORMATEX head = audio_format_head({dialog.chosen, size_t(held)});
    if (head.wFormatTag == TAG_PCM) return 16;
    const int size = int(sizeof head) + head.cbSize;
    return size <= held ? size : 0;
}

bool audio_format_choose(AUDIO_OUTPUT_SETTING* setting, const WAVEFORMATEX& edit_format) {
    AUDIO_FORMAT_DIALOG dialog{};
    const bool chosen = setting->audio_flags & AUDIO_SETTING_CHOSEN;
    dialog.start_size = chosen ? std::clamp(setting->target_format_size, 0, FORMAT_SIZE_MAX) : int(sizeof edit_format);
    std::memcpy(dialog.start, chosen ? setting->target_format : reinterpret_cast<const uint8_t*>(&edit_format),
                size_t(dialog.start_size));
    if (!ui_hooks.choose_audio || !ui_hooks.choose_audio(&dialog)) return false;
    const int size = format_size(dialog);
    if (size == 0) return false;
    const WAVEFORMATEX head = audio_format_head({dialog.chosen, size_t(size)});
    setting->audio_flags &= ~uint32_t{AUDIO_SETTING_CHOSEN};
    if (!same_as_edit(head, edit_format)) setting->audio_flags |= AUDIO_SETTING_CHOSEN;
    std::memcpy(setting->target_format, dialog.chosen, size_t(size));
    setting->target_format_size = size;
    return true;
}
