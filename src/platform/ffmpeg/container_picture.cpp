#include <algorithm>
#include <cstring>

#include "platform/ffmpeg/container_state.h"

extern "C" {
#include <libavutil/display.h>
#include <libavutil/pixdesc.h>
}

static constexpr size_t BEHIND_MAX = 128;  // packets fed behind the wanted one before it counts as lost
static constexpr int KEYS_MAX = 4;         // key frames tried one after the other, before the first of all
static constexpr int LOST_MAX = 2;         // how often the place in the file may be found anew for one picture

int picture_turn_of(const AVStream* stream) {
    size_t size = 0;
    const uint8_t* data = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (!data || size < 9 * sizeof(int32_t)) return 0;
    int32_t m[9];
    std::memcpy(m, data, sizeof m);
    // x' = m0 x + m3 y, y' = m1 x + m4 y; only quarter turns and mirrors are followed.
    if (m[0] == 0 && m[4] == 0 && m[1] && m[3])
        return TURN_SWAP | (m[3] < 0 ? TURN_FLIP_X : 0) | (m[1] < 0 ? TURN_FLIP_Y : 0);
    if (m[1] == 0 && m[3] == 0 && m[0] && m[4]) return (m[0] < 0 ? TURN_FLIP_X : 0) | (m[4] < 0 ? TURN_FLIP_Y : 0);
    return 0;
}

bool picture_open(PICTURE_SIDE* side, const AVStream* stream, const CONTAINER_OPTIONS& options) {
    const AVCodec* kind = avcodec_find_decoder(stream->codecpar->codec_id);
    if (!kind) return false;
    side->codec.reset(avcodec_alloc_context3(kind));
    side->step = options.step;
    side->now.reset(av_frame_alloc());
    side->later.reset(av_frame_alloc());
    side->scratch.reset(av_frame_alloc());
    AVCodecContext* codec = side->codec.get();
    if (!codec || !side->now || !side->later || !side->scratch) return false;
    if (avcodec_parameters_to_context(codec, stream->codecpar) < 0) return false;
    // The order of display is known from the list; a decoder that had to find out would lose pictures on the way.
    codec->has_b_frames = std::max(codec->has_b_frames, side->timeline.delay);
    codec->thread_count = options.threads;
    codec->max_pixels = media_pixel_limit(options);
    codec->pkt_timebase = {1, 1};
    return avcodec_open2(codec, kind, nullptr) >= 0;
}

static bool start_at(PICTURE_SIDE* side, size_t key) {
    avcodec_flush_buffers(side->codec.get());
    side->now_place = side->later_place = -1;
    side->drained = false;
    side->floor = side->timeline.floors[key];
    side->start = key;
    return packet_reader_go(&side->reader, side->timeline.keys[key]);
}

/// Gives the decoder its next packet, with the place as its time. At the end of the file it is told so.
static void feed(PICTURE_SIDE* side, int* lost) {
    AVPacket* packet = side->reader.pending.get();
    const size_t number = side->reader.next;
    if (!packet_reader_read(&side->reader, packet)) {
        const bool misplaced = side->reader.lost && number < side->reader.list->size();
        if (misplaced && ++*lost <= LOST_MAX && packet_reader_go(&side->reader, number)) return;
        avcodec_send_packet(side->codec.get(), nullptr);
        side->drained = true;
        return;
    }
    packet->pts = side->timeline.place[number];
    packet->dts = AV_NOPTS_VALUE;
    packet->duration = 0;
    avcodec_send_packet(side->codec.get(), packet);  // a damaged one gives no picture, and that is all
    av_packet_unref(packet);
}

/// Takes a picture out of the decoder into scratch. Its place, -1 for none.
static int32_t receive(PICTURE_SIDE* side, bool* more) {
    const int result = avcodec_receive_frame(side->codec.get(), side->scratch.get());
    *more = result >= 0;
    if (result < 0) return -1;
    const int64_t place = side->scratch->pts;
    return place >= side->floor && place < int64_t(side->timeline.shown.size()) ? int32_t(place) : -1;
}

/// Whether `now` is what is shown at a place as far as has been decoded.
static bool covers(const PICTURE_SIDE& side, int32_t place) {
    return side.now_place >= 0 && side.now_place <= place &&
           (side.now_place == place || (side.later_place >= 0 && place < side.later_place));
}

static void take_later(PICTURE_SIDE* side) {
    std::swap(side->now, side->later);
    side->now_place = side->later_place;
    side->later_place = -1;
}

/// Decodes on until `now` covers the place, or the decoder has had what it needs for it and gave nothing.
static void decode_on(PICTURE_SIDE* side, int32_t place) {
    const size_t packet = side->timeline.shown[size_t(place)].packet;
    const size_t enough = packet + BEHIND_MAX + size_t(std::max(side->codec->thread_count, 0));
    if (side->later_place >= 0 && side->later_place <= place) take_later(side);
    int lost = 0;
    while (!covers(*side, place) && side->later_place < 0) {
        bool more;
        const int32_t got = receive(side, &more);
        if (got >= 0 && got > side->now_place) {
            std::swap(got <= place ? side->now : side->later, side->scratch);
            (got <= place ? side->now_place : side->later_place) = got;
        } else if (got < 0 && !more) {
            if (side->drained || side->reader.next > enough) return;
            feed(side, &lost);
            if (side->step) side->step();
        }
    }
}

static size_t key_for(const TIMELINE& t, int32_t place) {
    const auto behind = std::upper_bound(t.floors.begin(), t.floors.end(), place);
    return size_t(std::max<ptrdiff_t>(behind - t.floors.begin() - 1, 0));
}

/// Decodes to the place from a key frame. A start that gives nothing up to the place (an intra refresh on its way) is
/// no start: the one before is taken.
static bool decode_from_key(PICTURE_SIDE* side, size_t key, int32_t place) {
    for (int tries = 0;; key = ++tries < KEYS_MAX ? key - 1 : 0) {
        if (start_at(side, key)) decode_on(side, place);
        if (side->now_place >= 0) return true;
        if (key == 0) break;
    }
    if (side->later_place < 0) return false;
    take_later(side);  // nothing in front of it can be decoded: the first good picture stands in
    return true;
}

bool picture_decode(PICTURE_SIDE* side, int32_t place) {
    if (covers(*side, place)) return true;
    const TIMELINE& t = side->timeline;
    const bool ahead = side->now_place >= 0 && place > side->now_place;
    const bool in_order = ahead && (place == side->now_place + 1 || place == side->later_place);
    const size_t key = key_for(t, place);
    bool found = true;
    if (ahead && (in_order || t.keys[key] <= side->reader.next))
        decode_on(side, place);
    else
        found = decode_from_key(side, key, place);
    // A decoder may lose a picture near its start for want of what lay in front of it; so one that is missing is
    // believed to be missing only when the decoder was started a key frame earlier.
    if (found && side->now_place != place && side->start >= key && key > 0)
        found = decode_from_key(side, key - 1, place);
    return found;
}
