#include <algorithm>
#include <cstring>

#include "platform/ffmpeg/container_state.h"

static constexpr size_t PICTURES_MAX = 1 << 24;  // what a frame number of the program can say
static constexpr size_t SOUNDS_MAX = 1 << 26;
static constexpr size_t PROGRESS_EVERY = 512;
static constexpr int EMPTY_VOP = 8;  // an MPEG-4 picture that says "as before", for which a decoder gives nothing
static constexpr size_t HASH_HEAD = 64, HASH_TAIL = 32;

uint32_t packet_hash(const AVPacket* packet) {
    uint32_t hash = 2166136261u;
    const auto take = [&](const uint8_t* bytes, size_t n) {
        for (size_t i = 0; i < n; ++i) hash = (hash ^ bytes[i]) * 16777619u;
    };
    const size_t size = size_t(std::max(packet->size, 0)), head = std::min(size, HASH_HEAD);
    const size_t tail = std::min(size - head, HASH_TAIL);
    take(packet->data, head);
    take(packet->data + size - tail, tail);
    return hash;
}

/// What one stream needs on the way.
struct LANE {
    AVStream* stream = nullptr;
    AV_BSF_PTR filter;
    AV_PARSER_PTR parser;
    AV_CODEC_PTR parser_codec;
    bool field_open = false;  // the packet before was a first field
    int field = 0;
    bool matroska = false;
    AV_CODEC_PTR counter;
    AV_FRAME_PTR counted;
    uint32_t delay_seen = 0;
};

static bool wants_parser(AVCodecID codec) {
    switch (codec) {
        case AV_CODEC_ID_H264:
        case AV_CODEC_ID_HEVC:
        case AV_CODEC_ID_MPEG4:
        case AV_CODEC_ID_MPEG1VIDEO:
        case AV_CODEC_ID_MPEG2VIDEO:
        case AV_CODEC_ID_OPUS:
        case AV_CODEC_ID_VORBIS:
        case AV_CODEC_ID_FLAC: return true;
        default: return false;
    }
}

static LANE lane_make(MEDIA_FILE* file, int number) {
    LANE lane;
    lane.stream = media_file_stream(file, number);
    lane.matroska = av_match_name("matroska", file->format->iformat->name) != 0;
    if (!lane.stream || file->skim) return lane;
    const AVCodecParameters* parameters = lane.stream->codecpar;
    lane.filter = media_file_filter(lane.stream);
    if (!wants_parser(parameters->codec_id)) return lane;
    lane.parser.reset(av_parser_init(parameters->codec_id));
    lane.parser_codec.reset(avcodec_alloc_context3(nullptr));
    if (lane.parser) lane.parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    if (!lane.parser_codec || avcodec_parameters_to_context(lane.parser_codec.get(), parameters) < 0)
        lane.parser.reset();
    return lane;
}

static void lane_parse(LANE* lane, const AVPacket* packet) {
    uint8_t* out;
    int out_size;
    lane->parser->duration = 0;
    lane->parser->pict_type = AV_PICTURE_TYPE_NONE;
    av_parser_parse2(lane->parser.get(), lane->parser_codec.get(), &out, &out_size, packet->data, packet->size,
                     packet->pts, packet->dts, packet->pos);
}

// ---- pictures

/// closed_gop of the GOP header that a key frame of MPEG-1 and MPEG-2 begins with.
static bool gop_is_closed(const AVPacket* packet) {
    const int n = std::min(packet->size, 512) - 8;
    for (int i = 0; i < n; ++i) {
        const uint8_t* p = packet->data + i;
        if (p[0] == 0 && p[1] == 0 && p[2] == 1 && p[3] == 0xB8) return (p[7] & 0x40) != 0;
    }
    return false;
}

/// A packet with the second field of a picture gives no picture of its own.
static bool is_second_field(LANE* lane) {
    const int structure = lane->parser->picture_structure;
    const bool field = structure == AV_PICTURE_STRUCTURE_TOP_FIELD || structure == AV_PICTURE_STRUCTURE_BOTTOM_FIELD;
    const bool second = field && lane->field_open && structure != lane->field;
    lane->field_open = field && !second;
    lane->field = structure;
    return second;
}

