#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/container.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

/// The parts of an open file, shared by the units of platform/container.

template <auto FREE>
struct AV_FREE {
    template <typename T>
    void operator()(T* p) const {
        FREE(&p);
    }
};
struct AV_FREE_SCALER {
    void operator()(SwsContext* p) const { sws_freeContext(p); }
};
struct AV_FREE_PARSER {
    void operator()(AVCodecParserContext* p) const { av_parser_close(p); }
};
using AV_FRAME_PTR = std::unique_ptr<AVFrame, AV_FREE<av_frame_free>>;
using AV_PACKET_PTR = std::unique_ptr<AVPacket, AV_FREE<av_packet_free>>;
using AV_PARAMETERS_PTR = std::unique_ptr<AVCodecParameters, AV_FREE<avcodec_parameters_free>>;
using AV_CODEC_PTR = std::unique_ptr<AVCodecContext, AV_FREE<avcodec_free_context>>;
using AV_BSF_PTR = std::unique_ptr<AVBSFContext, AV_FREE<av_bsf_free>>;
using AV_RESAMPLER_PTR = std::unique_ptr<SwrContext, AV_FREE<swr_free>>;
using AV_SCALER_PTR = std::unique_ptr<SwsContext, AV_FREE_SCALER>;
using AV_PARSER_PTR = std::unique_ptr<AVCodecParserContext, AV_FREE_PARSER>;

// ---- the demuxer (container_file.cpp)

/// A file with a demuxer on it. All bytes come through platform/file.h.
struct MEDIA_FILE {
    int file = -1;
    int64_t size = 0, position = 0;
    int64_t budget = 0;  // bytes that may still be read: what ends a demuxer that runs in circles
    bool skim = false;   // give out nothing: only the demuxer's own tables are wanted
    AVIOContext* io = nullptr;
    AVFormatContext* format = nullptr;

    MEDIA_FILE() = default;
    MEDIA_FILE(const MEDIA_FILE&) = delete;
    MEDIA_FILE& operator=(const MEDIA_FILE&) = delete;
    ~MEDIA_FILE();
};
using MEDIA_FILE_PTR = std::unique_ptr<MEDIA_FILE>;

inline constexpr int64_t BUDGET_FREE = INT64_MAX;

/// Opens; null when nothing takes the file. tables_only: without a look at the packets, and without parsers.
MEDIA_FILE_PTR media_file_open(const char* path, const CONTAINER_OPTIONS& options, bool tables_only);
/// Sets what a job on the file may read: a multiple of its size.
void media_file_set_budget(MEDIA_FILE* file);
/// The next packet of the streams that are not discarded; passes over a few damaged places. False at the end.
bool media_file_read(MEDIA_FILE* file, AVPacket* packet);
AVStream* media_file_stream(const MEDIA_FILE* file, int index);
/// Only these streams (-1 = none) are read.
void media_file_select(MEDIA_FILE* file, int a, int b);
/// The filter that packets of a stream pass first (frames packed two to a packet); null for most.
AV_BSF_PTR media_file_filter(const AVStream* stream);
/// Whether the clock of this kind of file may jump.
bool media_file_breaks(const MEDIA_FILE* file);
int64_t media_pixel_limit(const CONTAINER_OPTIONS& options);

// ---- the list of packets (container_scan.cpp, container_skim.cpp)

enum : uint32_t {
    PACKET_KEY = 1,
    PACKET_HIDDEN = 2,    // decoded, never shown
    PACKET_CLOSED = 4,    // a key frame whose leading pictures need nothing in front of it
    PACKET_HASHED = 8,    // `hash` is known
    PACKET_B = 16,        // found by the parser: shown at once
    PACKET_ORDERED = 32,  // found by the parser: `order` is known
    PACKET_REFRESH = 64   // a key that is no whole picture: the picture is renewed bit by bit
};

/// One packet, in the order of decoding.
struct STORED_PACKET {
    int64_t pos;  // in the file, -1 = unknown
    int64_t pts;  // in ticks; AV_NOPTS_VALUE = unknown. Sound: first sample, on the clock of the stream
    int64_t dts;
    int32_t order;   // picture order count
    int32_t length;  // ticks; sound: samples
    uint32_t size, hash;
    uint32_t flags;
};

/// A stretch of sound, in samples on the clock of the stream.
struct SOUND_RANGE {
    int64_t begin, end;
};

/// What the scan found: all that a cache file keeps.
struct PACKET_INDEX {
    int picture = -1, sound = -1;  // stream numbers
    int picture_codec = 0, sound_codec = 0;
    std::vector<STORED_PACKET> pictures, sounds;
    std::vector<SOUND_RANGE> hidden;  // sound that an encoder added
};

uint32_t packet_hash(const AVPacket* packet);
/// Lists all packets of the streams that index names. False when stopped, or when nothing was found. *moved: the file
/// is at its end now.
bool container_scan(MEDIA_FILE* file, const char* path, const CONTAINER_OPTIONS& options, PACKET_INDEX* index,
                    bool* moved);

/// The same by reading every packet, or (a file that skims) by asking for them.
bool container_scan_packets(MEDIA_FILE* file, const CONTAINER_OPTIONS& options, PACKET_INDEX* index);

