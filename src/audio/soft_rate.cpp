#include "audio/soft_rate.h"

#include "audio/soft_convert.h"

SOUND_PAIR soft_pair(int32_t word) { return {int16_t(word & 0xFFFF), int16_t(word >> 16)}; }

int32_t soft_word(SOUND_PAIR pair) {
    return int32_t(uint32_t(uint16_t(pair.left)) | uint32_t(uint16_t(pair.right)) << 16);
}

static SOUND_PAIR average(SOUND_PAIR a, SOUND_PAIR b) {
    return {int16_t((a.left + b.left + 1) >> 1), int16_t((a.right + b.right + 1) >> 1)};
}

void soft_double(SOUND_PAIR* pairs, size_t n, SOUND_PAIR before) {
    for (size_t i = n; i-- > 0;) {
        const SOUND_PAIR c = pairs[i], p = i ? pairs[i - 1] : before;
        pairs[2 * i] = average(p, c);
        pairs[2 * i + 1] = c;
    }
}

// ---- resampler

// |a| and |b| are at most 32,768 and the weights sum to source < 32,738: the sum stays within 31 bits.
static SOUND_PAIR between(SOUND_PAIR a, SOUND_PAIR b, int w, int source) {
    return {int16_t((a.left * w + b.left * (source - w)) / source),
            int16_t((a.right * w + b.right * (source - w)) / source)};
}

static size_t resample_up(SOUND_PAIR* target, const SOUND_PAIR* pairs, size_t n, SOFT_RATIO ratio, int* phase) {
    size_t out = 0;
    int p = *phase;
    for (size_t i = 0; i + 1 < n;) {
        const int w = ratio.target - p < ratio.source ? ratio.target - p : ratio.source;
        target[out++] = between(pairs[i], pairs[i + 1], w, ratio.source);
        p += ratio.source;
        if (p < ratio.target) continue;
        p -= ratio.target;
        ++i;
    }
    *phase = p;
    return out;
}

// A skip that reaches the last pair ends the block: the result behind it needs a pair that has not arrived.
static size_t resample_down(SOUND_PAIR* target, const SOUND_PAIR* pairs, size_t n, SOFT_RATIO ratio, int* phase) {
    size_t out = 0;
    int p = *phase;
    for (size_t i = 0; i + 1 < n; ++i) {
        if (p >= ratio.target) {
            p -= ratio.target;
            continue;
        }
        target[out++] = between(pairs[i], pairs[i + 1], ratio.target - p, ratio.source);
        p += ratio.source - ratio.target;
    }
    *phase = p;
    return out;
}

size_t soft_resample(SOUND_PAIR* target, const SOUND_PAIR* pairs, size_t n, SOFT_RATIO ratio, int* phase) {
    return ratio.target > ratio.source ? resample_up(target, pairs, n, ratio, phase)
                                       : resample_down(target, pairs, n, ratio, phase);
}

// Input i at phase p stands at i * target + p. A result moves that on by source, a skip leaves it where it is; results
// come while it is below the last pair. So both directions have one form.
int64_t soft_resample_count(int64_t n, SOFT_RATIO ratio, int* phase) {
    if (n < 2) return 0;
    const int64_t way = (n - 1) * ratio.target - *phase;
    const int64_t out = way > 0 ? (way + ratio.source - 1) / ratio.source : 0;
    *phase = int(out * ratio.source - way);
    return out;
}

// ---- halving

// Each halving passes a pair on when it has two: what waits at the halvings is the binary number of pairs so far.
static bool halve_push(SOUND_PAIR* pair, SOFT_CONVERTER* c, SOFT_CARRY* carry) {
    int32_t* word = c->word;
    if (!word[SOFT_HALF_CARRIED]) {
        word[SOFT_HALF_CARRIED] = int(SOFT_FRONT);
        word[SOFT_OLD_PAIR] = soft_word(*pair);
        return false;
    }
    word[SOFT_HALF_CARRIED] = 0;
    *pair = average(soft_pair(word[SOFT_OLD_PAIR]), *pair);
    for (int level = 1; level < -word[SOFT_SHIFT]; ++level) {
        const uint32_t bit = uint32_t{1} << level;
        if (!(carry->waiting & bit)) {
            carry->waiting |= bit;
            carry->pair[level] = soft_word(*pair);
            return false;
        }
        carry->waiting &= ~bit;
        *pair = average(soft_pair(carry->pair[level]), *pair);
    }
    return true;
}

size_t soft_halve(SOUND_PAIR* pairs, size_t n, SOFT_CONVERTER* c, SOFT_CARRY* carry) {
    size_t out = 0;
    for (size_t i = 0; i < n; ++i) {
        SOUND_PAIR pair = pairs[i];
        if (halve_push(&pair, c, carry)) pairs[out++] = pair;
    }
    return out;
}

int64_t soft_halve_count(int64_t n, SOFT_CONVERTER* c, SOFT_CARRY* carry) {
    const int depth = -c->word[SOFT_SHIFT];
    const int64_t all = n + carry->waiting + (c->word[SOFT_HALF_CARRIED] ? 1 : 0);
    const int64_t rest = all & ((int64_t{1} << depth) - 1);
    c->word[SOFT_HALF_CARRIED] = rest & 1 ? int(SOFT_FRONT) : 0;
    carry->waiting = uint32_t(rest) & ~uint32_t{1};
    return all >> depth;
}
