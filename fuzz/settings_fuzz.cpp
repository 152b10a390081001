#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "core/compression_settings.h"
#include "core/edit_state.h"
#include "hosts/filter.h"
#include "hosts/filter_settings.h"
#include "reader_input.h"

static void require(bool condition) {
    if (!condition) abort();
}

static void check_filter(const FILTER* filter) {
    for (int i = 0; i < filter->track_count; ++i) {
        const int32_t low = filter->track_lows ? filter->track_lows[i] : 0;
        const int32_t high = filter->track_highs ? filter->track_highs[i] : 256;
        require(filter->track_store[i] >= low && filter->track_store[i] <= high);
    }
    require(filter->chain_order >= -1);
    if (!(filter->flags & FILTER_F_MENU_RADIO)) return;
    int selected_n = 0;
    for (int i = 0; i < filter->check_count; ++i) selected_n += filter->check_store[i] == 1;
    require(selected_n <= 1 && filter_selected(filter) >= 0 && filter_selected(filter) < filter->check_count);
}

static void read_config(const uint8_t* data, size_t size) {
    static const bool ready = filter_system_init(nullptr, nullptr);
    require(ready);
    filter_config_apply({data, size});
    for (FILTER* const* at = filter_list(); *at; ++at) check_filter(*at);
    const std::vector<uint8_t> stored = filter_config_build();
    filter_config_apply(stored);
    require(filter_config_build() == stored);
}

static void read_compression(const uint8_t* data, size_t size) {
    static const std::unique_ptr<EDIT_STATE> edit(new EDIT_STATE());
    const char* path = reader_input(data, size);
    if (!path) return;
    compression_read(edit.get(), path);
    const VIDEO_CODEC_SETTING& video = edit->video_setting;
    require(video.output_format_size >= 0 && size_t(video.output_format_size) <= sizeof video.output_format);
    require(video.codec_state_size >= 0 && size_t(video.codec_state_size) <= sizeof video.codec_state);
    const AUDIO_OUTPUT_SETTING& audio = edit->audio_setting;
    require(audio.target_format_size >= 0 && size_t(audio.target_format_size) <= sizeof audio.target_format);
    const OUTPUT_SETTING& output = edit->output_setting;
    require(output.plugin_config_size >= 0 && size_t(output.plugin_config_size) <= sizeof output.plugin_config);
    require(std::memchr(output.plugin_name, 0, sizeof output.plugin_name));
}

// The head of the data tells a profile's two kinds of file apart; either reader refuses the other's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    read_config(data, size);
    read_compression(data, size);
    return 0;
}
