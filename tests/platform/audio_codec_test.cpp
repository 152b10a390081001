#include "platform/audio_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>

#include "platform/temp_folder.h"
#include "support/avi_builder.h"
#include "support/command.h"

namespace {

enum : uint16_t {
    MS = 2,
    FLOAT = 3,
    A_LAW = 6,
    MU_LAW = 7,
    IMA = 0x11,
    MP3 = 0x55,
    AAC = 0xff,
    AC3 = 0x2000,
    EXT = 0xfffe
};

void put(BYTES* to, uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) to->push_back(uint8_t(value >> (8 * i)));
}

BYTES format_of(uint16_t tag, int channels, uint32_t rate, uint32_t byte_rate, int block, int bits, BYTES extra = {}) {
    BYTES to;
    put(&to, tag, 2), put(&to, uint64_t(channels), 2), put(&to, rate, 4), put(&to, byte_rate, 4);
    put(&to, uint64_t(block), 2), put(&to, uint64_t(bits), 2), put(&to, extra.size(), 2);
    to.insert(to.end(), extra.begin(), extra.end());
    return to;
}

BYTES pcm(uint32_t rate, int channels) {
    return format_of(1, channels, rate, rate * uint32_t(channels) * 2, channels * 2, 16);
}

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
BYTES noise(size_t n, int channels, uint32_t seed = 1) {
    std::mt19937 random(seed);
    std::array<double, 2> low = {}, lower = {};
    BYTES to;
    for (size_t i = 0; i < n; ++i) {
        for (size_t c = 0; c < size_t(channels); ++c) {
            low[c] += (double(random() % 40000) - 20000 - low[c]) * 0.3;
            lower[c] += (low[c] - lower[c]) * 0.3;
            put(&to, uint16_t(int16_t(std::clamp(lower[c] * 1.5, -32000.0, 32000.0))), 2);
        }
    }
    return to;
}

struct ROW {
    uint16_t tag;
    uint32_t rate;
    int channels;
    double snr;  // dB at the highest bit rate offered
};
const ROW ROWS[] = {
    {MP3, 44100, 2, 15}, {MP3, 48000, 1, 15}, {MP3, 22050, 2, 12}, {MP3, 8000, 1, 8},     {AC3, 48000, 2, 15},
    {AC3, 44100, 1, 15}, {AAC, 44100, 2, 12}, {AAC, 48000, 1, 12}, {AAC, 22050, 2, 12},   {MS, 44100, 2, 15},
    {MS, 11025, 1, 15},  {IMA, 44100, 2, 15}, {IMA, 4000, 1, 15},  {A_LAW, 44100, 2, 30}, {MU_LAW, 8000, 1, 30},
};

BYTES best_format(const ROW& row) {
    BYTES best;
    for (const AUDIO_CODEC_CHOICE& choice : audio_codec_choices(row.rate, row.channels)) {
        if ((choice.format[0] | choice.format[1] << 8) == row.tag) best = choice.format;
    }
    return best;
}

std::vector<BYTES> encode(const ROW& row, const BYTES& format, const BYTES& sound, size_t in = 1 << 20,
                          size_t out = 1 << 16) {
    const AUDIO_CODEC_PTR stream = open(pcm(row.rate, row.channels), format);
    EXPECT_TRUE(stream);
    return stream ? run(stream.get(), sound, in, out) : std::vector<BYTES>();
}

// The shift of `got` behind `want` at which they are most alike, by channel 0, within 1400 samples.
int best_lag(const std::vector<int16_t>& want, const std::vector<int16_t>& got, int channels) {
    const int from = 8000, n = 4096, reach = 1400;
    double best = -1;
    int lag = 0;
    for (int shift = -reach; shift <= reach; ++shift) {
        double sum = 0;
        for (int i = from; i < from + n; ++i) {
            sum += double(want[size_t(i) * size_t(channels)]) * double(got[size_t(i + shift) * size_t(channels)]);
        }
        if (sum > best) best = sum, lag = shift;
    }
    return lag;
}

double snr(const std::vector<int16_t>& want, const std::vector<int16_t>& got, size_t from, size_t to) {
    double signal = 0, error = 1;
    for (size_t i = from; i < to; ++i) {
        const double difference = double(want[i]) - double(got[i]);
        signal += double(want[i]) * double(want[i]);
        error += difference * difference;
    }
    return 10 * std::log10(signal / error);
}

