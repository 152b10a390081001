#include "audio/soft_convert.h"

#include <algorithm>
#include <cstring>

#include "audio/soft_rate.h"

static constexpr int64_t WORK_RATE_LIMIT = 32738;
static constexpr size_t PAIR = sizeof(SOUND_PAIR);

static size_t value_bytes(int32_t bits) {
    if (bits == 8) return 1;
    if (bits == 24) return 3;
    return bits == 32 ? 4 : 2;
}

size_t soft_source_frame(const SOFT_CONVERTER& c) {
    return size_t(c.word[SOFT_SOURCE_CHANNELS]) * value_bytes(c.word[SOFT_SOURCE_BITS]);
}
size_t soft_target_frame(const SOFT_CONVERTER& c) {
    return size_t(c.word[SOFT_TARGET_CHANNELS]) * value_bytes(c.word[SOFT_TARGET_BITS]);
}

static void set_rates(int32_t* word, int64_t source, int64_t target) {
    while (2 * source <= target) {
        source *= 2;
        ++word[SOFT_SHIFT];
    }
    while (source >= 2 * target) {
        target *= 2;
        --word[SOFT_SHIFT];
    }
    while (source >= WORK_RATE_LIMIT || target >= WORK_RATE_LIMIT) {
        source /= 2;
        target /= 2;
    }
    word[SOFT_WORK_SOURCE] = int32_t(source);
    word[SOFT_WORK_TARGET] = int32_t(target);
}

bool soft_convert_init(SOFT_CONVERTER* c, const WAVEFORMATEX& source, const WAVEFORMATEX& target) {
    *c = {};
    if (source.nSamplesPerSec == 0 || source.nSamplesPerSec > INT32_MAX) return false;
    if (target.nSamplesPerSec == 0 || target.nSamplesPerSec > INT32_MAX) return false;
    if (source.nChannels == 0 || source.nChannels > 2) return false;
    if (target.nChannels == 0 || target.nChannels > 2) return false;
    c->word[SOFT_SOURCE_RATE] = int32_t(source.nSamplesPerSec);
    c->word[SOFT_TARGET_RATE] = int32_t(target.nSamplesPerSec);
    c->word[SOFT_SOURCE_CHANNELS] = source.nChannels;
    c->word[SOFT_TARGET_CHANNELS] = target.nChannels;
    c->word[SOFT_SOURCE_BITS] = source.wBitsPerSample;
    c->word[SOFT_TARGET_BITS] = target.wBitsPerSample;
    set_rates(c->word, source.nSamplesPerSec, target.nSamplesPerSec);
    return true;
}

static SOFT_RATIO ratio_of(const SOFT_CONVERTER& c) { return {c.word[SOFT_WORK_SOURCE], c.word[SOFT_WORK_TARGET]}; }
static bool resamples(const SOFT_CONVERTER& c) { return c.word[SOFT_WORK_SOURCE] != c.word[SOFT_WORK_TARGET]; }
static int doublings(const SOFT_CONVERTER& c) { return std::max(c.word[SOFT_SHIFT], 0); }

// ---- depth and channels

static int16_t value16(const uint8_t* p, size_t bytes) {
    if (bytes == 1) return int16_t(uint16_t(uint8_t(*p - 128) << 8));
    return int16_t(p[bytes - 2] | p[bytes - 1] << 8);
}

static SOUND_PAIR read_pair(const uint8_t* frame, int channels, size_t bytes) {
    const int16_t first = value16(frame, bytes);
    return {first, channels == 2 ? value16(frame + bytes, bytes) : first};
}

static void store_pair(uint8_t* at, SOUND_PAIR pair) { std::memcpy(at, &pair, sizeof pair); }

// In place: samples that grow are walked from the end.
static void to_pairs(uint8_t* block, size_t n, const SOFT_CONVERTER& c) {
    const int channels = c.word[SOFT_SOURCE_CHANNELS];
    const size_t bytes = value_bytes(c.word[SOFT_SOURCE_BITS]), frame = bytes * size_t(channels);
    if (frame < PAIR) {
        for (size_t i = n; i-- > 0;) store_pair(block + i * PAIR, read_pair(block + i * frame, channels, bytes));
    } else {
        for (size_t i = 0; i < n; ++i) store_pair(block + i * PAIR, read_pair(block + i * frame, channels, bytes));
    }
}

static void store_value(uint8_t* p, int value, size_t bytes) {
    if (bytes == 1) {
        *p = uint8_t((value >> 8) + 128);
        return;
    }
    std::memset(p, 0, bytes - 2);
    p[bytes - 2] = uint8_t(value);
    p[bytes - 1] = uint8_t(value >> 8);
}

static void store_frame(uint8_t* frame, SOUND_PAIR pair, int channels, size_t bytes) {
    if (channels == 1) {
        store_value(frame, (pair.left + pair.right) >> 1, bytes);
        return;
    }
    store_value(frame, pair.left, bytes);
    store_value(frame + bytes, pair.right, bytes);
}

