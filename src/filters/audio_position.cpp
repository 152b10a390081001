#include <algorithm>
#include <cstdio>

#include "core/edit_state.h"
#include "filters/audio_filters.h"
#include "hosts/filter.h"
#include "resources/string_ids.h"

int audio_position() {
    const FILTER* filter = filter_built_in(STR_FILTER_AUDIO_POSITION);
    return filter->flags & FILTER_F_ACTIVE ? filter->track_values[0] : 0;
}

void audio_position_text(const EDIT_STATE* edit, char* out, size_t size) {
    const AVI_STREAM_INFO& video = edit->base.video_stream;
    if (!(edit->edit_flag & EDIT_OPEN) || video.dwRate == 0) {
        std::snprintf(out, size, "ms");
        return;
    }
    const int track = filter_built_in(STR_FILTER_AUDIO_POSITION)->track_values[0];
    const double ms = double(video.dwScale) * track * 1000.0 / video.dwRate;
    std::snprintf(out, size, "%dms", int(std::clamp(ms, -2147483648.0, 2147483647.0)));
}
