#include <algorithm>
#include <cstring>

#include "platform/ffmpeg/container_state.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/mathematics.h>
}

static constexpr int64_t STRETCH_SECONDS = 5;
static constexpr size_t PREROLL = 16;         // packets: overlap, bit reservoirs, what filters remember
static constexpr size_t BEHIND_MAX = 16;      // packets fed behind a stretch, for decoders that hold back
static constexpr int64_t BREAK_SECONDS = 30;  // a larger step, or one back, is another recording, which follows at once
static constexpr double DRIFT = 0.04;         // seconds by which the clock of the file may differ before it is believed

// ---- the clock

void sound_make_continuous(std::vector<STORED_PACKET>* packets, AVRational tick, int rate, bool breaks) {
    const int64_t allowed = std::max<int64_t>(int64_t(DRIFT * rate), 2 * av_rescale_q(1, tick, {1, rate}) + 1);
    int64_t expected = 0;
    bool first = true;
    for (STORED_PACKET& p : *packets) {
        const int64_t time = p.pts != AV_NOPTS_VALUE ? p.pts : p.dts;
        p.dts = time;  // for seeking
        if (time != AV_NOPTS_VALUE) {
            const int64_t at =
                std::clamp<int64_t>(av_rescale_q(time, tick, {1, rate}), -(int64_t{1} << 60), int64_t{1} << 60);
            const int64_t off = at - expected;
            const bool broken = breaks && (off > BREAK_SECONDS * rate || -off > rate / 5);
            if (first || ((off > allowed || -off > allowed) && !broken)) expected = at;
        }
        first = false;
        p.pts = expected;
        expected += p.length;
    }
}

SOUND_RANGE sound_range(const PACKET_INDEX& index) {
    SOUND_RANGE range = {0, 0};
    if (index.sounds.empty()) return range;
    range.begin = INT64_MAX;
    range.end = INT64_MIN;
    for (const STORED_PACKET& p : index.sounds) {
        if (p.length == 0) continue;
        range.begin = std::min(range.begin, p.pts);
        range.end = std::max(range.end, p.pts + p.length);
    }
    if (range.begin > range.end) return {0, 0};
    // Hidden stretches at the two ends; there are few.
    for (const SOUND_RANGE& h : index.hidden) {
        if (h.begin <= range.begin && h.end > range.begin) range.begin = std::min(h.end, range.end);
    }
    for (auto h = index.hidden.rbegin(); h != index.hidden.rend(); ++h) {
        if (h->end >= range.end && h->begin < range.end) range.end = std::max(h->begin, range.begin);
    }
    return range;
}

bool sound_open(SOUND_SIDE* side, const AVStream* stream) {
    const AVCodecParameters* parameters = stream->codecpar;
    if (parameters->sample_rate < 1 || parameters->sample_rate > 768000 || parameters->ch_layout.nb_channels < 1)
        return false;
    side->parameters.reset(avcodec_parameters_alloc());
    if (!side->parameters || avcodec_parameters_copy(side->parameters.get(), parameters) < 0) return false;
    side->rate = parameters->sample_rate;
    side->channels = std::min(parameters->ch_layout.nb_channels, 2);
    return avcodec_find_decoder(parameters->codec_id) != nullptr;
}

// ---- one stretch

/// What decodes one stretch: first sample of it on the stream's clock, and its samples.
struct SOUND_JOB {
    SOUND_SIDE* side;
    AV_CODEC_PTR codec;
    AV_RESAMPLER_PTR resampler;
    AVChannelLayout layout = {};
    AV_FRAME_PTR frame;
    int format = -1, rate = 0;
    int64_t at = 0;  // where the next decoded sample goes
    int64_t begin = 0, end = 0;
    int16_t* pcm = nullptr;

    ~SOUND_JOB() { av_channel_layout_uninit(&layout); }
};

static bool job_open(SOUND_JOB* job) {
    const AVCodec* kind = avcodec_find_decoder(job->side->parameters->codec_id);
    job->codec.reset(avcodec_alloc_context3(kind));
    job->frame.reset(av_frame_alloc());
    if (!job->codec || !job->frame) return false;
    if (avcodec_parameters_to_context(job->codec.get(), job->side->parameters.get()) < 0) return false;
    job->codec->thread_count = 1;
    job->codec->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;  // what is hidden was settled when the file was listed
    job->codec->pkt_timebase = {1, job->side->rate};
    return avcodec_open2(job->codec.get(), kind, nullptr) >= 0;
}

/// A converter for what the decoder gives now.
static bool job_resampler(SOUND_JOB* job) {
    const AVFrame* f = job->frame.get();
    if (f->ch_layout.nb_channels < 1 || f->sample_rate < 1) return false;
    if (job->resampler && job->format == f->format && job->rate == f->sample_rate &&
        av_channel_layout_compare(&job->layout, &f->ch_layout) == 0)
        return true;
    AVChannelLayout in = {}, out = {};
    if (f->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&in, f->ch_layout.nb_channels);
    else if (av_channel_layout_copy(&in, &f->ch_layout) < 0)
        return false;
    av_channel_layout_default(&out, job->side->channels);
    SwrContext* made = nullptr;
    const int result = swr_alloc_set_opts2(&made, &out, AV_SAMPLE_FMT_S16, job->side->rate, &in,
                                           AVSampleFormat(f->format), f->sample_rate, 0, nullptr);
    av_channel_layout_uninit(&in);
    job->resampler.reset(made);
    job->format = f->format;
    job->rate = f->sample_rate;
    return result >= 0 && av_channel_layout_copy(&job->layout, &f->ch_layout) >= 0 && swr_init(made) >= 0;
}

