#pragma once

#include <cstdint>

struct EDIT_STATE;

/// Sound by sample number over a range of frames, through all filters. One in the process, main thread. Reading on
/// without gaps runs each frame through the filters once; a jump begins again at the frame that holds the sample, with
/// whatever history filters keep. A sample means one of all channels, a block of the edit's format.

/// Begins at the first of frames first .. last; an open cursor is closed. Returns the samples of the range, exactly
/// what reading it from the start gives; 0 without sound or when memory is short (told).
int audio_cursor_open(EDIT_STATE* edit, int first, int last);

/// Samples from number `sample` on. n: how many are wanted; gets how many there are: what lies behind the total is cut
/// off, and a request that does not fit the gather buffer (display_buffer) gives what does. Where a source has less
/// than it promised, zeros fill up. sample below 0: reads from 0, n grows by as much. bytes: n in bytes. Returns the
/// samples, valid until display_buffer is used again.
uint8_t* audio_cursor_read(EDIT_STATE* edit, int sample, int* n, int* bytes);

void audio_cursor_close();