static void picture_parse(LANE* lane, const AVPacket* packet, STORED_PACKET* entry) {
    const AVCodecID codec = lane->stream->codecpar->codec_id;
    lane_parse(lane, packet);
    if (lane->parser->pict_type == AV_PICTURE_TYPE_B) entry->flags |= PACKET_B;
    if (codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC) {
        entry->flags |= PACKET_ORDERED;
        entry->order = lane->parser->output_picture_number;
        const int kind = lane->parser->pict_type;
        const bool whole = kind == AV_PICTURE_TYPE_I || kind == AV_PICTURE_TYPE_NONE;
        if ((entry->flags & PACKET_KEY) && !whole) entry->flags |= PACKET_REFRESH;
    }
    const bool key = (entry->flags & PACKET_KEY) != 0, b = (entry->flags & PACKET_B) != 0;
    if (codec == AV_CODEC_ID_MPEG4 && !key && !b && packet->size <= EMPTY_VOP) entry->flags |= PACKET_HIDDEN;
    if (codec == AV_CODEC_ID_H264 && is_second_field(lane)) entry->flags |= PACKET_HIDDEN;
}

static uint32_t flags_of(const LANE& lane, const AVPacket* packet, bool skim) {
    const AVCodecID codec = lane.stream->codecpar->codec_id;
    uint32_t flags = packet->flags & AV_PKT_FLAG_KEY ? uint32_t{PACKET_KEY} : 0;
    if (packet->flags & AV_PKT_FLAG_DISCARD) flags |= PACKET_HIDDEN;
    if (skim) return flags;
    flags |= PACKET_HASHED;
    // VP8 stores pictures that are only referred to; bit 4 is show_frame.
    if (codec == AV_CODEC_ID_VP8 && packet->size > 0 && !(packet->data[0] & 0x10)) flags |= PACKET_HIDDEN;
    const bool mpeg = codec == AV_CODEC_ID_MPEG1VIDEO || codec == AV_CODEC_ID_MPEG2VIDEO;
    if (mpeg && (flags & PACKET_KEY) && gop_is_closed(packet)) flags |= PACKET_CLOSED;
    return flags;
}

static STORED_PACKET entry_of(const LANE& lane, const AVPacket* packet, bool skim) {
    STORED_PACKET entry = {};
    entry.pos = packet->pos;
    entry.pts = packet->pts;
    entry.dts = packet->dts;
    entry.length = int32_t(std::clamp<int64_t>(packet->duration, 0, INT32_MAX));
    entry.size = uint32_t(std::max(packet->size, 0));
    entry.hash = skim ? 0 : packet_hash(packet);
    entry.flags = flags_of(lane, packet, skim);
    return entry;
}

static void picture_add(LANE* lane, const AVPacket* packet, bool skim, PACKET_INDEX* index) {
    STORED_PACKET entry = entry_of(*lane, packet, skim);
    if (lane->parser) picture_parse(lane, packet, &entry);
    index->pictures.push_back(entry);
}

// ---- sound

