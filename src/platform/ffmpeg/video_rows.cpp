#include "platform/ffmpeg/video_rows.h"

#include <dlfcn.h>

#include <algorithm>
#include <set>

extern "C" {
#include <libavformat/avformat.h>
}

static constexpr size_t LIST_MAX = 126;  // a table of 128 with two entries of its own is filled from the list

static constexpr AVPixelFormat NONE = AV_PIX_FMT_NONE;
static constexpr uint32_t LOSSY = ROW_TEMPORAL | ROW_DATA_RATE;

static constexpr VIDEO_ROW ROWS[] = {
    {"HFYU", "Huffyuv", "huffyuv", AV_PIX_FMT_RGB24, AV_PIX_FMT_YUV422P, 0, QUALITY_NONE, 0, 1, 1},
    {"FFVH", "FFmpeg Huffyuv", "ffvhuff", AV_PIX_FMT_RGB24, AV_PIX_FMT_YUV422P, 0, QUALITY_NONE, 0, 1, 1},
    {"FFV1", "FFV1", "ffv1", AV_PIX_FMT_BGR0, AV_PIX_FMT_YUV422P, 0, QUALITY_NONE, 0, 1, 1},
    {"ULRG", "Ut Video RGB", "utvideo", AV_PIX_FMT_GBRP, NONE, 0, QUALITY_NONE, 0, 1, 1},
    {"ULY2", "Ut Video YUV 4:2:2 BT.601", "utvideo", AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV422P, 0, QUALITY_NONE, 0, 2, 1},
    {"ULY0", "Ut Video YUV 4:2:0 BT.601", "utvideo", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, 0, QUALITY_NONE, 0, 2, 2},
    {"ULY4", "Ut Video YUV 4:4:4 BT.601", "utvideo", AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV444P, 0, QUALITY_NONE, 0, 1, 1},
    {"ULH2", "Ut Video YUV 4:2:2 BT.709", "utvideo", AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV422P, ROW_BT709, QUALITY_NONE, 0,
     2, 1},
    {"ULH0", "Ut Video YUV 4:2:0 BT.709", "utvideo", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, ROW_BT709, QUALITY_NONE, 0,
     2, 2},
    {"ULH4", "Ut Video YUV 4:4:4 BT.709", "utvideo", AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV444P, ROW_BT709, QUALITY_NONE, 0,
     1, 1},
    {"MAGY", "MagicYUV", "magicyuv", AV_PIX_FMT_GBRP, AV_PIX_FMT_YUV422P, 0, QUALITY_NONE, 0, 2, 1},
    {"ZMBV", "Zip Motion Blocks", "zmbv", AV_PIX_FMT_BGR0, NONE, ROW_TEMPORAL | ROW_REOPEN_FOR_KEY, QUALITY_NONE, 0, 1,
     1},
    {"MPNG", "PNG", "png", AV_PIX_FMT_RGB24, NONE, 0, QUALITY_NONE, 0, 1, 1},
    {"MJPG", "Motion JPEG", "mjpeg", AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUVJ422P, ROW_FULL_RANGE | ROW_DATA_RATE,
     QUALITY_SCALE, 8500, 1, 1},
    {"XVID", "MPEG-4 ASP (XVID)", "mpeg4", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, LOSSY, QUALITY_SCALE, 8500, 1, 1},
    {"DIVX", "MPEG-4 ASP (DIVX)", "mpeg4", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, LOSSY, QUALITY_SCALE, 8500, 1, 1},
    {"DX50", "MPEG-4 ASP (DX50)", "mpeg4", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, LOSSY, QUALITY_SCALE, 8500, 1, 1},
    {"FMP4", "MPEG-4 ASP (FMP4)", "mpeg4", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, LOSSY, QUALITY_SCALE, 8500, 1, 1},
    {"H264", "H.264", "libx264", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, LOSSY, QUALITY_CRF_H264, 6100, 2, 2},
    {"VP80", "VP8", "libvpx", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, LOSSY, QUALITY_CRF_VP8, 8000, 1, 1},
    {"MP42", "MPEG-4 version 2", "msmpeg4v2", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, LOSSY, QUALITY_SCALE, 8500, 1, 1},
    {"MP43", "MPEG-4 version 3", "msmpeg4", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, LOSSY, QUALITY_SCALE, 8500, 1, 1},
    {"WMV1", "Windows Media Video 7", "wmv1", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, LOSSY, QUALITY_SCALE, 8500, 1, 1},
    {"WMV2", "Windows Media Video 8", "wmv2", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, LOSSY, QUALITY_SCALE, 8500, 2, 2},
    {"ASV2", "ASUS V2", "asv2", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, ROW_DATA_RATE, QUALITY_SCALE, 8500, 1, 1},
    {"cvid", "Cinepak", "cinepak", AV_PIX_FMT_RGB24, NONE, ROW_TEMPORAL | ROW_REOPEN_FOR_KEY, QUALITY_LAMBDA, 9000, 4,
     4},
};

