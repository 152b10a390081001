#pragma once

#include <span>

#include "platform/video_codec.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

/// The table of codecs. Rows that compress are written down; rows that only decompress are those of the library's RIFF
/// tags that it can decode, one a codec.

/// How a quality of 0 .. 10000 reaches the encoder.
enum VIDEO_QUALITY {
    QUALITY_NONE,   // lossless
    QUALITY_SCALE,  // a fixed quantiser of 31 .. 1
    QUALITY_CRF_H264,
    QUALITY_CRF_VP8,
    QUALITY_LAMBDA,  // a fixed quantiser through the global quality alone
};

/// Flags of a row.
enum : uint32_t {
    ROW_TEMPORAL = 1,
    ROW_BT709 = 2,
    ROW_FULL_RANGE = 4,  // luma and chroma of 0 .. 255
    ROW_DATA_RATE = 8,
    ROW_REOPEN_FOR_KEY = 16,  // the encoder counts key frames by itself: a new one begins with one
};

struct VIDEO_ROW {
    char handler[5];
    const char* name;
    const char* encoder;  // the library's name
    AVPixelFormat rgb;    // what RGB becomes; AV_PIX_FMT_NONE = refused
    AVPixelFormat yuy2;   // what YUY2 becomes; AV_PIX_FMT_NONE = refused
    uint32_t flags;
    VIDEO_QUALITY quality;
    int default_quality;
    int width_step, height_step;  // sizes must be whole multiples
};

/// A codec that is listed: its row (null: it only decompresses) and the library's decoder.
struct VIDEO_CODEC {
    VIDEO_CODEC_INFO info;
    const VIDEO_ROW* row;
    AVCodecID id;
};
std::span<const VIDEO_CODEC> video_codecs();

/// The row that compresses for a handler, null when there is none. Codes compare without regard to case.
const VIDEO_ROW* video_row(uint32_t handler);
/// The codec of a handler by the list, else by the library's tags; AV_CODEC_ID_NONE when nothing decodes it.
AVCodecID video_decoder_id(uint32_t handler);
uint32_t video_handler(const VIDEO_ROW& row);
int video_threads();
