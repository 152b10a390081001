#include "ui/filter_window_tools.h"

#include "hosts/filter.h"
#include "resources/string_ids.h"

void filter_window_tools_install() {
    filter_built_in(STR_FILTER_HISTOGRAM)->func_WndProc = histogram_window_proc;
    filter_built_in(STR_FILTER_CLIP)->func_WndProc = clip_window_proc;
    filter_built_in(STR_FILTER_AUDIO_POSITION)->func_WndProc = audio_position_window_proc;
}
