#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vantel_formats.h"

/// The machine's video codecs, by the four-character handlers that AVI files name. One picture in, one packet out and
/// the other way round, at once: a codec that needs to look ahead is configured not to, or is not offered.
///
/// Pictures are bottom-up RGB of 24 bits (blue first, rows of whole 4 bytes) or YUY2 (top-down, rows of whole 4 bytes).
/// Lossless codecs give every byte back; YUY2 goes into a codec of 4:2:2 as it is. RGB becomes BT.601 of limited range
/// (BT.709 for the codecs whose name says so). One codec object is used by one thread at a time.

struct VIDEO_CODEC_INFO {
    uint32_t handler;
    std::string name;      // UTF-8, for the user
    bool compresses;       // from RGB of 24 bits and, unless rgb_only, from YUY2
    bool rgb_only;         // keeps RGB alone
    bool temporal;         // has other frames than key frames
    bool has_quality;      // 0 .. 10000
    bool has_data_rate;    // bytes a second
    bool has_options;      // video_codec_options gives some
    int default_quality;   // 0 .. 10000
    int default_key_rate;  // frames
};
/// The codecs that are listed: those that compress, then those that only decompress.
int video_codec_count();
const VIDEO_CODEC_INFO& video_codec_info(int index);
/// What the codec is and which library does the work, a few lines of UTF-8.
std::string video_codec_about(int index);
/// Path (UTF-8) of the file that holds the codecs, "" when it cannot be told.
std::string video_codec_file();
/// Threads that codecs opened from now on may use, from 1 up.
void video_codec_threads(int n);

/// What a user can choose of a codec beside quality, key frames and data rate.
struct VIDEO_CODEC_OPTION {
    const char* key;
    const char* label;                // UTF-8
    std::vector<const char*> values;  // the first is the default
};
std::vector<VIDEO_CODEC_OPTION> video_codec_options(uint32_t handler);

struct VIDEO_ENCODER;
struct VIDEO_ENCODER_CLOSE {
    void operator()(VIDEO_ENCODER* encoder) const;
};
using VIDEO_ENCODER_PTR = std::unique_ptr<VIDEO_ENCODER, VIDEO_ENCODER_CLOSE>;

/// Null when the handler names no compressor.
VIDEO_ENCODER_PTR video_encoder_open(uint32_t handler);
/// The configuration block: text of lines "key=value" behind a line that names version and codec.
std::string video_encoder_state(const VIDEO_ENCODER* encoder);
/// Takes a block; "" sets the defaults. Lines that this version does not know are passed over; false (and nothing
/// changed) for a block of another codec or version.
bool video_encoder_set_state(VIDEO_ENCODER* encoder, std::string_view state);
/// Whether pictures of this format can be compressed.
bool video_encoder_accepts(const VIDEO_ENCODER* encoder, const BITMAPINFOHEADER& input);
struct VIDEO_ENCODER_RATE {
    uint32_t rate, scale;      // frames a second = rate / scale
    int quality;               // 0 .. 10000
    int64_t bytes_per_second;  // 0 = by quality
    int key_rate;              // 0 = only the first
};
/// The format block of the compressed stream, extra bytes included; empty when the input is refused.
std::vector<uint8_t> video_encoder_format(VIDEO_ENCODER* encoder, const BITMAPINFOHEADER& input,
                                          const VIDEO_ENCODER_RATE& rate);
bool video_encoder_begin(VIDEO_ENCODER* encoder, const BITMAPINFOHEADER& input, const VIDEO_ENCODER_RATE& rate);
/// Largest size of one packet.
size_t video_encoder_bound(const BITMAPINFOHEADER& input);
/// Compresses one picture into `out`; *key in: a key frame is wanted, out: it is one. Bytes, or -1 on a failure.
int64_t video_encoder_frame(VIDEO_ENCODER* encoder, const uint8_t* picture, bool* key, std::span<uint8_t> out);
void video_encoder_end(VIDEO_ENCODER* encoder);

struct VIDEO_DECODER;
struct VIDEO_DECODER_CLOSE {
    void operator()(VIDEO_DECODER* decoder) const;
};
using VIDEO_DECODER_PTR = std::unique_ptr<VIDEO_DECODER, VIDEO_DECODER_CLOSE>;

/// A decompressor for a stored format (BITMAPINFOHEADER with extra bytes, not trusted); the format's biCompression is
/// tried when the handler says nothing. `first` is the stream's first key frame, which shows what the codec gives.
/// Null when nothing decodes it.
VIDEO_DECODER_PTR video_decoder_open(uint32_t handler, std::span<const uint8_t> format, std::span<const uint8_t> first);
/// Whether the stream holds pictures in another order than they are shown.
bool video_decoder_reorders(const VIDEO_DECODER* decoder);
/// Whether pictures can be given in this format, of the stream's size: RGB of 24 or 32 bits, and YUY2 when the codec
/// keeps YUV.
bool video_decoder_offers(const VIDEO_DECODER* decoder, const BITMAPINFOHEADER& output);
/// Chooses the format of the pictures.
bool video_decoder_begin(VIDEO_DECODER* decoder, const BITMAPINFOHEADER& output);
/// Decodes the next packet, and into `picture` unless that is null; `key` says that it stands alone, so that earlier
/// packets do not matter any more. False when there is no picture (a damaged packet); `picture` is then as it was.
bool video_decoder_frame(VIDEO_DECODER* decoder, std::span<const uint8_t> packet, bool key, uint8_t* picture);
/// The last picture decoded once more. False when there is none.
bool video_decoder_picture(VIDEO_DECODER* decoder, uint8_t* picture);
