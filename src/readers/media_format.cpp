#include "readers/media_format.h"

#include <algorithm>
#include <cstring>

static constexpr size_t PCM_FORMAT_SIZE = 16;  // without cbSize
static constexpr size_t EXTENSIBLE_SIZE = 40;
static constexpr size_t SUBFORMAT_AT = 24;
static constexpr uint16_t TAG_PCM = 1;
static constexpr uint16_t TAG_EXTENSIBLE = 0xFFFE;
static constexpr uint8_t SUBFORMAT_PCM[16] = {1, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};

bool picture_format_repair(BITMAPINFOHEADER* format, size_t size) {
    if (size < sizeof *format || format->biWidth <= 0) return false;
    if (format->biHeight == 0 || format->biHeight == INT32_MIN) return false;
    if (format->biSize < sizeof *format || format->biSize > size) format->biSize = uint32_t(size);
    return true;
}

uint64_t picture_row_bytes(int32_t width, uint16_t bits) { return (uint64_t(uint32_t(width)) * bits + 31) / 32 * 4; }

bool picture_bits_are_rgb(uint16_t bits) {
    return picture_palette_bytes(bits) > 0 || bits == 16 || bits == 24 || bits == 32;
}

size_t picture_palette_bytes(uint16_t bits) { return bits == 1 || bits == 4 || bits == 8 ? size_t{4} << bits : 0; }

bool sound_format_is_pcm(const WAVEFORMATEX* format, size_t size) {
    if (format->wFormatTag == TAG_PCM) return true;
    const uint8_t* subformat = reinterpret_cast<const uint8_t*>(format) + SUBFORMAT_AT;
    return format->wFormatTag == TAG_EXTENSIBLE && size >= EXTENSIBLE_SIZE &&
           std::memcmp(subformat, SUBFORMAT_PCM, sizeof SUBFORMAT_PCM) == 0;
}

static bool block_repair(WAVEFORMATEX* format) {
    if (format->nBlockAlign) return true;
    const uint32_t block = uint32_t{format->nChannels} * format->wBitsPerSample / 8;
    if (block == 0 || block > UINT16_MAX) return false;
    format->nBlockAlign = uint16_t(block);
    return true;
}

bool sound_format_repair(WAVEFORMATEX* format, size_t size, bool variable) {
    if (size < PCM_FORMAT_SIZE || format->nChannels == 0) return false;
    if (format->nSamplesPerSec == 0 || format->nSamplesPerSec > INT32_MAX) return false;
    if (!variable && !block_repair(format)) return false;
    if (size >= sizeof *format) format->cbSize = uint16_t(std::min<size_t>(format->cbSize, size - sizeof *format));
    if (format->nAvgBytesPerSec == 0 && sound_format_is_pcm(format, size))
        format->nAvgBytesPerSec = format->nSamplesPerSec * format->nBlockAlign;
    return true;
}
