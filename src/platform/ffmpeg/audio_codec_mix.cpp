#include <algorithm>
#include <array>
#include <cmath>

#include "platform/ffmpeg/audio_codec_internal.h"

namespace {

constexpr int CHANNELS_MAX = 64;  // of a decoded frame

// Weights in 1/65536. All products with a sample of 32 bits or a float's 24 are exact in a double.
constexpr double WHOLE = 65536, ROOT_HALF = 46341, HALF = 32768;

struct SPEAKER {
    AVChannel channel;
    double left, right;
};
const SPEAKER SPEAKER_TABLE[] = {
    {AV_CHAN_FRONT_LEFT, WHOLE, 0},
    {AV_CHAN_FRONT_RIGHT, 0, WHOLE},
    {AV_CHAN_STEREO_LEFT, WHOLE, 0},
    {AV_CHAN_STEREO_RIGHT, 0, WHOLE},
    {AV_CHAN_FRONT_CENTER, ROOT_HALF, ROOT_HALF},
    {AV_CHAN_BACK_LEFT, ROOT_HALF, 0},
    {AV_CHAN_BACK_RIGHT, 0, ROOT_HALF},
    {AV_CHAN_SIDE_LEFT, ROOT_HALF, 0},
    {AV_CHAN_SIDE_RIGHT, 0, ROOT_HALF},
    {AV_CHAN_FRONT_LEFT_OF_CENTER, ROOT_HALF, 0},
    {AV_CHAN_FRONT_RIGHT_OF_CENTER, 0, ROOT_HALF},
    {AV_CHAN_TOP_FRONT_LEFT, ROOT_HALF, 0},
    {AV_CHAN_TOP_FRONT_RIGHT, 0, ROOT_HALF},
    {AV_CHAN_TOP_BACK_LEFT, ROOT_HALF, 0},
    {AV_CHAN_TOP_BACK_RIGHT, 0, ROOT_HALF},
    {AV_CHAN_WIDE_LEFT, ROOT_HALF, 0},
    {AV_CHAN_WIDE_RIGHT, 0, ROOT_HALF},
    {AV_CHAN_LOW_FREQUENCY, 0, 0},
    {AV_CHAN_LOW_FREQUENCY_2, 0, 0},
};

SPEAKER speaker_of(AVChannel channel) {
    for (const SPEAKER& speaker : SPEAKER_TABLE) {
        if (speaker.channel == channel) return speaker;
    }
    return {channel, HALF, HALF};  // behind, above, unknown: to both sides
}

struct MATRIX {
    int inputs, outputs;
    std::array<std::array<double, CHANNELS_MAX>, 2> weight;
    double sum;  // that the weighted samples are divided by
};

void matrix_make(MATRIX* m, const AVFrame* frame, int outputs) {
    AVChannelLayout layout = {};
    const int inputs = frame->ch_layout.nb_channels;
    if (frame->ch_layout.order == AV_CHANNEL_ORDER_NATIVE)
        layout = frame->ch_layout;
    else
        av_channel_layout_default(&layout, inputs);
    double sum[2] = {};
    *m = {inputs, outputs, {}, 1};
    for (int i = 0; i < inputs; ++i) {
        const SPEAKER s = speaker_of(av_channel_layout_channel_from_index(&layout, unsigned(i)));
        m->weight[0][size_t(i)] = outputs == 1 ? s.left + s.right : s.left;
        m->weight[1][size_t(i)] = s.right;
        sum[0] += s.left;
        sum[1] += s.right;
    }
    m->sum = outputs == 1 ? std::max(sum[0], sum[1]) * 2 : std::max(sum[0], sum[1]);
    if (m->sum == 0) m->sum = 1;
}

// A sample in units of a 16-bit one.
double value(uint8_t s) { return (int{s} - 128) * 256; }
double value(int16_t s) { return s; }
double value(int32_t s) { return s / 65536.0; }
double value(int64_t s) { return double(int32_t(s >> 32)) / 65536.0; }
double value(float s) { return double{s} * 32768.0; }
double value(double s) { return value(float(s)); }

int16_t rounded(double v) {
    if (!(v > -32768)) return std::isnan(v) ? int16_t{0} : int16_t{-32768};
    return v >= 32767 ? int16_t{32767} : int16_t(std::lrint(v));
}

// A NaN or an infinity of a damaged packet is silence in the mix, so that it does not take the other channels along.
double finite(double v) { return std::isfinite(v) ? v : 0; }

template <class T>
void mix_matrix(int16_t* out, const T* const* in, size_t step, size_t n, const MATRIX& m) {
    for (size_t i = 0; i < n; ++i) {
        for (int o = 0; o < m.outputs; ++o) {
            double sum = 0;
            for (int c = 0; c < m.inputs; ++c) sum += m.weight[size_t(o)][size_t(c)] * finite(value(in[c][i * step]));
            *out++ = rounded(sum / m.sum);
        }
    }
}

// Channel c from channel c; a single one goes to all, and what has no source is silent.
template <class T>
void mix_straight(int16_t* out, const T* const* in, size_t step, size_t n, int inputs, int outputs) {
    for (int c = 0; c < outputs; ++c) {
        const T* from = inputs == 1 ? in[0] : c < inputs ? in[c] : nullptr;
        for (size_t i = 0; i < n; ++i)
            out[i * size_t(outputs) + size_t(c)] = from ? rounded(value(from[i * step])) : int16_t{0};
    }
}

template <class T>
void mix(int16_t* out, const AVFrame* frame, int channels) {
    const int inputs = frame->ch_layout.nb_channels;
    const bool planar = av_sample_fmt_is_planar(AVSampleFormat(frame->format)) != 0;
    const T* in[CHANNELS_MAX] = {};
    for (int c = 0; c < inputs; ++c) {
        const uint8_t* plane = frame->extended_data[planar ? c : 0];
        in[c] = reinterpret_cast<const T*>(plane) + (planar ? 0 : c);
    }
    const size_t step = planar ? 1 : size_t(inputs), n = size_t(frame->nb_samples);
    if (inputs > channels && channels <= 2) {
        MATRIX matrix;
        matrix_make(&matrix, frame, channels);
        mix_matrix(out, in, step, n, matrix);
    } else {
        mix_straight(out, in, step, n, inputs, channels);
    }
}

}  // namespace

bool audio_mix_frame(std::vector<uint8_t>* out, const AVFrame* frame, int channels) {
    const int inputs = frame->ch_layout.nb_channels;
    if (frame->nb_samples <= 0 || inputs < 1 || inputs > CHANNELS_MAX || !frame->extended_data) return false;
    const size_t before = out->size();
    out->resize(before + size_t(frame->nb_samples) * size_t(channels) * 2);
    auto* to = reinterpret_cast<int16_t*>(out->data() + before);
    switch (av_get_packed_sample_fmt(AVSampleFormat(frame->format))) {
        case AV_SAMPLE_FMT_U8: mix<uint8_t>(to, frame, channels); return true;
        case AV_SAMPLE_FMT_S16: mix<int16_t>(to, frame, channels); return true;
        case AV_SAMPLE_FMT_S32: mix<int32_t>(to, frame, channels); return true;
        case AV_SAMPLE_FMT_S64: mix<int64_t>(to, frame, channels); return true;
        case AV_SAMPLE_FMT_FLT: mix<float>(to, frame, channels); return true;
        case AV_SAMPLE_FMT_DBL: mix<double>(to, frame, channels); return true;
        default: out->resize(before); return false;
    }
}
