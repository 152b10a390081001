#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/soft_convert.h"

struct AVI_STREAM_INFO;
struct MEDIA_RECORD;
struct WAVEFORMATEX;

/// The media layer: one opened source in one MEDIA_RECORD. It finds a reader, keeps the formats, and reads frames and
/// sound by number. It knows nothing of the edit. Main thread.

/// Load flags.
enum : uint32_t {
    LOAD_DOUBLE_RATE = 0x01,   // every stored frame appears twice, as its two fields
    LOAD_READ_ONLY = 0x04,     // no decompressor, no read buffer: frames are read as stored
    LOAD_STORED_AUDIO = 0x08,  // no conversion to 16-bit PCM
    LOAD_NO_AUDIO = 0x10,
    LOAD_NO_VIDEO = 0x20,  // the file need not have video, and its video is ignored
    LOAD_AVI_SEQUENCE = 0x40,
    LOAD_FPS_ADJUST = 0x80,        // rate from the length of the sound
    LOAD_FPS_ADJUST_AUTO = 0x100,  // the same, only when lengths differ by more than 0.1 s
    LOAD_ONLY_YUY2 = 0x10000,
    LOAD_ONLY_RGB24 = 0x20000,
    LOAD_ONLY_RGB32 = 0x40000,
};

/// Opens a file into a record. 1 on success, -1 when no reader takes the file.
int media_open(MEDIA_RECORD* record, const char* path, uint32_t load_flags);
/// Closes reader, decompressor and converter, frees the read buffer, clears media_flag.
void media_close(MEDIA_RECORD* record);

/// The decoded picture of a frame as a DIB in the format of video_header, rows bottom-up for RGB; owned by the record,
/// valid until the next read. Null when the record has no video. A frame that cannot be read leaves the old picture.
uint8_t* media_read_frame(MEDIA_RECORD* record, int frame);
/// Stored bytes of a frame into a buffer of `capacity` bytes; key gets 16 for a key frame, else 0. Bytes read.
int media_read_frame_raw(MEDIA_RECORD* record, int frame, void* buffer, size_t capacity, int* key);
bool media_is_key(MEDIA_RECORD* record, int frame);

/// Frame n of rate b as a frame of a: n * rate(a) * scale(b) / (scale(a) * rate(b)), cut to an integer; held to the
/// frames of a unless its media_frames is 0. Equal rates give n as it is.
int map_frame(const MEDIA_RECORD* a, int n, const MEDIA_RECORD* b);

/// Makes the record's sound come out in the target format; `stored` holds the rate before the user changed the playback
/// rate. On failure the source is silent (its sound bit is cleared).
void media_match_audio(MEDIA_RECORD* record, const WAVEFORMATEX* target, const WAVEFORMATEX* stored);

/// Sample position (block number) of frame n; `base` gives the frame rate, null = the source's own.
int audio_sample_at(MEDIA_RECORD* source, int n, const MEDIA_RECORD* base);
/// Sound of `count` frames from frame n (count negative: to the end) into a buffer of `capacity` bytes, converted or as
/// stored. Returns bytes written. buffer null: the converter starts anew, and what it holds is dropped; gives 0.
///
/// A PCM source is a stream: blocks audio_sample_at(n) .. audio_sample_at(n + count) - 1 go through the converter,
/// which carries its state from call to call. A compressed source is read by position: the result is exactly the
/// delivered samples floor(time of n * rate) .. floor(time of n + count * rate) - 1, whatever was read before;
/// sequential calls read ahead, a jump decodes from a little earlier. Behind the end of what is stored both are short.
int media_read_audio(MEDIA_RECORD* source, int n, int count, void* buffer, size_t capacity, const MEDIA_RECORD* base);
int media_read_audio_raw(MEDIA_RECORD* source, int n, int count, void* buffer, size_t capacity,
                         const MEDIA_RECORD* base);
/// One piece of what media_read_audio gives, for buffers that do not hold it all: from delivered block `skip` on, as
/// many whole blocks as fit. Pieces are asked in their order: skip 0 first, then the sum of the blocks given so far,
/// with no other read of this source in between. Returns bytes; 0: no more, or no piece can follow here.
int media_read_audio_part(MEDIA_RECORD* source, int n, int count, int skip, void* buffer, size_t capacity,
                          const MEDIA_RECORD* base);
/// Stored blocks a .. b - 1 as they are stored. `raw` false is for sources without a converter, whose stored and
/// delivered bytes are the same; 0 for others. A range that does not fit is read as far as it does. Bytes written.
int media_read_audio_range(MEDIA_RECORD* source, int a, int b, bool raw, void* buffer, size_t capacity);

/// The state of a source's sound as far as lengths go, for measuring ahead. A plain copyable record; one a source.
struct AUDIO_MEASURE {
    bool running;  // false: as after a reset
    SOFT_CONVERTER soft;
    SOFT_CARRY carry;
};
/// As after media_read_audio with buffer null.
void media_measure_reset(AUDIO_MEASURE* measure);
/// As the source is now.
void media_measure_now(AUDIO_MEASURE* measure, const MEDIA_RECORD* source);
/// Samples of each channel (delivered blocks) that media_read_audio would give for the same call into a buffer large
/// enough, and moves the state on; the source stays as it is. Exact for every source whose file can be read.
int media_measure_audio_next(AUDIO_MEASURE* measure, MEDIA_RECORD* source, int n, int count, const MEDIA_RECORD* base);
/// The same from the source's present state on.
int media_measure_audio(MEDIA_RECORD* source, int n, int count, const MEDIA_RECORD* base);

/// 0 for plain RGB ("DIB ", "DIB" and 0 in any case are one), else the code in capital letters.
uint32_t media_code_normal(uint32_t code);
/// Whether a format is PCM of 16 bits.
bool media_is_pcm16(const WAVEFORMATEX* format);
/// Bytes of a picture: rows of ((bits * width + 7) / 8 + 3) / 4 * 4 bytes times height; -1 when that passes 31 bits.
int media_picture_size(int bits, int width, int height);