TEST(AudioCodec, RoundTripIsAlignedAndHoldsAllOfTheSource) {
    const size_t n = 30001;
    for (const ROW& row : ROWS) {
        SCOPED_TRACE(audio_codec_name(row.tag) + " " + std::to_string(row.rate));
        const BYTES format = best_format(row), sound = noise(n, row.channels);
        ASSERT_FALSE(format.empty());
        const std::vector<BYTES> packets = encode(row, format, sound);
        const AUDIO_CODEC_PTR encoder = open(pcm(row.rate, row.channels), format);
        const size_t samples = size_t(audio_codec_packet_samples(encoder.get()));
        const std::vector<int16_t> want = samples_of(sound),
                                   got = samples_of(decode(format, packets, row.rate, row.channels));
        ASSERT_EQ(got.size() / size_t(row.channels), (n + samples - 1) / samples * samples);
        EXPECT_EQ(best_lag(want, got, row.channels), 0);
        const double middle = snr(want, got, 4000, want.size()), tail = snr(want, got, want.size() - 200, want.size());
        EXPECT_GT(middle, row.snr);
        EXPECT_GT(tail, row.snr - 8) << "the end was cut";
    }
}

TEST(AudioCodec, CuttingSourceAndTargetAnywhereChangesNothing) {
    for (const ROW& row : ROWS) {
        SCOPED_TRACE(audio_codec_name(row.tag) + " " + std::to_string(row.rate));
        const BYTES format = best_format(row), sound = noise(9001, row.channels);
        const std::vector<BYTES> packets = encode(row, format, sound);
        const BYTES whole = joined(packets), plain = decode(format, packets, row.rate, row.channels);
        for (const size_t cut : {size_t{1}, size_t{7}, size_t{1000}}) {
            const size_t room = row.tag == AAC ? 2 * 768 : cut;
            const std::vector<BYTES> again = encode(row, format, sound, cut, room);
            EXPECT_EQ(joined(again), whole) << cut;
            if (row.tag == AAC) {
                EXPECT_EQ(again, packets) << cut;
            } else {
                const AUDIO_CODEC_PTR decoder = open(format, pcm(row.rate, row.channels));
                EXPECT_EQ(joined(run(decoder.get(), whole, cut, 1001 - cut)), plain) << cut;
            }
        }
    }
}

TEST(AudioCodec, EveryChoiceOpensAndKeepsItsByteRate) {
    for (const uint32_t rate : {1u, 7350u, 8000u, 11025u, 22050u, 32000u, 44100u, 48000u, 96000u, 768000u}) {
        for (const int channels : {1, 2}) {
            const size_t n = std::min(rate, 20000u);
            const BYTES sound = noise(n, channels);
            const auto choices = audio_codec_choices(rate, channels);
            EXPECT_GE(choices.size(), 4u);
            for (const AUDIO_CODEC_CHOICE& choice : choices) {
                SCOPED_TRACE(choice.name);
                const uint16_t tag = uint16_t(choice.format[0] | choice.format[1] << 8);
                AUDIO_CODEC_LAYOUT layout = {};
                ASSERT_TRUE(audio_codec_layout(&layout, choice.format));
                EXPECT_EQ(layout.unit == 0, tag == AAC);
                const AUDIO_CODEC_PTR encoder = open(pcm(rate, channels), choice.format);
                ASSERT_TRUE(encoder);
                if (tag == AAC) continue;
                const BYTES whole = joined(run(encoder.get(), sound));
                const double packet = audio_codec_packet_samples(encoder.get());
                const double seconds = std::ceil(double(n) / packet) * packet / rate;
                EXPECT_NEAR(double(whole.size()), seconds * layout.rate / layout.scale * layout.unit, 2);
            }
        }
    }
    EXPECT_TRUE(audio_codec_choices(44100, 6).empty());
    EXPECT_TRUE(audio_codec_choices(0, 2).empty());
}