static SOUND_PAIR load_pair(const uint8_t* at) {
    SOUND_PAIR pair;
    std::memcpy(&pair, at, sizeof pair);
    return pair;
}

static void from_pairs(uint8_t* block, size_t n, const SOFT_CONVERTER& c) {
    const int channels = c.word[SOFT_TARGET_CHANNELS];
    const size_t bytes = value_bytes(c.word[SOFT_TARGET_BITS]), frame = bytes * size_t(channels);
    if (frame > PAIR) {
        for (size_t i = n; i-- > 0;) store_frame(block + i * frame, load_pair(block + i * PAIR), channels, bytes);
    } else {
        for (size_t i = 0; i < n; ++i) store_frame(block + i * frame, load_pair(block + i * PAIR), channels, bytes);
    }
}

// ---- one block

static size_t samples_max(const SOFT_CONVERTER& c, size_t work_size, size_t target_size) {
    const size_t unit = std::max(soft_source_frame(c), doublings(c) < 31 ? PAIR << doublings(c) : SIZE_MAX);
    const size_t work = work_size > SOFT_FRONT ? (work_size - SOFT_FRONT) / unit : 0;
    // Results of (n << doublings) + 1 pairs, in the larger of the two forms that they take in target.
    const size_t room = target_size / std::max(PAIR, soft_target_frame(c));
    size_t pairs = room;
    if (resamples(c)) {
        const SOFT_RATIO ratio = ratio_of(c);
        pairs = room < 2 ? 0 : (room - 1) * size_t(ratio.source) / size_t(ratio.target);
        pairs -= std::min<size_t>(pairs, 1);
    }
    return std::min(work, pairs >> doublings(c));
}

size_t soft_convert_block_max(const SOFT_CONVERTER& c, size_t work_size, size_t target_size) {
    return samples_max(c, work_size, target_size) * soft_source_frame(c);
}

static size_t run_doublings(SOFT_CONVERTER* c, SOUND_PAIR* pairs, size_t n) {
    const SOUND_PAIR before = soft_pair(c->word[SOFT_OLD_PAIR]);
    c->word[SOFT_OLD_PAIR] = soft_word(pairs[n - 1]);
    for (int i = 0; i < c->word[SOFT_SHIFT]; ++i, n *= 2) soft_double(pairs, n, before);
    return n;
}

// The kept pair goes into the room in front of the block.
static size_t run_resampler(SOFT_CONVERTER* c, SOUND_PAIR* target, SOUND_PAIR* pairs, size_t n) {
    const SOUND_PAIR last = pairs[n - 1];
    if (c->word[SOFT_KEPT]) {
        *--pairs = soft_pair(c->word[SOFT_KEPT_PAIR]);
        ++n;
    }
    c->word[SOFT_KEPT] = int(SOFT_FRONT);
    c->word[SOFT_KEPT_PAIR] = soft_word(last);
    return soft_resample(target, pairs, n, ratio_of(*c), &c->word[SOFT_PHASE]);
}

int64_t soft_convert(SOFT_CONVERTER* c, SOFT_CARRY* carry, std::span<uint8_t> work, size_t size,
                     std::span<uint8_t> target) {
    size_t n = size / soft_source_frame(*c);
    if (n > samples_max(*c, work.size(), target.size())) return -1;
    if (n == 0) return 0;
    uint8_t* block = work.data() + SOFT_FRONT;
    to_pairs(block, n, *c);
    SOUND_PAIR* pairs = reinterpret_cast<SOUND_PAIR*>(block);
    SOUND_PAIR* out = reinterpret_cast<SOUND_PAIR*>(target.data());
    if (c->word[SOFT_SHIFT] > 0) n = run_doublings(c, pairs, n);
    if (resamples(*c))
        n = run_resampler(c, out, pairs, n);
    else
        std::memcpy(out, pairs, n * PAIR);
    if (c->word[SOFT_SHIFT] < 0) n = soft_halve(out, n, c, carry);
    from_pairs(target.data(), n, *c);
    return int64_t(n * soft_target_frame(*c));
}

int64_t soft_convert_count(SOFT_CONVERTER* c, SOFT_CARRY* carry, int64_t n) {
    if (n <= 0) return 0;
    const int shift = doublings(*c);
    n = std::min(n, int64_t{1} << (46 - shift)) << shift;
    if (resamples(*c)) {
        n += c->word[SOFT_KEPT] ? 1 : 0;
        c->word[SOFT_KEPT] = int(SOFT_FRONT);
        n = soft_resample_count(n, ratio_of(*c), &c->word[SOFT_PHASE]);
    }
    return c->word[SOFT_SHIFT] < 0 ? soft_halve_count(n, c, carry) : n;
}
