#include <cstdio>
#include <cstdlib>

#include "core/edit_commands_list.h"
#include "core/edit_state.h"
#include "core/fps_list.h"
#include "core/media.h"
#include "core/media_converter.h"
#include "core/ui_hooks.h"
#include "hosts/filter.h"

// The play rate: what the numbers of frames and samples mean in time, without a change to any of them.

static void describe_rate(char* text, size_t size, const AVI_STREAM_INFO& video) {
    const uint64_t rate = video.dwRate, scale = video.dwScale;
    if (scale == 0) return;
    const int whole = int(rate / scale), thousandths = int(rate % scale * 1000 / scale);
    if (rate % scale == 0)
        std::snprintf(text, size, "%d.%03dfps", whole, thousandths);
    else
        std::snprintf(text, size, "%d.%03dfps (%d/%d)", whole, thousandths, int(rate), int(scale));
}

// The first rate of what is typed counts, in the notation of the list of rates.
static bool typed_rate(const char* text, FPS_ENTRY* entry) {
    FPS_LIST list;
    fps_list_parse(&list, text);
    for (int i = 0; i < list.n; ++i) {
        if (list.entry[i].rate == 0) continue;
        *entry = list.entry[i];
        return true;
    }
    return false;
}

static void set_video_rate(EDIT_STATE* edit, const char* text) {
    FPS_ENTRY entry;
    if (!typed_rate(text, &entry)) return;
    edit->base.video_stream.dwRate = uint32_t(entry.rate);
    edit->base.video_stream.dwScale = uint32_t(entry.scale);
}

static void match_sources(EDIT_STATE* edit, const WAVEFORMATEX& stored) {
    for (SOURCE_SLOT& slot : edit->source)
        if (slot.path[0] && (slot.media.media_flag & MEDIA_HAS_AUDIO))
            media_match_audio(&slot.media, &edit->base.audio_header, &stored);
}

static void set_sample_rate(EDIT_STATE* edit, const char* text) {
    MEDIA_RECORD& base = edit->base;
    const long long rate = std::strtoll(text, nullptr, 10);
    const WAVEFORMATEX stored = media_stored_format(&base);
    if (rate < 1 || rate > INT32_MAX || stored.nSamplesPerSec == 0) return;
    const uint64_t bytes = uint64_t(rate) * base.audio_header.nBlockAlign;
    const uint64_t stored_bytes = media_stored_byte_rate(&base) * uint64_t(rate) / stored.nSamplesPerSec;
    if (bytes > UINT32_MAX || stored_bytes > UINT32_MAX) return;
    base.audio_header.nSamplesPerSec = uint32_t(rate);
    base.audio_header.nAvgBytesPerSec = uint32_t(bytes);
    base.audio_stream.dwRate = uint32_t(stored_bytes);
    match_sources(edit, stored);
}

void command_play_rate(EDIT_STATE* edit, int) {
    PLAY_RATE_DIALOG dialog{};
    const bool sound = edit->base.media_flag & MEDIA_HAS_AUDIO;
    dialog.sound = sound;
    describe_rate(dialog.rate_now, sizeof dialog.rate_now, edit->base.video_stream);
    if (sound)
        std::snprintf(dialog.samples_now, sizeof dialog.samples_now, "%dHz",
                      int(edit->base.audio_header.nSamplesPerSec));
    if (!ui_hooks.ask_play_rate || !ui_hooks.ask_play_rate(&dialog)) return;
    dialog.rate[sizeof dialog.rate - 1] = dialog.samples[sizeof dialog.samples - 1] = 0;
    set_video_rate(edit, dialog.rate);
    if (sound) set_sample_rate(edit, dialog.samples);
    edit->shown_wave = 0;  // each frame now has other samples
    edit->shown_wave_n = 0;
    command_changed();
    filter_broadcast_send(FILTER_MSG_FILE_UPDATED, 0);
}
