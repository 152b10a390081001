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

/// What the machine's libraries open beside that: their reader asks for any file, so its own patterns do not tell.
static constexpr char FILM_PATTERNS[] =
    ";*.mp4;*.m4v;*.mov;*.mkv;*.webm;*.mpg;*.mpeg;*.m2v;*.vob;*.ts;*.m2ts;*.mts;*.wmv;*.asf;*.flv;*.f4v;*.ogv;*.ogm"
    ";*.3gp;*.3g2;*.dv;*.mxf;*.nut;*.y4m;*.divx";
static constexpr char SOUND_PATTERNS[] =
    ";*.mp3;*.m4a;*.aac;*.flac;*.ogg;*.oga;*.opus;*.wma;*.ac3;*.aif;*.aiff;*.au;*.caf;*.mka;*.mp2;*.w64";

static std::string filter_of(bool sound, const std::string& patterns) {
    std::string filter = language_string(sound ? STR_FILES_AUDIO : STR_FILES_VIDEO);
    filter += " (" + patterns + ")";
    filter += '\0' + patterns + '\0' + language_string(STR_FILES_ALL) + '\0' + "*.*" + '\0' + '\0';
    return filter;
}

std::string input_file_filter(bool sound) {
    return filter_of(sound, reader_patterns(sound ? INPUT_F_AUDIO : INPUT_F_VIDEO));
}

std::string input_media_filter(bool sound) {
    if (!sound) return filter_of(false, reader_patterns(INPUT_F_VIDEO) + FILM_PATTERNS);
    return filter_of(true, reader_patterns(INPUT_F_AUDIO) + SOUND_PATTERNS + FILM_PATTERNS);
}
