#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "platform/audio_codec.h"

static void require(bool condition) {
    if (!condition) abort();
}

static std::vector<uint8_t> pcm(uint32_t rate, uint16_t channels) {
    std::vector<uint8_t> format(18);
    const uint16_t head[2] = {1, channels}, block = uint16_t(channels * 2), bits = 16;
    memcpy(&format[0], head, 4);
    memcpy(&format[4], &rate, 4);
    memcpy(&format[12], &block, 2);
    memcpy(&format[14], &bits, 2);
    return format;
}

// Two bytes cut the blocks of source and target; a WAVEFORMATEX with its extra bytes; its sound.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 20) return 0;
    const size_t in = size_t{data[0]} * 16 + 1, out = size_t{data[1]} * 64 + 1;
    uint16_t tag = 0, channels = 0, extra = 0;
    uint32_t rate = 0;
    memcpy(&tag, data + 2, 2);
    memcpy(&channels, data + 4, 2);
    memcpy(&rate, data + 6, 4);
    memcpy(&extra, data + 18, 2);
    const std::span<const uint8_t> format(data + 2, std::min(size - 2, size_t{18} + extra));
    const std::span<const uint8_t> sound(data + 2 + format.size(), size - 2 - format.size());
    int driver = 0;
    while (driver < audio_codec_count() && audio_codec_info(driver).tag != tag) ++driver;
    AUDIO_CODEC_LAYOUT layout = {};
    if (audio_codec_layout(&layout, format)) require(layout.rate > 0 && layout.scale > 0);
    AUDIO_CODEC_PTR stream = audio_codec_open(driver, format, pcm(rate, channels));
    if (!stream && channels > 2) stream = audio_codec_open(driver, format, pcm(rate, 2));
    if (!stream) return 0;
    require(audio_codec_packet_samples(stream.get()) >= 0 && audio_codec_preroll(stream.get()) >= 0);

    std::vector<uint8_t> target(out);
    size_t at = 0;
    // A call that neither takes nor gives ends it; so does plenty of sound, which silence for lost packets may be.
    for (int call = 0; call < 20000; ++call) {
        const size_t n = std::min(in, sound.size() - at);
        AUDIO_CODEC_BLOCK block = {sound.subspan(at, n), target, 0, 0};
        if (!audio_codec_convert(stream.get(), &block, at + n == sound.size())) break;
        require(block.source_used <= n && block.target_used <= out);
        at += block.source_used;
        if (block.source_used == 0 && block.target_used == 0) {
            require(at == sound.size());
            break;
        }
    }
    return 0;
}
