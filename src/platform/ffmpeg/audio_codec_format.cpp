#include <algorithm>
#include <numeric>

#include "platform/ffmpeg/audio_codec_internal.h"

namespace {

constexpr size_t PLAIN_BYTES = 16, EX_BYTES = 18;  // of a WAVEFORMATEX without and with cbSize

uint32_t get16(const uint8_t* p) { return uint32_t{p[0]} | uint32_t{p[1]} << 8; }
uint32_t get32(const uint8_t* p) { return get16(p) | get16(p + 2) << 16; }

void put16(std::vector<uint8_t>* to, uint32_t value) {
    to->push_back(uint8_t(value));
    to->push_back(uint8_t(value >> 8));
}
void put32(std::vector<uint8_t>* to, uint32_t value) {
    put16(to, value & 0xffff);
    put16(to, value >> 16);
}

std::vector<uint8_t> format_bytes(uint16_t tag, uint32_t rate, int channels, uint32_t byte_rate, uint32_t block,
                                  uint32_t bits, const std::vector<uint8_t>& extra) {
    std::vector<uint8_t> to;
    put16(&to, tag);
    put16(&to, uint32_t(channels));
    put32(&to, rate);
    put32(&to, byte_rate);
    put16(&to, block);
    put16(&to, bits);
    put16(&to, uint32_t(extra.size()));
    to.insert(to.end(), extra.begin(), extra.end());
    return to;
}

// A block has a header of 7 bytes a channel that holds 2 samples; 4 bits each for the rest.
uint32_t ms_adpcm_samples(uint32_t block, uint32_t channels) { return (block - 7 * channels) * 2 / channels + 2; }
// A header of 4 bytes a channel that holds 1 sample; then words of 8 samples, by channels in turn.
uint32_t ima_adpcm_samples(uint32_t block, uint32_t channels) {
    return (block - 4 * channels) / (4 * channels) * 8 + 1;
}

std::vector<uint8_t> build_adpcm(uint16_t tag, uint32_t rate, int channels, uint32_t block) {
    static const int16_t COEFFICIENTS[7][2] = {{256, 0}, {512, -256}, {0, 0},     {192, 64},
                                               {240, 0}, {460, -208}, {392, -232}};
    if (block < 32 || block > 8192 || (block & (block - 1)) != 0) return {};  // what the encoders take
    const bool ms = tag == TAG_MS_ADPCM;
    const uint32_t samples =
        ms ? ms_adpcm_samples(block, uint32_t(channels)) : ima_adpcm_samples(block, uint32_t(channels));
    std::vector<uint8_t> extra;
    put16(&extra, samples);
    if (ms) {
        put16(&extra, 7);
        for (const auto& pair : COEFFICIENTS) {
            put16(&extra, uint16_t(pair[0]));
            put16(&extra, uint16_t(pair[1]));
        }
    }
    const uint64_t byte_rate = uint64_t{rate} * block / samples;
    return format_bytes(tag, rate, channels, uint32_t(byte_rate), block, 4, extra);
}

std::vector<uint8_t> build_law(uint16_t tag, uint32_t rate, int channels, uint32_t) {
    const uint32_t block = uint32_t(channels);
    return format_bytes(tag, rate, channels, rate * block, block, 8, {});
}

constexpr uint32_t MP3_KBITS[] = {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};  // 32 kHz and above
constexpr uint32_t MP3_LOW_KBITS[] = {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};  // 16 to 24 kHz
constexpr uint32_t MP3_LOWEST_KBITS[] = {8, 16, 24, 32, 40, 48, 56, 64};                           // 8 to 12 kHz
constexpr uint32_t AC3_KBITS[] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                  192, 224, 256, 320, 384, 448, 512, 576, 640};
constexpr uint32_t AAC_KBITS[] = {8, 16, 24, 32, 48, 64, 96, 128, 160, 192, 256, 320};  // offered; any other will do

std::span<const uint32_t> mp3_kbits(uint32_t rate) {
    switch (rate) {
        case 32000:
        case 44100:
        case 48000: return MP3_KBITS;
        case 16000:
        case 22050:
        case 24000: return MP3_LOW_KBITS;
        case 8000:
        case 11025:
        case 12000: return MP3_LOWEST_KBITS;
        default: return {};
    }
}

