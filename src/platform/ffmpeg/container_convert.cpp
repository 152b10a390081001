#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/ffmpeg/container_convert.h"
#include "platform/ffmpeg/container_state.h"
#include "platform/parallel.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

// Plain formats that a picture is brought into where it is in none of them; those that lose nothing come out of
// avcodec_find_best_pix_fmt_of_list.
static constexpr AVPixelFormat PLANAR[] = {
    AV_PIX_FMT_YUV420P,     AV_PIX_FMT_YUV422P,     AV_PIX_FMT_YUV444P,     AV_PIX_FMT_YUV411P,
    AV_PIX_FMT_YUV410P,     AV_PIX_FMT_YUV440P,     AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV422P10LE,
    AV_PIX_FMT_YUV444P10LE, AV_PIX_FMT_YUV420P12LE, AV_PIX_FMT_YUV422P12LE, AV_PIX_FMT_YUV444P12LE,
    AV_PIX_FMT_YUV420P16LE, AV_PIX_FMT_YUV422P16LE, AV_PIX_FMT_YUV444P16LE, AV_PIX_FMT_NONE};

static constexpr int NO_DITHER = 0;

bool picture_format_is_rgb(AVPixelFormat format) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
    constexpr uint64_t rgb = AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM;
    return !d || (d->flags & rgb) != 0;
}

/// Planes of whole bytes or words, which planes_of can hand on as they are.
static bool is_planar(AVPixelFormat format) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
    if (!d || picture_format_is_rgb(format)) return false;
    constexpr uint64_t strange =
        AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER;
    if ((d->flags & strange) || d->log2_chroma_w > 2 || d->log2_chroma_h > 2) return false;
    const int planes = d->nb_components < 3 ? 1 : 3;
    for (int i = 0; i < planes; ++i) {
        const AVComponentDescriptor& c = d->comp[i];
        if (c.plane != i || c.offset != 0 || c.shift != 0 || c.depth < 8 || c.depth > 16) return false;
        if (c.step != (c.depth > 8 ? 2 : 1)) return false;
    }
    return true;
}

static bool is_full_range(const AVFrame* f) {
    switch (f->format) {
        case AV_PIX_FMT_YUVJ420P:
        case AV_PIX_FMT_YUVJ422P:
        case AV_PIX_FMT_YUVJ444P:
        case AV_PIX_FMT_YUVJ440P:
        case AV_PIX_FMT_YUVJ411P: return true;
        default: break;
    }
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(AVPixelFormat(f->format));
    const bool grey = d && d->nb_components < 3;
    return f->color_range == AVCOL_RANGE_JPEG || (grey && f->color_range != AVCOL_RANGE_MPEG);
}

// ---- the library's scaler: other sizes, packed formats, RGB

static bool scaler_get(PICTURE_SIDE* side, const AVFrame* from, AVPixelFormat format, int width, int height) {
    const bool to_rgb = picture_format_is_rgb(format);
    const int full = is_full_range(from);
    const int key[] = {from->width, from->height, from->format, full, int(from->colorspace),
                       int(format), width,        height,       0};
    if (side->scaler && std::equal(std::begin(key), std::end(key), side->scaler_key)) return true;
    side->scaler.reset(sws_alloc_context());
    SwsContext* s = side->scaler.get();
    if (!s) return false;
    constexpr int flags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_BITEXACT | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    av_opt_set_int(s, "srcw", from->width, 0);
    av_opt_set_int(s, "srch", from->height, 0);
    av_opt_set_int(s, "src_format", from->format, 0);
    av_opt_set_int(s, "dstw", width, 0);
    av_opt_set_int(s, "dsth", height, 0);
    av_opt_set_int(s, "dst_format", format, 0);
    av_opt_set_int(s, "sws_flags", flags, 0);
    av_opt_set_int(s, "sws_dither", NO_DITHER, 0);
    // Between YUV formats the range stays: it is taken out later, together with the matrix.
    const bool from_rgb = picture_format_is_rgb(AVPixelFormat(from->format));
    const int* in = sws_getCoefficients(from->colorspace);
    const int* out = sws_getCoefficients(SWS_CS_ITU601);
    sws_setColorspaceDetails(s, in, from_rgb || full, out, to_rgb || (!from_rgb && full), 0, 1 << 16, 1 << 16);
    if (sws_init_context(s, nullptr, nullptr) < 0) {
        side->scaler.reset();
        return false;
    }
    std::copy(std::begin(key), std::end(key), side->scaler_key);
    return true;
}

