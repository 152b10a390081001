#include "core/command_line.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cstring>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/message.h"
#include "core/profile.h"
#include "core/settings.h"
#include "core/source.h"
#include "core/text_line.h"
#include "output/progress.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static constexpr int SCRIPT_DEPTH_MAX = 16;
static constexpr size_t SCRIPT_SIZE_MAX = size_t{16} << 20;

/// One line, taken apart. Paths are absolute, code page 932.
struct COMMAND_LINE {
    std::string file, sound, output, profile;
    bool has_output, has_profile, has_range, has_end, quit;
    int output_kind;
    int first, last;  // as shown
};

// ---- tokens

struct TOKENS {
    std::span<const std::string> all;
    size_t next;
};

static bool same_letter(char a, char b) { return (a | 0x20) == (b | 0x20); }

bool command_line_has(std::span<const std::string> tokens, const char* option) {
    return std::any_of(tokens.begin(), tokens.end(), [&](const std::string& t) { return t == option; });
}

std::vector<std::string> command_line_split(const std::string& line) {
    std::vector<std::string> tokens;
    std::string token;
    bool in_token = false, quoted = false;
    for (const char c : line) {
        if (c == '"') {
            quoted = !quoted;
            in_token = true;
        } else if (c == ' ' && !quoted) {
            if (in_token) tokens.push_back(token);
            token.clear();
            in_token = false;
        } else {
            token += c;
            in_token = true;
        }
    }
    if (in_token) tokens.push_back(token);
    return tokens;
}

// The value of an option: what is joined to it, or else the next token.
static bool take_value(TOKENS* tokens, const std::string& token, size_t option_length, std::string* value) {
    *value = token.substr(option_length);
    if (!value->empty()) return true;
    if (tokens->next >= tokens->all.size() || tokens->all[tokens->next].empty()) {
        message_warn(STR_CLI_NO_VALUE, text_from_utf8(token).c_str());
        return false;
    }
    *value = tokens->all[tokens->next++];
    return true;
}

static bool take_path(const std::string& utf8, std::string* path) {
    const std::string text = text_from_utf8(utf8);
    const std::string absolute = path_absolute(text);
    if (absolute.empty()) {
        message_warn(STR_CLI_PATH_TOO_LONG, text.c_str(), int(PATH_SIZE - 1));
        return false;
    }
    if (!path->empty()) {
        message_warn(STR_CLI_FILE_TWICE, text.c_str());
        return false;
    }
    *path = absolute;
    return true;
}

static bool take_output(COMMAND_LINE* line, TOKENS* tokens, const std::string& token) {
    size_t length = 2;
    line->output_kind = OUTPUT_KIND_AVI;
    if (token.size() > 2) {
        const char kind = char(token[2] | 0x20);
        if (kind == 'a' || kind == 'w' || kind == 'p') length = 3;
        if (kind == 'w') line->output_kind = OUTPUT_KIND_WAV;
        if (kind == 'p') line->output_kind = OUTPUT_KIND_PLUGIN;
    }
    std::string value;
    line->has_output = true;
    return take_value(tokens, token, length, &value) && take_path(value, &line->output);
}

static bool take_range(COMMAND_LINE* line, TOKENS* tokens, const std::string& token) {
    std::string value;
    if (!take_value(tokens, token, 2, &value)) return false;
    const char *p = value.data(), *end = p + value.size();
    auto read = std::from_chars(p, end, line->first);
    bool good = read.ec == std::errc{};
    line->has_range = true;
    line->has_end = good && read.ptr != end;
    if (line->has_end) {
        good = *read.ptr == ',';
        if (good) read = std::from_chars(read.ptr + 1, end, line->last);
        good = good && read.ec == std::errc{} && read.ptr == end;
    }
    if (!good) message_warn(STR_CLI_BAD_RANGE, text_from_utf8(value).c_str());
    return good;
}

static bool take_profile(COMMAND_LINE* line, TOKENS* tokens, const std::string& token) {
    std::string value;
    if (!take_value(tokens, token, 2, &value)) return false;
    line->profile = text_from_utf8(value);
    line->has_profile = true;
    return true;
}

static bool take_sound(COMMAND_LINE* line, TOKENS* tokens, const std::string& token) {
    std::string value;
    return take_value(tokens, token, 2, &value) && take_path(value, &line->sound);
}

static bool take_quit(COMMAND_LINE* line, TOKENS*, const std::string& token) {
    line->quit = true;
    if (token.size() == 2) return true;
    message_warn(STR_CLI_UNKNOWN_OPTION, text_from_utf8(token).c_str());
    return false;
}

static const struct {
    char letter;
    bool (*take)(COMMAND_LINE* line, TOKENS* tokens, const std::string& token);
} OPTION_TABLE[] = {
    {'a', take_sound}, {'o', take_output}, {'p', take_profile}, {'q', take_quit}, {'r', take_range},
};

static bool take_token(COMMAND_LINE* line, TOKENS* tokens, const std::string& token) {
    if (token.empty()) return true;
    if (token[0] != '-') return take_path(token, &line->file);
    for (const auto& option : OPTION_TABLE)
        if (token.size() > 1 && same_letter(token[1], option.letter)) return option.take(line, tokens, token);
    message_warn(STR_CLI_UNKNOWN_OPTION, text_from_utf8(token).c_str());
    return false;
}

