#include "audio/soft_convert.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "audio/pcm_model.h"

using BYTES = std::vector<uint8_t>;

TEST(SoftConvert, ImpossibleFormatsAreRefused) {
    const WAVEFORMATEX good = pcm_format(8000, 2, 16);
    SOFT_CONVERTER c;
    for (const WAVEFORMATEX& bad : {pcm_format(0, 2, 16), pcm_format(8000, 0, 16), pcm_format(0x80000000, 2, 16)})
        EXPECT_FALSE(soft_convert_init(&c, bad, good));
    EXPECT_FALSE(soft_convert_init(&c, good, pcm_format(0, 2, 16)));
}

/// A converter with buffers of a size; each block must keep within them and be as long as counting says.
struct STREAM {
    SOFT_CONVERTER soft{};
    SOFT_CARRY carry{};
    BYTES work, target;
    STREAM(const WAVEFORMATEX& from, const WAVEFORMATEX& to, size_t work_size, size_t target_size)
        : work(work_size), target(target_size) {
        EXPECT_TRUE(soft_convert_init(&soft, from, to));
    }
    void run(const uint8_t* bytes, size_t size, BYTES* out) {
        SOFT_CONVERTER counted = soft;
        SOFT_CARRY counted_carry = carry;
        const int64_t samples = soft_convert_count(&counted, &counted_carry, int64_t(size / soft_source_frame(soft)));
        std::memcpy(work.data() + SOFT_FRONT, bytes, size);
        const int64_t n = soft_convert(&soft, &carry, work, size, target);
        ASSERT_EQ(n, samples * int64_t(soft_target_frame(soft)));
        for (const auto at : {SOFT_PHASE, SOFT_HALF_CARRIED}) ASSERT_EQ(counted.word[at], soft.word[at]);
        ASSERT_EQ(counted_carry.waiting, carry.waiting);
        out->insert(out->end(), target.begin(), target.begin() + n);
    }
};

static BYTES random_bytes(std::mt19937& rng, size_t n) {
    BYTES bytes(n);
    const bool extreme = rng() % 4 == 0;
    for (uint8_t& b : bytes) b = extreme ? (rng() % 2 ? 0xFF : 0x80) : uint8_t(rng());
    if (extreme && n > 1) bytes[0] = 0x7F;
    return bytes;
}

static WAVEFORMATEX random_format(std::mt19937& rng) {
    static const uint32_t RATES[] = {1,     7,     8000,  11025, 16000, 22050, 32000,  32737,
                                     32738, 44100, 48000, 65475, 88200, 96000, 192000, 4000000};
    const auto rate = uint32_t(rng() % 3 ? RATES[rng() % std::size(RATES)] : 1 + rng() % 200000);
    const int channels = 1 + int(rng() % 2);
    return pcm_format(rate, channels, 8 + int(rng() % 4) * 8);
}

TEST(SoftConvert, AnyCutsGiveWhatTheWholeStreamGives) {
    const unsigned seed = 20240717;
    std::mt19937 rng(seed);
    for (int round = 0; round < 1500; ++round) {
        const WAVEFORMATEX from = random_format(rng), to = random_format(rng);
        STREAM stream(from, to, 512 + rng() % 8192, 512 + rng() % 8192);
        const size_t most = soft_convert_block_max(stream.soft, stream.work.size(), stream.target.size());
        if (most == 0) continue;  // one sample alone gives more than the buffer holds
        const size_t size = (1 + rng() % 3000) * from.nBlockAlign;
        const BYTES bytes = random_bytes(rng, std::min(size, most * 20));
        BYTES got;
        for (size_t at = 0; at < bytes.size();) {
            const size_t limit = rng() % 3 ? most : std::min<size_t>(most, 4 * from.nBlockAlign);
            const size_t n = std::min(bytes.size() - at, (1 + rng() % (limit / from.nBlockAlign)) * from.nBlockAlign);
            ASSERT_NO_FATAL_FAILURE(stream.run(&bytes[at], n, &got));
            at += n;
        }
        ASSERT_EQ(got, pcm_model(bytes, from, to))
            << "seed " << seed << " round " << round << ": " << from.nSamplesPerSec << "/" << from.nChannels << "/"
            << from.wBitsPerSample << " to " << to.nSamplesPerSec << "/" << to.nChannels << "/" << to.wBitsPerSample;
    }
}

// The largest block must fit wherever the state stands; the guards are the ends of the vectors (address sanitizer).
TEST(SoftConvert, TheLargestBlockFitsAndALargerOneIsRefused) {
    for (const uint32_t from : {8000u, 44100u, 48000u, 96000u})
        for (const uint32_t to : {8000u, 44100u, 48000u, 95999u}) {
            const size_t work = to == 48000 ? 1000 : 300;
            STREAM stream(pcm_format(from, 1, 8), pcm_format(to, 2, 32), work, 1000);
            const size_t most = soft_convert_block_max(stream.soft, work, 1000);
            ASSERT_GT(most, 0u);
            const BYTES bytes(most, 0x33);
            BYTES out;
            for (int i = 0; i < 20; ++i) ASSERT_NO_FATAL_FAILURE(stream.run(bytes.data(), most, &out));
            const SOFT_CONVERTER before = stream.soft;
            EXPECT_EQ(soft_convert(&stream.soft, &stream.carry, stream.work, most + 1, stream.target), -1);
            EXPECT_EQ(std::memcmp(&before, &stream.soft, sizeof before), 0);
        }
    SOFT_CONVERTER c;
    ASSERT_TRUE(soft_convert_init(&c, pcm_format(1, 1, 8), pcm_format(4000000, 2, 16)));
    EXPECT_EQ(soft_convert_block_max(c, 524288, 524288), 0u);
}
