#include <algorithm>
#include <cstring>

#include "platform/ffmpeg/container_state.h"
#include "platform/ffmpeg/video_input.h"
#include "platform/ffmpeg/video_rows.h"

static constexpr int64_t PIXELS_MAX = 16384LL * 16384;

struct VIDEO_DECODER {
    PICTURE_SIDE side;  // codec, now (the last picture, empty before the first), scratch, and the way to the output
    AV_PACKET_PTR packet;
    bool reorders;
    bool is_rgb;
    BITMAPINFOHEADER output;
    std::vector<uint8_t> narrow;  // RGB of 24 bits on its way to 32
};

void VIDEO_DECODER_CLOSE::operator()(VIDEO_DECODER* decoder) const { delete decoder; }

// ---- opening

static bool take_format(AVCodecContext* context, std::span<const uint8_t> format) {
    BITMAPINFOHEADER header;
    std::memcpy(&header, format.data(), sizeof header);
    const int64_t height = std::abs(int64_t{header.biHeight});
    if (header.biWidth < 1 || height < 1 || int64_t{header.biWidth} * height > PIXELS_MAX) return false;
    context->width = header.biWidth;
    context->height = int(height);
    context->codec_tag = header.biCompression;
    context->bits_per_coded_sample = header.biBitCount;
    const size_t extra = format.size() - sizeof header;
    if (extra == 0) return true;
    context->extradata = static_cast<uint8_t*>(av_mallocz(extra + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!context->extradata) return false;
    std::memcpy(context->extradata, format.data() + sizeof header, extra);
    context->extradata_size = int(extra);
    return true;
}

static AV_CODEC_PTR context_new(AVCodecID id, std::span<const uint8_t> format, bool immediate) {
    const AVCodec* codec = avcodec_find_decoder(id);
    AV_CODEC_PTR context(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!context) return nullptr;
    context->max_pixels = PIXELS_MAX;
    context->thread_count = video_threads();
    context->thread_type = FF_THREAD_SLICE;  // frame threads would hold pictures back
    if (immediate) context->flags |= AV_CODEC_FLAG_LOW_DELAY;
    if (!take_format(context.get(), format) || avcodec_open2(context.get(), codec, nullptr) < 0) return nullptr;
    return context;
}

static AVCodecID codec_of(uint32_t handler, std::span<const uint8_t> format) {
    BITMAPINFOHEADER header;
    std::memcpy(&header, format.data(), sizeof header);
    const AVCodecID id = video_decoder_id(handler);
    return id != AV_CODEC_ID_NONE ? id : video_decoder_id(header.biCompression);
}

/// Gives the packet in and takes what comes out at once into `frame`.
static bool decode(AVCodecContext* context, AVPacket* packet, AVFrame* frame, std::span<const uint8_t> bytes) {
    if (bytes.empty() || bytes.size() > INT32_MAX / 2 || av_new_packet(packet, int(bytes.size())) < 0) return false;
    std::memcpy(packet->data, bytes.data(), bytes.size());
    const bool sent = avcodec_send_packet(context, packet) >= 0;
    av_packet_unref(packet);
    return sent && avcodec_receive_frame(context, frame) >= 0;
}

/// Decodes the first key frame in a context that may hold pictures back, to learn whether the stream asks for that.
static void look_ahead(VIDEO_DECODER* decoder, AVCodecID id, std::span<const uint8_t> format,
                       std::span<const uint8_t> first) {
    const AV_CODEC_PTR context = context_new(id, format, false);
    if (!context) return;
    decode(context.get(), decoder->packet.get(), decoder->side.scratch.get(), first);
    decoder->reorders = context->has_b_frames > 0;
    decoder->is_rgb = picture_format_is_rgb(context->pix_fmt);
    av_frame_unref(decoder->side.scratch.get());
}

VIDEO_DECODER_PTR video_decoder_open(uint32_t handler, std::span<const uint8_t> format,
                                     std::span<const uint8_t> first) {
    if (format.size() < sizeof(BITMAPINFOHEADER)) return nullptr;
    const AVCodecID id = codec_of(handler, format);
    VIDEO_DECODER_PTR decoder(new VIDEO_DECODER{});
    PICTURE_SIDE& side = decoder->side;
    side.codec = context_new(id, format, true);
    side.now.reset(av_frame_alloc());
    side.scratch.reset(av_frame_alloc());
    decoder->packet.reset(av_packet_alloc());
    if (!side.codec || !side.now || !side.scratch || !decoder->packet) return nullptr;
    side.width = side.codec->width;
    side.height = side.codec->height;
    look_ahead(decoder.get(), id, format, first);
    return decoder;
}

bool video_decoder_reorders(const VIDEO_DECODER* decoder) { return decoder->reorders; }

bool video_decoder_offers(const VIDEO_DECODER* decoder, const BITMAPINFOHEADER& output) {
    const bool sized = output.biWidth == decoder->side.width && output.biHeight == decoder->side.height;
    const bool yuy2 = video_format_is_yuy2(output) && !decoder->is_rgb;
    return sized && (yuy2 || video_format_is_rgb(output, 24) || video_format_is_rgb(output, 32));
}

bool video_decoder_begin(VIDEO_DECODER* decoder, const BITMAPINFOHEADER& output) {
    decoder->output = output;
    decoder->side.is_rgb = output.biCompression == 0;
    return true;
}

// ---- frames

bool video_decoder_frame(VIDEO_DECODER* decoder, std::span<const uint8_t> packet, bool key, uint8_t* picture) {
    PICTURE_SIDE& side = decoder->side;
    if (key) avcodec_flush_buffers(side.codec.get());
    if (!decode(side.codec.get(), decoder->packet.get(), side.scratch.get(), packet)) return false;
    std::swap(side.now, side.scratch);
    av_frame_unref(side.scratch.get());
    // YUY2 keeps the numbers of the file: which matrix they are for is the user's choice among the colour entries.
    if (!side.is_rgb) side.now->colorspace = AVCOL_SPC_UNSPECIFIED;
    return !picture || video_decoder_picture(decoder, picture);
}

// Rows of 24 bits with their padding to rows of 32 bits.
static void widen(const std::vector<uint8_t>& from, int width, int height, uint8_t* to) {
    const size_t row = from.size() / size_t(height);
    for (size_t y = 0; y < size_t(height); ++y) {
        for (size_t x = 0; x < size_t(width); ++x, to += 4) {
            std::memcpy(to, from.data() + y * row + x * 3, 3);
            to[3] = 0;
        }
    }
}

bool video_decoder_picture(VIDEO_DECODER* decoder, uint8_t* picture) {
    PICTURE_SIDE& side = decoder->side;
    if (decoder->output.biBitCount != 32) return picture_convert(&side, picture);
    decoder->narrow.resize(size_t((24 * side.width + 31) / 32 * 4) * size_t(side.height));
    if (!picture_convert(&side, decoder->narrow.data())) return false;
    widen(decoder->narrow, side.width, side.height, picture);
    return true;
}
