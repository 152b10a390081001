#include <algorithm>
#include <cstring>

#include "platform/ffmpeg/container_state.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

static constexpr int BUFFER_SIZE = 65536;
static constexpr int64_t BUDGET_BASE = 64 << 20;
static constexpr int64_t CALL_COST = 512;  // so that reads of nothing end too
static constexpr int DAMAGE_MAX = 16;      // damaged places passed over in a row

// Demuxers that read other files or the network, or take any text for a film.
static constexpr const char* REFUSED[] = {
    "tty",        "concat",  "hls",   "dash",       "sdp", "rtsp",   "rtp",
    "imf",        "image2",  "lavfi", "ffmetadata", "sap", "mpjpeg", "webm_dash_manifest",
    "image2pipe", "rawvideo"};

static int io_read(void* opaque, uint8_t* buffer, int n) {
    MEDIA_FILE& f = *static_cast<MEDIA_FILE*>(opaque);
    const int64_t want = std::min<int64_t>(n, f.size - f.position);
    if (want <= 0) return AVERROR_EOF;
    if (f.budget <= 0) return AVERROR_EXIT;
    if (f.budget != BUDGET_FREE) f.budget = std::max<int64_t>(0, f.budget - want - CALL_COST);
    const int64_t got = f.skim ? want : file_read_at(f.file, buffer, size_t(want), f.position);
    if (got < 0) return AVERROR(EIO);
    f.position += got;
    return got ? int(got) : AVERROR_EOF;
}

static int64_t io_seek(void* opaque, int64_t offset, int whence) {
    MEDIA_FILE& f = *static_cast<MEDIA_FILE*>(opaque);
    whence &= ~AVSEEK_FORCE;
    if (whence == AVSEEK_SIZE) return f.size;
    const int64_t base = whence == SEEK_CUR ? f.position : whence == SEEK_END ? f.size : 0;
    int64_t at;
    if (__builtin_add_overflow(base, offset, &at) || at < 0) return AVERROR(EINVAL);
    return f.position = at;
}

static int io_refuse(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EACCES); }

static bool is_refused(const AVInputFormat* kind) {
    return (kind->flags & AVFMT_NOFILE) != 0 ||
           std::any_of(std::begin(REFUSED), std::end(REFUSED),
                       [&](const char* name) { return av_match_name(name, kind->name) != 0; });
}

MEDIA_FILE::~MEDIA_FILE() {
    if (format) avformat_close_input(&format);
    if (io) av_freep(&io->buffer);
    avio_context_free(&io);
    file_close(file);
}

void media_file_set_budget(MEDIA_FILE* file) {
    file->budget = file->size > (INT64_MAX - BUDGET_BASE) / 8 ? BUDGET_FREE : file->size * 8 + BUDGET_BASE;
}

static bool io_open(MEDIA_FILE* f, const char* path) {
    f->file = file_open_read(path);
    if (f->file < 0) return false;
    f->size = file_size(f->file);
    if (f->size <= 0) return false;
    media_file_set_budget(f);
    uint8_t* buffer = static_cast<uint8_t*>(av_malloc(BUFFER_SIZE));
    if (!buffer) return false;
    std::memset(buffer, 0, BUFFER_SIZE);  // what a skim hands out
    f->io = avio_alloc_context(buffer, BUFFER_SIZE, 0, f, io_read, nullptr, io_seek);
    if (!f->io) av_free(buffer);
    return f->io != nullptr;
}

static bool format_open(MEDIA_FILE* f, const char* path, bool tables_only) {
    // Only the extension: the name itself could look like a pattern or a protocol.
    const std::string name = std::string("file") + path_extension(path);
    const AVInputFormat* kind = nullptr;
    if (av_probe_input_buffer2(f->io, &kind, name.c_str(), nullptr, 0, 0) < 0 || !kind || is_refused(kind))
        return false;
    f->format = avformat_alloc_context();
    if (!f->format) return false;
    f->format->pb = f->io;
    f->format->io_open = io_refuse;
    f->format->flags |= AVFMT_FLAG_CUSTOM_IO;
    if (tables_only) f->format->flags |= AVFMT_FLAG_NOPARSE;
    AVDictionary* settings = nullptr;
    av_dict_set(&settings, "protocol_whitelist", "none", 0);
    const int result = avformat_open_input(&f->format, name.c_str(), kind, &settings);
    av_dict_free(&settings);
    return result >= 0;
}

bool media_file_breaks(const MEDIA_FILE* file) { return (file->format->iformat->flags & AVFMT_TS_DISCONT) != 0; }

int64_t media_pixel_limit(const CONTAINER_OPTIONS& options) {
    // Coded sizes are larger than shown ones by up to a block.
    return (int64_t{options.max_width} + 64) * (int64_t{options.max_height} + 64);
}

static bool streams_find(MEDIA_FILE* f, const CONTAINER_OPTIONS& options) {
    const unsigned n = f->format->nb_streams;
    std::vector<AVDictionary*> settings(n, nullptr);
    for (AVDictionary*& setting : settings) av_dict_set_int(&setting, "max_pixels", media_pixel_limit(options), 0);
    const int result = avformat_find_stream_info(f->format, n ? settings.data() : nullptr);
    for (AVDictionary*& setting : settings) av_dict_free(&setting);
    return result >= 0;
}

MEDIA_FILE_PTR media_file_open(const char* path, const CONTAINER_OPTIONS& options, bool tables_only) {
    MEDIA_FILE_PTR f = std::make_unique<MEDIA_FILE>();
    if (!io_open(f.get(), path) || !format_open(f.get(), path, tables_only)) return nullptr;
    if (!tables_only && !streams_find(f.get(), options)) return nullptr;
    return f;
}

bool media_file_read(MEDIA_FILE* file, AVPacket* packet) {
    for (int damaged = 0; damaged < DAMAGE_MAX;) {
        av_packet_unref(packet);
        const int result = av_read_frame(file->format, packet);
        if (result >= 0) return true;
        if (result == AVERROR(EAGAIN) || result == AVERROR_INVALIDDATA)
            ++damaged;
        else
            break;
    }
    return false;
}

AVStream* media_file_stream(const MEDIA_FILE* file, int index) {
    return index >= 0 && unsigned(index) < file->format->nb_streams ? file->format->streams[index] : nullptr;
}

void media_file_select(MEDIA_FILE* file, int a, int b) {
    for (unsigned i = 0; i < file->format->nb_streams; ++i)
        file->format->streams[i]->discard = int(i) == a || int(i) == b ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
}

AV_BSF_PTR media_file_filter(const AVStream* stream) {
    if (stream->codecpar->codec_id != AV_CODEC_ID_MPEG4) return nullptr;
    const AVBitStreamFilter* kind = av_bsf_get_by_name("mpeg4_unpack_bframes");
    AVBSFContext* filter = nullptr;
    if (!kind || av_bsf_alloc(kind, &filter) < 0) return nullptr;
    AV_BSF_PTR owner(filter);
    if (avcodec_parameters_copy(filter->par_in, stream->codecpar) < 0) return nullptr;
    filter->time_base_in = stream->time_base;
    return av_bsf_init(filter) < 0 ? nullptr : std::move(owner);
}
