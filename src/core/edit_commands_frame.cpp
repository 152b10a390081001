#include <algorithm>
#include <iterator>

#include "core/audio_format.h"
#include "core/compression_settings.h"
#include "core/edit_commands_list.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/profile.h"
#include "core/ui_hooks.h"
#include "readers/codec_dialog.h"
#include "resources/language.h"
#include "resources/string_ids.h"

// What is kept for single frames: flags, interlace mode, profile and compression. None of it can be undone.

// ---- the current frame

void command_toggle_flag(EDIT_STATE* edit, int value) {
    frame_table.frame_flag[edit->frame] = uint8_t(frame_table.frame_flag[edit->frame] ^ value);
    command_changed();
}

void command_set_inter(EDIT_STATE* edit, int value) {
    frame_table.frame_inter[edit->frame] = uint8_t(value);
    command_pictures_changed();
}

void command_set_profile(EDIT_STATE* edit, int value) {
    if (!edit->profile_name[value][0]) return;
    frame_table.frame_profile[edit->frame] = uint8_t(value);
    command_pictures_changed();
}

// ---- the selection

static void set_selection(const EDIT_STATE* edit, uint8_t* column, int value) {
    const FRAME_RANGE range = command_selection(edit);
    std::fill_n(column + range.first, range.n, uint8_t(value));
}

void command_choose_inter(EDIT_STATE* edit, int) {
    static constexpr int NAMES[] = {STR_INTER_STANDARD, STR_INTER_REVERSE, STR_INTER_ODD,
                                    STR_INTER_EVEN,     STR_INTER_DOUBLE,  STR_INTER_AUTO};
    INTER_DIALOG dialog{};
    static_assert(std::size(NAMES) == std::size(INTER_DIALOG{}.name));
    std::transform(std::begin(NAMES), std::end(NAMES), dialog.name, language_string);
    dialog.chosen = frame_table.frame_inter[edit->frame];
    if (!ui_hooks.choose_inter || !ui_hooks.choose_inter(&dialog)) return;
    if (dialog.chosen < INTER_STANDARD || dialog.chosen > INTER_AUTO) return;
    set_selection(edit, frame_table.frame_inter, dialog.chosen);
    command_pictures_changed();
}

void command_new_profile(EDIT_STATE* edit, int) {
    const int index = profile_add_temporary(edit);
    if (index < 0) return;
    set_selection(edit, frame_table.frame_profile, index);
    command_pictures_changed();
}

// ---- compression

// The lowest that no frame uses, 0 when there is none.
static int free_compression(const EDIT_STATE* edit) {
    bool used[256] = {};
    for (int i = 0; i < edit->frame_n; ++i) used[frame_table.frame_compress[i]] = true;
    for (int index = 1; index < FRAME_SETTING_MAX; ++index)
        if (!used[index]) return index;
    return 0;
}

void command_new_compression(EDIT_STATE* edit, int) {
    const int index = free_compression(edit);
    if (index == 0 || !codec_choose_dialog(&edit->frame_video_setting[index])) return;
    set_selection(edit, frame_table.frame_compress, index);
    command_changed();
}

void command_video_setting(EDIT_STATE* edit, int) {
    const int index = edit->edit_flag & EDIT_OPEN ? frame_table.frame_compress[edit->frame] : 0;
    if (index > 0 && index < FRAME_SETTING_MAX) {
        codec_choose_dialog(&edit->frame_video_setting[index]);
        return;
    }
    compression_load(edit);
    if (codec_choose_dialog(&edit->video_setting)) compression_store(edit);
}

void command_audio_setting(EDIT_STATE* edit, int) {
    compression_load(edit);
    if (audio_format_choose(&edit->audio_setting, edit->base.audio_header)) compression_store(edit);
}
