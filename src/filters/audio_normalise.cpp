#include <algorithm>

#include "audio/level.h"
#include "filters/audio_filters.h"
#include "hosts/filter_functions.h"
#include "output/progress.h"
#include "pipeline/audio_fetch.h"
#include "pipeline/frame_cache.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static constexpr int UNKNOWN = -1;

// Of the selection that is being saved: rises during the scan, then stands until the save ends.
static int normalise_peak = UNKNOWN;

int audio_normalise_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    if (normalise_peak < 0) return 1;
    audio_scale(param->audio, audio_values(*param), normalise_peak, filter->track_values[0]);
    return 1;
}

// The sound of one frame as it reaches this filter, in pieces where the buffer is too small for it.
static int frame_peak(EDIT_STATE* edit, int f, FILTER* filter) {
    const int block = edit->base.audio_header.nBlockAlign;
    auto* samples = reinterpret_cast<int16_t*>(display_buffer());
    int peak = 0, bytes = 0;
    for (int skip = 0;; skip += bytes / block) {
        bytes = audio_fetch_part(edit, f, skip, samples, display_buffer_size(), filter, AUDIO_FILTERED);
        if (bytes < block || block < 1) return peak;
        peak = std::max(peak, audio_peak(samples, size_t(bytes) / sizeof(int16_t)));
    }
}

static void scan(FILTER* filter, int first, int last, EDIT_STATE* edit) {
    normalise_peak = 0;
    progress_begin(first, last, language_string(STR_PROGRESS_SEARCH));
    for (int f = first; f <= last; ++f) {
        if (save_poll_abort(STR_ASK_STOP_SEARCH)) {
            normalise_peak = UNKNOWN;
            break;
        }
        progress_tick(f);
        normalise_peak = std::max(normalise_peak, frame_peak(edit, f, filter));
        progress_show();
    }
    progress_end();
}

int audio_normalise_save_start(FILTER* filter, int32_t first, int32_t last, EDIT_STATE* edit) {
    if (!edit || !(edit->edit_flag & EDIT_OPEN)) return 1;
    // Whether the filter is on is for the profile of the selection's beginning to say.
    audio_use_profile(edit, first);
    if (!(filter->flags & FILTER_F_ACTIVE)) return 1;
    edit->edit_flag |= EDIT_SAVING;
    // The scan hears what the save will: both begin with converters that hold nothing.
    audio_reset(edit, first, last);
    scan(filter, first, last, edit);
    audio_reset(edit, first, last);
    edit->edit_flag &= ~uint32_t{EDIT_SAVING};
    return 1;
}

int audio_normalise_save_end(FILTER*, EDIT_STATE*) {
    normalise_peak = UNKNOWN;
    return 1;
}
