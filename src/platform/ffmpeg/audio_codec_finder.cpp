#include "platform/ffmpeg/audio_codec_internal.h"

/// What the header of a packet says. The packet lasts samples / rate seconds; bit_rate gives the mean size, which the
/// packets of 44.1 kHz are never.
struct AUDIO_PACKET_HEADER {
    uint32_t kind;  // what the packets of one stream have in common
    uint32_t bytes, samples, rate, bit_rate;
};

namespace {

constexpr size_t HEADER_BYTES = 6;  // AC-3; MPEG audio looks at 4

constexpr uint16_t MPEG_KBITS[2][3][15] = {
    {{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
     {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
     {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}},
    {{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}},
};
constexpr uint16_t AC3_KBITS[19] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                    192, 224, 256, 320, 384, 448, 512, 576, 640};
constexpr uint32_t MPEG_RATES[3] = {44100, 48000, 32000};
constexpr uint32_t AC3_RATES[3] = {48000, 44100, 32000};

// A packet without a bit rate of its own (free format) has no length that could be known: not taken.
bool mpeg_header(AUDIO_PACKET_HEADER* header, const uint8_t* b) {
    const uint32_t version = b[1] >> 3 & 3, layer = 4 - (b[1] >> 1 & 3u);  // version 3: MPEG-1, 2: MPEG-2, 0: MPEG-2.5
    const uint32_t bit_rate = b[2] >> 4, rate = b[2] >> 2 & 3, padding = b[2] >> 1 & 1;
    if (b[0] != 0xff || b[1] < 0xe0 || version == 1 || layer > 3 || bit_rate == 0 || bit_rate == 15 || rate == 3) {
        return false;
    }
    const bool low = version != 3;
    header->rate = MPEG_RATES[rate] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
    header->bit_rate = MPEG_KBITS[low ? 1 : 0][layer - 1][bit_rate] * 1000u;
    header->samples = layer == 1 ? 384 : layer == 3 && low ? 576 : 1152;
    const uint32_t slot = layer == 1 ? 4 : 1;
    header->bytes = (header->samples / 8 / slot * header->bit_rate / header->rate + padding) * slot;
    header->kind = (b[1] & 0xfeu) << 8 | rate;
    return true;
}

bool ac3_header(AUDIO_PACKET_HEADER* header, const uint8_t* b) {
    const uint32_t rate = b[4] >> 6, size = b[4] & 63, version = b[5] >> 3;
    if (b[0] != 0x0b || b[1] != 0x77 || rate == 3 || size >= 38 || version > 10) return false;
    const uint32_t halved = version > 8 ? version - 8 : 0, bits = AC3_KBITS[size / 2] * 1000u;
    const uint32_t words = bits * 96 / AC3_RATES[rate] + (rate == 1 ? size & 1 : 0);
    *header = {rate << 8 | version, words * 2, 1536, AC3_RATES[rate] >> halved, bits >> halved};
    return true;
}

// Is there a packet at the front of data that another of its kind follows? 1, 0, or -1 when more data has to tell.
int confirm(const AUDIO_FINDER& finder, const AUDIO_PACKET_HEADER& header, std::span<const uint8_t> data, bool end) {
    AUDIO_PACKET_HEADER next;
    if (data.size() >= header.bytes + HEADER_BYTES) {
        return finder.header(&next, data.data() + header.bytes) && next.kind == header.kind;
    }
    return end ? data.size() >= header.bytes : -1;
}

// The packets between the last one and the one found, by the bytes between their beginnings, to the nearest: so a
// header that lied about its length, and one that was destroyed, both leave the later packets in their places.
uint32_t lost_packets(uint64_t distance, const AUDIO_PACKET_HEADER& header) {
    const uint64_t unit = uint64_t{header.samples} * header.bit_rate;  // bytes of a packet * 8 * rate
    const uint64_t packets = (distance * 8 * header.rate + unit / 2) / unit;
    return packets > 1 ? uint32_t(packets - 1) : 0;
}

}  // namespace

bool audio_finder_open(AUDIO_FINDER* finder, AUDIO_PACKET_KIND kind) {
    *finder = {};
    finder->header = kind == PACKET_MPEG ? mpeg_header : kind == PACKET_AC3 ? ac3_header : nullptr;
    return finder->header != nullptr;
}

bool audio_finder_next(AUDIO_FINDER* finder, std::span<const uint8_t> data, bool end, size_t* passed) {
    for (*passed = 0; data.size() >= *passed + HEADER_BYTES; ++*passed) {
        const std::span<const uint8_t> rest = data.subspan(*passed);
        AUDIO_PACKET_HEADER header = {};
        if (!finder->header(&header, rest.data()) || header.bytes < HEADER_BYTES) continue;
        const bool expected = finder->synced && *passed == 0 && header.kind == finder->kind;
        const int sure = expected ? (rest.size() >= header.bytes ? 1
                                     : end                       ? 0
                                                                 : -1)
                                  : confirm(*finder, header, rest, end);
        if (sure == 0) continue;
        if (sure < 0) {
            if (*passed > 0) finder->synced = false;
            return false;
        }
        const uint64_t begin = finder->at + *passed;
        finder->lost = finder->found && !expected ? lost_packets(begin - finder->last, header) : 0;
        if (!finder->found) finder->first = begin;
        finder->found = finder->synced = true;
        finder->last = begin;
        finder->kind = header.kind;
        finder->packet_size = header.bytes;
        finder->packet_samples = int(header.samples);
        finder->packet_rate = header.rate;
        return true;
    }
    if (*passed > 0) finder->synced = false;
    return false;
}
