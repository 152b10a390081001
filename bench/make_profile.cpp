#include <cstdio>
#include <cstdlib>

#include "core/start_up.h"
#include "hosts/filter.h"
#include "hosts/filter_settings.h"
#include "platform/file.h"
#include "platform/text.h"
#include "resources/string_ids.h"

// make_profile PATH METHOD MODE: a profile with a deinterlace method (0 .. 5) and a frame-rate mode (0 .. 5), top field
// first.
int main(int argc, char** argv) {
    if (argc != 4 || !start_up(false)) return 1;
    const int choices[][2] = {{STR_FILTER_DEINTERLACE, std::atoi(argv[2])},
                              {STR_FILTER_RATE_CHANGE, std::atoi(argv[3])},
                              {STR_FILTER_FIELD_ORDER, 1}};
    for (const auto& [name, entry] : choices) {
        filter_select(filter_built_in(name), entry);
        filter_notify_update(filter_built_in(name), FILTER_UPDATE_CHECK | entry);
    }
    const std::vector<uint8_t> config = filter_config_build();
    const bool good = file_replace(text_from_utf8(argv[1]).c_str(), config.data(), config.size());
    shut_down();
    return good ? 0 : 1;
}
