#pragma once

#include "platform/video_codec.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

/// Pictures of ours on their way into an encoder.
struct VIDEO_INPUT {
    SwsContext* scaler;
    AVFrame* frame;  // in the encoder's format
    int width, height;
    bool yuy2;
};

inline constexpr uint32_t VIDEO_YUY2 = VANTEL_FOURCC('Y', 'U', 'Y', '2');

/// Whether a format is RGB of `bits` bits, or YUY2. Sizes within 16384 in each direction.
bool video_format_is_rgb(const BITMAPINFOHEADER& format, int bits);
bool video_format_is_yuy2(const BITMAPINFOHEADER& format);

/// Chroma keeps its place (level with the left luma sample) in all formats but JPEG's 4:2:0. bt709 and full_range are
/// of the encoder's side when it is YUV. False when there is no memory.
bool video_input_open(VIDEO_INPUT* input, const BITMAPINFOHEADER& format, AVPixelFormat target, bool bt709,
                      bool full_range);
void video_input_close(VIDEO_INPUT* input);
/// Fills input->frame from a picture.
bool video_input_convert(VIDEO_INPUT* input, const uint8_t* picture);
