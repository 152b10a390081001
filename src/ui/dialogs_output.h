#pragma once

#include <cstddef>
#include <string>

#include "core/ui_hooks.h"
#include "platform/window.h"

/// The dialogs of compression and output. Main thread.

/// Fills their entries of ui_hooks. Called by dialogs_install.
void dialogs_install_output(WINDOW* main_window);

// ---- the entries of ui_hooks, by the file that has them; what they mean is told there

// dialog_codec.cpp
bool dialog_choose_video(CODEC_DIALOG* dialog);
bool dialog_codec_options(CODEC_OPTIONS_DIALOG* dialog);
// dialog_audio.cpp
bool dialog_choose_audio(AUDIO_FORMAT_DIALOG* dialog);
// dialog_chain.cpp
bool dialog_chain(CHAIN_DIALOG* dialog);
// dialog_mix.cpp
bool dialog_mix(MIX_DIALOG* dialog);
// dialog_save.cpp
bool dialog_save(SAVE_DIALOG* dialog);

// ---- what several of them have (dialogs_output.cpp)

/// The fields of the information block: title, comment and copyright, buffers of 256 bytes.
struct INFO_FIELDS {
    char *title, *comment, *copyright;
};
inline constexpr size_t INFO_FIELD_SIZE = 256;
void info_fields_show(WINDOW* dialog, const INFO_FIELDS& fields);
/// False: one was too long, and the user has been told.
bool info_fields_take(WINDOW* dialog, const INFO_FIELDS& fields);

/// Information block and output file, with its button.
void copy_fields_show(WINDOW* dialog, COPY_FIELDS* fields);
bool copy_fields_take(WINDOW* dialog, COPY_FIELDS* fields);
void copy_fields_command(WINDOW* dialog, int id);

/// A button beside a field that holds a path: the file dialog, starting there. filter: as in FILE_DIALOG.
void field_browse(WINDOW* field, const std::string& filter, bool save);