// What comes behind the damage is the undamaged sound in its place: sample for sample, but for AC-3, whose decoders
// fill bands with a noise that runs on.
TEST(AudioCodec, DamagedPacketsKeepLaterSoundInPlace) {
    for (const ROW& row : {ROW{MP3, 44100, 2, 0}, ROW{MP3, 22050, 1, 0}, ROW{AC3, 44100, 2, 0}, ROW{MS, 44100, 2, 0}}) {
        const BYTES format = best_format(row);
        const BYTES whole = joined(encode(row, format, noise(40000, row.channels)));
        const BYTES plain = decode(format, {whole}, row.rate, row.channels);
        const std::vector<int16_t> want = samples_of(plain);
        const auto expect_in_place = [&](size_t from, size_t n, int mask) {
            SCOPED_TRACE(audio_codec_name(row.tag) + " at " + std::to_string(from) + " mask " + std::to_string(mask));
            BYTES bad = whole;
            for (size_t i = from; i < from + n; ++i) bad[i] ^= uint8_t(mask);
            const std::vector<int16_t> got = samples_of(decode(format, {bad}, row.rate, row.channels));
            ASSERT_EQ(got.size(), want.size());
            EXPECT_FALSE(got == want);
            EXPECT_GT(snr(want, got, want.size() / 2, want.size()), row.tag == AC3 ? 20 : 90);
        };
        const size_t eighth = whole.size() / 8;
        for (size_t from = eighth; from < eighth + 800; from += 97) expect_in_place(from, 700, 0xa5);
        if (row.tag == MS) continue;
        // Lengths that lie: longer and shorter, in the first packet that begins as all do behind an eighth.
        size_t at = eighth;
        while (whole[at] != whole[0] || whole[at + 1] != whole[1] || whole[at + 4] >> 6 != whole[4] >> 6) ++at;
        for (const int mask : {1, 2, 4})
            expect_in_place(at + (row.tag == AC3 ? 4 : 2), 1, row.tag == AC3 ? mask << 1 : mask << 4);
    }
}

// Sound of a foreign encoder reaches back into the packets before, ours does not.
BYTES foreign_mp3(const ROW& row, int kbits, const BYTES& sound) {
    const TEMP_FOLDER folder;
    text_save(folder / "in", std::string(sound.begin(), sound.end()));
    const COMMAND_OUTPUT made = command_run({"ffmpeg",
                                             "-v",
                                             "error",
                                             "-f",
                                             "s16le",
                                             "-ar",
                                             std::to_string(row.rate),
                                             "-ac",
                                             std::to_string(row.channels),
                                             "-i",
                                             folder / "in",
                                             "-c:a",
                                             "libmp3lame",
                                             "-b:a",
                                             std::to_string(kbits) + "k",
                                             "-write_xing",
                                             "0",
                                             "-id3v2_version",
                                             "0",
                                             "-f",
                                             "mp3",
                                             "-"});
    return {made.text.begin(), made.text.end()};
}

TEST(AudioCodec, JumpsLandOnTheSampleAfterThePreroll) {
    for (const auto& [row, kbits] : {std::pair<ROW, int>{{MP3, 44100, 2, 0}, 0},
                                     {{MP3, 22050, 2, 0}, 0},
                                     {{MP3, 8000, 1, 0}, 0},
                                     {{MP3, 44100, 2, 0}, 128},
                                     {{MP3, 48000, 2, 0}, 32},
                                     {{MP3, 22050, 1, 0}, 16},
                                     {{MP3, 8000, 1, 0}, 8}}) {
        SCOPED_TRACE(std::to_string(row.rate) + " Hz " + std::to_string(kbits) + " kbit/s");
        BYTES format = best_format(row);
        const BYTES sound = noise(100000, row.channels);
        const BYTES whole = kbits ? foreign_mp3(row, kbits, sound) : joined(encode(row, format, sound));
        if (kbits) memcpy(format.data() + 8, std::array<uint32_t, 1>{uint32_t(kbits * 125)}.data(), 4);
        const BYTES plain = decode(format, {whole}, row.rate, row.channels);
        for (const size_t start : {whole.size() / 3, whole.size() / 2 + 5}) {
            const AUDIO_CODEC_PTR stream = open(format, pcm(row.rate, row.channels));
            EXPECT_EQ(audio_codec_first_packet(stream.get()), -1);
            const BYTES got = joined(run(stream.get(), BYTES(whole.begin() + std::ptrdiff_t(start), whole.end())));
            AUDIO_CODEC_LAYOUT layout = {};
            ASSERT_TRUE(audio_codec_layout(&layout, format));
            const int samples = audio_codec_packet_samples(stream.get()), preroll = audio_codec_preroll(stream.get());
            const double byte = double(start) + double(audio_codec_first_packet(stream.get()));
            const auto packet = std::lround(byte * row.rate / layout.rate / samples) + preroll;
            const size_t unit = size_t(row.channels) * 2, from = size_t(packet * samples) * unit;
            const size_t skip = size_t(preroll * samples) * unit;
            ASSERT_LT(skip, got.size());
            EXPECT_TRUE(BYTES(got.begin() + std::ptrdiff_t(skip), got.end()) ==
                        BYTES(plain.begin() + std::ptrdiff_t(from), plain.end()));
        }
    }
}

