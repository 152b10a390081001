#pragma once

#include <cstddef>
#include <cstdint>

struct MEDIA_RECORD;

/// Sound of a compressed source by position: the sample asked for is the sample given, whatever was read before.
/// Reading on decodes on, a jump starts decoding some packets earlier and drops what comes in front. What is decoded
/// beyond the end of a call is kept for the next one. State lives beside the record, found by its address. Main thread.
///
/// How stored blocks and samples belong together: a file of variable blocks is asked (audio_sample_at's position of a
/// sample); where a block is a packet (ADPCM, A-law, PCM of other kinds) it holds a fixed number of samples; a byte
/// stream (MP3, AC-3) has nAvgBytesPerSec, and its packets begin where a constant bit rate puts them.

/// Whether a source is read this way: its open converter has a codec among its stages.
bool media_sound_by_position(const MEDIA_RECORD* source);
/// Delivered samples that the stored sound lasts: a first sample from here on does not exist.
int64_t media_sound_end(MEDIA_RECORD* source);
/// Delivered samples first .. first + count - 1 into a buffer of as many delivered blocks; cut at the end of the sound.
/// Sound that is stored but cannot be decoded is silence. Returns samples.
int64_t media_sound_read(MEDIA_RECORD* source, int64_t first, int64_t count, void* buffer);
/// What a source of variable blocks stores, packet by packet: how many, the bytes of the largest, and the samples (of
/// the stored rate) that all last together.
struct SOUND_PACKETS {
    int64_t n, samples;
    int largest;
};
SOUND_PACKETS media_sound_packets(const MEDIA_RECORD* source);
/// Bytes of the packet that begins at a stored position; all that is left when the reader cannot tell.
int media_sound_packet_size(const MEDIA_RECORD* source, int position);
/// Forgets what was decoded ahead; with the record's converter closed too, the reader is gone.
void media_sound_close(const MEDIA_RECORD* source);
