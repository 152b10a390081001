#pragma once

#include <cstdint>

#include "vantel_formats.h"

struct MEDIA_RECORD;

/// The converter of a source: stored sound to what the edit wants. Inside the media layer.

/// The first 18 bytes of the stored format.
WAVEFORMATEX media_stored_format(const MEDIA_RECORD* record);
/// Bytes a second of the stored sound: PCM's own whatever the file says; else nAvgBytesPerSec, unless the samples in a
/// block of the format (ADPCM) show that it is wrong.
uint32_t media_stored_byte_rate(const MEDIA_RECORD* record);
/// Gives a source whose sound is not plain 16-bit PCM of one or two channels a converter to that, at its own rate (and
/// its channels, more than two mixed down to two). Without one it has no sound.
void media_prepare_pcm(MEDIA_RECORD* record);
/// Starts the converter anew and forgets what was read ahead. The source is silent when that fails.
void media_converter_reset(MEDIA_RECORD* record);
/// Closes it.
void media_converter_close(MEDIA_RECORD* record);
