#include <utility>

#include "output/save_dialog.h"
#include "platform/file.h"
#include "platform/text.h"
#include "resources/templates.h"
#include "ui/dialog_file.h"
#include "ui/dialogs.h"
#include "ui/dialogs_output.h"

namespace {

// Posted behind the answer that the batch button gives: when it arrives, the name was refused.
constexpr int BATCH_REFUSED = 32390;
constexpr int OVERWRITTEN_NAME = 32400;

// ---- what stands below the file dialog

void show_state(WINDOW* below, const SAVE_DIALOG& save) {
    constexpr int CONTROLS[] = {
        SAVE_CONTROL_INTERLEAVE, SAVE_CONTROL_VIDEO_COPY, SAVE_CONTROL_NO_AUDIO,    SAVE_CONTROL_LOG,
        SAVE_CONTROL_AUDIO_COPY, SAVE_CONTROL_WAV_TOO,    SAVE_CONTROL_VIDEO_CODEC, SAVE_CONTROL_AUDIO_CODEC,
        SAVE_CONTROL_EX_INFO,    SAVE_CONTROL_VIDEO_TEXT, SAVE_CONTROL_AUDIO_TEXT,  SAVE_CONTROL_SUMMARY,
    };
    for (const int id : CONTROLS) window_enable(control_of(below, id), save_dialog_enabled(&save, id));
    const auto check = [&](int id, bool on) { control_check(control_of(below, id), on); };
    check(SAVE_CONTROL_VIDEO_COPY, save.video_copy);
    check(SAVE_CONTROL_AUDIO_COPY, save.audio_copy);
    check(SAVE_CONTROL_NO_AUDIO, save.no_audio);
    check(SAVE_CONTROL_WAV_TOO, save.wav_too);
    check(SAVE_CONTROL_LOG, save.log);
    const auto text = [&](int id, const std::string& s) { control_set_text(control_of(below, id), text_to_utf8(s)); };
    text(SAVE_CONTROL_SUMMARY, save_dialog_summary(&save));
    text(SAVE_CONTROL_VIDEO_TEXT, save_dialog_video_text(&save));
    text(SAVE_CONTROL_AUDIO_TEXT, save_dialog_audio_text(&save));
}

void ask_info(SAVE_DIALOG* save) {
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) {
        info_fields_show(dialog, {save->ex_title, save->ex_comment, save->ex_copyright});
    };
    steps.take = [&](WINDOW* dialog) {
        char title[INFO_FIELD_SIZE], comment[INFO_FIELD_SIZE], copyright[INFO_FIELD_SIZE];
        return info_fields_take(dialog, {title, comment, copyright}) &&
               save_dialog_set_info(save, title, comment, copyright);
    };
    dialogs_run("SAVE_EXINFO", steps);
}

void press_batch(WINDOW* below, SAVE_DIALOG* save) {
    save_dialog_press_batch(save);
    dialog_end(below, ID_OK);
    window_post(below, WM_COMMAND, BATCH_REFUSED, 0);
}

void use_control(WINDOW* below, SAVE_DIALOG* save, int id) {
    WINDOW* control = control_of(below, id);
    const bool on = control_checked(control);
    switch (id) {
        case SAVE_CONTROL_INTERLEAVE: save->interleave = control_value(control); break;
        case SAVE_CONTROL_VIDEO_COPY: save_dialog_set_video_copy(save, on); break;
        case SAVE_CONTROL_AUDIO_COPY: save_dialog_set_audio_copy(save, on); break;
        case SAVE_CONTROL_NO_AUDIO: save_dialog_set_no_audio(save, on); break;
        case SAVE_CONTROL_WAV_TOO: save->wav_too = on; break;
        case SAVE_CONTROL_LOG: save->log = on; break;
        case SAVE_CONTROL_VIDEO_CODEC: save_dialog_choose_video(save); break;
        case SAVE_CONTROL_AUDIO_CODEC: save_dialog_choose_audio(save); break;
        case SAVE_CONTROL_EX_INFO: ask_info(save); break;
        default: return;
    }
    show_state(below, *save);
}

// ---- the file

bool may_write(const char* path) {
    if (!file_exists(path)) return true;
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) { control_set_text(control_of(dialog, OVERWRITTEN_NAME), text_to_utf8(path)); };
    return dialogs_run("SAVE_OVERWRITE", steps);
}

bool ask_once(SAVE_DIALOG* save, const DIALOG_TEMPLATE& options, bool* ask_overwrite) {
    bool answered = false;
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* below) {
        control_set_value(control_of(below, SAVE_CONTROL_INTERLEAVE), save->interleave);
        show_state(below, *save);
    };
    steps.take = [&](WINDOW*) { return answered = true; };
    steps.command = [&](WINDOW* below, int id, int) {
        if (id == SAVE_CONTROL_BATCH) press_batch(below, save);
        if (id == BATCH_REFUSED && !answered) save->add_to_batch = false;
        use_control(below, save, id);
    };
    FILE_BOX box = dialog_file_box(save->title.c_str(), save->filter.c_str(), save->path, true);
    *ask_overwrite = std::exchange(box.ask_overwrite, false);
    box.options = &options;
    box.proc = dialogs_proc;
    box.data = &steps;
    return dialog_file_choose(box, save->path);
}

}  // namespace

bool dialog_save(SAVE_DIALOG* save) {
    const DIALOG_TEMPLATE options = language_dialog("SAVE_OPTION");
    // The question before overwriting stands behind the box, not inside it: a No there would leave the batch button
    // pressed for whatever is answered next.
    for (;;) {
        bool ask_overwrite = false;
        save->add_to_batch = false;
        if (!ask_once(save, options, &ask_overwrite)) return false;
        if (!ask_overwrite || may_write(save->path)) return true;
    }
}
