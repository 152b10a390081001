#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/ffmpeg/audio_codec_internal.h"

namespace {

constexpr size_t CHUNK_BYTES = 4096;            // of units and parsed bytes, a packet's worth
constexpr size_t FINDER_BYTES = 16384;          // two packets of any kind and a header are less
constexpr size_t CALL_BYTES_MAX = 1 << 20;      // of a packet that is a call's source, or that a parser collects
constexpr int64_t FRAME_SAMPLES_MAX = 1 << 17;  // of a decoded frame
constexpr uint32_t RATE_FACTOR_MAX = 16;        // between the rate of a packet and that of the format

// The tag in the sub-format of an extensible block, 0 when it is none of those that a tag stands for. Channel mask at
// 2, GUID at 6.
uint16_t extensible_tag(const AUDIO_FORMAT& format) {
    static const uint8_t TAIL[12] = {0, 0, 0x10, 0, 0x80, 0, 0, 0xaa, 0, 0x38, 0x9b, 0x71};
    if (format.extra.size() < 22) return 0;
    const uint8_t* guid = format.extra.data() + 6;
    if (guid[2] != 0 || guid[3] != 0 || memcmp(guid + 4, TAIL, sizeof TAIL) != 0) return 0;
    return uint16_t(guid[0] | guid[1] << 8);
}

uint64_t extensible_mask(const AUDIO_FORMAT& format) {
    const uint8_t* p = format.extra.data() + 2;
    return uint64_t{p[0]} | uint64_t{p[1]} << 8 | uint64_t{p[2]} << 16 | uint64_t{p[3]} << 24;
}

// The library's codec for uncompressed samples by the bytes that one takes in the block.
AVCodecID sample_codec(uint16_t tag, uint32_t bytes) {
    if (tag == TAG_A_LAW && bytes == 1) return AV_CODEC_ID_PCM_ALAW;
    if (tag == TAG_MU_LAW && bytes == 1) return AV_CODEC_ID_PCM_MULAW;
    if (tag == TAG_FLOAT) {
        return bytes == 4 ? AV_CODEC_ID_PCM_F32LE : bytes == 8 ? AV_CODEC_ID_PCM_F64LE : AV_CODEC_ID_NONE;
    }
    if (tag != TAG_PCM) return AV_CODEC_ID_NONE;
    switch (bytes) {
        case 1: return AV_CODEC_ID_PCM_U8;
        case 2: return AV_CODEC_ID_PCM_S16LE;
        case 3: return AV_CODEC_ID_PCM_S24LE;
        case 4: return AV_CODEC_ID_PCM_S32LE;
        default: return AV_CODEC_ID_NONE;
    }
}

AVCodecID source_codec(const AUDIO_DRIVER& driver, const AUDIO_FORMAT& source) {
    if (driver.id != AV_CODEC_ID_NONE) return driver.id;
    const uint32_t bytes = uint32_t{source.block} / uint32_t(source.channels);
    if (source.block % source.channels != 0 || bytes * 8 < source.bits) return AV_CODEC_ID_NONE;
    return sample_codec(driver.tag == TAG_EXTENSIBLE ? extensible_tag(source) : driver.tag, bytes);
}

// Samples of an AAC packet, in the format's rate: 1024 of the core's, whose rate the extra bytes begin with (type in 5
// bits, index in 4). The format may name the doubled rate of a replicated band.
int aac_packet_samples(const AUDIO_FORMAT& source) {
    static const uint32_t RATES[13] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                       22050, 16000, 12000, 11025, 8000,  7350};
    if (source.extra.size() < 2) return 1024;
    const int index = (source.extra[0] & 7) << 1 | source.extra[1] >> 7;
    return index < 13 && source.rate == RATES[index] * 2 ? 2048 : 1024;
}