// ---- cache files (container_cache.cpp)

/// index names the streams and codecs that the cache must be for. False: no cache, or not one to use.
bool container_cache_load(const std::string& folder, const char* path, const MEDIA_FILE* file, PACKET_INDEX* index);
void container_cache_save(const std::string& folder, const char* path, const MEDIA_FILE* file,
                          const PACKET_INDEX& index);

// ---- times (container_time.cpp)

struct SHOWN {
    int64_t pts;
    uint32_t packet;
};

/// Pictures in the order of display, and which of them output picture n shows.
struct TIMELINE {
    std::vector<SHOWN> shown;
    std::vector<int32_t> place;   // of each packet in `shown`, -1 = hidden
    std::vector<uint32_t> keys;   // packets to start from, in order
    std::vector<int32_t> floors;  // for each key: the first place that is whole when decoding starts there
    int delay = 0;                // pictures that a decoder must hold back for the order of display
    bool constant = true;
    int rate = 0, scale = 1;
    int64_t lead = 0;  // output pictures in front of the first, which stands in for them
    int64_t frames = 0;
    AVRational tick = {1, 1};
};
/// Fills in all but lead from the packets. breaks: the clock may jump. False when no packet can be shown.
bool timeline_make(std::vector<STORED_PACKET>* packets, const AVStream* stream, AVRational guessed, bool breaks,
                   TIMELINE* timeline);
/// Place in `shown` of an output picture.
int32_t timeline_place(const TIMELINE& timeline, int64_t frame);

// ---- packets by number (container_packets.cpp)

/// Reads a stream's packets by their number in the list, each one checked against it.
struct PACKET_READER {
    const std::vector<STORED_PACKET>* list = nullptr;
    std::string path;
    CONTAINER_OPTIONS options;
    int stream = -1;
    MEDIA_FILE_PTR file;
    AV_BSF_PTR filter;
    AV_PACKET_PTR pending;  // read already; number next when has_pending
    bool has_pending = false;
    bool lost = true;  // the place in the file is not that of `next`
    size_t next = 0;
    int seeks = 0;
};
/// Makes `number` the next packet. False when the file no longer holds it.
bool packet_reader_go(PACKET_READER* reader, size_t number);
/// The packet `next`, which goes up by one. False at the end, or when the file differs from its list.
bool packet_reader_read(PACKET_READER* reader, AVPacket* packet);

// ---- pictures (container_picture.cpp, container_convert.cpp)

struct PICTURE_SIDE {
    PACKET_READER reader;
    TIMELINE timeline;
    AV_CODEC_PTR codec;
    AV_FRAME_PTR now, later, scratch;  // later: decoded already, behind `now`
    int32_t now_place = -1, later_place = -1;
    int32_t floor = 0;
    size_t start = 0;  // key that the decoder was started at
    bool drained = true;
    int width = 0, height = 0;  // stored, before turning
    int turn = 0;               // TURN_ bits
    bool is_rgb = false;
    AV_SCALER_PTR scaler;
    int scaler_key[9] = {};
    AV_FRAME_PTR scaled;
    std::vector<uint8_t> turned;
    void (*step)() = nullptr;  // of CONTAINER_OPTIONS
};
enum { TURN_SWAP = 1, TURN_FLIP_X = 2, TURN_FLIP_Y = 4 };  // out(x, y) = in(x, y) swapped first, then mirrored

bool picture_open(PICTURE_SIDE* side, const AVStream* stream, const CONTAINER_OPTIONS& options);
/// Makes `now` the picture of a place. False when nothing could be decoded.
bool picture_decode(PICTURE_SIDE* side, int32_t place);
/// Whether pictures of a pixel format come out as RGB.
bool picture_format_is_rgb(AVPixelFormat format);
int picture_turn_of(const AVStream* stream);
/// `now` as YUY2 or BGR. False when it cannot be converted.
bool picture_convert(PICTURE_SIDE* side, uint8_t* out);

// ---- sound (container_sound.cpp)

struct SOUND_SIDE {
    PACKET_READER reader;
    std::vector<SOUND_RANGE> hidden;
    AV_PARAMETERS_PTR parameters;
    int rate = 0, channels = 0;
    int64_t origin = 0;             // sample of the stream's clock that is sample 0
    int64_t stretch[2] = {-1, -1};  // numbers of the decoded stretches
    std::vector<int16_t> pcm[2];
    int latest = 0;
};
/// Turns the times of the packets, whose lengths are samples already, to first samples; `dts` becomes the time. breaks:
/// the clock may jump, as in a file of several recordings.
void sound_make_continuous(std::vector<STORED_PACKET>* packets, AVRational tick, int rate, bool breaks);
/// First and last + 1 sample that is heard.
SOUND_RANGE sound_range(const PACKET_INDEX& index);
bool sound_open(SOUND_SIDE* side, const AVStream* stream);
int64_t sound_read(SOUND_SIDE* side, int64_t start, int64_t count, int16_t* out);

struct CONTAINER {
    CONTAINER_INFO info = {};
    CONTAINER_OPTIONS options;
    PACKET_INDEX index;
    PICTURE_SIDE picture;
    SOUND_SIDE sound;
};