// The format says another rate than the packets: they are played as long as they last.
TEST(AudioCodec, PacketsOfAnotherRateKeepTheirTime) {
    const ROW row = {MP3, 44100, 2, 0};
    const std::vector<BYTES> packets = encode(row, best_format(row), noise(44100, 2));
    for (const ROW& claimed : {ROW{MP3, 48000, 2, 0}, ROW{MP3, 22050, 2, 0}}) {
        const BYTES got = decode(best_format(claimed), packets, claimed.rate, 2);
        EXPECT_NEAR(double(got.size()) / 4, 39 * 1152.0 * claimed.rate / 44100, 40);
    }
}

BYTES wave_file(const BYTES& format, const BYTES& data) {
    BYTES to = {'R', 'I', 'F', 'F'};
    put(&to, 20 + format.size() + data.size(), 4);
    for (const char c : std::string("WAVEfmt ")) to.push_back(uint8_t(c));
    put(&to, format.size(), 4);
    to.insert(to.end(), format.begin(), format.end());
    for (const char c : std::string("data")) to.push_back(uint8_t(c));
    put(&to, data.size(), 4);
    to.insert(to.end(), data.begin(), data.end());
    return to;
}

BYTES avi_file(const BYTES& format, const std::vector<BYTES>& chunks) {
    AUDIO_CODEC_LAYOUT layout = {};
    EXPECT_TRUE(audio_codec_layout(&layout, format));
    AVI_BUILD build;
    AVI_BUILD_STREAM stream;
    stream.type = "auds";
    stream.scale = layout.scale, stream.rate = layout.rate, stream.sample_size = layout.unit;
    stream.format = format;
    stream.length = uint32_t(layout.unit ? joined(chunks).size() / layout.unit : chunks.size());
    build.streams = {stream};
    for (const BYTES& chunk : chunks) build.chunks.push_back({0, "wb", chunk});
    return avi_build(build);
}

TEST(AudioCodec, AnotherProgramHearsTheSame) {
    const TEMP_FOLDER folder;
    for (const ROW& row : ROWS) {
        SCOPED_TRACE(audio_codec_name(row.tag) + " " + std::to_string(row.rate));
        const bool in_avi = row.tag == AAC || row.tag == MP3 || row.tag == AC3;
        const BYTES format = best_format(row);
        const std::vector<BYTES> packets = encode(row, format, noise(20000, row.channels), 1 << 20, 4000);
        const BYTES file = in_avi ? avi_file(format, packets) : wave_file(format, joined(packets));
        const BYTES ours = decode(format, packets, row.rate, row.channels);
        text_save(folder / "a", std::string(file.begin(), file.end()));
        const COMMAND_OUTPUT peer = command_run({"ffmpeg", "-v", "error", "-i", folder / "a", "-f", "s16le", "-"});
        ASSERT_EQ(peer.status, 0) << peer.error;
        EXPECT_EQ(peer.error, "");
        EXPECT_TRUE(peer.text == std::string(ours.begin(), ours.end())) << peer.text.size() << " " << ours.size();
    }
}

