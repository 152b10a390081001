#pragma once

#include "platform/audio_codec.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswresample/swresample.h>
}

/// What the audio_codec*.cpp units share. Nothing outside this folder includes it.

/// Bounds of the formats that are taken at all.
constexpr uint32_t AUDIO_CODEC_RATE_MAX = 768000;
constexpr int AUDIO_CODEC_CHANNELS_MAX = 16;

enum : uint16_t {
    TAG_PCM = 1,
    TAG_MS_ADPCM = 2,
    TAG_FLOAT = 3,
    TAG_A_LAW = 6,
    TAG_MU_LAW = 7,
    TAG_IMA_ADPCM = 0x11,
    TAG_MP3 = 0x55,
    TAG_AAC = 0xff,
    TAG_AC3 = 0x2000,
    TAG_EXTENSIBLE = 0xfffe,
};

struct AUDIO_CODEC_FREE {
    void operator()(AVCodecContext* p) const { avcodec_free_context(&p); }
    void operator()(AVCodecParserContext* p) const { av_parser_close(p); }
    void operator()(AVPacket* p) const { av_packet_free(&p); }
    void operator()(AVFrame* p) const { av_frame_free(&p); }
    void operator()(SwrContext* p) const { swr_free(&p); }
};
template <class T>
using AUDIO_CODEC_OWNED = std::unique_ptr<T, AUDIO_CODEC_FREE>;

// ---- formats (audio_codec_format.cpp) ----

/// The fields of a WAVEFORMATEX in bounds: rate 1 .. AUDIO_CODEC_RATE_MAX, channels 1 .. AUDIO_CODEC_CHANNELS_MAX.
struct AUDIO_FORMAT {
    uint16_t tag, block, bits;
    int channels;
    uint32_t rate, byte_rate;
    std::span<const uint8_t> extra;  // in the caller's bytes; never more than are really there
};
bool audio_format_parse(AUDIO_FORMAT* format, std::span<const uint8_t> bytes);
/// Is it 16-bit PCM (tag 1) with a true block size?
bool audio_format_is_pcm16(const AUDIO_FORMAT& format);
/// The format block that the encoder of a tag makes; empty when it makes none of this kind. size: bytes a second for
/// MP3, AC-3 and AAC, bytes of a block for ADPCM, unused for A-law and mu-law.
std::vector<uint8_t> audio_format_build(uint16_t tag, uint32_t rate, int channels, uint32_t size);

// ---- drivers (audio_codec.cpp) ----

/// How the bytes of a source are cut into packets for the decoder.
enum AUDIO_PACKET_KIND : uint8_t {
    PACKET_UNITS,   // any number of units, the bytes that belong together (samples of all channels)
    PACKET_BLOCKS,  // blocks of nBlockAlign
    PACKET_CALL,    // a call's source
    PACKET_MPEG,    // by the headers of MPEG audio, layers 1 to 3
    PACKET_AC3,     // by the headers of AC-3
    PACKET_PARSER,  // by the library's parser
};

struct AUDIO_DRIVER {
    uint16_t tag;
    AUDIO_PACKET_KIND kind;
    uint8_t preroll;  // packets; MPEG audio has more for its bit reservoir
    AVCodecID id;
    const char* encoder;  // its name in the library, null when we only decode
    const char* name;
};

// ---- sample arithmetic (audio_codec_mix.cpp) ----

/// Appends a decoded frame to out as interleaved 16-bit samples of the wanted channels; false on a frame that is none.
bool audio_mix_frame(std::vector<uint8_t>* out, const AVFrame* frame, int channels);

// ---- packets in a byte stream (audio_codec_finder.cpp) ----

