#include "readers/input_filter.h"

#include <cstring>

#include "readers/input_table.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static std::string reader_patterns(uint32_t kind) {
    std::string patterns = "*.avi";
    char pattern[INPUT_TEXT_SIZE];
    for (int i = 0; i < input_record_n(); ++i) {
        const INPUT_RECORD* record = input_record(i);
        if (!(uint32_t(record->table.flags) & kind)) continue;
        for (int k = 0; input_pattern(record->filefilter_text, k, pattern); ++k) {
            const bool extra = std::strcmp(pattern, "*.avi") != 0 && std::strcmp(pattern, "*.*") != 0;
            if (extra && std::strncmp(pattern, "*.", 2) == 0) patterns += std::string(";") + pattern;
        }
    }
    return patterns;
}

std::string input_file_filter(bool sound) {
    const std::string patterns = reader_patterns(sound ? INPUT_F_AUDIO : INPUT_F_VIDEO);
    std::string filter = language_string(sound ? STR_FILES_AUDIO : STR_FILES_VIDEO);
    filter += " (" + patterns + ")";
    filter += '\0' + patterns + '\0' + language_string(STR_FILES_ALL) + '\0' + "*.*" + '\0' + '\0';
    return filter;
}
