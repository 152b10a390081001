#include "core/audio_stage.h"

#include <algorithm>
#include <cstring>

#include "core/audio_conv.h"

int audio_driver_table[AUDIO_DRIVER_SLOTS];

// A depth between the usual ones stands in the high bits of its bytes.
static WAVEFORMATEX soft_format(std::span<const uint8_t> block) {
    WAVEFORMATEX format = audio_format_head(block);
    const int bytes = format.nChannels ? format.nBlockAlign / format.nChannels : 0;
    if (bytes == (format.wBitsPerSample + 7) / 8 && bytes != 2) format.wBitsPerSample = uint16_t(bytes * 8);
    return format;
}

// The block size must be that of the samples: the caller counts in blocks.
static bool open_soft(AUDIO_STAGE* stage, const WAVEFORMATEX& source, const WAVEFORMATEX& target) {
    stage->carry = {};
    return soft_convert_init(stage->soft, source, target) && soft_source_frame(*stage->soft) == source.nBlockAlign &&
           soft_target_frame(*stage->soft) == target.nBlockAlign && audio_stage_block_max(*stage) > 0;
}

// Plain PCM of many channels, as the extensible format that a driver mixes down: the speakers that files of so many
// channels usually mean.
static std::vector<uint8_t> extensible_of(const WAVEFORMATEX& format) {
    static constexpr uint32_t SPEAKERS[] = {0, 4, 3, 7, 0x33, 0x37, 0x3F, 0x70F, 0x63F};
    static constexpr uint8_t SUBFORMAT[16] = {1, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
    std::vector<uint8_t> block(40);
    WAVEFORMATEX head = format;
    head.wFormatTag = 0xFFFE;
    head.cbSize = uint16_t(block.size() - sizeof head);
    const uint32_t speakers = format.nChannels < std::size(SPEAKERS) ? SPEAKERS[format.nChannels] : 0;
    std::memcpy(&block[0], &head, sizeof head);
    std::memcpy(&block[18], &format.wBitsPerSample, 2);
    std::memcpy(&block[20], &speakers, 4);
    std::memcpy(&block[24], SUBFORMAT, sizeof SUBFORMAT);
    return block;
}

static bool open_codec(AUDIO_STAGE* stage, std::span<const uint8_t> source, std::span<const uint8_t> target,
                       uint32_t* slot) {
    for (int i = 0; i < AUDIO_DRIVER_SLOTS; ++i) {
        if (audio_driver_table[i] < 0) continue;
        stage->codec = audio_codec_open(audio_driver_table[i], source, target);
        if (!stage->codec) continue;
        *slot = uint32_t(i) + 1;
        return true;
    }
    return false;
}

bool audio_stage_open(AUDIO_STAGE* stage, std::span<const uint8_t> source, std::span<const uint8_t> target,
                      uint32_t* slot) {
    stage->codec = nullptr;
    stage->kept.clear();
    stage->packets.clear();
    stage->skip = 0;
    *slot = 0;
    const bool from_pcm = audio_format_is_pcm(source);
    const WAVEFORMATEX head = audio_format_head(source);
    if (from_pcm && head.nChannels > 2) return open_codec(stage, extensible_of(head), target, slot);
    if (from_pcm && audio_format_is_pcm(target)) return open_soft(stage, soft_format(source), soft_format(target));
    return open_codec(stage, source, target, slot);
}

size_t audio_stage_block_max(const AUDIO_STAGE& stage) {
    if (!stage.codec) return soft_convert_block_max(*stage.soft, stage.source.size(), stage.target.size());
    return stage.source.size() - std::min(stage.source.size(), stage.kept.size());
}

// Drops results in front of the sound that is wanted.
static size_t drop_skipped(AUDIO_STAGE* stage, size_t size) {
    const size_t n = size_t(std::min<int64_t>(stage->skip, int64_t(size)));
    stage->skip -= int64_t(n);
    std::memmove(stage->target.data(), stage->target.data() + n, size - n);
    return size - n;
}

// Runs the codec until it neither takes nor gives. A stage that decodes ahead of a skip drops results as it goes, so
// that only what is wanted needs room.
static int64_t run_codec(AUDIO_STAGE* stage, std::span<const uint8_t> source, bool end) {
    size_t used = 0, filled = 0;
    stage->packets.clear();
    for (;;) {
        AUDIO_CODEC_BLOCK block{source.subspan(used), stage->target.subspan(filled), 0, 0};
        if (!audio_codec_convert(stage->codec.get(), &block, end)) return -1;
        used += block.source_used;
        if (block.target_used) stage->packets.push_back(block.target_used);
        filled += block.target_used;
        if (filled && stage->skip) filled = drop_skipped(stage, filled);
        if (block.source_used == 0 && block.target_used == 0) break;
    }
    stage->kept.assign(source.begin() + std::ptrdiff_t(used), source.end());
    return int64_t(filled);
}

static std::span<const uint8_t> joined(AUDIO_STAGE* stage, const uint8_t* data, size_t size) {
    uint8_t* at = stage->source.data();
    std::copy(stage->kept.begin(), stage->kept.end(), at);
    if (size) std::memcpy(at + stage->kept.size(), data, size);
    return {at, stage->kept.size() + size};
}

int64_t audio_stage_run(AUDIO_STAGE* stage, const uint8_t* data, size_t size) {
    if (size > audio_stage_block_max(*stage)) return -1;
    if (stage->codec) return run_codec(stage, joined(stage, data, size), false);
    if (size) std::memcpy(stage->source.data() + SOFT_FRONT, data, size);
    return soft_convert(stage->soft, &stage->carry, stage->source, size, stage->target);
}

int64_t audio_stage_drain(AUDIO_STAGE* stage) {
    if (!stage->codec) return 0;
    return run_codec(stage, joined(stage, nullptr, 0), true);
}