std::span<const uint32_t> ac3_kbits(uint32_t rate) {
    return rate == 32000 || rate == 44100 || rate == 48000 ? std::span(AC3_KBITS) : std::span<const uint32_t>();
}

bool holds(std::span<const uint32_t> kbits, uint32_t byte_rate) {
    return std::any_of(kbits.begin(), kbits.end(), [&](uint32_t k) { return k * 125 == byte_rate; });
}

// The extra bytes of layer 3: wID 1 (MPEG), the flag for packets without padding, which the readers of this block
// expect whatever the packets are, bytes of a packet, packets of a block, the delay of the encoder as they expect it.
std::vector<uint8_t> build_mp3(uint16_t tag, uint32_t rate, int channels, uint32_t byte_rate) {
    if (!holds(mp3_kbits(rate), byte_rate)) return {};
    std::vector<uint8_t> extra;
    put16(&extra, 1);
    put32(&extra, 2);
    put16(&extra, (rate >= 32000 ? 1152 : 576) * byte_rate / rate);
    put16(&extra, 1);
    put16(&extra, 1393);
    return format_bytes(tag, rate, channels, byte_rate, 1, 0, extra);
}

std::vector<uint8_t> build_ac3(uint16_t tag, uint32_t rate, int channels, uint32_t byte_rate) {
    if (!holds(ac3_kbits(rate), byte_rate)) return {};
    return format_bytes(tag, rate, channels, byte_rate, 1, 16, {});
}

constexpr uint32_t AAC_RATES[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                  22050, 16000, 12000, 11025, 8000,  7350};

// An AudioSpecificConfig: type 2 (low complexity) in 5 bits, the rate's index in 4, the channels in 4, 3 zeros; then
// the 11-bit word 0x2b7, type 5 in 5 bits and a zero that say: the band is not replicated. A packet is at most 768
// bytes a channel, and so is the block: some readers take a chunk that is larger than nBlockAlign for several packets.
std::vector<uint8_t> build_aac(uint16_t tag, uint32_t rate, int channels, uint32_t byte_rate) {
    const auto* at = std::find(std::begin(AAC_RATES), std::end(AAC_RATES), rate);
    const uint32_t limit = uint32_t(channels) * 768 * rate / 1024;
    if (at == std::end(AAC_RATES) || byte_rate < 1000 || byte_rate > limit) return {};
    const uint32_t config = 2u << 11 | uint32_t(at - AAC_RATES) << 7 | uint32_t(channels) << 3;
    const std::vector<uint8_t> extra = {uint8_t(config >> 8), uint8_t(config), 0x56, 0xe5, 0};
    return format_bytes(tag, rate, channels, byte_rate, 768 * uint32_t(channels), 16, extra);
}

struct FORMAT_BUILDER {
    uint16_t tag;
    std::vector<uint8_t> (*build)(uint16_t tag, uint32_t rate, int channels, uint32_t size);
};
const FORMAT_BUILDER BUILDER_TABLE[] = {
    {TAG_MP3, build_mp3},         {TAG_AC3, build_ac3},   {TAG_AAC, build_aac},    {TAG_MS_ADPCM, build_adpcm},
    {TAG_IMA_ADPCM, build_adpcm}, {TAG_A_LAW, build_law}, {TAG_MU_LAW, build_law},
};

// What is worth offering: half a bit to four bits a sample. Below, the encoders cut most of the band; above is waste.
std::vector<uint32_t> sizes_offered(uint16_t tag, uint32_t rate, int channels) {
    const uint32_t samples = rate * uint32_t(channels);
    if (tag == TAG_A_LAW || tag == TAG_MU_LAW) return {0};
    if (tag == TAG_MS_ADPCM || tag == TAG_IMA_ADPCM) {  // about as many blocks a second whatever the rate
        return {uint32_t(channels) * (rate < 22050 ? 256 : rate < 44100 ? 512 : rate < 88200 ? 1024 : 2048)};
    }
    std::vector<uint32_t> sizes;
    for (const uint32_t k : tag == TAG_MP3 ? mp3_kbits(rate) : tag == TAG_AC3 ? ac3_kbits(rate) : AAC_KBITS) {
        if (k * 2000 >= samples && k * 1000 <= samples * 4) sizes.push_back(k * 125);
    }
    return sizes;
}

