#include "output/save_copy.h"

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/media.h"

static uint32_t stored_code(const MEDIA_RECORD& media) { return media_code_normal(media.video_stream.fccHandler); }

static bool is_key(EDIT_STATE* edit, int frame) {
    const uint32_t ref = frame_table.frame_video[frame];
    if (frame_ref_source(ref) >= SOURCE_MAX) return false;
    return media_is_key(&edit->source[frame_ref_source(ref)].media, frame_ref_number(ref));
}

static bool reaches_key(EDIT_STATE* edit, int frame, int first, const SAVE_COPY_RUN& run) {
    for (int f = frame;; --f) {
        if (f == run.frame) return run.good;
        if (is_key(edit, f)) return true;
        if (f <= first || frame_table.frame_video[f - 1] + 1 != frame_table.frame_video[f]) return false;
    }
}

static int check(EDIT_STATE* edit, int frame, int first, const SAVE_COPY_RUN& run) {
    const int source = frame_ref_source(frame_table.frame_video[frame]);
    if (source >= SOURCE_MAX) return SAVE_COPY_FORMAT_DIFFERS;
    const MEDIA_RECORD& media = edit->source[source].media;
    if (stored_code(media) != stored_code(edit->base)) return SAVE_COPY_FORMAT_DIFFERS;
    if (media.media_width != edit->base.media_width || media.media_height != edit->base.media_height)
        return SAVE_COPY_SIZE_DIFFERS;
    if (media.media_flag & MEDIA_DOUBLE_RATE) return SAVE_COPY_DOUBLE_RATE;
    return reaches_key(edit, frame, first, run) ? SAVE_COPY_GOOD : SAVE_COPY_NO_KEY_FRAME;
}

int save_copy_check(EDIT_STATE* edit, int frame, int first, SAVE_COPY_RUN* run) {
    const int result = check(edit, frame, first, *run);
    *run = {frame, result == SAVE_COPY_GOOD};
    return result;
}
