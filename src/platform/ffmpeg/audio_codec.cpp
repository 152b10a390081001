#include <algorithm>
#include <cstring>

#include "platform/ffmpeg/audio_codec_internal.h"

namespace {

// Encoders first, then by how often their tags are met.
const AUDIO_DRIVER DRIVER_TABLE[] = {
    {TAG_MP3, PACKET_MPEG, 1, AV_CODEC_ID_MP3, "libmp3lame", "MP3"},
    {TAG_AC3, PACKET_AC3, 1, AV_CODEC_ID_AC3, "ac3", "AC-3"},
    {TAG_AAC, PACKET_CALL, 2, AV_CODEC_ID_AAC, "aac", "AAC"},
    {TAG_MS_ADPCM, PACKET_BLOCKS, 0, AV_CODEC_ID_ADPCM_MS, "adpcm_ms", "MS ADPCM"},
    {TAG_IMA_ADPCM, PACKET_BLOCKS, 0, AV_CODEC_ID_ADPCM_IMA_WAV, "adpcm_ima_wav", "IMA ADPCM"},
    {TAG_A_LAW, PACKET_UNITS, 0, AV_CODEC_ID_PCM_ALAW, "pcm_alaw", "A-law"},
    {TAG_MU_LAW, PACKET_UNITS, 0, AV_CODEC_ID_PCM_MULAW, "pcm_mulaw", "mu-law"},
    {TAG_EXTENSIBLE, PACKET_UNITS, 0, AV_CODEC_ID_NONE, nullptr, "PCM(extensible)"},
    {TAG_FLOAT, PACKET_UNITS, 0, AV_CODEC_ID_NONE, nullptr, "PCM floating point"},
    {0x50, PACKET_MPEG, 1, AV_CODEC_ID_MP2, nullptr, "MPEG Layer 1/2"},
    {0x2001, PACKET_PARSER, 1, AV_CODEC_ID_DTS, nullptr, "DTS"},
    {0x160, PACKET_BLOCKS, 1, AV_CODEC_ID_WMAV1, nullptr, "Windows Media Audio 1"},
    {0x161, PACKET_BLOCKS, 1, AV_CODEC_ID_WMAV2, nullptr, "Windows Media Audio 2"},
    {0x162, PACKET_BLOCKS, 2, AV_CODEC_ID_WMAPRO, nullptr, "Windows Media Audio Professional"},
    {0x163, PACKET_BLOCKS, 2, AV_CODEC_ID_WMALOSSLESS, nullptr, "Windows Media Audio Lossless"},
    {0x0a, PACKET_BLOCKS, 2, AV_CODEC_ID_WMAVOICE, nullptr, "Windows Media Audio Voice"},
    {0x1600, PACKET_PARSER, 2, AV_CODEC_ID_AAC, nullptr, "AAC (ADTS)"},
    {0x1602, PACKET_PARSER, 2, AV_CODEC_ID_AAC_LATM, nullptr, "AAC (LATM)"},
    {0x706d, PACKET_CALL, 2, AV_CODEC_ID_AAC, nullptr, "AAC"},
    {0x4143, PACKET_CALL, 2, AV_CODEC_ID_AAC, nullptr, "AAC"},
    {0xa106, PACKET_CALL, 2, AV_CODEC_ID_AAC, nullptr, "AAC"},
    {0xf1ac, PACKET_CALL, 0, AV_CODEC_ID_FLAC, nullptr, "FLAC"},
    {0x566f, PACKET_CALL, 2, AV_CODEC_ID_VORBIS, nullptr, "Vorbis"},
    {0x31, PACKET_BLOCKS, 8, AV_CODEC_ID_GSM_MS, nullptr, "GSM 6.10"},
    {0x22, PACKET_BLOCKS, 8, AV_CODEC_ID_TRUESPEECH, nullptr, "TrueSpeech"},
    {0x42, PACKET_BLOCKS, 8, AV_CODEC_ID_G723_1, nullptr, "G.723.1"},
    {0x28f, PACKET_UNITS, 0, AV_CODEC_ID_ADPCM_G722, nullptr, "G.722"},
    {0x20, PACKET_UNITS, 0, AV_CODEC_ID_ADPCM_YAMAHA, nullptr, "Yamaha ADPCM"},
    {0x200, PACKET_UNITS, 0, AV_CODEC_ID_ADPCM_CT, nullptr, "Creative ADPCM"},
    {0x61, PACKET_BLOCKS, 0, AV_CODEC_ID_ADPCM_IMA_DK4, nullptr, "DK4 ADPCM"},
    {0x62, PACKET_BLOCKS, 0, AV_CODEC_ID_ADPCM_IMA_DK3, nullptr, "DK3 ADPCM"},
    {0x69, PACKET_BLOCKS, 0, AV_CODEC_ID_ADPCM_IMA_WAV, nullptr, "IMA ADPCM (0x69)"},
    {0x270, PACKET_BLOCKS, 2, AV_CODEC_ID_ATRAC3, nullptr, "ATRAC3"},
    {0x401, PACKET_BLOCKS, 2, AV_CODEC_ID_IMC, nullptr, "IMC"},
    {0x402, PACKET_BLOCKS, 2, AV_CODEC_ID_IAC, nullptr, "IAC"},
};

bool decodes(const AUDIO_DRIVER& driver) {
    return avcodec_find_decoder(driver.id == AV_CODEC_ID_NONE ? AV_CODEC_ID_PCM_F32LE : driver.id) != nullptr;
}

std::vector<AUDIO_CODEC_INFO> info_list() {
    av_log_set_level(AV_LOG_QUIET);  // what codecs have to say of damaged sound helps nobody
    std::vector<AUDIO_CODEC_INFO> list;
    for (const AUDIO_DRIVER& driver : DRIVER_TABLE) {
        const bool encodes = driver.encoder && avcodec_find_encoder_by_name(driver.encoder);
        list.push_back({driver.tag, driver.name, encodes, decodes(driver)});
    }
    return list;
}

const std::vector<AUDIO_CODEC_INFO>& infos() {
    static const std::vector<AUDIO_CODEC_INFO> list = info_list();
    return list;
}

// Bytes that a packet of layer 3 can reach back: main_data_begin has 9 bits, or 8 below 32 kHz. Headers, side data and
// checksum take at most 38 bytes of a packet, so small packets reach far. One packet more (two of the short ones, of a
// single granule) for the overlap of the transform and the memory of the filter bank.
int mp3_preroll(const AUDIO_FORMAT& format, int packet_samples) {
    const bool large = packet_samples > 576;
    const int64_t bytes = int64_t{packet_samples} * format.byte_rate / format.rate - 38;
    const int64_t reach = large ? 511 : 255;
    return int(std::min<int64_t>((reach + bytes - 1) / std::max<int64_t>(bytes, 10), 50)) + (large ? 1 : 2);
}

AUDIO_CODEC_PTR open_decoder(const AUDIO_DRIVER& driver, const AUDIO_FORMAT& source, const AUDIO_FORMAT& target) {
    const bool downmix = source.channels > 2 && target.channels <= 2;
    if (source.rate != target.rate || (source.channels != target.channels && !downmix)) return nullptr;
    AUDIO_CODEC_PTR stream(new AUDIO_CODEC_STREAM{});
    stream->decoder = audio_decoder_open(driver, source, target.channels);
    if (!stream->decoder) return nullptr;
    stream->packet_samples = stream->decoder->packet_samples;
    stream->preroll = driver.id == AV_CODEC_ID_MP3 ? mp3_preroll(source, stream->packet_samples) : driver.preroll;
    return stream;
}

AUDIO_CODEC_PTR open_encoder(const AUDIO_DRIVER& driver, const AUDIO_FORMAT& source, const AUDIO_FORMAT& target,
                             std::span<const uint8_t> target_bytes) {
    if (source.rate != target.rate || source.channels != target.channels) return nullptr;
    AUDIO_CODEC_PTR stream(new AUDIO_CODEC_STREAM{});
    stream->encoder = audio_encoder_open(driver, target, target_bytes);
    if (!stream->encoder) return nullptr;
    stream->packet_samples = std::max(int(stream->encoder->samples), 1);
    return stream;
}

}  // namespace