/// `from` in another format and size, in side->scaled; null when that fails.
static AVFrame* scale(PICTURE_SIDE* side, const AVFrame* from, AVPixelFormat format, int width, int height) {
    if (!scaler_get(side, from, format, width, height)) return nullptr;
    AVFrame* to = side->scaled.get();
    if (!to || to->format != format || to->width != width || to->height != height) {
        side->scaled.reset(av_frame_alloc());
        to = side->scaled.get();
        if (!to) return nullptr;
        to->format = format;
        to->width = width;
        to->height = height;
        if (av_frame_get_buffer(to, 0) < 0) return nullptr;
    }
    sws_scale(side->scaler.get(), from->data, from->linesize, 0, from->height, to->data, to->linesize);
    to->colorspace = from->colorspace;
    to->color_range = is_full_range(from) ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    to->chroma_location = from->chroma_location;
    to->interlaced_frame = from->interlaced_frame;
    if (picture_format_is_rgb(AVPixelFormat(from->format))) {
        to->colorspace = AVCOL_SPC_SMPTE170M;
        to->color_range = AVCOL_RANGE_MPEG;
        to->interlaced_frame = 0;
    }
    return to;
}

// ---- turning

static void plane_turn(const PLANE_VIEW& from, int width, int height, int step, int turn, uint8_t* out) {
    const int w = turn & TURN_SWAP ? height : width, h = turn & TURN_SWAP ? width : height;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x, out += step) {
            const int mx = turn & TURN_FLIP_X ? w - 1 - x : x, my = turn & TURN_FLIP_Y ? h - 1 - y : y;
            const int sx = turn & TURN_SWAP ? my : mx, sy = turn & TURN_SWAP ? mx : my;
            std::memcpy(out, from.data + ptrdiff_t{sy} * from.stride + ptrdiff_t{sx} * step, size_t(step));
        }
    }
}

static int shifted(int size, int log2) { return (size + (1 << log2) - 1) >> log2; }

/// Turns planes within side->turned, with what belongs to directions.
static void planes_turn(PICTURE_SIDE* side, PICTURE_PLANES* p) {
    const int step = p->depth > 8 ? 2 : 1;
    PICTURE_PLANES to = *p;
    const auto bytes = [&](int i) {
        return size_t(shifted(p->width, i ? p->log2_w : 0)) * size_t(shifted(p->height, i ? p->log2_h : 0)) *
               size_t(step);
    };
    side->turned.resize(bytes(0) + (p->grey ? 0 : 2 * bytes(1)));
    uint8_t* out = side->turned.data();
    for (int i = 0; i < (p->grey ? 1 : 3); ++i) {
        const int w = shifted(p->width, i ? p->log2_w : 0), h = shifted(p->height, i ? p->log2_h : 0);
        plane_turn(p->plane[i], w, h, step, side->turn, out);
        to.plane[i] = {out, (side->turn & TURN_SWAP ? h : w) * step};
        out += bytes(i);
    }
    if (side->turn & TURN_SWAP) {
        std::swap(to.width, to.height);
        std::swap(to.log2_w, to.log2_h);
        std::swap(to.site_x, to.site_y);
    }
    if (side->turn & TURN_FLIP_X) to.site_x = 2 - to.site_x;
    if (side->turn & TURN_FLIP_Y) to.site_y = 2 - to.site_y;
    to.interlaced = to.interlaced && !(side->turn & TURN_SWAP) && !(side->turn & TURN_FLIP_Y);
    *p = to;
}

// ---- what a frame says

