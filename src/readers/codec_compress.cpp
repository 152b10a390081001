#include <algorithm>
#include <cstring>

#include "core/edit_state.h"
#include "core/memory.h"
#include "platform/guard.h"
#include "platform/handle.h"
#include "platform/video_codec.h"
#include "readers/codec.h"

static constexpr int32_t NO_BUDGET = 0x7FFFFFFF;
static constexpr uint32_t KEY_FLAG = 16;

static size_t output_capacity(const VIDEO_CODEC_SETTING& setting) { return video_encoder_bound(setting.input_format); }

static void begin_counters(VIDEO_CODEC_SETTING* setting, uint32_t rate, uint32_t scale) {
    setting->frame_number = 0;
    setting->output_buffer = 0;
    setting->previous_frame = 0;
    if (setting->key_rate) setting->key_countdown = 0;
    if (!setting->data_rate) return;
    const double bytes = rate ? double(setting->data_rate) * scale * 1024 / rate : 0;
    setting->bytes_per_frame = int32_t(std::clamp(bytes, 0.0, 2147483647.0));
    setting->budget = 0;
}

static bool take_format(VIDEO_ENCODER* encoder, VIDEO_CODEC_SETTING* setting, const VIDEO_ENCODER_RATE& rate) {
    const std::vector<uint8_t> format = video_encoder_format(encoder, setting->input_format, rate);
    if (format.empty() || format.size() > sizeof setting->output_format) return false;
    std::memcpy(setting->output_format, format.data(), format.size());
    setting->output_format_size = int32_t(format.size());
    return true;
}

static bool begin_encoder(VIDEO_ENCODER* encoder, VIDEO_CODEC_SETTING* setting, uint32_t rate, uint32_t scale) {
    const VIDEO_ENCODER_RATE run = {rate, scale, setting->quality, int64_t{setting->data_rate} * 1024,
                                    setting->key_rate};
    if (!take_format(encoder, setting, run) || !video_encoder_begin(encoder, setting->input_format, run)) return false;
    void* buffer = mem_alloc(output_capacity(*setting));
    setting->output_buffer = handle_new(buffer);
    if (!setting->output_buffer) mem_free(buffer);
    return setting->output_buffer != 0;
}

bool compress_begin(VIDEO_CODEC_SETTING* setting, const BITMAPINFOHEADER& input, uint32_t rate, uint32_t scale) {
    CODEC_ENTRY* entry = codec_entry(codec_find(setting->handler));
    if (!entry || !(entry->flags & CODEC_CAN_RGB)) return false;
    VIDEO_ENCODER* encoder = codec_compressor(entry);
    if (!encoder) return false;
    entry->flags |= CODEC_KEEP_OPEN;
    setting->compressor = entry->compressor;
    setting->input_format = input;
    begin_counters(setting, rate, scale);
    if (!video_encoder_accepts(encoder, input)) return false;
    codec_give_state(entry, setting);
    GUARD_FAULT fault;
    bool begun = false;
    if (!guard_call(&fault, [&] { begun = begin_encoder(encoder, setting, rate, scale); }))
        guard_report(fault, entry->display_name, "ICSendMessage(ICM_COMPRESS_BEGIN)");
    if (!begun) compress_end(setting);
    return begun;
}

int compress_end(VIDEO_CODEC_SETTING* setting) {
    if (auto* encoder = static_cast<VIDEO_ENCODER*>(handle_get(setting->compressor))) video_encoder_end(encoder);
    mem_free(handle_get(setting->output_buffer));
    handle_free(setting->output_buffer);
    setting->output_buffer = 0;
    return 1;
}

static bool key_frame_due(VIDEO_CODEC_SETTING* setting) {
    if (!setting->key_rate) return setting->frame_number == 0;
    const bool due = setting->key_countdown == 0;
    if (due) setting->key_countdown = setting->key_rate;
    --setting->key_countdown;
    return due;
}

static void raise_budget(VIDEO_CODEC_SETTING* setting) {
    if (!setting->data_rate) {
        setting->budget = NO_BUDGET;
        return;
    }
    const int64_t budget = int64_t{setting->budget} + setting->bytes_per_frame;
    setting->budget = int32_t(std::clamp<int64_t>(budget, 1, NO_BUDGET));
}

const uint8_t* compress_frame(VIDEO_CODEC_SETTING* setting, const uint8_t* pixels, uint32_t* flags, uint32_t* size) {
    auto* encoder = static_cast<VIDEO_ENCODER*>(handle_get(setting->compressor));
    auto* output = static_cast<uint8_t*>(handle_get(setting->output_buffer));
    if (!encoder || !output) return nullptr;
    raise_budget(setting);
    bool key = key_frame_due(setting);
    ++setting->frame_number;
    GUARD_FAULT fault;
    int64_t bytes = -1;
    const auto run = [&] { bytes = video_encoder_frame(encoder, pixels, &key, {output, output_capacity(*setting)}); };
    if (!guard_call(&fault, run)) guard_report(fault, codec_name(setting->handler), "ICSendMessage(ICM_COMPRESS)");
    if (bytes < 0) return nullptr;
    *size = uint32_t(bytes);
    *flags = key ? KEY_FLAG : 0;
    std::memcpy(setting->output_format + offsetof(BITMAPINFOHEADER, biSizeImage), size, sizeof *size);
    setting->budget = int32_t(std::max<int64_t>(setting->budget - bytes, INT32_MIN));
    return output;
}