struct AUDIO_FINDER {
    bool (*header)(struct AUDIO_PACKET_HEADER* header, const uint8_t* bytes);
    bool synced;         // the packet before ended where the data begins
    bool found;          // there was a packet at all
    uint32_t kind;       // of the last packet
    uint64_t at;         // bytes of the stream in front of the data
    uint64_t first;      // where the first packet began
    uint64_t last;       // where the last packet began
    uint32_t lost;       // packets lost in front of the one found
    size_t packet_size;  // bytes of the packet found
    int packet_samples;  // its samples and rate
    uint32_t packet_rate;
};
bool audio_finder_open(AUDIO_FINDER* finder, AUDIO_PACKET_KIND kind);
/// Looks for the next packet in data, the bytes of the stream from finder->at on. *passed counts the bytes in front
/// that are of no use. True: a whole packet of packet_size bytes lies behind them. False: more data is needed, or
/// with `end` there is no packet left. Looks at 2 packets and a header at most.
bool audio_finder_next(AUDIO_FINDER* finder, std::span<const uint8_t> data, bool end, size_t* passed);

// ---- streams (audio_codec_decoder.cpp, audio_codec_encoder.cpp) ----

/// Bytes given and not yet worked on, or made and not yet taken.
struct AUDIO_BYTES {
    std::vector<uint8_t> bytes;
    size_t at;

    size_t size() const { return bytes.size() - at; }
    const uint8_t* data() const { return bytes.data() + at; }
    void skip(size_t n) {
        at += n;
        if (at == bytes.size()) bytes.clear(), at = 0;
    }
};
/// Takes bytes of the block's source until `bytes` has limit; gives bytes to what is left of its target.
void audio_bytes_take(AUDIO_BYTES* bytes, AUDIO_CODEC_BLOCK* block, size_t limit);
void audio_bytes_give(AUDIO_BYTES* bytes, AUDIO_CODEC_BLOCK* block);

struct AUDIO_DECODER {
    AUDIO_PACKET_KIND kind;
    AUDIO_CODEC_OWNED<AVCodecContext> codec;
    AUDIO_CODEC_OWNED<AVCodecParserContext> parser;
    AUDIO_CODEC_OWNED<AVPacket> packet;
    AUDIO_CODEC_OWNED<AVFrame> frame;
    AUDIO_CODEC_OWNED<SwrContext> resampler;
    uint32_t resampler_rate;
    int channels;          // of the target
    uint32_t rate;         // of both formats
    size_t unit;           // bytes that belong together, or of a block
    int packet_samples;    // in the target's rate, 0: varies
    bool silences;         // a packet that gives nothing is a damaged one
    bool sent, got;        // a packet is with the decoder; it gave something
    uint32_t sent_length;  // samples of it, 0: unknown
    bool ended;            // the decoder was told the end
    size_t parsed;         // bytes that the parser took since its last packet
    AUDIO_FINDER finder;
    AUDIO_BYTES input, output;
    uint64_t silence;  // bytes of it in front of the output
};
std::unique_ptr<AUDIO_DECODER> audio_decoder_open(const AUDIO_DRIVER& driver, const AUDIO_FORMAT& source, int channels);
bool audio_decoder_convert(AUDIO_DECODER* d, AUDIO_CODEC_BLOCK* block, bool end);

struct AUDIO_ENCODER {
    AUDIO_CODEC_OWNED<AVCodecContext> codec;
    AUDIO_CODEC_OWNED<AVPacket> packet;
    AUDIO_CODEC_OWNED<AVFrame> frame;
    size_t unit;           // bytes of a sample of all channels
    size_t samples;        // of a packet; 0: any number
    bool packet_a_call;    // sizes vary, so packets are given one by one
    uint64_t source;       // bytes taken
    uint64_t packets;      // made, without the dropped ones
    uint32_t drop;         // packets still to be dropped in front
    uint32_t tail;         // packets of silence behind the end
    bool ended, finished;  // the encoder was told the end; it has nothing more
    AUDIO_BYTES input, output;
};
std::unique_ptr<AUDIO_ENCODER> audio_encoder_open(const AUDIO_DRIVER& driver, const AUDIO_FORMAT& target,
                                                  std::span<const uint8_t> target_bytes);
bool audio_encoder_convert(AUDIO_ENCODER* e, AUDIO_CODEC_BLOCK* block, bool end);

struct AUDIO_CODEC_STREAM {
    std::unique_ptr<AUDIO_DECODER> decoder;  // one of the two
    std::unique_ptr<AUDIO_ENCODER> encoder;
    int packet_samples, preroll;
};