static void set_site(const PICTURE_SIDE& side, const AVFrame* f, PICTURE_PLANES* p) {
    AVChromaLocation place = f->chroma_location;
    if (place == AVCHROMA_LOC_UNSPECIFIED) {
        switch (side.codec->codec_id) {
            case AV_CODEC_ID_MPEG1VIDEO:
            case AV_CODEC_ID_MJPEG:
            case AV_CODEC_ID_THEORA:
            case AV_CODEC_ID_H263:
            case AV_CODEC_ID_FLV1: place = AVCHROMA_LOC_CENTER; break;
            default: place = AVCHROMA_LOC_LEFT; break;
        }
    }
    const bool middle_x = place == AVCHROMA_LOC_CENTER || place == AVCHROMA_LOC_TOP || place == AVCHROMA_LOC_BOTTOM;
    const bool top = place == AVCHROMA_LOC_TOPLEFT || place == AVCHROMA_LOC_TOP;
    const bool bottom = place == AVCHROMA_LOC_BOTTOMLEFT || place == AVCHROMA_LOC_BOTTOM;
    p->site_x = middle_x && p->log2_h ? 1 : 0;  // only 4:2:0 has its chroma between the columns
    p->site_y = top ? 0 : bottom ? 2 : 1;
}

static PICTURE_PLANES planes_of(const PICTURE_SIDE& side, const AVFrame* f) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(AVPixelFormat(f->format));
    PICTURE_PLANES p = {};
    p.width = f->width;
    p.height = f->height;
    p.depth = d->comp[0].depth;
    p.grey = d->nb_components < 3;
    p.log2_w = p.grey ? 0 : d->log2_chroma_w;
    p.log2_h = p.grey ? 0 : d->log2_chroma_h;
    for (int i = 0; i < (p.grey ? 1 : 3); ++i) p.plane[i] = {f->data[i], f->linesize[i]};
    p.interlaced = f->interlaced_frame != 0 && p.log2_h == 1;
    p.full_range = is_full_range(f);
    switch (f->colorspace) {
        case AVCOL_SPC_BT709: p.matrix = MATRIX_709; break;
        case AVCOL_SPC_BT2020_NCL:
        case AVCOL_SPC_BT2020_CL: p.matrix = MATRIX_2020; break;
        case AVCOL_SPC_SMPTE240M: p.matrix = MATRIX_240M; break;
        default: p.matrix = MATRIX_601; break;
    }
    set_site(side, f, &p);
    return p;
}

// ---- the two forms

static bool convert_yuv(PICTURE_SIDE* side, AVFrame* f, uint8_t* out) {
    const bool whole = f->width == side->width && f->height == side->height;
    if (!whole || !is_planar(AVPixelFormat(f->format))) {
        const AVPixelFormat format =
            is_planar(AVPixelFormat(f->format))
                ? AVPixelFormat(f->format)
                : avcodec_find_best_pix_fmt_of_list(PLANAR, AVPixelFormat(f->format), 0, nullptr);
        f = scale(side, f, format, side->width, side->height);
        if (!f) return false;
    }
    PICTURE_PLANES planes = planes_of(*side, f);
    if (side->turn) planes_turn(side, &planes);
    planes_to_yuy2(planes, out);
    return true;
}

static bool convert_rgb(PICTURE_SIDE* side, const AVFrame* f, uint8_t* out) {
    const AVFrame* bgr = scale(side, f, AV_PIX_FMT_BGR24, side->width, side->height);
    if (!bgr) return false;
    PLANE_VIEW view = {bgr->data[0], bgr->linesize[0]};
    const bool swap = side->turn & TURN_SWAP;
    const int width = swap ? side->height : side->width, height = swap ? side->width : side->height;
    if (side->turn) {
        side->turned.resize(size_t(width) * size_t(height) * 3);
        plane_turn(view, side->width, side->height, 3, side->turn, side->turned.data());
        view = {side->turned.data(), width * 3};
    }
    const size_t bytes = size_t(width) * 3, row = (bytes + 3) / 4 * 4;
    for (int y = 0; y < height; ++y) {
        uint8_t* to = out + row * size_t(height - 1 - y);
        std::memcpy(to, view.data + ptrdiff_t{y} * view.stride, bytes);
        std::memset(to + bytes, 0, row - bytes);
    }
    return true;
}

bool picture_convert(PICTURE_SIDE* side, uint8_t* out) {
    AVFrame* f = side->now.get();
    if (f->width < 1 || f->height < 1 || !f->data[0]) return false;
    return side->is_rgb ? convert_rgb(side, f, out) : convert_yuv(side, f, out);
}
