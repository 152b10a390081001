#pragma once

#include <cstddef>
#include <cstdint>

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
/// stored. buffer null: drops what the converter holds. A range that does not fit is read as far as whole blocks fit.
/// Returns bytes written.
int media_read_audio(MEDIA_RECORD* source, int n, int count, void* buffer, size_t capacity, const MEDIA_RECORD* base);
int media_read_audio_raw(MEDIA_RECORD* source, int n, int count, void* buffer, size_t capacity,
                         const MEDIA_RECORD* base);
/// Sound by block numbers a .. b - 1, converted or (raw) as stored. Returns bytes written.
int media_read_audio_range(MEDIA_RECORD* source, int a, int b, bool raw, void* buffer, size_t capacity);

/// 0 for plain RGB ("DIB ", "DIB" and 0 in any case are one), else the code in capital letters.
uint32_t media_code_normal(uint32_t code);
/// Whether a format is PCM of 16 bits.
bool media_is_pcm16(const WAVEFORMATEX* format);
/// Bytes of a picture: rows of ((bits * width + 7) / 8 + 3) / 4 * 4 bytes times height; -1 when that passes 31 bits.
int media_picture_size(int bits, int width, int height);