int packet_samples(const AUDIO_DECODER& d, const AUDIO_FORMAT& source) {
    switch (d.codec->codec_id) {
        case AV_CODEC_ID_MP3: return source.rate >= 32000 ? 1152 : 576;
        case AV_CODEC_ID_MP2: return 1152;
        case AV_CODEC_ID_AC3: return 1536;
        case AV_CODEC_ID_AAC: return d.kind == PACKET_CALL ? aac_packet_samples(source) : 0;
        default: break;
    }
    if (d.kind == PACKET_UNITS) return av_get_exact_bits_per_sample(d.codec->codec_id) >= 8 ? 1 : 0;
    if (d.kind != PACKET_BLOCKS) return 0;
    const int samples = av_get_audio_frame_duration(d.codec.get(), source.block);
    return samples > 0 && samples <= FRAME_SAMPLES_MAX ? samples : 0;
}

bool codec_open(AUDIO_DECODER* d, AVCodecID id, const AUDIO_FORMAT& source) {
    const AVCodec* library = id == AV_CODEC_ID_NONE ? nullptr : avcodec_find_decoder(id);
    d->codec.reset(library ? avcodec_alloc_context3(library) : nullptr);
    if (!d->codec) return false;
    AVCodecContext* c = d->codec.get();
    c->sample_rate = int(source.rate);
    c->block_align = source.block;
    c->bit_rate = int64_t{source.byte_rate} * 8;
    c->bits_per_coded_sample = source.bits;
    c->thread_count = 1;
    c->max_samples = FRAME_SAMPLES_MAX;
    const bool masked = source.tag == TAG_EXTENSIBLE && std::popcount(extensible_mask(source)) == source.channels;
    if (masked)
        av_channel_layout_from_mask(&c->ch_layout, extensible_mask(source));
    else
        av_channel_layout_default(&c->ch_layout, source.channels);
    if (!source.extra.empty()) {
        c->extradata = static_cast<uint8_t*>(av_mallocz(source.extra.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        if (!c->extradata) return false;
        memcpy(c->extradata, source.extra.data(), source.extra.size());
        c->extradata_size = int(source.extra.size());
    }
    return avcodec_open2(c, library, nullptr) >= 0;
}

bool cutting_open(AUDIO_DECODER* d, const AUDIO_FORMAT& source) {
    switch (d->kind) {
        case PACKET_UNITS:
            // Codes of 4 or 8 bits that are a stream have no unit but the byte.
            d->unit = size_t(source.channels) * size_t(av_get_exact_bits_per_sample(d->codec->codec_id)) / 8;
            if (d->codec->codec_id >= AV_CODEC_ID_ADPCM_IMA_QT) d->unit = 1;
            return d->unit > 0;
        case PACKET_BLOCKS: {
            d->unit = source.block;
            const bool fixed = source.tag == TAG_MS_ADPCM || source.tag == TAG_IMA_ADPCM;
            return d->unit > 1 && (!fixed || d->packet_samples > 0);
        }
        case PACKET_MPEG:
        case PACKET_AC3: return audio_finder_open(&d->finder, d->kind);
        case PACKET_PARSER: d->parser.reset(av_parser_init(d->codec->codec_id)); return d->parser != nullptr;
        default: return true;
    }
}

// Gives a packet to the decoder; length: samples of silence in the target's rate should it be damaged.
void send(AUDIO_DECODER* d, const uint8_t* data, size_t size, uint32_t length) {
    d->sent = true;
    d->got = !d->silences;
    d->sent_length = length;
    if (av_new_packet(d->packet.get(), int(size)) < 0) return;
    memcpy(d->packet->data, data, size);
    avcodec_send_packet(d->codec.get(), d->packet.get());  // what fails here gives no frame either
    av_packet_unref(d->packet.get());
}

// The output is 16-bit sound of another rate, as a header that contradicts the format makes it; brought to the
// target's, so that later sound keeps its place. With rate 0 the end: what the resampler holds back.
void resample(AUDIO_DECODER* d, uint32_t rate) {
    if (rate != 0 && (!d->resampler || d->resampler_rate != rate)) {
        SwrContext* made = nullptr;
        AVChannelLayout layout = {};
        av_channel_layout_default(&layout, d->channels);
        swr_alloc_set_opts2(&made, &layout, AV_SAMPLE_FMT_S16, int(d->rate), &layout, AV_SAMPLE_FMT_S16, int(rate), 0,
                            nullptr);
        d->resampler.reset(made);
        d->resampler_rate = rate;
        if (!made || swr_init(made) < 0) d->resampler.reset();
    }
    if (!d->resampler) return;
    const size_t unit = size_t(d->channels) * 2;
    const std::vector<uint8_t> from = std::move(d->output.bytes);
    const uint8_t* in = from.data();
    const int n = int(from.size() / unit), room = swr_get_out_samples(d->resampler.get(), n);
    d->output = {std::vector<uint8_t>(size_t(std::max(room, 1)) * unit), 0};
    uint8_t* out = d->output.bytes.data();
    const int made = swr_convert(d->resampler.get(), &out, std::max(room, 1), n > 0 ? &in : nullptr, n);
    d->output.bytes.resize(size_t(std::max(made, 0)) * unit);
}

bool receive(AUDIO_DECODER* d) {
    const int result = avcodec_receive_frame(d->codec.get(), d->frame.get());
    if (result < 0) {
        d->sent = false;
        if (!d->got) d->silence += uint64_t{d->sent_length} * uint64_t(d->channels) * 2;
        if (result == AVERROR_EOF && d->resampler) {
            resample(d, 0);
            d->resampler.reset();
        }
        return false;
    }
    // Not the frame's: some decoders learn the rate from the packet when the frame has been made.
    const uint32_t rate = d->codec->sample_rate > 0 ? uint32_t(d->codec->sample_rate) : d->rate;
    if (audio_mix_frame(&d->output.bytes, d->frame.get(), d->channels)) {
        d->got = true;
        const bool sane = rate / RATE_FACTOR_MAX <= d->rate && d->rate / RATE_FACTOR_MAX <= rate;
        if (rate != d->rate && sane) resample(d, rate);
    }
    av_frame_unref(d->frame.get());
    return true;
}

bool next_units(AUDIO_DECODER* d, AUDIO_CODEC_BLOCK* block) {
    audio_bytes_take(&d->input, block, std::max(CHUNK_BYTES, d->unit));
    const size_t n = d->input.size() / d->unit;
    if (n == 0) return false;
    send(d, d->input.data(), n * d->unit, uint32_t(n));
    d->input.skip(n * d->unit);
    return true;
}

// A last block that was cut off gives what is in it.
bool next_block(AUDIO_DECODER* d, AUDIO_CODEC_BLOCK* block, bool end) {
    audio_bytes_take(&d->input, block, d->unit);
    const size_t n = d->input.size();
    if (n == 0 || (n < d->unit && !end)) return false;
    send(d, d->input.data(), n, n < d->unit ? 0 : uint32_t(d->packet_samples));
    d->input.skip(n);
    return true;
}

bool next_call(AUDIO_DECODER* d, AUDIO_CODEC_BLOCK* block) {
    const std::span<const uint8_t> source = block->source.subspan(block->source_used);
    if (source.empty()) return false;
    block->source_used = block->source.size();
    if (source.size() <= CALL_BYTES_MAX) send(d, source.data(), source.size(), uint32_t(d->packet_samples));
    return true;
}

bool next_found(AUDIO_DECODER* d, AUDIO_CODEC_BLOCK* block, bool end) {
    audio_bytes_take(&d->input, block, FINDER_BYTES);
    const bool last = end && block->source_used == block->source.size();
    size_t passed = 0;
    AUDIO_FINDER* f = &d->finder;
    const bool found = audio_finder_next(f, {d->input.data(), d->input.size()}, last, &passed);
    d->input.skip(passed);
    f->at += passed;
    if (!found) return passed > 0 && block->source_used < block->source.size();
    const uint64_t length = uint64_t(f->packet_samples) * d->rate / f->packet_rate;
    d->silence += uint64_t{f->lost} * length * uint64_t(d->channels) * 2;
    send(d, d->input.data(), f->packet_size, uint32_t(length));
    d->input.skip(f->packet_size);
    f->at += f->packet_size;
    return true;
}

bool next_parsed(AUDIO_DECODER* d, AUDIO_CODEC_BLOCK* block, bool end) {
    uint8_t bytes[CHUNK_BYTES + AV_INPUT_BUFFER_PADDING_SIZE] = {};
    const size_t n = std::min(block->source.size() - block->source_used, CHUNK_BYTES);
    if (n == 0 && (!end || d->parsed == 0)) return false;
    if (n > 0) memcpy(bytes, block->source.data() + block->source_used, n);
    uint8_t* packet = nullptr;
    int size = 0;
    const int used = av_parser_parse2(d->parser.get(), d->codec.get(), &packet, &size, bytes, int(n), AV_NOPTS_VALUE,
                                      AV_NOPTS_VALUE, 0);
    const size_t taken = used > 0 ? std::min(size_t(used), n) : size > 0 ? 0 : n;
    block->source_used += taken;
    d->parsed += taken;
    if (size > 0) send(d, packet, size_t(size), 0);
    if (size > 0 || n == 0) d->parsed = n == 0 ? 0 : 1;
    if (d->parsed > CALL_BYTES_MAX) {  // it would collect for ever
        d->parser.reset(av_parser_init(d->codec->codec_id));
        d->parsed = 0;
    }
    return d->parser != nullptr;
}

// Another packet to the decoder, or silence in its place; false when the source has none.
bool next_packet(AUDIO_DECODER* d, AUDIO_CODEC_BLOCK* block, bool end) {
    switch (d->kind) {
        case PACKET_UNITS: return next_units(d, block);
        case PACKET_BLOCKS: return next_block(d, block, end && block->source_used == block->source.size());
        case PACKET_CALL: return next_call(d, block);
        case PACKET_PARSER: return next_parsed(d, block, end);
        default: return next_found(d, block, end);
    }
}

bool give(AUDIO_DECODER* d, AUDIO_CODEC_BLOCK* block) {
    const size_t n = size_t(std::min<uint64_t>(block->target.size() - block->target_used, d->silence));
    if (n > 0) memset(block->target.data() + block->target_used, 0, n);
    block->target_used += n;
    d->silence -= n;
    if (d->silence == 0) audio_bytes_give(&d->output, block);
    return d->silence == 0 && d->output.size() == 0;
}

}  // namespace

std::unique_ptr<AUDIO_DECODER> audio_decoder_open(const AUDIO_DRIVER& driver, const AUDIO_FORMAT& source,
                                                  int channels) {
    std::unique_ptr<AUDIO_DECODER> d(new AUDIO_DECODER{});
    d->kind = driver.kind == PACKET_CALL && driver.id == AV_CODEC_ID_AAC && source.extra.size() < 2 ? PACKET_PARSER
                                                                                                    : driver.kind;
    d->channels = channels;
    d->rate = source.rate;
    d->packet.reset(av_packet_alloc());
    d->frame.reset(av_frame_alloc());
    if (!d->packet || !d->frame || !codec_open(d.get(), source_codec(driver, source), source)) return nullptr;
    d->packet_samples = packet_samples(*d, source);
    d->silences = (d->codec->codec->capabilities & AV_CODEC_CAP_DELAY) == 0;
    return cutting_open(d.get(), source) ? std::move(d) : nullptr;
}

bool audio_decoder_convert(AUDIO_DECODER* d, AUDIO_CODEC_BLOCK* block, bool end) {
    while (give(d, block)) {
        if (d->sent) {
            receive(d);
        } else if (!next_packet(d, block, end)) {
            if (!end || d->ended) return true;
            d->ended = d->sent = d->got = true;
            avcodec_send_packet(d->codec.get(), nullptr);
        }
    }
    return true;
}