std::string choice_name(const AUDIO_CODEC_INFO& info, const AUDIO_FORMAT& format) {
    std::string name = info.name;
    if (format.block == 1 || format.tag == TAG_AAC) {
        if (format.tag != TAG_A_LAW && format.tag != TAG_MU_LAW) {
            name += " " + std::to_string(format.byte_rate / 125) + " kbit/s";
        }
    }
    return name + ", " + std::to_string(format.rate) + " Hz, " + (format.channels == 1 ? "mono" : "stereo");
}

}  // namespace

bool audio_format_parse(AUDIO_FORMAT* format, std::span<const uint8_t> bytes) {
    if (bytes.size() < PLAIN_BYTES) return false;
    const uint8_t* p = bytes.data();
    const uint32_t channels = get16(p + 2);
    format->tag = uint16_t(get16(p));
    format->channels = int(channels);
    format->rate = get32(p + 4);
    format->byte_rate = get32(p + 8);
    format->block = uint16_t(get16(p + 12));
    format->bits = uint16_t(get16(p + 14));
    format->extra = {};
    if (bytes.size() >= EX_BYTES) {
        format->extra = bytes.subspan(EX_BYTES, std::min<size_t>(get16(p + 16), bytes.size() - EX_BYTES));
    }
    return channels >= 1 && channels <= AUDIO_CODEC_CHANNELS_MAX && format->rate >= 1 &&
           format->rate <= AUDIO_CODEC_RATE_MAX;
}

bool audio_format_is_pcm16(const AUDIO_FORMAT& format) {
    return format.tag == TAG_PCM && format.bits == 16 && format.block == format.channels * 2;
}

std::vector<uint8_t> audio_format_build(uint16_t tag, uint32_t rate, int channels, uint32_t size) {
    if (channels < 1 || channels > 2 || rate < 1 || rate > AUDIO_CODEC_RATE_MAX) return {};
    for (const FORMAT_BUILDER& builder : BUILDER_TABLE) {
        if (builder.tag == tag) return builder.build(tag, rate, channels, size);
    }
    return {};
}

std::vector<AUDIO_CODEC_CHOICE> audio_codec_choices(uint32_t rate, int channels) {
    std::vector<AUDIO_CODEC_CHOICE> choices;
    if (channels < 1 || channels > 2 || rate < 1 || rate > AUDIO_CODEC_RATE_MAX) return choices;
    for (int driver = 0; driver < audio_codec_count(); ++driver) {
        const AUDIO_CODEC_INFO& info = audio_codec_info(driver);
        if (!info.encodes) continue;
        for (const uint32_t size : sizes_offered(info.tag, rate, channels)) {
            const std::vector<uint8_t> bytes = audio_format_build(info.tag, rate, channels, size);
            AUDIO_FORMAT format;
            if (audio_format_parse(&format, bytes)) choices.push_back({bytes, choice_name(info, format)});
        }
    }
    return choices;
}

bool audio_codec_layout(AUDIO_CODEC_LAYOUT* layout, std::span<const uint8_t> bytes) {
    AUDIO_FORMAT format;
    if (!audio_format_parse(&format, bytes)) return false;
    if (format.tag == TAG_AAC) {
        *layout = {format.rate, 1024, 0};
        return true;
    }
    *layout = {format.byte_rate, format.block, format.block};
    if (format.tag == TAG_MS_ADPCM || format.tag == TAG_IMA_ADPCM) {
        const uint32_t samples = format.extra.size() >= 2 ? get16(format.extra.data()) : 0;
        if (samples > 0) {
            const uint32_t common = std::gcd(samples, format.rate);
            *layout = {format.rate / common, samples / common, format.block};
        }
    }
    return layout->rate > 0 && layout->scale > 0;
}
