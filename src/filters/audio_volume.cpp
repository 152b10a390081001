#include "audio/level.h"
#include "filters/audio_filters.h"
#include "hosts/filter_functions.h"

static constexpr int UNITY_LEVEL = 256;  // track 0 leaves the sound as it is

int audio_volume_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    audio_scale(param->audio, audio_values(*param), -1, filter->track_values[0] + UNITY_LEVEL);
    return 1;
}