// As a stream with headers, cut anywhere, and as packets of one call that lie one behind the other.
TEST(AudioCodec, AacPacketsAreWholeAndMayLieTogether) {
    const ROW row = {AAC, 44100, 2, 0};
    const BYTES format = best_format(row);
    const std::vector<BYTES> packets = encode(row, format, noise(20000, 2));
    ASSERT_EQ(packets.size(), 20u);
    BYTES file;
    for (const BYTES& packet : packets) {
        const size_t n = packet.size() + 7;
        const uint8_t header[7] = {0xff, 0xf1, 0x50, uint8_t(0x80 | n >> 11), uint8_t(n >> 3), uint8_t(n << 5 | 0x1f),
                                   0xfc};
        file.insert(file.end(), header, header + 7);
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
    const BYTES guid = {3, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xaa, 0, 0x38, 0x9b, 0x71};
    BYTES extra = {32, 0, 0x3f, 0, 0, 0};  // FL FR FC LFE BL BR
    extra.insert(extra.end(), guid.begin(), guid.end());
    const BYTES format = format_of(EXT, 6, 48000, 48000 * 24, 24, 32, extra);
    const float frames[5][6] = {{0.5f, 0, 0, 1, 0, 0},
                                {0, 0.25f, 0.5f, 0, 0, -1},
                                {1, 1, 1, 1, 1, 1},
                                {-1, -1, -1, 1, -1, -1},
                                {NAN, INFINITY, 0, 0, 0.5f, 0}};
    BYTES sound(sizeof frames);
    memcpy(sound.data(), frames, sizeof frames);
    const double side = 65536 + 46341 * 2;
    const auto want = [&](double v) {
        return int16_t(std::clamp(std::nearbyint(v * 32768 / side), -32768.0, 32767.0));
    };
    const std::vector<int16_t> stereo = {
        want(32768), 0, want(23170.5), want(16384 + 23170.5 - 46341), 32767, 32767, -32768, -32768, want(23170.5), 0};
    const AUDIO_CODEC_PTR two = open(format, pcm(48000, 2)), one = open(format, pcm(48000, 1)),
                          six = open(format, pcm(48000, 6));
    ASSERT_TRUE(two && one && six);
    EXPECT_EQ(samples_of(joined(run(two.get(), sound, 5, 3))), stereo);
    const std::vector<int16_t> mono = samples_of(joined(run(one.get(), sound)));
    EXPECT_EQ(mono[0], want(16384));
    EXPECT_EQ(mono[1], want((16384 + 46341 - 46341) / 2.0));
    EXPECT_EQ(samples_of(joined(run(six.get(), sound)))[1 * 6 + 2], 16384);
    // Another rate, more channels, or fewer from a pair are none of a decoder's business.
    EXPECT_FALSE(open(format, pcm(44100, 2)) || open(format, pcm(48000, 3)) ||
                 open(format_of(A_LAW, 2, 8000, 16000, 2, 8), pcm(8000, 1)));
}

TEST(AudioCodec, HostileFormatsGiveNothingOrAnEnd) {
    const BYTES junk = noise(3000, 2, 7);
    size_t opened = 0;
    for (int driver = 0; driver < audio_codec_count(); ++driver) {
        const uint16_t tag = audio_codec_info(driver).tag;
        for (const uint32_t rate : {0u, 1u, 44100u, 4000000u}) {
            for (const int channels : {0, 1, 2, 8, 65535}) {
                for (const int block : {0, 1, 36, 65535}) {
                    for (const size_t extra : {size_t{0}, size_t{1}, size_t{34}}) {
                        const BYTES bad =
                            format_of(tag, channels, rate, block == 36 ? 0 : rate, block, 4, BYTES(extra, 0x12));
                        const BYTES sound = pcm(rate, channels);
                        for (const AUDIO_CODEC_PTR& stream :
                             {audio_codec_open(driver, bad, sound), audio_codec_open(driver, sound, bad)}) {
                            if (!stream) continue;
                            ++opened;
                            EXPECT_TRUE(rate >= 1 && rate <= 768000 && channels >= 1 && channels <= 8);
                            EXPECT_GE(audio_codec_packet_samples(stream.get()), 0);
                            EXPECT_GE(audio_codec_preroll(stream.get()), 0);
                            if (channels == 2) run(stream.get(), junk, 600);
                        }
                    }
                }
            }
        }
        for (size_t n = 0; n < 18; ++n) EXPECT_FALSE(audio_codec_open(driver, BYTES(n, 1), BYTES(n, 1)));
    }
    EXPECT_GT(opened, 300u);
    EXPECT_FALSE(audio_codec_open(-1, pcm(8000, 1), pcm(8000, 1)) ||
                 audio_codec_open(1000, pcm(8000, 1), pcm(8000, 1)));
}

}  // namespace