static bool parse(COMMAND_LINE* line, std::span<const std::string> all) {
    TOKENS tokens = {all, 0};
    bool good = true;
    while (tokens.next < all.size()) {
        const std::string& token = all[tokens.next++];
        good = take_token(line, &tokens, token) && good;
    }
    return good;
}

// ---- effects

static bool run_script(EDIT_STATE* edit, const std::string& path);

static bool extension_is(const std::string& path, const char* extension) {
    return text_compare_nocase(path_extension(path.c_str()), extension) == 0;
}

static bool apply_profile(EDIT_STATE* edit, const COMMAND_LINE& line) {
    if (!line.has_profile) return true;
    if (!profile_known(line.profile.c_str())) {
        message_warn(STR_CLI_NO_PROFILE, line.profile.c_str());
        return false;
    }
    profile_make_current(line.profile.c_str());
    if (edit->edit_flag & EDIT_OPEN)
        text_copy(edit->profile_name[frame_table.frame_profile[frame_clamp(edit, edit->frame)]], PATH_SIZE,
                  profile_current());
    return true;
}

static bool apply_file(EDIT_STATE* edit, const COMMAND_LINE& line) {
    if (line.file.empty()) return true;
    if (extension_is(line.file, ".vts")) return run_script(edit, line.file);
    const bool project = extension_is(line.file, ".vtp");
    return open_file(edit, line.file.c_str(), project ? OPEN_PROJECT : 0u) == 1;
}

static bool edit_needed(const EDIT_STATE* edit, const char* option) {
    if (edit->edit_flag & EDIT_OPEN) return true;
    message_warn(STR_CLI_NO_FILE_OPEN, option);
    return false;
}

static bool apply_sound(EDIT_STATE* edit, const COMMAND_LINE& line) {
    if (line.sound.empty()) return true;
    return edit_needed(edit, "-a") && open_file(edit, line.sound.c_str(), OPEN_SOUND) == 1;
}

// A number as shown, taken back to a frame of the table.
static int frame_from_shown(const EDIT_STATE* edit, int shown) {
    const int64_t frame = int64_t{shown} - system_settings.startframe;
    return int(std::clamp<int64_t>(frame, 0, edit->frame_n - 1));
}

static bool apply_range(EDIT_STATE* edit, const COMMAND_LINE& line) {
    if (!line.has_range) return true;
    if (!edit_needed(edit, "-r")) return false;
    edit->select_start = frame_from_shown(edit, line.first);
    if (line.has_end) edit->select_end = frame_from_shown(edit, line.last);
    edit->select_end = std::clamp(edit->select_end, edit->select_start, edit->frame_n - 1);
    return true;
}

static bool apply_output(EDIT_STATE* edit, const COMMAND_LINE& line) {
    if (!line.has_output) return true;
    if (!edit_needed(edit, "-o")) return false;
    text_copy(edit->save_name, PATH_SIZE, line.output);
    edit->output_kind = line.output_kind;
    return save_run(edit, SAVE_REQ_QUIET) == 1;
}

static COMMAND_RESULT run_line(EDIT_STATE* edit, std::span<const std::string> tokens) {
    COMMAND_LINE line{};
    if (!parse(&line, tokens)) return {false, line.quit};
    const bool script = extension_is(line.file, ".vts");
    if (line.quit) message_boxes_off();
    const bool done = apply_profile(edit, line) && apply_file(edit, line) && apply_sound(edit, line) &&
                      apply_range(edit, line) && apply_output(edit, line);
    if (line.quit) message_boxes_on();
    return {done, line.quit || (script && !done)};
}

COMMAND_RESULT run_command_line(EDIT_STATE* edit, std::span<const std::string> tokens) {
    return run_line(edit, tokens);
}

// ---- scripts

static bool run_script(EDIT_STATE* edit, const std::string& path) {
    static int depth;
    if (depth >= SCRIPT_DEPTH_MAX) {
        message_warn(STR_CLI_SCRIPT_TOO_DEEP, path.c_str(), SCRIPT_DEPTH_MAX);
        return false;
    }
    std::vector<uint8_t> bytes;
    if (!file_load(path.c_str(), bytes, SCRIPT_SIZE_MAX)) {
        message_warn_file(path.c_str(), STR_ERR_READ_FAILED, STR_CLI_REASON_UNREADABLE);
        return false;
    }
    ++depth;
    bool all_done = true;
    std::string_view rest(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    int number = 0;
    for (std::string line; !save_aborted() && text_line_take(&rest, &line, SCRIPT_SIZE_MAX);) {
        const std::vector<std::string> tokens = command_line_split(line);
        ++number;
        if (tokens.empty() || run_line(edit, tokens).done) continue;
        message_warn(STR_CLI_SCRIPT_LINE, path.c_str(), number, text_from_utf8(line).c_str());
        all_done = false;
    }
    --depth;
    return all_done && !save_aborted();
}
