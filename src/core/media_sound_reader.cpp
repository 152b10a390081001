#include "core/media_sound_reader.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <unordered_map>
#include <vector>

#include "core/audio_conv.h"
#include "core/edit_state.h"
#include "platform/audio_codec.h"
#include "platform/handle.h"
#include "readers/input_table.h"

static constexpr int FEED_BYTES = 1024;        // of a byte stream or of blocks, at a time
static constexpr int64_t RUN_UP = 64;          // stored samples in front of a jump that settle a rate change
static constexpr int64_t PACKET_GUESS = 2048;  // samples of a packet where nobody knows
static constexpr int INEXACT_SECONDS = 10;     // after which a rate change of rounded rates is aligned anew

/// Tags whose bytes are a stream of packets that no block size cuts.
static constexpr uint16_t STREAM_TAGS[] = {0x50, 0x55, 0x2000, 0x2001, 0x1600, 0x1602};

struct SOUND_READER {
    int64_t end = -1;    // stored samples, -1 = not counted yet
    int64_t next = -1;   // delivered sample that the next call goes on with, -1 = none
    int64_t origin = 0;  // delivered sample of the last jump
    int64_t drop = 0;    // delivered samples still to be dropped
    int unit = 0;        // next stored block
    bool failed = false;
    std::vector<uint8_t> kept;  // delivered bytes, from `kept_at` on
    size_t kept_at = 0;
    std::vector<uint8_t> stored;
};

/// A stored block and the first sample that decoding from there on gives.
struct SOUND_PLACE {
    int unit;
    int64_t sample;
};

/// What the mapping goes by.
struct SOUND_SHAPE {
    WAVEFORMATEX format;  // stored
    bool variable, stream;
    int packet;   // samples, 0 = unknown
    int preroll;  // packets
    int length;   // stored blocks
};

static std::unordered_map<const MEDIA_RECORD*, std::unique_ptr<SOUND_READER>> readers;

static SOUND_READER& reader_of(const MEDIA_RECORD* source) {
    std::unique_ptr<SOUND_READER>& reader = readers[source];
    if (!reader) reader = std::make_unique<SOUND_READER>();
    return *reader;
}

static INPUT_HANDLE* handle_of(const MEDIA_RECORD* source) {
    return static_cast<INPUT_HANDLE*>(handle_get(source->media_handle));
}

void media_sound_close(const MEDIA_RECORD* source) { readers.erase(source); }

bool media_sound_by_position(const MEDIA_RECORD* source) {
    return (source->media_flag & MEDIA_CONVERTER_OPEN) && audio_conv_codec(&source->converter);
}

static int stored_length(const MEDIA_RECORD* source) {
    return int(std::min<uint32_t>(source->audio_stream.dwLength, INT32_MAX));
}

static SOUND_SHAPE shape_of(const MEDIA_RECORD* source) {
    SOUND_SHAPE shape{};
    shape.format = audio_format_head({source->audio_format, size_t(source->audio_format_size)});
    shape.variable = source->media_flag & MEDIA_VARIABLE_AUDIO;
    shape.stream =
        std::find(std::begin(STREAM_TAGS), std::end(STREAM_TAGS), shape.format.wFormatTag) != std::end(STREAM_TAGS);
    const AUDIO_CODEC_STREAM* codec = audio_conv_codec(&source->converter);
    shape.packet = audio_codec_packet_samples(codec);
    shape.preroll = audio_codec_preroll(codec);
    shape.length = stored_length(source);
    return shape;
}

static uint32_t delivered_rate(const MEDIA_RECORD* source) {
    return audio_format_head({source->converter.target_format, sizeof(WAVEFORMATEX)}).nSamplesPerSec;
}

// ---- where sound is stored

static int position_at(const MEDIA_RECORD* source, int64_t sample) {
    return input_audio_position(handle_of(source), int32_t(std::clamp<int64_t>(sample, 0, INT32_MAX)));
}

/// The first sample that is not stored in front of a block, for variable blocks; positions never fall.
static int64_t first_sample_of(const MEDIA_RECORD* source, int unit, int64_t below) {
    int64_t low = 0, high = below;
    while (low < high) {
        const int64_t middle = low + (high - low) / 2;
        if (position_at(source, middle) >= unit)
            high = middle;
        else
            low = middle + 1;
    }
    return low;
}

