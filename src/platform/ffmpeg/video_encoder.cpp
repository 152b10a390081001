#include <algorithm>
#include <climits>
#include <cstring>

#include "platform/ffmpeg/video_input.h"
#include "platform/ffmpeg/video_options.h"
#include "platform/ffmpeg/video_rows.h"

struct VIDEO_ENCODER {
    const VIDEO_ROW* row;
    VIDEO_OPTION_VALUES options;
    AVCodecContext* context;  // between begin and end
    VIDEO_INPUT input;
    BITMAPINFOHEADER format;
    VIDEO_ENCODER_RATE rate;
    int64_t next;  // number of the next picture
};

VIDEO_ENCODER_PTR video_encoder_open(uint32_t handler) {
    const VIDEO_ROW* row = video_row(handler);
    if (!row || !avcodec_find_encoder_by_name(row->encoder)) return nullptr;
    return VIDEO_ENCODER_PTR(new VIDEO_ENCODER{row, video_options_default(*row), nullptr, {}, {}, {}, 0});
}

void VIDEO_ENCODER_CLOSE::operator()(VIDEO_ENCODER* encoder) const {
    video_encoder_end(encoder);
    delete encoder;
}

std::string video_encoder_state(const VIDEO_ENCODER* encoder) {
    return video_options_text(*encoder->row, encoder->options);
}

bool video_encoder_set_state(VIDEO_ENCODER* encoder, std::string_view state) {
    return video_options_parse(*encoder->row, state, &encoder->options);
}

static AVPixelFormat target_format(const VIDEO_ENCODER* encoder, const BITMAPINFOHEADER& input) {
    const AVPixelFormat format = video_format_is_yuy2(input)      ? encoder->row->yuy2
                                 : video_format_is_rgb(input, 24) ? encoder->row->rgb
                                                                  : AV_PIX_FMT_NONE;
    return video_options_format(encoder->options, format);
}

bool video_encoder_accepts(const VIDEO_ENCODER* encoder, const BITMAPINFOHEADER& input) {
    const VIDEO_ROW& row = *encoder->row;
    return target_format(encoder, input) != AV_PIX_FMT_NONE && input.biWidth % row.width_step == 0 &&
           input.biHeight % row.height_step == 0;
}

// ---- rates

static void set_quality(AVCodecContext* context, const VIDEO_ROW& row, int quality, AVDictionary** options) {
    const int below = 10000 - std::clamp(quality, 0, 10000);
    const auto put = [&](const char* key, int value) { av_dict_set_int(options, key, value, 0); };
    switch (row.quality) {
        case QUALITY_SCALE:
            context->flags |= AV_CODEC_FLAG_QSCALE;
            context->global_quality = FF_QP2LAMBDA * (1 + below * 30 / 10000);
            context->qmin = 1;
            break;
        case QUALITY_LAMBDA: context->global_quality = FF_QP2LAMBDA * (1 + below * 30 / 10000); break;
        case QUALITY_CRF_H264: put("crf", below * 51 / 10000); break;
        case QUALITY_CRF_VP8:
            put("crf", 4 + below * 59 / 10000);
            context->bit_rate = 100000000;  // the ceiling of the constrained mode: quality alone decides
            break;
        case QUALITY_NONE: break;
    }
}

static void set_data_rate(AVCodecContext* context, const VIDEO_ENCODER_RATE& rate) {
    const int64_t bits = std::clamp<int64_t>(rate.bytes_per_second, 1, INT32_MAX / 16) * 8;
    context->bit_rate = bits;
    context->rc_max_rate = bits;
    context->rc_buffer_size = int(bits);  // a second's worth
    context->qmin = 1;
}

static void set_time(AVCodecContext* context, const VIDEO_ENCODER_RATE& rate) {
    int num = 1, den = 25;
    if (rate.rate && rate.scale) av_reduce(&den, &num, rate.rate, rate.scale, 65535);
    context->time_base = {std::max(num, 1), std::max(den, 1)};
    context->framerate = av_inv_q(context->time_base);
}

/// What keeps an encoder from holding pictures back, and from placing key frames by its own mind.
static void set_immediate(AVCodecContext* context, const VIDEO_ROW& row, AVDictionary** options) {
    const bool temporal = row.flags & ROW_TEMPORAL;
    context->max_b_frames = 0;
    context->gop_size = !temporal ? 1 : row.quality == QUALITY_SCALE ? 600 : INT_MAX / 2;
    context->keyint_min = row.flags & ROW_REOPEN_FOR_KEY ? INT_MAX / 2 : 1;
    context->thread_count = video_threads();
    context->thread_type = FF_THREAD_SLICE;
    const struct {
        const char *encoder, *key, *value;
    } rows[] = {
        {"libx264", "tune", "zerolatency"},        {"libx264", "forced-idr", "1"},
        {"libx264", "sc_threshold", "0"},          {"libx264", "x264-params", "repeat-headers=1:keyint=infinite"},
        {"libvpx", "deadline", "realtime"},        {"libvpx", "lag-in-frames", "0"},
        {"libvpx", "auto-alt-ref", "0"},           {"mpeg4", "sc_threshold", "1000000000"},
        {"msmpeg4", "sc_threshold", "1000000000"}, {"msmpeg4v2", "sc_threshold", "1000000000"},
        {"wmv1", "sc_threshold", "1000000000"},    {"wmv2", "sc_threshold", "1000000000"}};
    for (const auto& r : rows)
        if (std::strcmp(r.encoder, row.encoder) == 0) av_dict_set(options, r.key, r.value, 0);
}

