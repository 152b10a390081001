#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "vantel_formats.h"

/// The software sound converter: PCM to PCM in rate, channels and depth, integer arithmetic only. It works on a stream
/// that arrives in blocks; what comes out does not depend on where the stream is cut. Any thread, one at a time for one
/// converter.
///
/// Steps of a block, on pairs of 16-bit values: depth to 16 bits and channels to two, doublings of the rate, a linear
/// resampler for what is left of the ratio (within a factor of two), halvings of the rate, channels and depth of the
/// target. The resampler keeps the last pair back, since a result needs the input behind it too.

/// State of a converter, a record of project files.
struct SOFT_CONVERTER {
    int32_t word[14];
};
/// Words of SOFT_CONVERTER. Pairs are the left value in the low half and the right one in the high half.
enum SOFT_WORD : int {
    SOFT_SOURCE_RATE,
    SOFT_TARGET_RATE,
    SOFT_SOURCE_CHANNELS,
    SOFT_TARGET_CHANNELS,
    SOFT_SOURCE_BITS,
    SOFT_TARGET_BITS,
    SOFT_WORK_SOURCE,  // rates of the resampler, below 32,738
    SOFT_WORK_TARGET,
    SOFT_PHASE,
    SOFT_SHIFT,         // positive: doublings before the resampler; negative: halvings behind it
    SOFT_KEPT,          // bytes of the pair that the resampler keeps back, 0 or 4
    SOFT_HALF_CARRIED,  // bytes of the pair that waits for its partner at the first halving, 0 or 4
    SOFT_KEPT_PAIR,
    SOFT_OLD_PAIR,  // doubling: the last pair of the block before; halving: the waiting pair
};

/// What does not fit the record: pairs that wait at the halvings behind the first. All zero for a fresh converter.
struct SOFT_CARRY {
    uint32_t waiting;  // bit n: a pair waits at halving n (from 0; bit 0 is in the record)
    int32_t pair[31];
};

/// Room in front of a block in the work buffer, for the pair that the resampler kept.
inline constexpr size_t SOFT_FRONT = 4;

/// Sets up a fresh converter. Depths of 8, 24 and 32 bits are what they say, any other counts as 16. False: a rate of 0
/// or from 2^31 up, no channels or more than two.
bool soft_convert_init(SOFT_CONVERTER* c, const WAVEFORMATEX& source, const WAVEFORMATEX& target);

/// Bytes of a stored sample of all channels.
size_t soft_source_frame(const SOFT_CONVERTER& c);
size_t soft_target_frame(const SOFT_CONVERTER& c);

/// Largest block in bytes that fits buffers of these sizes in any state; 0 when not even one sample does.
size_t soft_convert_block_max(const SOFT_CONVERTER& c, size_t work_size, size_t target_size);

/// Converts a block of `size` bytes that stands at work + SOFT_FRONT; work, at an even address like target, is used up.
/// A last part of a sample is ignored. Returns the bytes in target, or -1 when the block is larger than
/// soft_convert_block_max; then nothing has changed.
int64_t soft_convert(SOFT_CONVERTER* c, SOFT_CARRY* carry, std::span<uint8_t> work, size_t size,
                     std::span<uint8_t> target);

/// Counts without sound: how many samples a block of n samples gives in this state. Both are moved on as if it had been
/// converted, all but the values of the pairs that they hold; hand in copies. n: 0 .. 2^31 - 1. Constant time.
int64_t soft_convert_count(SOFT_CONVERTER* c, SOFT_CARRY* carry, int64_t n);
