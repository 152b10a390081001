#include "persist/project_sources.h"

#include <cstring>

#include "core/edit_state.h"
#include "core/media.h"
#include "core/message.h"
#include "core/settings.h"
#include "core/source.h"
#include "core/ui_hooks.h"
#include "platform/text.h"
#include "resources/string_ids.h"

static const struct {
    uint32_t media, load;
} OPEN_OPTIONS[] = {
    {MEDIA_DOUBLE_RATE, LOAD_DOUBLE_RATE},
    {MEDIA_AVI_SEQUENCE, LOAD_AVI_SEQUENCE},
    {MEDIA_FPS_ADJUSTED, LOAD_FPS_ADJUST},
};

static uint32_t load_flags_of(const MEDIA_RECORD& stored) {
    uint32_t flags = stored.media_flag & MEDIA_HAS_VIDEO ? 0u : uint32_t{LOAD_NO_VIDEO};
    for (const auto& option : OPEN_OPTIONS)
        if (stored.media_flag & option.media) flags |= option.load;
    return flags;
}

/// 0, or the number of the text that says why the record cannot serve.
static int refusal(const MEDIA_RECORD& record, bool sound_only) {
    if (sound_only) return record.media_flag & MEDIA_HAS_AUDIO ? 0 : STR_ERR_UNSUPPORTED_FILE;
    switch (source_size_check(record.media_width, record.media_height)) {
        case SOURCE_SIZE_LARGE: return STR_ERR_PICTURE_TOO_LARGE;
        case SOURCE_SIZE_SMALL: return STR_ERR_UNSUPPORTED_FILE;
        default: return 0;
    }
}

/// What the slot's sound and rate take from the edit.
static void fit_to_base(const MEDIA_RECORD& base, const MEDIA_RECORD& stored, MEDIA_RECORD* record) {
    if (base.media_flag & record->media_flag & MEDIA_HAS_AUDIO) {
        WAVEFORMATEX before;
        std::memcpy(&before, base.audio_format, sizeof before);
        media_match_audio(record, &base.audio_header, &before);
    }
    const auto unknown = [](const AVI_STREAM_INFO& video) { return video.dwRate == 0 || video.dwScale == 0; };
    if (!unknown(stored.video_stream) && !unknown(record->video_stream)) return;
    record->video_stream.dwRate = base.video_stream.dwRate;
    record->video_stream.dwScale = base.video_stream.dwScale;
}

/// 0, or why the slot could not be opened; its record is then the stored one.
static int open_slot(const MEDIA_RECORD& base, SOURCE_SLOT* slot) {
    const MEDIA_RECORD stored = slot->media;
    MEDIA_RECORD* record = &slot->media;
    int reason;
    if (media_open(record, slot->path, load_flags_of(stored)) != 1) {
        reason = source_open_reason();
    } else {
        reason = refusal(*record, !(stored.media_flag & MEDIA_HAS_VIDEO));
        if (reason) media_close(record);
    }
    if (reason)
        *record = stored;
    else
        fit_to_base(base, stored, record);
    return reason;
}

/// Asks for another file in place of the slot's. Where nobody can be asked, says why instead.
static bool relink(SOURCE_SLOT* slot, int reason) {
    if (!message_boxes_shown() || !ui_hooks.relink) {
        message_warn_file(slot->path, STR_ERR_OPEN_FAILED, reason, system_settings.width, system_settings.height);
        return false;
    }
    RELINK_DIALOG dialog{};
    dialog.missing = slot->path;
    dialog.sound_only = !(slot->media.media_flag & MEDIA_HAS_VIDEO);
    std::memcpy(dialog.path, slot->path, PATH_SIZE);
    return ui_hooks.relink(&dialog) &&
           text_copy(slot->path, PATH_SIZE, {dialog.path, strnlen(dialog.path, sizeof dialog.path)});
}

static void forget_from(EDIT_STATE* edit, SOURCE_SLOT* slot) {
    for (; slot != std::end(edit->source); ++slot) std::memset(slot->path, 0, sizeof slot->path);
}

bool project_sources_open(EDIT_STATE* edit) {
    for (SOURCE_SLOT& slot : edit->source) {
        if (!slot.path[0]) continue;
        for (int reason = open_slot(edit->base, &slot); reason; reason = open_slot(edit->base, &slot)) {
            if (relink(&slot, reason)) continue;
            forget_from(edit, &slot);
            return false;
        }
    }
    return true;
}