static SOUND_PLACE variable_place(const MEDIA_RECORD* source, int64_t sample, int packets_before) {
    SOUND_PLACE place{};
    for (;;) {
        place.unit = position_at(source, sample);
        place.sample = first_sample_of(source, place.unit, sample);
        if (place.sample == 0 || packets_before-- <= 0) return place;
        sample = place.sample - 1;
    }
}

/// Blocks of a stored format that lie in front of a time, by its bytes a second.
static double blocks_in(const SOUND_SHAPE& shape, double samples) {
    return samples * shape.format.nAvgBytesPerSec / (double(shape.format.nSamplesPerSec) * shape.format.nBlockAlign);
}
static double samples_in(const SOUND_SHAPE& shape, double blocks) {
    return blocks * shape.format.nBlockAlign * shape.format.nSamplesPerSec / shape.format.nAvgBytesPerSec;
}

/// In a byte stream: half a packet early, so that the packet found first is the one meant, though packets of a constant
/// bit rate differ by a byte.
static SOUND_PLACE stream_place(const SOUND_SHAPE& shape, int64_t sample) {
    const int64_t packet = sample / shape.packet - shape.preroll;
    if (packet <= 0) return {0, 0};
    return {int(blocks_in(shape, (double(packet) - 0.5) * shape.packet)), packet * shape.packet};
}

static SOUND_PLACE timed_place(const SOUND_SHAPE& shape, int64_t sample) {
    const int64_t from = std::max<int64_t>(sample - (shape.stream ? shape.preroll * PACKET_GUESS : 0), 0);
    const int unit = std::max(int(blocks_in(shape, double(from))) - (shape.stream ? 0 : shape.preroll), 0);
    return {unit, std::min(int64_t(samples_in(shape, unit)), sample)};
}

static SOUND_PLACE place_of(const MEDIA_RECORD* source, const SOUND_SHAPE& shape, int64_t sample) {
    if (shape.variable) return variable_place(source, sample, shape.preroll);
    if (shape.packet == 0) return timed_place(shape, sample);
    if (shape.stream) return stream_place(shape, sample);
    const int64_t block = std::max<int64_t>(sample / shape.packet - shape.preroll, 0);
    return {int(std::min<int64_t>(block, shape.length)), block * shape.packet};
}

static int64_t stored_samples(const MEDIA_RECORD* source, const SOUND_SHAPE& shape) {
    if (shape.variable) return first_sample_of(source, shape.length, INT32_MAX);
    if (shape.packet && !shape.stream) return int64_t{shape.length} * shape.packet;
    return int64_t(std::min(samples_in(shape, shape.length), 9e15));
}

/// Bytes of the packet that begins at `unit`, as the reader divides its sound; 0 when it does not.
static int packet_size(const MEDIA_RECORD* source, int unit) {
    return std::max(position_at(source, first_sample_of(source, unit + 1, INT32_MAX)) - unit, 0);
}

int media_sound_packet_size(const MEDIA_RECORD* source, int position) {
    const int left = stored_length(source) - position;
    if (left <= 0) return 0;
    const int size = packet_size(source, position);
    return size > 0 ? std::min(size, left) : left;
}

SOUND_PACKETS media_sound_packets(const MEDIA_RECORD* source) {
    SOUND_PACKETS packets{};
    const int length = stored_length(source);
    for (int unit = 0; unit < length; ++packets.n) {
        const int size = media_sound_packet_size(source, unit);
        packets.largest = std::max(packets.largest, size);
        unit += size;
    }
    packets.samples = first_sample_of(source, length, INT32_MAX);
    return packets;
}

int64_t media_sound_end(MEDIA_RECORD* source) {
    SOUND_READER& reader = reader_of(source);
    const SOUND_SHAPE shape = shape_of(source);
    if (reader.end < 0) reader.end = stored_samples(source, shape);
    return int64_t(double(reader.end) * delivered_rate(source) / shape.format.nSamplesPerSec);
}

// ---- decoding

// A rate change of rounded rates runs off from the true one.
static bool ratio_is_exact(const SOFT_CONVERTER& soft) {
    const int64_t source = soft.word[SOFT_SOURCE_RATE], target = soft.word[SOFT_TARGET_RATE];
    const int shift = soft.word[SOFT_SHIFT];
    const int64_t from = source << std::max(shift, 0), to = target << std::max(-shift, 0);
    return soft.word[SOFT_WORK_SOURCE] * to == soft.word[SOFT_WORK_TARGET] * from;
}