static int threads = 1;
void video_codec_threads(int n) { threads = std::clamp(n, 1, 64); }
int video_threads() { return threads; }

uint32_t video_handler(const VIDEO_ROW& row) {
    return VANTEL_FOURCC(row.handler[0], row.handler[1], row.handler[2], row.handler[3]);
}

static uint32_t upper_case(uint32_t code) {
    uint32_t upper = 0;
    for (int i = 0; i < 4; ++i) {
        uint32_t c = code >> (8 * i) & 0xFF;
        if (c >= 'a' && c <= 'z') c -= 'a' - 'A';
        upper |= c << (8 * i);
    }
    return upper;
}

static AVCodecID id_of_tag(uint32_t handler) {
    const AVCodecTag* tags[] = {avformat_get_riff_video_tags(), nullptr};
    AVCodecID id = av_codec_get_id(tags, handler);
    return id != AV_CODEC_ID_NONE ? id : av_codec_get_id(tags, upper_case(handler));
}

static bool printable(uint32_t code) {
    for (int i = 0; i < 4; ++i)
        if ((code >> (8 * i) & 0xFF) < ' ' || (code >> (8 * i) & 0xFF) > '~') return false;
    return true;
}

static VIDEO_CODEC compressor(const VIDEO_ROW& row) {
    VIDEO_CODEC codec{};
    codec.row = &row;
    codec.id = id_of_tag(video_handler(row));
    codec.info = {.handler = video_handler(row),
                  .name = row.name,
                  .compresses = true,
                  .rgb_only = row.yuy2 == NONE,
                  .temporal = (row.flags & ROW_TEMPORAL) != 0,
                  .has_quality = row.quality != QUALITY_NONE,
                  .has_data_rate = (row.flags & ROW_DATA_RATE) != 0,
                  .has_options = !video_codec_options(video_handler(row)).empty(),
                  .default_quality = row.default_quality,
                  .default_key_rate = row.flags & ROW_TEMPORAL ? 300 : 1};
    return codec;
}

static std::vector<VIDEO_CODEC> make_list() {
    av_log_set_level(AV_LOG_QUIET);  // what codecs have to say of damaged frames helps nobody
    std::vector<VIDEO_CODEC> list;
    std::set<AVCodecID> known = {AV_CODEC_ID_NONE, AV_CODEC_ID_RAWVIDEO};
    for (const VIDEO_ROW& row : ROWS) {
        if (!avcodec_find_encoder_by_name(row.encoder)) continue;
        list.push_back(compressor(row));
        known.insert(list.back().id);
    }
    const AVCodecTag* tags[] = {avformat_get_riff_video_tags(), nullptr};
    for (void* at = nullptr; const AVCodec* decoder = av_codec_iterate(&at);) {
        if (list.size() == LIST_MAX) break;
        const uint32_t tag = av_codec_get_tag(tags, decoder->id);
        if (!av_codec_is_decoder(decoder) || !printable(tag) || !known.insert(decoder->id).second) continue;
        VIDEO_CODEC codec{};
        codec.id = decoder->id;
        codec.info.handler = tag;
        codec.info.name = decoder->long_name ? decoder->long_name : decoder->name;
        list.push_back(codec);
    }
    return list;
}

std::span<const VIDEO_CODEC> video_codecs() {
    static const std::vector<VIDEO_CODEC> list = make_list();
    return list;
}

int video_codec_count() { return int(video_codecs().size()); }
const VIDEO_CODEC_INFO& video_codec_info(int index) { return video_codecs()[size_t(index)].info; }

const VIDEO_ROW* video_row(uint32_t handler) {
    for (const VIDEO_ROW& row : ROWS) {
        if (upper_case(video_handler(row)) == upper_case(handler)) return &row;
    }
    return nullptr;
}

AVCodecID video_decoder_id(uint32_t handler) {
    const AVCodecID id = id_of_tag(handler);
    return id != AV_CODEC_ID_RAWVIDEO && avcodec_find_decoder(id) ? id : AV_CODEC_ID_NONE;
}

std::string video_codec_about(int index) {
    const VIDEO_CODEC& codec = video_codecs()[size_t(index)];
    std::string text = codec.info.name;
    const AVCodec* library =
        codec.row ? avcodec_find_encoder_by_name(codec.row->encoder) : avcodec_find_decoder(codec.id);
    if (library && library->long_name) text += std::string("\n") + library->long_name;
    const unsigned version = avcodec_version();
    return text + "\nlibavcodec " + std::to_string(AV_VERSION_MAJOR(version)) + "." +
           std::to_string(AV_VERSION_MINOR(version)) + "." + std::to_string(AV_VERSION_MICRO(version));
}

std::string video_codec_file() {
    Dl_info info{};
    return dladdr(reinterpret_cast<void*>(&avcodec_version), &info) && info.dli_fname ? info.dli_fname : "";
}