static uint32_t word_at(const uint8_t* p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

/// Codecs whose packets do not tell how many samples they give: these are decoded once to count them.
static bool wants_counting(AVCodecID codec) {
    switch (codec) {
        case AV_CODEC_ID_VORBIS:
        case AV_CODEC_ID_WMAV1:
        case AV_CODEC_ID_WMAV2:
        case AV_CODEC_ID_WMAPRO:
        case AV_CODEC_ID_WMAVOICE:
        case AV_CODEC_ID_WMALOSSLESS:
        case AV_CODEC_ID_COOK:
        case AV_CODEC_ID_RA_144:
        case AV_CODEC_ID_RA_288:
        case AV_CODEC_ID_SIPR:
        case AV_CODEC_ID_QDM2:
        case AV_CODEC_ID_QDMC:
        case AV_CODEC_ID_NELLYMOSER:
        case AV_CODEC_ID_APE:
        case AV_CODEC_ID_SPEEX:
        case AV_CODEC_ID_MUSEPACK7:
        case AV_CODEC_ID_MUSEPACK8: return true;
        default: return false;
    }
}

static void counter_open(LANE* lane) {
    const AVCodecParameters* parameters = lane->stream->codecpar;
    const AVCodec* kind = avcodec_find_decoder(parameters->codec_id);
    lane->counter.reset(kind ? avcodec_alloc_context3(kind) : nullptr);
    lane->counted.reset(av_frame_alloc());
    if (!lane->counter || !lane->counted) return;
    lane->counter->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
    if (avcodec_parameters_to_context(lane->counter.get(), parameters) < 0 ||
        avcodec_open2(lane->counter.get(), kind, nullptr) < 0)
        lane->counter.reset();
}

/// Samples of a packet, or (null) of what the decoder still holds. What the decoder itself counts as its delay goes to
/// delay_seen.
static int32_t count_samples(LANE* lane, const AVPacket* packet) {
    int64_t n = 0;
    const AVFrame* frame = lane->counted.get();
    avcodec_send_packet(lane->counter.get(), packet);
    while (avcodec_receive_frame(lane->counter.get(), lane->counted.get()) >= 0) {
        n += frame->nb_samples;
        const AVFrameSideData* skip = av_frame_get_side_data(frame, AV_FRAME_DATA_SKIP_SAMPLES);
        if (skip && skip->size >= 4) lane->delay_seen = std::max(lane->delay_seen, word_at(skip->data));
    }
    return int32_t(std::min<int64_t>(n, INT32_MAX));
}

/// Samples that a packet decodes to: exact where the clock of the stream is, else by the codec's rules. cut: the file
/// takes some of them away, and its own length may or may not include them.
static int32_t samples_of(LANE* lane, const AVPacket* packet, bool cut) {
    AVCodecParameters* parameters = lane->stream->codecpar;
    if (lane->counter) return count_samples(lane, packet);
    const AVRational tick = lane->stream->time_base;
    const int64_t rate = parameters->sample_rate;
    const int64_t length = std::clamp<int64_t>(packet->duration, 0, INT32_MAX);
    const bool fine = tick.den >= rate * tick.num;
    if (!cut && fine && length > 0 && length * rate % tick.den == 0 && length * rate / tick.den * tick.num <= INT32_MAX)
        return int32_t(length * rate / tick.den * tick.num);
    if (lane->parser) {
        lane_parse(lane, packet);
        if (lane->parser->duration > 0) return lane->parser->duration;
    }
    const int by_codec = av_get_audio_frame_duration2(parameters, packet->size);
    if (by_codec > 0) return by_codec;
    return int32_t(std::clamp<int64_t>(av_rescale_q(length, tick, {1, int(rate)}), 0, INT32_MAX));
}

/// Samples that the encoder added, in front of a packet's others and behind them. Begins and ends are noted relative
/// to the packet (its number in `order`), until the samples are counted.
struct SOUND_SKIP {
    size_t packet;
    uint32_t front, back;
};

/// What the encoder put in front, where no packet says it: in the head of Opus, and in Matroska.
static uint32_t delay_of(const LANE& lane) {
    const AVCodecParameters* parameters = lane.stream->codecpar;
    if (parameters->codec_id == AV_CODEC_ID_OPUS && parameters->extradata_size >= 12)
        return uint32_t(parameters->extradata[10] | parameters->extradata[11] << 8);
    return lane.matroska ? uint32_t(std::max(parameters->initial_padding, 0)) : 0;
}

static void sound_add(LANE* lane, const AVPacket* packet, bool skim, PACKET_INDEX* index,
                      std::vector<SOUND_SKIP>* skips) {
    if (index->sounds.empty() && !skim && wants_counting(lane->stream->codecpar->codec_id)) counter_open(lane);
    size_t n = 0;
    const uint8_t* skip = av_packet_get_side_data(packet, AV_PKT_DATA_SKIP_SAMPLES, &n);
    SOUND_SKIP cut = {index->sounds.size(), 0, 0};
    if (skip && n >= 10) cut = {cut.packet, word_at(skip), word_at(skip + 4)};
    if (index->sounds.empty() && cut.front == 0) cut.front = delay_of(*lane);
    if (cut.front || cut.back) skips->push_back(cut);
    STORED_PACKET entry = entry_of(*lane, packet, skim);
    entry.length = samples_of(lane, packet, cut.back > 0);
    index->sounds.push_back(entry);
}

static void sound_hide(const std::vector<SOUND_SKIP>& skips, PACKET_INDEX* index) {
    for (const STORED_PACKET& entry : index->sounds)
        if (entry.flags & PACKET_HIDDEN) index->hidden.push_back({entry.pts, entry.pts + entry.length});
    for (const SOUND_SKIP& skip : skips) {
        const STORED_PACKET& entry = index->sounds[skip.packet];
        const int64_t end = entry.pts + entry.length;
        if (skip.front) index->hidden.push_back({entry.pts, entry.pts + skip.front});
        if (skip.back) index->hidden.push_back({end - std::min<int64_t>(skip.back, entry.length), end});
    }
}

// ---- the walk

/// Both lanes and where they go.
struct SCAN {
    LANE picture, sound;
    PACKET_INDEX* index;
    std::vector<SOUND_SKIP> skips;
    bool skim;
};

static void picture_filtered(SCAN* scan, AVPacket* packet) {
    LANE& lane = scan->picture;
    if (!lane.filter) {
        picture_add(&lane, packet, scan->skim, scan->index);
        return;
    }
    if (av_bsf_send_packet(lane.filter.get(), packet->data ? packet : nullptr) < 0) return;
    while (av_bsf_receive_packet(lane.filter.get(), packet) >= 0) {
        picture_add(&lane, packet, false, scan->index);
        av_packet_unref(packet);
    }
}

static bool is_full(const PACKET_INDEX& index) {
    return index.pictures.size() >= PICTURES_MAX || index.sounds.size() >= SOUNDS_MAX;
}

static bool walk(MEDIA_FILE* file, const CONTAINER_OPTIONS& options, SCAN* scan) {
    const AV_PACKET_PTR packet(av_packet_alloc());
    if (!packet) return false;
    for (size_t n = 0; !is_full(*scan->index) && media_file_read(file, packet.get()); ++n) {
        if (packet->stream_index == scan->index->picture)
            picture_filtered(scan, packet.get());
        else if (packet->stream_index == scan->index->sound)
            sound_add(&scan->sound, packet.get(), scan->skim, scan->index, &scan->skips);
        if (n % PROGRESS_EVERY == PROGRESS_EVERY - 1 && options.progress &&
            options.progress(double(file->position) / double(file->size), options.data))
            return false;
    }
    av_packet_unref(packet.get());
    if (scan->picture.filter) picture_filtered(scan, packet.get());
    return true;
}

/// What the counting decoder holds at the end belongs to the last packet; its delay, seen by now, to the first.
static void counter_finish(SCAN* scan) {
    LANE& lane = scan->sound;
    if (!lane.counter || scan->index->sounds.empty()) return;
    scan->index->sounds.back().length += count_samples(&lane, nullptr);
    const bool told = !scan->skips.empty() && scan->skips.front().packet == 0 && scan->skips.front().front > 0;
    if (lane.delay_seen && !told) scan->skips.insert(scan->skips.begin(), {0, lane.delay_seen, 0});
}

bool container_scan_packets(MEDIA_FILE* file, const CONTAINER_OPTIONS& options, PACKET_INDEX* index) {
    SCAN scan = {lane_make(file, index->picture), lane_make(file, index->sound), index, {}, file->skim};
    media_file_select(file, index->picture, index->sound);
    media_file_set_budget(file);
    const bool done = walk(file, options, &scan);
    file->budget = BUDGET_FREE;
    if (!done) return false;
    counter_finish(&scan);
    if (scan.sound.stream) {
        const AVStream* stream = scan.sound.stream;
        sound_make_continuous(&index->sounds, stream->time_base, stream->codecpar->sample_rate,
                              media_file_breaks(file));
        sound_hide(scan.skips, index);
    }
    return !index->pictures.empty() || !index->sounds.empty();
}
