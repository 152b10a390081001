#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/opt.h>
}

#include "platform/ffmpeg/audio_codec_internal.h"

namespace {

constexpr size_t UNIT_SAMPLES = 4096;  // that encoders without packets are given at once
constexpr uint32_t TAIL_MAX = 16;      // packets; no encoder holds back as many

// The format must be one that we make, as the bytes that come out are of no other.
bool is_ours(const AUDIO_FORMAT& format, std::span<const uint8_t> bytes) {
    const bool block = format.tag == TAG_MS_ADPCM || format.tag == TAG_IMA_ADPCM;
    const std::vector<uint8_t> made =
        audio_format_build(format.tag, format.rate, format.channels, block ? format.block : format.byte_rate);
    return !made.empty() && bytes.size() >= made.size() && std::equal(made.begin(), made.end(), bytes.begin());
}

// Ours as it is where the encoder takes that.
AVSampleFormat sample_format(const AVCodec* library) {
    for (const AVSampleFormat wanted : {AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_S16P, AV_SAMPLE_FMT_FLTP}) {
        for (const AVSampleFormat* f = library->sample_fmts; f && *f != AV_SAMPLE_FMT_NONE; ++f) {
            if (*f == wanted) return wanted;
        }
    }
    return AV_SAMPLE_FMT_NONE;
}

bool codec_open(AUDIO_ENCODER* e, const AVCodec* library, const AUDIO_FORMAT& target) {
    e->codec.reset(library ? avcodec_alloc_context3(library) : nullptr);
    if (!e->codec) return false;
    AVCodecContext* c = e->codec.get();
    c->sample_rate = int(target.rate);
    c->sample_fmt = sample_format(library);
    c->bit_rate = int64_t{target.byte_rate} * 8;
    c->time_base = {1, int(target.rate)};
    c->thread_count = 1;
    c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_channel_layout_default(&c->ch_layout, target.channels);
    if (target.tag == TAG_MP3) av_opt_set_int(c->priv_data, "reservoir", 0, 0);
    if (target.tag == TAG_MS_ADPCM || target.tag == TAG_IMA_ADPCM) {
        av_opt_set_int(c->priv_data, "block_size", target.block, 0);
    }
    if (c->sample_fmt == AV_SAMPLE_FMT_NONE || avcodec_open2(c, library, nullptr) < 0) return false;
    const size_t extra = size_t(std::max(c->extradata_size, 0));  // where it has any, decoders must get the same
    return extra == 0 || (extra == target.extra.size() && memcmp(c->extradata, target.extra.data(), extra) == 0);
}

// Zeros in front make the delay a number of whole packets; they are dropped, and the source begins with a packet.
void align_start(AUDIO_ENCODER* e) {
    const size_t delay = size_t(std::max(e->codec->initial_padding, 0));
    if (e->samples == 0 || delay == 0) return;
    e->drop = uint32_t((delay + e->samples - 1) / e->samples);
    e->input.bytes.assign((e->drop * e->samples - delay) * e->unit, 0);
}

void put_samples(AVFrame* frame, const uint8_t* data, size_t n) {
    const size_t channels = size_t(frame->ch_layout.nb_channels);
    if (frame->format == AV_SAMPLE_FMT_S16) {
        memcpy(frame->data[0], data, n * channels * 2);
        return;
    }
    for (size_t c = 0; c < channels; ++c) {
        for (size_t i = 0; i < n; ++i) {
            int16_t sample;
            memcpy(&sample, data + (i * channels + c) * 2, 2);
            if (frame->format == AV_SAMPLE_FMT_S16P)
                reinterpret_cast<int16_t*>(frame->data[c])[i] = sample;
            else
                reinterpret_cast<float*>(frame->data[c])[i] = float(sample) / 32768.0f;
        }
    }
}

bool send(AUDIO_ENCODER* e, size_t n) {
    AVFrame* frame = e->frame.get();
    frame->format = e->codec->sample_fmt;
    frame->sample_rate = e->codec->sample_rate;
    frame->nb_samples = int(n);
    if (av_channel_layout_copy(&frame->ch_layout, &e->codec->ch_layout) < 0 || av_frame_get_buffer(frame, 0) < 0) {
        return false;
    }
    put_samples(frame, e->input.data(), n);
    e->input.skip(n * e->unit);
    const bool sent = avcodec_send_frame(e->codec.get(), frame) >= 0;
    av_frame_unref(frame);
    return sent;
}

// Encoders without packets: what is there, at once.
bool feed_units(AUDIO_ENCODER* e) {
    const size_t n = std::min(e->input.size() / e->unit, UNIT_SAMPLES);
    if (n > 0) return send(e, n);
    e->finished = true;
    return true;
}

// Behind the end silence follows until the packets made hold all of the source.
bool feed_end(AUDIO_ENCODER* e) {
    if (e->samples == 0) return feed_units(e);
    const uint64_t wanted = (e->source / e->unit + e->samples - 1) / e->samples;
    if (e->packets >= wanted) e->finished = true;
    if (e->finished) return true;
    if (e->tail++ < TAIL_MAX) {
        e->input.bytes.resize(e->input.at + e->input.size() / e->unit * e->unit);  // no part of a sample
        e->input.bytes.resize(e->input.at + e->samples * e->unit);
        return send(e, e->samples);
    }
    e->ended = true;
    return avcodec_send_frame(e->codec.get(), nullptr) >= 0;
}

// 1: the encoder has got more, 0: the source has no more for it, -1: failure.
int feed(AUDIO_ENCODER* e, AUDIO_CODEC_BLOCK* block, bool end) {
    const size_t before = block->source_used;
    const size_t wanted = (e->samples > 0 ? e->samples : UNIT_SAMPLES) * e->unit;
    audio_bytes_take(&e->input, block, wanted);
    e->source += block->source_used - before;
    if (e->input.size() >= wanted) return send(e, wanted / e->unit) ? 1 : -1;
    if (!end) {
        if (e->samples > 0 || e->input.size() < e->unit) return 0;
        return feed_units(e) ? 1 : -1;
    }
    if (e->finished) return 0;
    return feed_end(e) ? 1 : -1;
}

// 1: a packet lies in the output (or was dropped), 0: the encoder wants more, -1: failure or its end.
int receive(AUDIO_ENCODER* e) {
    const int result = avcodec_receive_packet(e->codec.get(), e->packet.get());
    if (result == AVERROR(EAGAIN)) return 0;
    if (result < 0) {
        e->finished = true;
        return result == AVERROR_EOF ? 0 : -1;
    }
    if (e->drop > 0) {
        --e->drop;
    } else {
        e->output.bytes.assign(e->packet->data, e->packet->data + e->packet->size);
        ++e->packets;
    }
    av_packet_unref(e->packet.get());
    return 1;
}

// Gives of the output what may be given; true when nothing is left and the target may have more.
bool give(AUDIO_ENCODER* e, AUDIO_CODEC_BLOCK* block) {
    if (e->packet_a_call && e->output.size() > block->target.size() - block->target_used) return false;
    audio_bytes_give(&e->output, block);
    return e->output.size() == 0 && !(e->packet_a_call && block->target_used > 0);
}

}  // namespace

std::unique_ptr<AUDIO_ENCODER> audio_encoder_open(const AUDIO_DRIVER& driver, const AUDIO_FORMAT& target,
                                                  std::span<const uint8_t> target_bytes) {
    if (!driver.encoder || !is_ours(target, target_bytes)) return nullptr;
    std::unique_ptr<AUDIO_ENCODER> e(new AUDIO_ENCODER{});
    e->packet.reset(av_packet_alloc());
    e->frame.reset(av_frame_alloc());
    if (!e->packet || !e->frame || !codec_open(e.get(), avcodec_find_encoder_by_name(driver.encoder), target)) {
        return nullptr;
    }
    e->unit = size_t(target.channels) * 2;
    e->samples = size_t(std::max(e->codec->frame_size, 0));
    e->packet_a_call = target.tag == TAG_AAC;
    align_start(e.get());
    return e;
}

bool audio_encoder_convert(AUDIO_ENCODER* e, AUDIO_CODEC_BLOCK* block, bool end) {
    while (give(e, block)) {
        if (e->finished) return true;
        const int received = receive(e);
        if (received < 0) return false;
        if (received > 0) continue;
        const int fed = feed(e, block, end);
        if (fed < 0) return false;
        if (fed == 0) return true;
    }
    return true;
}