/// Copies n samples that begin at job->at as far as they lie in the stretch.
static void job_put(SOUND_JOB* job, const int16_t* samples, int64_t n) {
    const int64_t from = std::max(job->at, job->begin), to = std::min(job->at + n, job->end);
    const int channels = job->side->channels;
    if (from < to)
        std::memcpy(job->pcm + (from - job->begin) * channels, samples + (from - job->at) * channels,
                    size_t(to - from) * size_t(channels) * sizeof(int16_t));
    job->at += n;
}

static void job_take(SOUND_JOB* job) {
    const AVFrame* f = job->frame.get();
    if (f->pts != AV_NOPTS_VALUE) job->at = f->pts;
    if (!job_resampler(job)) return;
    const int room = swr_get_out_samples(job->resampler.get(), f->nb_samples);
    if (room <= 0) return;
    std::vector<int16_t> out(size_t(room) * size_t(job->side->channels));
    uint8_t* target = reinterpret_cast<uint8_t*>(out.data());
    const int n =
        swr_convert(job->resampler.get(), &target, room, const_cast<const uint8_t**>(f->extended_data), f->nb_samples);
    if (n > 0) job_put(job, out.data(), n);
}

static void job_decode(SOUND_JOB* job, const AVPacket* packet) {
    avcodec_send_packet(job->codec.get(), packet);
    while (avcodec_receive_frame(job->codec.get(), job->frame.get()) >= 0) job_take(job);
}

static void hide(const SOUND_SIDE& side, const SOUND_JOB& job) {
    for (const SOUND_RANGE& h : side.hidden) {
        const int64_t from = std::max(h.begin, job.begin), to = std::min(h.end, job.end);
        if (from < to)
            std::fill_n(job.pcm + (from - job.begin) * side.channels, (to - from) * side.channels, int16_t{0});
    }
}

/// Packets first .. last - 1 hold the stretch.
static void job_range(const SOUND_JOB& job, size_t* first, size_t* last) {
    const std::vector<STORED_PACKET>& list = *job.side->reader.list;
    size_t i = 0;
    while (i < list.size() && list[i].pts + list[i].length <= job.begin) ++i;
    *first = i;
    while (i < list.size() && list[i].pts < job.end) ++i;
    *last = i;
}

static void job_run(SOUND_JOB* job) {
    SOUND_SIDE* side = job->side;
    const std::vector<STORED_PACKET>& list = *side->reader.list;
    size_t first, last;
    job_range(*job, &first, &last);
    if (first == last || !job_open(job)) return;
    first -= std::min(first, PREROLL);
    // Packets at one position look alike; the first of them is found for certain.
    while (first > 0 && list[first].pos >= 0 && list[first].pos == list[first - 1].pos) --first;
    if (!packet_reader_go(&side->reader, first)) return;
    last = std::min(last + BEHIND_MAX, list.size());
    const AV_PACKET_PTR packet(av_packet_alloc());
    for (int lost = 0; packet && side->reader.next < last && job->at < job->end;) {
        const size_t number = side->reader.next;
        if (!packet_reader_read(&side->reader, packet.get())) {
            if (lost++ || !packet_reader_go(&side->reader, number)) break;
            continue;
        }
        packet->pts = list[number].pts;
        packet->dts = AV_NOPTS_VALUE;
        packet->duration = 0;
        job_decode(job, packet.get());
    }
    job_decode(job, nullptr);
}

static bool stretch_decode(SOUND_SIDE* side, int64_t number, std::vector<int16_t>* pcm) {
    const int64_t length = STRETCH_SECONDS * side->rate;
    pcm->assign(size_t(length) * size_t(side->channels), 0);
    SOUND_JOB job;
    job.side = side;
    job.begin = side->origin + number * length;
    job.end = job.begin + length;
    job.pcm = pcm->data();
    job.at = INT64_MIN / 2;
    job_run(&job);
    hide(*side, job);
    return true;
}

/// The samples of a stretch; two are kept, as a read may lie on a border.
static const int16_t* stretch(SOUND_SIDE* side, int64_t number) {
    for (int i = 0; i < 2; ++i)
        if (side->stretch[i] == number) return side->pcm[side->latest = i].data();
    const int i = side->latest = 1 - side->latest;
    side->stretch[i] = -1;
    stretch_decode(side, number, &side->pcm[i]);
    side->stretch[i] = number;
    return side->pcm[i].data();
}

int64_t sound_read(SOUND_SIDE* side, int64_t start, int64_t count, int16_t* out) {
    const int64_t length = STRETCH_SECONDS * side->rate;
    int64_t done = 0;
    while (done < count) {
        const int64_t number = (start + done) / length, from = (start + done) % length;
        const int64_t n = std::min(length - from, count - done);
        const int16_t* samples = stretch(side, number) + from * side->channels;
        std::memcpy(out + done * side->channels, samples, size_t(n * side->channels) * sizeof(int16_t));
        done += n;
    }
    return done;
}
