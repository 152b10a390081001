#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "vantel_formats.h"

struct CODEC_DIALOG;          // readers/codec_dialog.h
struct CODEC_OPTIONS_DIALOG;  // readers/codec_dialog.h
struct SAVE_DIALOG;           // output/save_dialog.h
struct EDIT_STATE;

/// What a file is opened for: which boxes of "LOAD_OPTION" can be used.
enum FILE_LOAD { FILE_LOAD_NONE, FILE_LOAD_NEW, FILE_LOAD_APPEND, FILE_LOAD_SOUND };

/// How the engine reaches the user. The window fills the table in at start-up; a null entry means that nobody is there,
/// and the caller gets the quiet answer named at each entry. Texts are code page 932. Main thread only, except
/// `ask_continue`, which a worker may call.
struct FILE_DIALOG {
    const char* title;
    const char* filter;   // pairs of description and patterns, each NUL-ended, with a second NUL at the end
    char path[260];       // in: the start name; out: the chosen path
    bool save;            // a name to write, with the question before overwriting
    uint32_t load_flags;  // out: load flags of the check boxes of the open dialog
    uint32_t open_flags;  // out: open_file flags of its check boxes
    int rate_index;       // in and out: entry of the frame rate list, -1 = the list is not shown
    FILE_LOAD load;       // not FILE_LOAD_NONE: shows "LOAD_OPTION"; a null filter then stands for the readers' files
};

struct SIZE_DIALOG {
    int width, height;          // in: the size to start from; out: the typed one, as it was typed
    const char* name = "SIZE";  // of the dialog: "SIZE" or "WAV_OPTION"
};

/// The choice of a sound format. Formats are WAVEFORMATEX blocks with their extra bytes, of at most 8192 bytes; the
/// rows to choose from come from core/audio_format.h.
struct AUDIO_FORMAT_DIALOG {
    uint8_t start[8192];  // in: what is chosen now, start_size bytes
    int start_size;
    uint8_t chosen[8192];  // out: what the user chose, chosen_size bytes
    int chosen_size;
};

/// What the dialogs of joining and mixing share: the texts of the information block and the file to write.
struct COPY_FIELDS {
    char title[256], comment[256], copyright[256];
    char output[260];
};

/// The dialog "AVICHAIN". Its buttons work through chain_add and its neighbours of output/chain_mix.h.
inline constexpr int CHAIN_FILE_LIMIT = 32;
struct CHAIN_DIALOG {
    COPY_FIELDS fields;
    char file[CHAIN_FILE_LIMIT][260];  // to be joined, in this order
    int file_n;
    char start[260];  // the start name of the next open dialog: the last file that was added
};

/// The dialog "AVIMIX".
struct MIX_DIALOG {
    COPY_FIELDS fields;
    char video[260], sound[260];
};

/// The dialog "SELECT": frame numbers as shown; out as they were typed.
struct RANGE_DIALOG {
    int start, end;
};

/// The dialog "INTER". chosen: in the mode to start from, out the row of the list.
struct INTER_DIALOG {
    const char* name[6];
    int chosen;
};

/// The dialog "FILE_INFO".
struct PLAY_RATE_DIALOG {
    char rate_now[64], samples_now[64];  // in: what is in force, with units
    bool sound;                          // in: whether the second field is enabled
    char rate[64], samples[64];          // out: what was typed, "" = nothing
};

/// A picture on the system's clipboard: bottom-up rows of 24 bits, (3 * width + 3) / 4 * 4 bytes apart.
struct CLIPBOARD_PICTURE {
    BITMAPINFOHEADER header;  // 40 bytes, of a positive height
    std::vector<uint8_t> rows;
};

enum UI_MODIFIER { UI_SHIFT, UI_CTRL };

/// A source of a project that cannot be opened.
struct RELINK_DIALOG {
    const char* missing;  // its path
    bool sound_only;      // only its sound is used
    char path[260];       // in: the missing path; out: the file to take its place
};

struct UI_HOOKS {
    void (*warn)(const char* text);                           // a box with the warning icon; quiet: nothing
    void (*warn_file)(const char* text, const char* detail);  // the same, with lines below that name the file and say
                                                              // why; quiet: warn, without them
    bool (*ask)(const char* text);                            // OK and Cancel; quiet: Cancel
    bool (*ask_continue)(const char* text);                   // Yes and No with the stop icon; quiet: No
    bool (*file_dialog)(FILE_DIALOG* dialog);                 // quiet: cancelled
    bool (*relink)(RELINK_DIALOG* dialog);              // string 1004 with OK and Cancel, naming what is missing; on OK
                                                        // the file dialog of the readers; quiet: cancelled
    bool (*choose_audio)(AUDIO_FORMAT_DIALOG* dialog);  // quiet: cancelled
    bool (*ask_text)(int title_id, char* buffer,
                     size_t size);               // a line of text; buffer in: the start; quiet: cancelled
    bool (*ask_size)(SIZE_DIALOG* dialog);       // the dialog "SIZE": a picture size; quiet: cancelled
    bool (*save_dialog)(SAVE_DIALOG* dialog);    // a name to write and the options of a save; quiet: cancelled
    bool (*chain_dialog)(CHAIN_DIALOG* dialog);  // quiet: cancelled
    bool (*mix_dialog)(MIX_DIALOG* dialog);      // quiet: cancelled
    bool (*pump)();                         // handles all waiting messages; true when the user pressed Esc or chose
                                            // to stop; quiet: false
    void (*breathe)();                      // keeps the window alive and handles nothing, see ui_breath.h; quiet:
                                            // nothing
    void (*set_title)(const char* text);    // the main window's title; quiet: nothing
    void (*edit_changed)();                 // frames, selection, current frame or open state changed
    void (*interface_enable)(bool enable);  // menus and controls during a save
    void (*fit_window)(int width, int height, bool exactly);  // the main window to a picture: exactly, or only larger
    void (*paint)();                                          // draws shown_pixels
    void (*finish_notice)(const char* sound);                 // the end of a good save; sound "" = none

    bool (*modifier_down)(UI_MODIFIER key);                           // held at this moment; quiet: false
    bool (*ask_range)(RANGE_DIALOG* dialog);                          // quiet: cancelled
    bool (*ask_frame)(int* shown);                                    // the dialog "MOVE"; quiet: cancelled
    bool (*choose_inter)(INTER_DIALOG* dialog);                       // quiet: cancelled
    bool (*ask_play_rate)(PLAY_RATE_DIALOG* dialog);                  // quiet: cancelled
    bool (*choose_video)(CODEC_DIALOG* dialog);                       // the dialog "VCMSET"; quiet: cancelled
    bool (*codec_options)(CODEC_OPTIONS_DIALOG* dialog);              // the dialog "CODEC"; quiet: cancelled
    bool (*clipboard_put_picture)(const CLIPBOARD_PICTURE& picture);  // quiet: false
    bool (*clipboard_take_picture)(CLIPBOARD_PICTURE* picture);       // quiet: false, as when there is none
    bool (*clipboard_put_text)(const char* text);                     // quiet: false

    // start-up and shut-down in window mode, see core/start_up.cpp; quiet: there is no window
    void* (*window_make)(EDIT_STATE* edit);    // the main window; null: it cannot be made
    void (*window_started)(EDIT_STATE* edit);  // filters, profiles and a resumed edit are loaded
    void (*window_store)(EDIT_STATE* edit);    // its state goes into the settings
};
extern UI_HOOKS ui_hooks;