int audio_codec_count() { return int(infos().size()); }

const AUDIO_CODEC_INFO& audio_codec_info(int driver) { return infos()[size_t(driver)]; }

std::string audio_codec_name(uint16_t tag) {
    for (const AUDIO_CODEC_INFO& info : infos()) {
        if (info.tag == tag) return info.name;
    }
    return {};
}

void AUDIO_CODEC_CLOSE::operator()(AUDIO_CODEC_STREAM* stream) const { delete stream; }

AUDIO_CODEC_PTR audio_codec_open(int driver, std::span<const uint8_t> source, std::span<const uint8_t> target) {
    if (driver < 0 || driver >= audio_codec_count()) return nullptr;
    const AUDIO_DRIVER& row = DRIVER_TABLE[driver];
    AUDIO_FORMAT from, to;
    if (!audio_format_parse(&from, source) || !audio_format_parse(&to, target)) return nullptr;
    if (from.tag == row.tag && audio_format_is_pcm16(to)) return open_decoder(row, from, to);
    if (to.tag == row.tag && audio_format_is_pcm16(from)) return open_encoder(row, from, to, target);
    return nullptr;
}

bool audio_codec_convert(AUDIO_CODEC_STREAM* stream, AUDIO_CODEC_BLOCK* block, bool end) {
    block->source_used = block->target_used = 0;
    return stream->decoder ? audio_decoder_convert(stream->decoder.get(), block, end)
                           : audio_encoder_convert(stream->encoder.get(), block, end);
}

int audio_codec_packet_samples(const AUDIO_CODEC_STREAM* stream) { return stream->packet_samples; }

int audio_codec_preroll(const AUDIO_CODEC_STREAM* stream) { return stream->preroll; }

int64_t audio_codec_first_packet(const AUDIO_CODEC_STREAM* stream) {
    const AUDIO_DECODER* d = stream->decoder.get();
    if (!d || !d->finder.header) return 0;
    return d->finder.found ? int64_t(d->finder.first) : -1;
}

void audio_bytes_take(AUDIO_BYTES* bytes, AUDIO_CODEC_BLOCK* block, size_t limit) {
    const size_t have = bytes->size();
    const size_t n = std::min(block->source.size() - block->source_used, limit > have ? limit - have : 0);
    if (n == 0) return;
    if (bytes->at > 0) {
        bytes->bytes.erase(bytes->bytes.begin(), bytes->bytes.begin() + std::ptrdiff_t(bytes->at));
        bytes->at = 0;
    }
    const uint8_t* from = block->source.data() + block->source_used;
    bytes->bytes.insert(bytes->bytes.end(), from, from + n);
    block->source_used += n;
}

void audio_bytes_give(AUDIO_BYTES* bytes, AUDIO_CODEC_BLOCK* block) {
    const size_t n = std::min(block->target.size() - block->target_used, bytes->size());
    if (n == 0) return;
    memcpy(block->target.data() + block->target_used, bytes->data(), n);
    block->target_used += n;
    bytes->skip(n);
}