// ---- opening

static AVCodecContext* context_new(const VIDEO_ENCODER& encoder, const BITMAPINFOHEADER& input,
                                   const VIDEO_ENCODER_RATE& rate) {
    const VIDEO_ROW& row = *encoder.row;
    const AVCodec* codec = avcodec_find_encoder_by_name(row.encoder);
    AVCodecContext* context = avcodec_alloc_context3(codec);
    if (!context) return nullptr;
    AVDictionary* options = nullptr;
    context->width = input.biWidth;
    context->height = input.biHeight;
    context->pix_fmt = target_format(&encoder, input);
    context->codec_tag = video_handler(row);
    const bool rgb = row.rgb == context->pix_fmt && row.rgb != row.yuy2;
    context->colorspace = rgb ? AVCOL_SPC_RGB : row.flags & ROW_BT709 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    context->color_range = row.flags & ROW_FULL_RANGE || rgb ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    context->chroma_sample_location = AVCHROMA_LOC_LEFT;
    set_time(context, rate);
    set_immediate(context, row, &options);
    if (rate.bytes_per_second > 0 && row.flags & ROW_DATA_RATE)
        set_data_rate(context, rate);
    else
        set_quality(context, row, rate.quality, &options);
    video_options_apply(encoder.options, context->pix_fmt, &options);
    const int result = avcodec_open2(context, codec, &options);
    av_dict_free(&options);
    if (result < 0) avcodec_free_context(&context);
    return context;
}

static std::vector<uint8_t> format_block(const AVCodecContext& context, const VIDEO_ROW& row) {
    const size_t extra = context.extradata ? size_t(std::max(context.extradata_size, 0)) : 0;
    BITMAPINFOHEADER header{};
    header.biSize = uint32_t(sizeof header + extra);
    header.biWidth = context.width;
    header.biHeight = context.height;
    header.biPlanes = 1;
    header.biBitCount = uint16_t(context.bits_per_coded_sample > 0 ? context.bits_per_coded_sample : 24);
    header.biCompression = video_handler(row);
    header.biSizeImage = uint32_t(context.width) * uint32_t(context.height) * 3;
    std::vector<uint8_t> block(sizeof header + extra);
    std::memcpy(block.data(), &header, sizeof header);
    if (extra) std::memcpy(block.data() + sizeof header, context.extradata, extra);
    return block;
}

std::vector<uint8_t> video_encoder_format(VIDEO_ENCODER* encoder, const BITMAPINFOHEADER& input,
                                          const VIDEO_ENCODER_RATE& rate) {
    if (!video_encoder_accepts(encoder, input)) return {};
    AVCodecContext* context = context_new(*encoder, input, rate);
    if (!context) return {};
    std::vector<uint8_t> block = format_block(*context, *encoder->row);
    avcodec_free_context(&context);
    return block;
}

bool video_encoder_begin(VIDEO_ENCODER* encoder, const BITMAPINFOHEADER& input, const VIDEO_ENCODER_RATE& rate) {
    video_encoder_end(encoder);
    if (!video_encoder_accepts(encoder, input)) return false;
    encoder->rate = rate;
    encoder->format = input;
    encoder->next = 0;
    encoder->context = context_new(*encoder, input, rate);
    const uint32_t flags = encoder->row->flags;
    if (encoder->context && video_input_open(&encoder->input, input, encoder->context->pix_fmt, flags & ROW_BT709,
                                             (flags & ROW_FULL_RANGE) != 0))
        return true;
    video_encoder_end(encoder);
    return false;
}

void video_encoder_end(VIDEO_ENCODER* encoder) {
    avcodec_free_context(&encoder->context);
    video_input_close(&encoder->input);
}

// ---- frames

size_t video_encoder_bound(const BITMAPINFOHEADER& input) {
    return size_t(std::max(input.biWidth, 0)) * size_t(std::max(input.biHeight, 0)) * 8 + (1 << 20);
}

static bool restart(VIDEO_ENCODER* encoder) {
    avcodec_free_context(&encoder->context);
    encoder->context = context_new(*encoder, encoder->format, encoder->rate);
    return encoder->context != nullptr;
}

static int64_t take_packet(AVCodecContext* context, bool* key, std::span<uint8_t> out) {
    AVPacket* packet = av_packet_alloc();
    if (!packet) return -1;
    int64_t size = -1;
    if (avcodec_receive_packet(context, packet) >= 0 && size_t(packet->size) <= out.size()) {
        size = packet->size;
        std::memcpy(out.data(), packet->data, size_t(packet->size));
        *key = (packet->flags & AV_PKT_FLAG_KEY) != 0;
    }
    av_packet_free(&packet);
    return size;
}

int64_t video_encoder_frame(VIDEO_ENCODER* encoder, const uint8_t* picture, bool* key, std::span<uint8_t> out) {
    if (!encoder->context || !video_input_convert(&encoder->input, picture)) return -1;
    const bool wanted = *key && encoder->row->flags & ROW_REOPEN_FOR_KEY && encoder->next > 0;
    if (wanted && !restart(encoder)) return -1;
    AVFrame* frame = encoder->input.frame;
    frame->pts = encoder->next++;
    frame->pict_type = *key ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    frame->key_frame = *key;
    frame->quality = encoder->context->global_quality;
    if (avcodec_send_frame(encoder->context, frame) < 0) return -1;
    return take_packet(encoder->context, key, out);
}
