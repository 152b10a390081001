#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "core/compression_settings.h"
#include "core/edit_state.h"
#include "core/start_up.h"
#include "hosts/filter.h"
#include "hosts/filter_settings.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"
#include "readers/codec.h"
#include "resources/string_ids.h"

// make_profile PATH [NAME=VALUES]...: a profile with filters set and switched on. VALUES are the tracks in order,
// behind a slash the checks (or, of "clip", target width, height and keep aspect); lists take the number of the entry.
// codec=H264,7000,300,0 chooses a compressor with quality, key frames and KB a second, in the file beside it (".sav").
//     make_profile m.cfg noise=256,3,24 border=-8,0,0,0/0,1 clip=0,0,0,0/640,360,1 deinterlace=4 rate=1

struct NAMED {
    std::string_view name;
    int id;
};
static constexpr NAMED LISTS[] = {{"deinterlace", STR_FILTER_DEINTERLACE},
                                  {"rate", STR_FILTER_RATE_CHANGE},
                                  {"order", STR_FILTER_FIELD_ORDER},
                                  {"size", STR_FILTER_SIZE}};
static constexpr NAMED FILTERS[] = {{"noise", STR_FILTER_NOISE},
                                    {"temporal", STR_FILTER_NOISE_TIME},
                                    {"sharpen", STR_FILTER_SHARPEN},
                                    {"blur", STR_FILTER_BLUR},
                                    {"clip", STR_FILTER_CLIP},
                                    {"border", STR_FILTER_BORDER},
                                    {"color", STR_FILTER_COLOR},
                                    {"extended", STR_FILTER_COLOR_EXTENDED},
                                    {"volume", STR_FILTER_VOLUME},
                                    {"normalise", STR_FILTER_NORMALISE},
                                    {"position", STR_FILTER_AUDIO_POSITION}};

template <size_t N>
static FILTER* filter_named(const NAMED (&table)[N], std::string_view name) {
    const auto row = std::find_if(table, table + N, [&](const NAMED& r) { return r.name == name; });
    return row == table + N ? nullptr : filter_built_in(row->id);
}

/// Numbers up to the end or a slash, where the text is left.
static std::vector<int32_t> numbers(const char*& text) {
    std::vector<int32_t> values;
    while (*text && *text != '/') {
        char* end;
        values.push_back(int32_t(std::strtol(text, &end, 10)));
        text = end == text ? text + 1 : end + (*end == ',');
    }
    return values;
}

static void put(int32_t* to, int32_t count, const std::vector<int32_t>& values) {
    std::copy_n(values.begin(), std::min(values.size(), size_t(count)), to);
}

static void set_filter(FILTER* filter, const char* text) {
    put(filter->track_values, filter->track_count, numbers(text));
    if (*text == '/') {
        const std::vector<int32_t> values = numbers(++text);
        if (filter == filter_built_in(STR_FILTER_CLIP))
            std::memcpy(filter->extra_data, values.data(), std::min<size_t>(values.size() * 4, 12));
        else
            put(filter->check_values, filter->check_count, values);
    }
    filter_set_active(filter, true);
}

static bool set_codec(const char* text) {
    VIDEO_CODEC_SETTING& setting = edit_state->video_setting;
    if (std::strlen(text) < 4) return false;
    codec_reset_setting(&setting, VANTEL_FOURCC(text[0], text[1], text[2], text[3]));
    int32_t* const fields[] = {&setting.quality, &setting.key_rate, &setting.data_rate};
    text += text[4] == ',' ? 5 : 4;
    const std::vector<int32_t> values = numbers(text);
    for (size_t i = 0; i < std::min(values.size(), std::size(fields)); ++i) *fields[i] = values[i];
    return setting.handler != 0;
}

static bool set(const char* word) {
    const char* equals = std::strchr(word, '=');
    if (!equals) return false;
    const std::string_view name(word, size_t(equals - word));
    if (FILTER* list = filter_named(LISTS, name)) {
        const int entry = std::atoi(equals + 1);
        filter_select(list, entry);
        filter_notify_update(list, FILTER_UPDATE_CHECK | entry);
        return true;
    }
    if (name == "codec") return set_codec(equals + 1);
    FILTER* filter = filter_named(FILTERS, name);
    if (filter) set_filter(filter, equals + 1);
    return filter != nullptr;
}

int main(int argc, char** argv) {
    if (argc < 2 || !start_up(false)) return 1;
    for (FILTER* const* at = filter_list(); *at; ++at) filter_set_defaults(*at);  // not those of the last profile
    filter_all_off();
    filter_select(filter_built_in(STR_FILTER_FIELD_ORDER), 1);
    edit_state->video_setting = {};
    bool good = std::all_of(argv + 2, argv + argc, set);
    const std::vector<uint8_t> config = filter_config_build();
    good = good && file_replace(text_from_utf8(argv[1]).c_str(), config.data(), config.size());
    char compression[PATH_SIZE];
    good = good && path_set_extension(compression, text_from_utf8(argv[1]).c_str(), ".sav") &&
           compression_write(edit_state, compression);
    shut_down();
    return good ? 0 : 1;
}
