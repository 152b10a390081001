#pragma once

#include <cstdint>
#include <string>

#include "platform/path.h"

struct EDIT_STATE;

/// The dialog in front of a save: a file name and the options of "SAVE_OPTION" below it. A window draws it and calls
/// what stands here; all rules are here. Texts are code page 932. Main thread.

/// Controls that can be disabled, by their number in the dialog.
enum SAVE_CONTROL : int {
    SAVE_CONTROL_INTERLEAVE = 32000,
    SAVE_CONTROL_VIDEO_COPY = 32200,
    SAVE_CONTROL_NO_AUDIO = 32201,
    SAVE_CONTROL_LOG = 32202,
    SAVE_CONTROL_AUDIO_COPY = 32203,
    SAVE_CONTROL_WAV_TOO = 32204,
    SAVE_CONTROL_VIDEO_CODEC = 32300,
    SAVE_CONTROL_AUDIO_CODEC = 32301,
    SAVE_CONTROL_BATCH = 32302,
    SAVE_CONTROL_EX_INFO = 32303,
    SAVE_CONTROL_VIDEO_TEXT = 32400,
    SAVE_CONTROL_AUDIO_TEXT = 32401,
    SAVE_CONTROL_SUMMARY = 32406,
};

/// The dialog while it is open. log, wav_too and interleave are the window's to write; the other choices go through the
/// functions below, which leave what is disabled as it is.
struct SAVE_DIALOG {
    EDIT_STATE* edit;
    int mode;  // OUTPUT_KIND_...
    std::string title;
    std::string filter;     // as FILE_DIALOG::filter
    std::string extension;  // ".avi", ".wav"
    char path[PATH_SIZE];   // in: the start name, may be a folder; out: the chosen path
    bool video_copy, audio_copy, no_audio, wav_too, log;
    int interleave;  // frames
    char ex_title[256], ex_comment[256], ex_copyright[256];
    bool add_to_batch;
};

/// Whether a control can be used as things stand; ask again after every change.
bool save_dialog_enabled(const SAVE_DIALOG* dialog, int control);

/// The texts of controls 32406 (size, rate, length, deinterlacing of what would be written), 32400 (compressor) and
/// 32401 (sound format; "" without sound).
std::string save_dialog_summary(const SAVE_DIALOG* dialog);
std::string save_dialog_video_text(const SAVE_DIALOG* dialog);
std::string save_dialog_audio_text(const SAVE_DIALOG* dialog);

/// The check boxes that change more than themselves. Ticking the copy of video moves the working compressor to the
/// source's, if that can compress; a click on the copy of audio forgets the chosen sound format.
void save_dialog_set_video_copy(SAVE_DIALOG* dialog, bool on);
void save_dialog_set_audio_copy(SAVE_DIALOG* dialog, bool on);
void save_dialog_set_no_audio(SAVE_DIALOG* dialog, bool on);

/// The buttons of the two choosers; true when the user agreed there. Output plug-ins have no chooser of their own yet.
bool save_dialog_choose_video(SAVE_DIALOG* dialog);
bool save_dialog_choose_audio(SAVE_DIALOG* dialog);
/// The batch button; the window then goes on as with OK.
void save_dialog_press_batch(SAVE_DIALOG* dialog);
/// OK of "SAVE_EXINFO". False, and nothing kept, when a text has more than 255 bytes.
bool save_dialog_set_info(SAVE_DIALOG* dialog, const char* title, const char* comment, const char* copyright);

/// Asks for name and options (ui_hooks.save_dialog), behind save_plan_begin. The options become the working and the
/// lasting settings also when it is cancelled; output_kind follows the request, SAVE_REQ_ADD_TO_BATCH joins it with the
/// batch button, save_name is the chosen path. Returns 1, or 0 when cancelled.
int save_option_dialog(EDIT_STATE* edit, uint32_t* request);
