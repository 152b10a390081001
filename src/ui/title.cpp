#include "ui/title.h"

#include <cstdarg>
#include <cstdio>

#include "core/edit_commands.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/settings.h"
#include "hosts/filter.h"
#include "output/save_copy.h"
#include "platform/path.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static constexpr int TITLE_SIZE = 1024;
static constexpr int METHOD_STANDARD = 0, METHOD_24FPS = 4, METHOD_BUILT_IN_N = 6;

[[gnu::format(printf, 2, 3)]] static void append(std::string* text, const char* format, ...) {
    char piece[TITLE_SIZE];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(piece, sizeof piece, format, arguments);
    va_end(arguments);
    *text += piece;
}

static bool needs_recompression(EDIT_STATE* edit, int frame) {
    SAVE_COPY_RUN run;
    const int first = frame >= edit->select_start ? edit->select_start : 0;
    return save_copy_check(edit, frame, first, &run) != SAVE_COPY_GOOD;
}

static void append_time(std::string* text, const EDIT_STATE* edit, int frame) {
    const AVI_STREAM_INFO& video = edit->base.video_stream;
    if (video.dwRate == 0) return;
    const uint64_t hundredths = uint64_t(frame) * video.dwScale * 100 / video.dwRate;
    const auto seconds = unsigned(hundredths / 100);
    append(text, " [%02u:%02u:%02u.%02u]", seconds / 3600, seconds / 60 % 60, seconds % 60, unsigned(hundredths % 100));
}

// ---- interlace

static char inter_letter(int inter) {
    switch (inter) {
        case INTER_ODD: return 'O';
        case INTER_EVEN: return 'E';
        case INTER_DOUBLE: return 'M';
        case INTER_AUTO: return 'A';
        default: return 0;
    }
}

static const char* method_name(int method) {
    static constexpr int NAMES[METHOD_BUILT_IN_N] = {
        0, STR_INTER_ODD, STR_INTER_EVEN, STR_INTER_DOUBLE, STR_INTER_AUTO_24FPS, STR_INTER_AUTO};
    if (method < METHOD_BUILT_IN_N) return language_string(NAMES[method]);
    const FILTER* plugin = filter_deinterlace_method(method);
    return plugin && plugin->name ? plugin->name : "";
}

static void append_inter(std::string* text, int frame) {
    const FILTER* chosen = filter_built_in(STR_FILTER_DEINTERLACE);
    const int method = chosen ? filter_selected(chosen) : METHOD_STANDARD;
    const int inter = frame_table.frame_inter[frame];
    char letter = inter_letter(inter);
    if (method >= METHOD_BUILT_IN_N && inter == INTER_REVERSE) letter = 'R';
    if (method == METHOD_STANDARD) {
        if (letter) append(text, "  %c", letter);
    } else if (letter) {
        append(text, "  %s:%c", method_name(method), letter);
    } else if (method == METHOD_24FPS && (frame_table.frame_flag[frame] & FRAME_FIELD_DONE)) {
        append(text, "  %s:%d", method_name(method), int{frame_table.frame_phase[frame]});
    } else {
        append(text, "  %s", method_name(method));
    }
}

// ---- profile, compression, flags

static void append_profile(std::string* text, const EDIT_STATE* edit, int frame) {
    const int index = frame_profile_index(edit, frame);
    append(text, "  %s", frame_profile_name(edit, frame));
    if (index) append(text, "[%d]", index);
}

static void append_compression(std::string* text, const EDIT_STATE* edit, int frame) {
    const int index = frame_table.frame_compress[frame] % FRAME_SETTING_MAX;
    if (index == 0) return;
    *text += "  ";
    const uint32_t handler = edit->frame_video_setting[index].handler;
    for (int i = 0; i < 4; ++i) {
        const char c = char(handler >> (8 * i) & 0xFF);
        *text += c ? c : ' ';  // uncompressed
    }
    append(text, "[%d]", index);
}

static void append_flags(std::string* text, int frame) {
    static constexpr struct {
        uint8_t flag;
        int name;
    } FLAG_TABLE[] = {
        {FRAME_KEY, STR_FRAME_KEY},
        {FRAME_MARK, STR_FRAME_MARK},
        {FRAME_DROP, STR_FRAME_DROP},
        {FRAME_COPY, STR_FRAME_COPY},
    };
    const uint8_t flags = frame_table.frame_flag[frame];
    const bool clip = frame_table.frame_clip[frame];
    if (!clip && !(flags & FRAME_USER_FLAGS)) return;
    *text += "  ";
    if (clip) *text += language_string(STR_FRAME_CLIP);
    for (const auto& row : FLAG_TABLE)
        if (flags & row.flag) *text += language_string(row.name);
}

// ---- the whole

static std::string frame_text(EDIT_STATE* edit) {
    const int frame = frame_clamp(edit, edit->frame), shown = system_settings.startframe;
    const uint32_t view = edit->view.view_flag;
    std::string text;
    append(&text, "%s (%d,%d)  [%d/%d]", path_name(edit->file_name), edit->out_width, edit->out_height, frame + shown,
           edit->frame_n - 1 + shown);
    if ((view & VIEW_MARK_KEYS) && frame_is_source_key(edit, frame)) text += '*';
    if ((view & VIEW_MARK_RECOMPRESS) && needs_recompression(edit, frame)) text += '!';
    if (view & VIEW_SHOW_TIME) append_time(&text, edit, frame);
    append_inter(&text, frame);
    append_profile(&text, edit, frame);
    append_compression(&text, edit, frame);
    append_flags(&text, frame);
    return text;
}

std::string title_text(EDIT_STATE* edit) {
    if (!(edit->edit_flag & EDIT_OPEN)) return language_string(STR_PROGRAM);
    char text[TITLE_SIZE];
    std::snprintf(text, sizeof text, "%s", frame_text(edit).c_str());
    filter_modify_title(edit, frame_clamp(edit, edit->frame), text, TITLE_SIZE);
    return text;
}
