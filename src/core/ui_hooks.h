#pragma once

#include <cstddef>
#include <cstdint>

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
};

struct SIZE_DIALOG {
    int width, height;  // in: the size to start from; out: the typed one, as it was typed
};

/// The choice of a sound format. Formats are WAVEFORMATEX blocks with their extra bytes, of at most 8192 bytes; the
/// rows to choose from come from core/audio_format.h.
struct AUDIO_FORMAT_DIALOG {
    uint8_t start[8192];  // in: what is chosen now, start_size bytes
    int start_size;
    uint8_t chosen[8192];  // out: what the user chose, chosen_size bytes
    int chosen_size;
};

struct UI_HOOKS {
    void (*warn)(const char* text);                     // a box with the warning icon; quiet: nothing
    bool (*ask)(const char* text);                      // OK and Cancel; quiet: Cancel
    bool (*ask_continue)(const char* text);             // Yes and No with the stop icon; quiet: No
    bool (*file_dialog)(FILE_DIALOG* dialog);           // quiet: cancelled
    bool (*choose_audio)(AUDIO_FORMAT_DIALOG* dialog);  // quiet: cancelled
    bool (*ask_text)(int title_id, char* buffer,
                     size_t size);          // a line of text; buffer in: the start; quiet: cancelled
    bool (*ask_size)(SIZE_DIALOG* dialog);  // the dialog "SIZE": a picture size; quiet: cancelled
    bool (*pump)();                         // handles all waiting messages; true when the user pressed Esc or chose
                                            // to stop; quiet: false
    void (*set_title)(const char* text);    // the main window's title; quiet: nothing
    void (*edit_changed)();                 // frames, selection, current frame or open state changed
    void (*interface_enable)(bool enable);  // menus and controls during a save
    void (*fit_window)(int width, int height, bool exactly);  // the main window to a picture: exactly, or only larger
    void (*paint)();                                          // draws shown_pixels
    void (*finish_notice)(const char* sound);                 // the end of a good save; sound "" = none
};
extern UI_HOOKS ui_hooks;
