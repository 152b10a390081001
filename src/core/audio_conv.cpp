#include "core/audio_conv.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <unordered_map>

#include "core/audio_stage.h"
#include "core/edit_state.h"
#include "platform/handle.h"
#include "platform/memory.h"

static constexpr uint16_t TAG_PCM = 1, TAG_EXTENSIBLE = 0xFFFE;
static constexpr uint8_t SUBFORMAT_PCM[16] = {1, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
static constexpr size_t SUBFORMAT_AT = 24;
static constexpr size_t EXTENSIBLE_SIZE = 40;

/// An open conversion: what its record cannot hold.
struct AUDIO_CONV {
    AUDIO_STAGE first, final;
    std::vector<uint8_t> source_format;
    std::span<uint8_t> source_block, target_block;
};

static std::unordered_map<const AUDIO_OUTPUT_SETTING*, std::unique_ptr<AUDIO_CONV>> open_table;
static PAGE_PTR default_source, default_target;

// ---- formats

WAVEFORMATEX audio_format_head(std::span<const uint8_t> format) {
    WAVEFORMATEX head{};
    if (!format.empty()) std::memcpy(&head, format.data(), std::min(format.size(), sizeof head));
    return head;
}

bool audio_format_is_pcm(std::span<const uint8_t> format) {
    const WAVEFORMATEX head = audio_format_head(format);
    if (head.wFormatTag == TAG_PCM) return true;
    return head.wFormatTag == TAG_EXTENSIBLE && head.wBitsPerSample <= 32 && head.nChannels <= 2 && head.cbSize >= 22 &&
           format.size() >= EXTENSIBLE_SIZE &&
           std::memcmp(format.data() + SUBFORMAT_AT, SUBFORMAT_PCM, sizeof SUBFORMAT_PCM) == 0;
}

WAVEFORMATEX audio_format_pcm16(uint32_t rate, int channels) {
    const uint32_t block = uint32_t(channels) * 16 / 8;
    return {TAG_PCM, uint16_t(channels), rate, rate * block, uint16_t(block), 16, 0};
}

static std::span<const uint8_t> bytes_of(const WAVEFORMATEX& format) {
    return {reinterpret_cast<const uint8_t*>(&format), sizeof format};
}

static std::span<const uint8_t> target_of(const AUDIO_OUTPUT_SETTING& conv) {
    return {conv.target_format, size_t(std::clamp(conv.target_format_size, 0, FORMAT_SIZE_MAX))};
}

// ---- start and end

bool audio_conv_init() {
    if (default_source) return true;
    const int n = std::min(audio_codec_count(), AUDIO_DRIVER_SLOTS);
    for (int i = 0; i < AUDIO_DRIVER_SLOTS; ++i) audio_driver_table[i] = i < n ? i : -1;
    default_source = page_alloc_bytes(2 * AUDIO_STAGE_SIZE);
    default_target = page_alloc_bytes(2 * AUDIO_STAGE_SIZE);
    if (!default_source || !default_target) default_source.reset();
    return default_source != nullptr;
}

void audio_conv_exit() {
    open_table.clear();
    default_source.reset();
    default_target.reset();
}

// ---- opening

static AUDIO_CONV* conv_of(const AUDIO_OUTPUT_SETTING* setting) {
    if (!(setting->audio_flags & AUDIO_SETTING_FINAL_OPEN)) return nullptr;
    const auto at = open_table.find(setting);
    return at == open_table.end() ? nullptr : at->second.get();
}

static void forget_stages(AUDIO_OUTPUT_SETTING* setting) {
    setting->audio_flags &= ~uint32_t{AUDIO_SETTING_FINAL_OPEN | AUDIO_SETTING_FIRST_OPEN};
    setting->final_driver = setting->final_stream = setting->first_driver = setting->first_stream = 0;
    setting->final_header = setting->first_header = {};
}

static bool open_final(AUDIO_OUTPUT_SETTING* setting, AUDIO_CONV* conv, std::span<const uint8_t> source) {
    if (!audio_stage_open(&conv->final, source, target_of(*setting), &setting->final_driver)) return false;
    setting->final_stream = handle_new(conv->final.codec.get());
    setting->audio_flags |= AUDIO_SETTING_FINAL_OPEN;
    return true;
}

static bool open_two(AUDIO_OUTPUT_SETTING* setting, AUDIO_CONV* conv, const WAVEFORMATEX& middle) {
    setting->middle_format = middle;
    if (!audio_stage_open(&conv->first, conv->source_format, bytes_of(middle), &setting->first_driver)) return false;
    if (!open_final(setting, conv, bytes_of(middle))) {
        conv->first.codec.reset();
        setting->first_driver = 0;
        return false;
    }
    setting->first_stream = handle_new(conv->first.codec.get());
    setting->audio_flags |= AUDIO_SETTING_FIRST_OPEN;
    return true;
}

static bool open_stages(AUDIO_OUTPUT_SETTING* setting, AUDIO_CONV* conv) {
    const WAVEFORMATEX source = audio_format_head(conv->source_format), target = audio_format_head(target_of(*setting));
    if (source.nSamplesPerSec == 0 || source.nChannels == 0 || target.nSamplesPerSec == 0 || target.nChannels == 0)
        return false;
    if (open_final(setting, conv, conv->source_format)) return true;
    if (source.wFormatTag == TAG_PCM &&
        open_two(setting, conv, audio_format_pcm16(target.nSamplesPerSec, target.nChannels)))
        return true;
    return target.wFormatTag == TAG_PCM &&
           open_two(setting, conv, audio_format_pcm16(source.nSamplesPerSec, std::min<int>(source.nChannels, 2)));
}

static void give_buffers(AUDIO_OUTPUT_SETTING* setting, AUDIO_CONV* conv) {
    const size_t source = conv->source_block.size() / 2, target = conv->target_block.size() / 2;
    conv->first.soft = &setting->first_soft;
    conv->first.source = conv->source_block.first(source);
    conv->first.target = conv->target_block.first(target);
    conv->final.soft = &setting->final_soft;
    conv->final.source = conv->source_block.subspan(source, source);
    conv->final.target = conv->target_block.subspan(target, target);
}

int audio_conv_open(AUDIO_OUTPUT_SETTING* setting, std::span<const uint8_t> source_format,
                    std::span<uint8_t> source_block, std::span<uint8_t> target_block) {
    audio_conv_close(setting);
    forget_stages(setting);
    if (!audio_conv_init()) return 0;
    auto conv = std::make_unique<AUDIO_CONV>();
    conv->source_format.assign(source_format.begin(), source_format.end());
    conv->source_block = source_block.empty() ? std::span(default_source.get(), 2 * AUDIO_STAGE_SIZE) : source_block;
    conv->target_block = target_block.empty() ? std::span(default_target.get(), 2 * AUDIO_STAGE_SIZE) : target_block;
    give_buffers(setting, conv.get());
    if (!open_stages(setting, conv.get())) {
        forget_stages(setting);
        return 0;
    }
    open_table[setting] = std::move(conv);
    return 1;
}

void audio_conv_close(AUDIO_OUTPUT_SETTING* setting) {
    if (conv_of(setting)) {
        handle_free(setting->final_stream);
        handle_free(setting->first_stream);
        forget_stages(setting);
    }
    open_table.erase(setting);
}

int audio_conv_reset(AUDIO_OUTPUT_SETTING* setting) {
    const AUDIO_CONV* conv = conv_of(setting);
    if (!conv) return 0;
    const std::vector<uint8_t> format = conv->source_format;
    const std::span<uint8_t> source = conv->source_block, target = conv->target_block;
    return audio_conv_open(setting, format, source, target);
}

// ---- running

static bool has_first(const AUDIO_OUTPUT_SETTING* setting) { return setting->audio_flags & AUDIO_SETTING_FIRST_OPEN; }

// The numbers of the record's headers, as far as something ran.
static const uint8_t* result(AUDIO_OUTPUT_SETTING* setting, AUDIO_CONV* conv, int64_t bytes, size_t* out_size) {
    if (bytes < 0) return nullptr;
    setting->final_header.source_size = uint32_t(conv->final.kept.size());
    setting->final_header.target_size = uint32_t(conv->final.target.size());
    setting->final_header.target_used = uint32_t(bytes);
    *out_size = size_t(bytes);
    return conv->final.target.data();
}

// What a first stage held may give nothing behind the final one, which says nothing of the end.
static int64_t drain(const AUDIO_OUTPUT_SETTING* setting, AUDIO_CONV* conv) {
    while (has_first(setting)) {
        const int64_t held = audio_stage_drain(&conv->first);
        if (held < 0) return -1;
        if (held == 0) break;
        const int64_t bytes = audio_stage_run(&conv->final, conv->first.target.data(), size_t(held));
        if (bytes != 0) return bytes;
    }
    return audio_stage_drain(&conv->final);
}

const uint8_t* audio_conv_run(AUDIO_OUTPUT_SETTING* setting, const void* data, size_t size, size_t* out_size) {
    *out_size = 0;
    AUDIO_CONV* conv = conv_of(setting);
    if (!conv) return nullptr;
    if (!data) return result(setting, conv, drain(setting, conv), out_size);
    if (size == 0) return result(setting, conv, 0, out_size);
    const uint8_t* block = static_cast<const uint8_t*>(data);
    if (has_first(setting)) {
        const int64_t middle = audio_stage_run(&conv->first, block, size);
        if (middle < 0) return nullptr;
        block = conv->first.target.data();
        size = size_t(middle);
    }
    return result(setting, conv, audio_stage_run(&conv->final, block, size), out_size);
}

// What the first stage gives must fit the final one: a software stage gives no more than its block count says, of a
// codec nothing is known before it ran.
size_t audio_conv_block_max(const AUDIO_OUTPUT_SETTING* setting) {
    const AUDIO_CONV* conv = conv_of(setting);
    if (!conv) return 0;
    if (!has_first(setting)) return audio_stage_block_max(conv->final);
    const AUDIO_STAGE& first = conv->first;
    if (first.codec) return audio_stage_block_max(first);
    return soft_convert_block_max(*first.soft, first.source.size(),
                                  std::min(first.target.size(), audio_stage_block_max(conv->final)));
}

std::span<const size_t> audio_conv_packets(const AUDIO_OUTPUT_SETTING* setting) {
    const AUDIO_CONV* conv = conv_of(setting);
    return conv ? std::span<const size_t>(conv->final.packets) : std::span<const size_t>();
}

// ---- what reading by position and measuring ask

AUDIO_CODEC_STREAM* audio_conv_codec(const AUDIO_OUTPUT_SETTING* setting) {
    const AUDIO_CONV* conv = conv_of(setting);
    if (!conv) return nullptr;
    return has_first(setting) && conv->first.codec ? conv->first.codec.get() : conv->final.codec.get();
}

bool audio_conv_is_soft(const AUDIO_OUTPUT_SETTING* setting) { return conv_of(setting) && !audio_conv_codec(setting); }

void audio_conv_soft_state(const AUDIO_OUTPUT_SETTING* setting, bool fresh, SOFT_CONVERTER* soft, SOFT_CARRY* carry) {
    *soft = setting->final_soft;
    *carry = {};
    const AUDIO_CONV* conv = conv_of(setting);
    if (!fresh && conv) *carry = conv->final.carry;
    if (!fresh) return;
    for (int word : {SOFT_PHASE, SOFT_KEPT, SOFT_HALF_CARRIED, SOFT_KEPT_PAIR, SOFT_OLD_PAIR}) soft->word[word] = 0;
}

void audio_conv_skip(AUDIO_OUTPUT_SETTING* setting, int64_t samples) {
    AUDIO_CONV* conv = conv_of(setting);
    if (!conv) return;
    const bool two = has_first(setting) && conv->first.codec;
    const WAVEFORMATEX given = two ? setting->middle_format : audio_format_head(target_of(*setting));
    (two ? conv->first : conv->final).skip = samples * given.nBlockAlign;
}
