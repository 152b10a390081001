#pragma once

#include <cstddef>
#include <cstdint>

#include "core/edit_state.h"

/// The sound conversion of an output: the edit's sound to the chosen format of the save context. Inside the writer
/// only.

/// Opens it, from audio_header to the converter's target format, with buffers of its own. False: no codec takes it.
bool avi_sound_open(SAVE_CONTEXT* context);
/// Closes it, if open, and frees the buffers.
void avi_sound_close(SAVE_CONTEXT* context);
/// Converts sound and hands each result to avi_put_stored_audio, packet by packet where the format needs it; size 0
/// fetches what the conversion still holds. A result of the writer.
int avi_sound_put(SAVE_CONTEXT* context, const void* bytes, size_t size);

/// Whether each chunk of the chosen format is one packet, so that there are more chunks than groups of sound.
bool avi_sound_by_packets(const SAVE_CONTEXT* context);
