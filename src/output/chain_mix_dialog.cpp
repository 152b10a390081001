#include <algorithm>
#include <cstring>

#include "core/edit_state.h"
#include "core/message.h"
#include "core/ui_hooks.h"
#include "output/chain_mix.h"
#include "platform/path.h"
#include "platform/text.h"
#include "readers/name_sequence.h"
#include "resources/string_ids.h"

// ---- first contents

static const char* name_to_start(const EDIT_STATE* edit) {
    return path_name(edit->save_name)[0] ? edit->save_name : edit->file_name;
}

static void start_fields(const EDIT_STATE* edit, COPY_FIELDS* fields) {
    *fields = {};
    if (edit->edit_flag & EDIT_OPEN) {
        text_copy(fields->title, sizeof fields->title, edit->ex_title);
        text_copy(fields->comment, sizeof fields->comment, edit->ex_comment);
        text_copy(fields->copyright, sizeof fields->copyright, edit->ex_copyright);
    }
    path_folder(fields->output, name_to_start(edit));
}

void chain_dialog_start(const EDIT_STATE* edit, CHAIN_DIALOG* dialog) {
    *dialog = {};
    start_fields(edit, &dialog->fields);
}

void mix_dialog_start(const EDIT_STATE* edit, MIX_DIALOG* dialog) {
    *dialog = {};
    start_fields(edit, &dialog->fields);
    const char* name = name_to_start(edit);
    text_copy(dialog->video, sizeof dialog->video, name);
    if (name[0]) path_set_extension(dialog->sound, name, ".wav");
}

// ---- the list

bool chain_add(CHAIN_DIALOG* dialog, const char* path) {
    if (dialog->file_n >= CHAIN_FILE_LIMIT) {
        message_warn(STR_ERR_TOO_MANY_CHAIN_FILES, CHAIN_FILE_LIMIT);
        return false;
    }
    if (!text_copy(dialog->file[dialog->file_n], PATH_SIZE, path)) return false;
    text_copy(dialog->start, PATH_SIZE, path);
    ++dialog->file_n;
    return true;
}

bool chain_add_series(CHAIN_DIALOG* dialog, const char* path) {
    NAME_SEQUENCE sequence;
    if (!name_sequence_start(&sequence, path) || !chain_add(dialog, path)) return false;
    char next[PATH_SIZE];
    // A name without digits never counts on, so the loop ends at once.
    while (sequence.digit_count > 0 && name_sequence_next(&sequence, next))
        if (!chain_add(dialog, next)) return false;
    return true;
}

void chain_remove(CHAIN_DIALOG* dialog, int index) {
    if (index < 0 || index >= dialog->file_n) return;
    std::memmove(dialog->file[index], dialog->file[index + 1], size_t(dialog->file_n - index - 1) * PATH_SIZE);
    --dialog->file_n;
}

bool chain_remove_all(CHAIN_DIALOG* dialog) {
    if (dialog->file_n > 0 && message_ask(STR_ASK_DELETE_ALL)) dialog->file_n = 0;
    return dialog->file_n == 0;
}

// ---- commands

int avi_chain(EDIT_STATE* edit) {
    static char start[PATH_SIZE];  // from one dialog to the next
    CHAIN_DIALOG dialog;
    if ((edit->edit_flag & EDIT_SAVING) || !ui_hooks.chain_dialog) return 0;
    chain_dialog_start(edit, &dialog);
    text_copy(dialog.start, PATH_SIZE, start);
    const bool agreed = ui_hooks.chain_dialog(&dialog);
    text_copy(start, PATH_SIZE, dialog.start);
    return agreed ? avi_chain_run(edit, dialog) : 0;
}

int avi_mix(EDIT_STATE* edit) {
    MIX_DIALOG dialog;
    if ((edit->edit_flag & EDIT_SAVING) || !ui_hooks.mix_dialog) return 0;
    mix_dialog_start(edit, &dialog);
    return ui_hooks.mix_dialog(&dialog) ? avi_mix_run(edit, dialog) : 0;
}
