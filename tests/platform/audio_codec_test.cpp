#include "platform/audio_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>

#include "support/avi_builder.h"
#include "support/command.h"

namespace {

enum : uint16_t { MS = 2, A_LAW = 6, MU_LAW = 7, IMA = 0x11, MP3 = 0x55, AAC = 0xff, AC3 = 0x2000, EXT = 0xfffe };

BYTES format_of(uint16_t tag, int channels, uint32_t rate, uint32_t byte_rate, int block, int bits, BYTES extra = {}) {
    BYTES to = avi_sound_format(tag, uint16_t(channels), rate, uint16_t(bits));
    bytes_put_u32(to, 8, byte_rate);
    bytes_put_u16(to, 12, uint16_t(block));
    bytes_put_u16(to, 16, uint16_t(extra.size()));
    to.insert(to.end(), extra.begin(), extra.end());
    return to;
}

BYTES pcm(uint32_t rate, int channels) { return avi_sound_format(1, uint16_t(channels), rate, 16); }

AUDIO_CODEC_PTR open(const BYTES& source, const BYTES& target) {
    for (int i = 0; i < audio_codec_count(); ++i) {
        if (AUDIO_CODEC_PTR stream = audio_codec_open(i, source, target)) return stream;
    }
    return nullptr;
}

// Feeds by pieces of at most `in` bytes into targets of `out` bytes; the results of the calls that gave any.
std::vector<BYTES> run(AUDIO_CODEC_STREAM* stream, const BYTES& source, size_t in = 1 << 20, size_t out = 1 << 16) {
    std::vector<BYTES> results;
    BYTES target(out);
    for (size_t at = 0, idle = 0; idle < 2;) {
        const bool last = source.size() - at <= in;
        AUDIO_CODEC_BLOCK block = {std::span(source).subspan(at, std::min(in, source.size() - at)), target, 0, 0};
        EXPECT_TRUE(audio_codec_convert(stream, &block, last));
        at += block.source_used;
        if (block.target_used) results.emplace_back(target.begin(), target.begin() + std::ptrdiff_t(block.target_used));
        idle = block.source_used || block.target_used ? 0 : idle + 1;
    }
    return results;
}

BYTES joined(const std::vector<BYTES>& parts) {
    BYTES all;
    for (const BYTES& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

// AAC is given packet by packet, all others in one piece.
BYTES decode(const BYTES& format, const std::vector<BYTES>& packets, uint32_t rate, int channels) {
    const AUDIO_CODEC_PTR stream = open(format, pcm(rate, channels));
    EXPECT_TRUE(stream);
    if (!stream) return {};
    if (format[0] != AAC) return joined(run(stream.get(), joined(packets)));
    BYTES all, target(1 << 16);
    for (const BYTES& packet : packets) {
        AUDIO_CODEC_BLOCK block = {packet, target, 0, 0};
        EXPECT_TRUE(audio_codec_convert(stream.get(), &block, false));
        EXPECT_EQ(block.source_used, packet.size());
        all.insert(all.end(), target.begin(), target.begin() + std::ptrdiff_t(block.target_used));
    }
    return all;
}

std::vector<int16_t> samples_of(const BYTES& bytes) {
    std::vector<int16_t> to(bytes.size() / 2);
    memcpy(to.data(), bytes.data(), to.size() * 2);
    return to;
}

// Noise of a band that all codecs keep: a slow walk between random values, sides apart.
BYTES noise(size_t n, int channels) {
    std::mt19937 random(1);
    std::array<double, 2> low = {}, lower = {};
    BYTES to(n * size_t(channels) * 2);
    for (size_t i = 0; i < to.size() / 2; ++i) {
        const size_t c = i % size_t(channels);
        low[c] += (double(random() % 40000) - 20000 - low[c]) * 0.3;
        lower[c] += (low[c] - lower[c]) * 0.3;
        bytes_put_u16(to, i * 2, uint16_t(int16_t(std::clamp(lower[c] * 1.5, -32000.0, 32000.0))));
    }
    return to;
}

struct KIND {
    uint16_t tag;
    uint32_t rate;
    int channels;
    double snr = 0;  // dB at the highest bit rate offered
};

BYTES best_format(const KIND& kind) {
    BYTES best;
    for (const AUDIO_CODEC_CHOICE& choice : audio_codec_choices(kind.rate, kind.channels)) {
        if ((choice.format[0] | choice.format[1] << 8) == kind.tag) best = choice.format;
    }
    return best;
}

std::vector<BYTES> encode(const KIND& kind, const BYTES& format, const BYTES& sound, size_t in = 1 << 20,
                          size_t out = 1 << 16) {
    const AUDIO_CODEC_PTR stream = open(pcm(kind.rate, kind.channels), format);
    EXPECT_TRUE(stream);
    return stream ? run(stream.get(), sound, in, out) : std::vector<BYTES>();
}

double snr(const std::vector<int16_t>& want, const std::vector<int16_t>& got, size_t from) {
    double signal = 0, error = 1;
    for (size_t i = from; i < want.size(); ++i) {
        const double difference = double(want[i]) - double(got[i]);
        signal += double(want[i]) * double(want[i]);
        error += difference * difference;
    }
    return 10 * std::log10(signal / error);
}

/// Each kind of compressed sound, coded and decoded.
struct AudioCodecKind : testing::TestWithParam<KIND> {
    static constexpr size_t N = 30001;
    KIND kind = GetParam();
    BYTES format = best_format(kind), sound = noise(N, kind.channels);
    std::vector<BYTES> packets = encode(kind, format, sound, 1 << 20, 4000);
    BYTES decoded = decode(format, packets, kind.rate, kind.channels);
};
INSTANTIATE_TEST_SUITE_P(All, AudioCodecKind,
                         testing::Values(KIND{MP3, 44100, 2, 15}, KIND{MP3, 48000, 1, 15}, KIND{MP3, 22050, 2, 12},
                                         KIND{MP3, 8000, 1, 9.5}, KIND{AC3, 48000, 2, 15}, KIND{AC3, 44100, 1, 15},
                                         KIND{AAC, 44100, 2, 12}, KIND{AAC, 48000, 1, 12}, KIND{AAC, 22050, 2, 12},
                                         KIND{MS, 44100, 2, 15}, KIND{MS, 11025, 1, 15}, KIND{IMA, 44100, 2, 15},
                                         KIND{IMA, 4000, 1, 15}, KIND{A_LAW, 44100, 2, 30}, KIND{MU_LAW, 8000, 1, 30}));

TEST_P(AudioCodecKind, RoundTripIsAlignedAndHoldsAllOfTheSource) {
    const AUDIO_CODEC_PTR encoder = open(pcm(kind.rate, kind.channels), format);
    const size_t samples = size_t(audio_codec_packet_samples(encoder.get()));
    const std::vector<int16_t> want = samples_of(sound), got = samples_of(decoded);
    ASSERT_EQ(got.size() / size_t(kind.channels), (N + samples - 1) / samples * samples);
    EXPECT_GT(snr(want, got, 4000), kind.snr);  // a shift by one sample leaves 9.2 dB of this noise
    EXPECT_GT(snr(want, got, want.size() - 200), kind.snr - 8) << "the end was cut";
}

TEST_P(AudioCodecKind, CuttingSourceAndTargetAnywhereChangesNothing) {
    for (const size_t cut : {size_t{1}, size_t{7}, size_t{1000}}) {
        const std::vector<BYTES> again = encode(kind, format, sound, cut, kind.tag == AAC ? 2 * 768 : cut);
        EXPECT_EQ(joined(again), joined(packets)) << cut;
        if (kind.tag == AAC) {
            EXPECT_EQ(again, packets) << cut;
        } else {
            const AUDIO_CODEC_PTR decoder = open(format, pcm(kind.rate, kind.channels));
            EXPECT_EQ(joined(run(decoder.get(), joined(packets), cut, 1001 - cut)), decoded) << cut;
        }
    }
}

TEST_P(AudioCodecKind, AnotherProgramHearsTheSame) {
    BYTES stored = wave_build(format, joined(packets));
    if (kind.tag == AAC || kind.tag == MP3 || kind.tag == AC3) {
        AUDIO_CODEC_LAYOUT layout = {};
        EXPECT_TRUE(audio_codec_layout(&layout, format));
        const size_t length = layout.unit ? joined(packets).size() / layout.unit : packets.size();
        AVI_BUILD build;
        build.streams = {{"auds", 0, layout.scale, layout.rate, uint32_t(length), layout.unit, format}};
        for (const BYTES& packet : packets) build.chunks.push_back({0, "wb", packet});
        stored = avi_build(build);
    }
    const TEMP_FILE file(stored, ".riff");
    const COMMAND_OUTPUT peer = ffmpeg_run("-i " + file.path + " -f s16le -");
    EXPECT_EQ(peer.error, "");
    EXPECT_TRUE(peer.text == std::string(decoded.begin(), decoded.end())) << peer.text.size() << " " << decoded.size();
}

// What comes behind the damage is the undamaged sound in its place: sample for sample, but for AC-3, whose decoders
// fill bands with a noise that runs on.
TEST(AudioCodec, DamagedPacketsKeepLaterSoundInPlace) {
    for (const KIND& kind : {KIND{MP3, 44100, 2}, KIND{MP3, 22050, 1}, KIND{AC3, 44100, 2}, KIND{MS, 44100, 2}}) {
        const BYTES format = best_format(kind), whole = joined(encode(kind, format, noise(40000, kind.channels)));
        const std::vector<int16_t> want = samples_of(decode(format, {whole}, kind.rate, kind.channels));
        const auto expect_in_place = [&](size_t from, size_t n, int mask) {
            SCOPED_TRACE(audio_codec_name(kind.tag) + " at " + std::to_string(from) + " mask " + std::to_string(mask));
            BYTES bad = whole;
            for (size_t i = from; i < from + n; ++i) bad[i] ^= uint8_t(mask);
            const std::vector<int16_t> got = samples_of(decode(format, {bad}, kind.rate, kind.channels));
            ASSERT_EQ(got.size(), want.size());
            EXPECT_FALSE(got == want);
            EXPECT_GT(snr(want, got, want.size() / 2), kind.tag == AC3 ? 20 : 90);
        };
        size_t at = whole.size() / 8;
        for (size_t from = at; from < at + 800; from += 97) expect_in_place(from, 700, 0xa5);
        if (kind.tag == MS) continue;
        // Lengths that lie: longer and shorter, in the first packet that begins as all do behind an eighth.
        while (whole[at] != whole[0] || whole[at + 1] != whole[1] || whole[at + 4] >> 6 != whole[4] >> 6) ++at;
        for (const int mask : {1, 2, 4})
            expect_in_place(at + (kind.tag == AC3 ? 4 : 2), 1, kind.tag == AC3 ? mask << 1 : mask << 4);
    }
}

// Sound of a foreign encoder reaches back into the packets before, ours (0 kbit/s) does not.
TEST(AudioCodec, JumpsLandOnTheSampleAfterThePreroll) {
    for (const auto& [kind, kbits] : {std::pair{KIND{MP3, 44100, 2}, 0},
                                      {KIND{MP3, 8000, 1}, 0},
                                      {KIND{MP3, 44100, 2}, 128},
                                      {KIND{MP3, 48000, 2}, 32},
                                      {KIND{MP3, 22050, 1}, 16},
                                      {KIND{MP3, 8000, 1}, 8}}) {
        SCOPED_TRACE(std::to_string(kind.rate) + " Hz " + std::to_string(kbits) + " kbit/s");
        BYTES format = best_format(kind);
        const BYTES sound = noise(100000, kind.channels);
        BYTES whole = joined(encode(kind, format, sound));
        if (kbits) {
            const TEMP_FILE source(wave_build(pcm(kind.rate, kind.channels), sound), ".wav");
            const std::string made = ffmpeg_run("-i " + source.path + " -c:a libmp3lame -b:a " + std::to_string(kbits) +
                                                "k -write_xing 0 -id3v2_version 0 -f mp3 -")
                                         .text;
            whole.assign(made.begin(), made.end());
            bytes_put_u32(format, 8, uint32_t(kbits) * 125);
        }
        const BYTES plain = decode(format, {whole}, kind.rate, kind.channels);
        for (const size_t start : {whole.size() / 3, whole.size() / 2 + 5}) {
            const AUDIO_CODEC_PTR stream = open(format, pcm(kind.rate, kind.channels));
            EXPECT_EQ(audio_codec_first_packet(stream.get()), -1);
            const BYTES got = joined(run(stream.get(), BYTES(whole.begin() + std::ptrdiff_t(start), whole.end())));
            AUDIO_CODEC_LAYOUT layout = {};
            ASSERT_TRUE(audio_codec_layout(&layout, format));
            const int samples = audio_codec_packet_samples(stream.get()), preroll = audio_codec_preroll(stream.get());
            const double byte = double(start) + double(audio_codec_first_packet(stream.get()));
            const auto packet = std::lround(byte * kind.rate / layout.rate / samples) + preroll;
            const std::ptrdiff_t size = samples * kind.channels * 2;
            ASSERT_LT(preroll * size, std::ptrdiff_t(got.size()));
            EXPECT_TRUE(
                std::equal(got.begin() + preroll * size, got.end(), plain.begin() + packet * size, plain.end()));
        }
    }
}

// As a stream with headers, cut anywhere, and as packets of one call that lie one behind the other.
TEST(AudioCodec, AacPacketsAreWholeAndMayLieTogether) {
    const BYTES format = best_format({AAC, 44100, 2});
    const std::vector<BYTES> packets = encode({AAC, 44100, 2}, format, noise(20000, 2));
    ASSERT_EQ(packets.size(), 20u);
    BYTES file;
    for (const BYTES& packet : packets) {
        const size_t n = packet.size() + 7;
        file.insert(file.end(),
                    {0xff, 0xf1, 0x50, uint8_t(0x80 | n >> 11), uint8_t(n >> 3), uint8_t(n << 5 | 0x1f), 0xfc});
        file.insert(file.end(), packet.begin(), packet.end());
        EXPECT_LE(packet.size(), size_t(format[12] | format[13] << 8));
    }
    const BYTES ours = decode(format, packets, 44100, 2);
    const AUDIO_CODEC_PTR adts = open(format_of(0x1600, 2, 44100, 40000, 1, 16), pcm(44100, 2));
    EXPECT_EQ(joined(run(adts.get(), file, 100)), ours);
    const AUDIO_CODEC_PTR stream = open(format, pcm(44100, 2));
    EXPECT_EQ(joined(run(stream.get(), joined(packets))), ours);
}

TEST(AudioCodec, ManyChannelsAreMixedByTheMatrix) {
    // FL FR FC LFE BL BR, floating point
    const BYTES format =
        format_of(EXT, 6, 48000, 48000 * 24, 24, 32,
                  {32, 0, 0x3f, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xaa, 0, 0x38, 0x9b, 0x71});
    const float frames[5][6] = {{0.5f, 0, 0, 1, 0, 0},
                                {0, 0.25f, 0.5f, 0, 0, -1},
                                {1, 1, 1, 1, 1, 1},
                                {-1, -1, -1, 1, -1, -1},
                                {NAN, INFINITY, 0, 0, 0.5f, 0}};
    BYTES sound(sizeof frames);
    memcpy(sound.data(), frames, sizeof frames);
    const auto mixed = [&](int channels) {
        const AUDIO_CODEC_PTR stream = open(format, pcm(48000, channels));
        return stream ? samples_of(joined(run(stream.get(), sound, 5, 12))) : std::vector<int16_t>(100);
    };
    const auto want = [](double v) {
        return int16_t(std::clamp(std::nearbyint(v * 32768 / (65536 + 46341 * 2)), -32768.0, 32767.0));
    };
    EXPECT_EQ(mixed(2), (std::vector<int16_t>{want(32768), 0, want(23170.5), want(16384 + 23170.5 - 46341), 32767,
                                              32767, -32768, -32768, want(23170.5), 0}));
    EXPECT_EQ(mixed(1)[1], want((16384 + 46341 - 46341) / 2.0));
    EXPECT_EQ(mixed(6)[1 * 6 + 2], 16384);
    // Another rate, more channels, or fewer from a pair are none of a decoder's business.
    EXPECT_FALSE(open(format, pcm(44100, 2)) || open(format, pcm(48000, 3)) ||
                 open(format_of(A_LAW, 2, 8000, 16000, 2, 8), pcm(8000, 1)));
}

TEST(AudioCodec, HostileFormatsGiveNothingOrAnEnd) {
    static constexpr uint32_t RATES[] = {0, 1, 44100, 4000000};
    static constexpr int CHANNELS[] = {0, 1, 2, 8, 65535}, BLOCKS[] = {0, 1, 36, 65535}, EXTRAS[] = {0, 1, 34};
    size_t opened = 0;
    for (int driver = 0; driver < audio_codec_count(); ++driver) {
        for (int i = 0; i < 4 * 5 * 4 * 3; ++i) {  // all together
            const uint32_t rate = RATES[i % 4];
            const int channels = CHANNELS[i / 4 % 5], block = BLOCKS[i / 20 % 4];
            const BYTES sound = pcm(rate, channels),
                        bad = format_of(audio_codec_info(driver).tag, channels, rate, block == 36 ? 0 : rate, block, 4,
                                        BYTES(size_t(EXTRAS[i / 80]), 0x12));
            for (const AUDIO_CODEC_PTR& stream :
                 {audio_codec_open(driver, bad, sound), audio_codec_open(driver, sound, bad)}) {
                if (!stream) continue;
                ++opened;
                EXPECT_TRUE(rate >= 1 && rate <= 768000 && channels >= 1 && channels <= 8);
                EXPECT_TRUE(audio_codec_packet_samples(stream.get()) >= 0 && audio_codec_preroll(stream.get()) >= 0);
                if (channels == 2) run(stream.get(), noise(3000, 2), 600);
            }
        }
        for (size_t n = 0; n < 18; ++n) EXPECT_FALSE(audio_codec_open(driver, BYTES(n, 1), BYTES(n, 1)));
    }
    EXPECT_GT(opened, 300u);
    for (const int driver : {-1, 1000}) EXPECT_FALSE(audio_codec_open(driver, pcm(8000, 1), pcm(8000, 1)));
}

}  // namespace