// Starts where the rate change is at the same phase as if it had run from the start of the sound, so that a jump gives
// the samples that reading through gives.
static void jump(MEDIA_RECORD* source, SOUND_READER* reader, int64_t first) {
    const int64_t end = reader->end;
    *reader = {};
    reader->end = end;
    reader->next = reader->origin = first;
    if (!audio_conv_reset(&source->converter)) {
        reader->failed = true;
        return;
    }
    const SOUND_SHAPE shape = shape_of(source);
    const int64_t rate = delivered_rate(source), stored_rate = shape.format.nSamplesPerSec;
    const int64_t common = std::gcd(rate, stored_rate), period = std::max<int64_t>(stored_rate / common, 1);
    const int64_t run_up = rate == stored_rate ? 0 : (RUN_UP + period - 1) / period;
    const int64_t periods = std::max<int64_t>(first / (rate / common) - run_up, 0);
    const SOUND_PLACE place = place_of(source, shape, periods * period);
    audio_conv_skip(&source->converter, periods * period - place.sample);
    reader->unit = place.unit;
    reader->drop = first - periods * (rate / common);
}

static void keep(SOUND_READER* reader, const uint8_t* bytes, size_t size, size_t block) {
    const size_t dropped = size_t(std::min<int64_t>(reader->drop, int64_t(size / block)));
    reader->drop -= int64_t(dropped);
    reader->kept.assign(bytes + dropped * block, bytes + size / block * block);
    reader->kept_at = 0;
}

/// Blocks to read at a time: a packet of variable blocks is one chunk, which a decoder may need by itself.
static int feed_blocks(const MEDIA_RECORD* source, const SOUND_READER& reader, const SOUND_SHAPE& shape) {
    const int left = shape.length - reader.unit;
    if (!shape.variable) return std::min(left, std::max(FEED_BYTES / shape.format.nBlockAlign, 1));
    const int size = packet_size(source, reader.unit);
    return std::min(left, size > 0 ? size : FEED_BYTES);
}

/// One block more through the converter, or behind the last one what the converter holds. False when there is no more.
static bool feed(MEDIA_RECORD* source, SOUND_READER* reader) {
    if (reader->failed) return false;
    const SOUND_SHAPE shape = shape_of(source);
    const uint8_t* data = nullptr;
    int bytes = 0;
    if (reader->unit < shape.length) {
        const int n = feed_blocks(source, *reader, shape);
        reader->stored.resize(size_t(n) * shape.format.nBlockAlign);
        const int got = input_read_audio(handle_of(source), reader->unit, n, reader->stored.data());
        reader->failed = got <= 0;
        if (reader->failed) return false;
        reader->unit += got;
        bytes = got * shape.format.nBlockAlign;
        data = reader->stored.data();
    }
    size_t size = 0;
    const uint8_t* out = audio_conv_run(&source->converter, data, size_t(bytes), &size);
    reader->failed = !out;
    if (!out || (!data && size == 0)) return false;
    keep(reader, out, size, source->audio_header.nBlockAlign);
    return true;
}

int64_t media_sound_read(MEDIA_RECORD* source, int64_t first, int64_t count, void* buffer) {
    const size_t block = source->audio_header.nBlockAlign;
    count = std::min(count, media_sound_end(source) - first);
    if (count <= 0 || first < 0 || block == 0) return 0;
    SOUND_READER& reader = reader_of(source);
    const bool stale = first - reader.origin > int64_t{INEXACT_SECONDS} * delivered_rate(source) &&
                       (source->converter.audio_flags & AUDIO_SETTING_FIRST_OPEN) &&
                       !ratio_is_exact(source->converter.final_soft);
    if (reader.next != first || stale) jump(source, &reader, first);
    auto* out = static_cast<uint8_t*>(buffer);
    size_t left = size_t(count) * block;
    while (left > 0) {
        const size_t n = std::min(left, reader.kept.size() - reader.kept_at);
        if (n) std::memcpy(out, reader.kept.data() + reader.kept_at, n);
        reader.kept_at += n;
        out += n;
        left -= n;
        if (left > 0 && !feed(source, &reader)) break;
    }
    std::memset(out, 0, left);
    reader.next = reader.failed ? -1 : first + count;
    return count;
}
