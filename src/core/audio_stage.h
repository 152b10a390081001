#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "audio/soft_convert.h"
#include "platform/audio_codec.h"

/// One stage of a sound conversion. Inside audio_conv only.
struct AUDIO_STAGE {
    AUDIO_CODEC_PTR codec;  // null: a software stage
    SOFT_CONVERTER* soft;   // in the record
    SOFT_CARRY carry;
    std::span<uint8_t> source, target;
    std::vector<uint8_t> kept;    // bytes that the codec has not taken yet; they go in front of the next block
    std::vector<size_t> packets;  // bytes that each call of the codec gave in the last run
    int64_t skip;                 // bytes of the results still to be dropped
};

/// The table of drivers: slots in the order in which they are tried, -1 = none. Filled by audio_conv_init.
inline constexpr int AUDIO_DRIVER_SLOTS = 256;
extern int audio_driver_table[AUDIO_DRIVER_SLOTS];

/// Opens a stage between two formats, with its buffers and its place for the software converter set: software between
/// PCM and PCM of up to two channels, else the first driver that takes it. slot: the driver's slot + 1, 0 for a
/// software stage.
bool audio_stage_open(AUDIO_STAGE* stage, std::span<const uint8_t> source, std::span<const uint8_t> target,
                      uint32_t* slot);
/// Converts a block into the stage's target buffer. Returns bytes, -1 on failure.
int64_t audio_stage_run(AUDIO_STAGE* stage, const uint8_t* data, size_t size);
/// What a codec stage still holds, as far as the target buffer takes it; 0 at the end, -1 on failure.
int64_t audio_stage_drain(AUDIO_STAGE* stage);
/// Bytes of the largest block that audio_stage_run takes now.
size_t audio_stage_block_max(const AUDIO_STAGE& stage);
