#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_input.h"

/// "Wave File Reader": RIFF WAVE files. A sound file also gives a black YUY2 picture at 30 frames a second, so that it
/// opens as a clip. Main thread. Shows no messages.

/// Reads width and height of the picture from the settings file (section "Wave File Reader", keys w and h, defaults 640
/// and 480), each held to 1 .. 16384. Result without meaning.
int wave_reader_init();
/// The size that the next file opens with, and a change of it for this run; bounds as above.
void wave_reader_size(int* width, int* height);
void wave_reader_set_size(int width, int height);

/// The dialog "WAV_OPTION": asks for the size (ui_hooks.ask_size) and keeps it in the settings file. 1 when the user
/// agreed. Both arguments are not looked at.
int wave_reader_config(void* window, void* module);

/// Null when the file cannot be opened, has no "fmt " of at most 8192 bytes or no "data", or a format without a block
/// size, channels or rate. Sound that the file claims but does not hold is left out of the length. path: code page 932.
INPUT_PLUGIN_HANDLE wave_reader_open(const char* path);
/// Null is allowed. Returns 1.
int wave_reader_close(INPUT_PLUGIN_HANDLE handle);
/// Sets video and audio fields; lengths are cut to 2^31 - 1. Returns 1.
int wave_reader_info(INPUT_PLUGIN_HANDLE handle, INPUT_MEDIA_INFO* info);
/// Writes the black picture, cut to capacity (*damaged is then set; it may be null), whatever the frame. Returns the
/// bytes written.
int wave_reader_read_video_bounded(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                   bool* damaged);
int wave_reader_read_video(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer);
/// Reads up to count blocks from block `start` on, cut to what the file has. Returns the blocks, 0 on a failed read.
int wave_reader_read_audio(INPUT_PLUGIN_HANDLE handle, int32_t start, int32_t count, void* buffer);
