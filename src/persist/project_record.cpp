#include "persist/project_record.h"

#include <algorithm>
#include <cstring>

#include "core/compression_settings.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/media.h"
#include "platform/handle.h"

static constexpr uint32_t BATCH_MARKS = 0x30000;  // a job went well, a job failed
static constexpr uint32_t KEPT_FLAGS = EDIT_OPEN | EDIT_SAVE_LOG | EDIT_SAVE_WAV | BATCH_MARKS;
static constexpr uint32_t OPEN_MARKS = MEDIA_OPEN | MEDIA_DECODER_OPEN | MEDIA_CONVERTER_OPEN;
static constexpr int SIZE_MAX_STORED = 32768;  // pixels, of sizes that nothing is allocated by
static constexpr int CYCLE = 5;

// ---- both ways

static void strip_media(MEDIA_RECORD* media) {
    media->media_handle = media->read_buffer = 0;
    media->media_info.video_format = media->media_info.audio_format = 0;
    compression_clean_video(&media->decoder);
    compression_clean_audio(&media->converter);
}

static void clear_shown(EDIT_STATE* record) {
    record->shown_image = record->shown_pixels = record->shown_wave = 0;
    record->shown_wave_n = 0;
}

static void strip_common(EDIT_STATE* record) {
    strip_media(&record->base);
    strip_media(&record->save_context);
    for (SOURCE_SLOT& slot : record->source) strip_media(&slot.media);
    compression_clean_video(&record->video_setting);
    compression_clean_audio(&record->audio_setting);
    for (VIDEO_CODEC_SETTING& setting : record->frame_video_setting) compression_clean_video(&setting);
    compression_clean_output(&record->output_setting);
    clear_shown(record);
    std::memset(record->column_pointer, 0, sizeof record->column_pointer);
}

// ---- into a file

void project_record_strip(EDIT_STATE* record) {
    strip_common(record);
    VIEW_RECORD& view = record->view;
    view.main_window = view.trackbar = 0;
    view.button_back = view.button_forward = view.button_in = view.button_out = 0;
    for (uint32_t& clip : record->clip) clip = handle_get(clip) ? 1 : 0;
}

// ---- out of a file

template <size_t N>
static void end_text(char (&text)[N]) {
    text[N - 1] = 0;
}

static void end_texts(EDIT_STATE* record) {
    end_text(record->file_name);
    end_text(record->save_name);
    end_text(record->project_name);
    end_text(record->ex_title);
    end_text(record->ex_comment);
    end_text(record->ex_copyright);
    for (char(&name)[PATH_SIZE] : record->profile_name) end_text(name);
    for (SOURCE_SLOT& slot : record->source) end_text(slot.path);
}

static void clean_media(MEDIA_RECORD* media) {
    media->media_flag &= ~OPEN_MARKS;
    media->media_width = std::clamp(media->media_width, 0, SIZE_MAX_STORED);
    media->media_height = std::clamp(media->media_height, 0, SIZE_MAX_STORED);
    media->video_format_size = std::clamp(media->video_format_size, 0, FORMAT_SIZE_MAX);
    media->audio_format_size = std::clamp(media->audio_format_size, 0, FORMAT_SIZE_MAX);
    media->last_frame = -1;
}

// The sound of an edit is 16-bit PCM of one or two channels, whatever its sources hold.
static void clean_base(MEDIA_RECORD* base) {
    clean_media(base);
    base->media_frames = 0;
    const WAVEFORMATEX& sound = base->audio_header;
    const bool good = media_is_pcm16(&sound) && sound.nChannels >= 1 && sound.nChannels <= 2 &&
                      sound.nBlockAlign == sound.nChannels * 2 && sound.nSamplesPerSec > 0;
    if (!good) base->media_flag &= ~uint32_t{MEDIA_HAS_AUDIO};
}

void project_record_clean(EDIT_STATE* record) {
    strip_common(record);
    record->edit_flag = (record->edit_flag & KEPT_FLAGS) | EDIT_OPEN;
    end_texts(record);
    record->out_width = std::clamp(record->out_width, 0, SIZE_MAX_STORED);
    record->out_height = std::clamp(record->out_height, 0, SIZE_MAX_STORED);
    clean_base(&record->base);
    clean_media(&record->save_context);
    for (SOURCE_SLOT& slot : record->source) {
        if (slot.path[0])
            clean_media(&slot.media);
        else
            slot = {};
    }
    record->shown_header.biSize = sizeof record->shown_header;
    record->shown_header.biPlanes = 1;
    std::memset(record->clip, 0, sizeof record->clip);
    if (record->output_kind < OUTPUT_KIND_AVI || record->output_kind > OUTPUT_KIND_PLUGIN)
        record->output_kind = OUTPUT_KIND_AVI;
}

// ---- frames

static void clean_positions(EDIT_STATE* record, int n) {
    record->frame_n = n;
    record->frame = std::clamp(record->frame, 0, n - 1);
    record->select_start = std::clamp(record->select_start, 0, n - 1);
    record->select_end = std::clamp(record->select_end, record->select_start, n - 1);
    record->select_anchor = std::clamp(record->select_anchor, 0, n);
}

static void clean_frame(const EDIT_STATE* record, int f) {
    FRAME_TABLE& t = frame_table;
    if (t.frame_inter[f] > INTER_AUTO) t.frame_inter[f] = INTER_STANDARD;
    t.frame_phase[f] = uint8_t(t.frame_phase[f] % CYCLE);
    if (t.frame_profile[f] >= PROFILE_MAX) t.frame_profile[f] = 0;
    if (t.frame_compress[f] >= FRAME_SETTING_MAX) t.frame_compress[f] = 0;
    if (!record->clip[t.frame_clip[f]]) t.frame_clip[f] = 0;  // or the next picture pasted would show here, too
}

bool project_frames_clean(EDIT_STATE* record, int n) {
    clean_positions(record, n);
    const auto used = [&](int slot) { return slot < SOURCE_MAX && record->source[slot].path[0]; };
    int first = 0;
    while (first < SOURCE_MAX && !used(first)) ++first;
    if (first == SOURCE_MAX) return false;
    const uint32_t lost = frame_ref_make(first, -256);
    for (uint32_t* column : {frame_table.frame_video, frame_table.frame_audio})
        for (int f = 0; f < n; ++f)
            if (!used(frame_ref_source(column[f]))) column[f] = lost;
    for (int f = 0; f < n; ++f) clean_frame(record, f);
    return true;
}
