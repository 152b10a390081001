#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "vantel_formats.h"

struct VIDEO_CODEC_SETTING;
struct VIDEO_ENCODER;

/// The video codec layer: a table of all codecs of the machine with what each can do, compression with key frames and
/// data rate of our own, decompression with a choice of output formats. Handlers compare in capital letters; 0, "DIB"
/// and "DIB " are one. Names are code page 932. Main thread.

inline constexpr int CODEC_ENTRY_MAX = 128;

/// Bits of CODEC_ENTRY::flags. The low three are the user's, kept in section "codec" of the settings file.
enum : uint32_t {
    CODEC_DECODE_YUY2 = 0x00000001,  // prefer YUY2 when decompressing
    CODEC_ENCODE_YUY2 = 0x00000002,  // give the compressor YUY2
    CODEC_KEEP_STATE = 0x00000004,   // keep the codec's own configuration block
    CODEC_CAN_RGB = 0x00000100,
    CODEC_CAN_YUY2 = 0x00000200,
    CODEC_FRAMES_INFO = 0x00000400,  // is told rate, quality and data rate of the run
    CODEC_HAS_CONFIG = 0x00000800,
    CODEC_HAS_ABOUT = 0x00001000,
    CODEC_HAS_QUALITY = 0x00002000,
    CODEC_HAS_KEY_RATE = 0x00004000,
    CODEC_HAS_DATA_RATE = 0x00008000,
    CODEC_LISTED = 0x10000000,
    CODEC_PSEUDO = 0x20000000,     // "YUY2" and uncompressed
    CODEC_KEEP_OPEN = 0x40000000,  // the compressor stays open when the dialog closes
};
inline constexpr uint32_t CODEC_OPTION_MASK = 7;
inline constexpr int CODEC_DATA_RATE_DEFAULT = 300;  // KB a second

struct CODEC_ENTRY {
    uint32_t flags;  // 0 = empty
    uint32_t handler;
    uint32_t compressor;  // id of the open compressor, 0 = none
    int32_t quality;      // 0 .. 10000
    int32_t key_rate;     // frames
    int32_t data_rate;    // KB a second
    char display_name[128];
};

/// Builds the table from the machine's codecs, or from what the settings file remembers of them (key `plugincache`).
int codec_system_init();
/// Closes all compressors and keeps the option bits.
int codec_system_exit();

/// Index of the first entry of a handler, -1 when there is none.
int codec_find(uint32_t handler);
CODEC_ENTRY* codec_entry(int index);  // null out of range or empty
int codec_count();
/// The display name; of an unknown handler that of "uncompressed".
const char* codec_name(uint32_t handler);
bool codec_is_pseudo(uint32_t handler);
bool codec_can_compress(uint32_t handler);
/// The format that frames are given to a handler in: RGB of 24 bits, or YUY2. Always 1.
int codec_input_format(uint32_t handler, BITMAPINFOHEADER* format, int width, int height);
/// Puts a setting on a handler with the entry's present values; an entry that cannot compress, or an unknown handler,
/// gives handler 0. Always 1.
int codec_reset_setting(VIDEO_CODEC_SETTING* setting, uint32_t handler);

/// The open compressor of an entry, opened when it is not; null when that fails.
VIDEO_ENCODER* codec_compressor(CODEC_ENTRY* entry);
/// Fetches a compressor's configuration block into a setting, when the entry has one and keeps it.
void codec_take_state(CODEC_ENTRY* entry, VIDEO_CODEC_SETTING* setting);
void codec_give_state(CODEC_ENTRY* entry, const VIDEO_CODEC_SETTING* setting);
/// Closes all compressors, or those without CODEC_KEEP_OPEN.
void codec_close_compressors(bool all);

/// Begins a compression: frames of `input`, rate / scale frames a second. The entry keeps the compressor. False when
/// the handler cannot compress this.
bool compress_begin(VIDEO_CODEC_SETTING* setting, const BITMAPINFOHEADER& input, uint32_t rate, uint32_t scale);
int compress_end(VIDEO_CODEC_SETTING* setting);
/// Compresses one frame. The bytes lie in the setting's output buffer until the next call; *flags gets 16 for a key
/// frame, else 0. Null when the codec failed or crashed.
const uint8_t* compress_frame(VIDEO_CODEC_SETTING* setting, const uint8_t* pixels, uint32_t* flags, uint32_t* size);

/// Opens a decompressor into a decoder room. `first` is the stream's first key frame: what a codec gives (RGB or YUV)
/// and whether it reorders pictures shows only there; a stream that reorders is refused, since one frame in must be one
/// frame out. flags: LOAD_ONLY_... of core/media.h. input_format of the room is then the output.
bool decompress_open(VIDEO_CODEC_SETTING* room, std::span<const uint8_t> format, uint32_t handler, uint32_t flags,
                     std::span<const uint8_t> first);
int decompress_close(VIDEO_CODEC_SETTING* room);
/// Decompresses one frame, into `output` (a picture of the room's output format) unless that is null. False when there
/// is no picture.
bool decompress_frame(VIDEO_CODEC_SETTING* room, uint8_t* output, std::span<const uint8_t> input, bool key);
/// The last picture once more; false when there is none.
bool decompress_again(VIDEO_CODEC_SETTING* room, uint8_t* output);
