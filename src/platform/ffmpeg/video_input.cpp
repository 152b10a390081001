#include "platform/ffmpeg/video_input.h"

#include <algorithm>

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

static constexpr int SIZE_MAX_EACH = 16384;

static bool size_good(const BITMAPINFOHEADER& format) {
    return format.biWidth >= 1 && format.biWidth <= SIZE_MAX_EACH && format.biHeight >= 1 &&
           format.biHeight <= SIZE_MAX_EACH;
}

bool video_format_is_rgb(const BITMAPINFOHEADER& format, int bits) {
    return size_good(format) && format.biCompression == 0 && format.biBitCount == bits;
}

bool video_format_is_yuy2(const BITMAPINFOHEADER& format) {
    return size_good(format) && format.biCompression == VIDEO_YUY2 && format.biBitCount == 16;
}

static AVFrame* frame_new(int width, int height, AVPixelFormat format) {
    AVFrame* frame = av_frame_alloc();
    if (!frame) return nullptr;
    frame->format = format;
    frame->width = width;
    frame->height = height;
    if (av_frame_get_buffer(frame, 0) < 0) av_frame_free(&frame);
    return frame;
}

static SwsContext* scaler_new(const VIDEO_INPUT& input, AVPixelFormat target, bool bt709, bool full_range) {
    SwsContext* scaler = sws_alloc_context();
    if (!scaler) return nullptr;
    const AVPixelFormat source = input.yuy2 ? AV_PIX_FMT_YUYV422 : AV_PIX_FMT_BGR24;
    const struct {
        const char* name;
        int64_t value;
    } options[] = {{"srcw", input.width},
                   {"srch", input.height},
                   {"src_format", source},
                   {"dstw", input.width},
                   {"dsth", input.height},
                   {"dst_format", target},
                   {"src_h_chr_pos", 0},
                   {"dst_h_chr_pos", target == AV_PIX_FMT_YUVJ420P ? 128 : 0},  // JPEG has it in the middle of four
                   {"sws_flags", SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP | SWS_BITEXACT}};
    for (const auto& option : options) av_opt_set_int(scaler, option.name, option.value, 0);
    const int* bt601 = sws_getCoefficients(SWS_CS_ITU601);
    const int* matrix = bt709 && !input.yuy2 ? sws_getCoefficients(SWS_CS_ITU709) : bt601;
    sws_setColorspaceDetails(scaler, matrix, input.yuy2 ? 0 : 1, matrix, full_range, 0, 1 << 16, 1 << 16);
    if (sws_init_context(scaler, nullptr, nullptr) >= 0) return scaler;
    sws_freeContext(scaler);
    return nullptr;
}

bool video_input_open(VIDEO_INPUT* input, const BITMAPINFOHEADER& format, AVPixelFormat target, bool bt709,
                      bool full_range) {
    *input = {nullptr, nullptr, format.biWidth, format.biHeight, video_format_is_yuy2(format)};
    input->frame = frame_new(input->width, input->height, target);
    input->scaler = scaler_new(*input, target, bt709, full_range);
    if (input->frame && input->scaler) return true;
    video_input_close(input);
    return false;
}

void video_input_close(VIDEO_INPUT* input) {
    sws_freeContext(input->scaler);
    av_frame_free(&input->frame);
    input->scaler = nullptr;
}

bool video_input_convert(VIDEO_INPUT* input, const uint8_t* picture) {
    if (av_frame_make_writable(input->frame) < 0) return false;
    const int row = ((input->yuy2 ? 16 : 24) * input->width + 31) / 32 * 4;
    const uint8_t* first = input->yuy2 ? picture : picture + size_t(row) * size_t(input->height - 1);
    const uint8_t* const planes[4] = {first};
    const int strides[4] = {input->yuy2 ? row : -row};
    return sws_scale(input->scaler, planes, strides, 0, input->height, input->frame->data, input->frame->linesize) ==
           input->height;
}
