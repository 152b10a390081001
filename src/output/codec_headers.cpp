#include "output/codec_headers.h"

#include <algorithm>
#include <cstring>

#include "core/media.h"
#include "vantel_formats.h"

static constexpr uint32_t code(const char (&text)[5]) { return VANTEL_FOURCC(text[0], text[1], text[2], text[3]); }

/// Handlers by the codec; `compressor` is one that compresses it, 0 = the handler itself.
static constexpr struct {
    uint32_t handler;
    CODEC_HEADERS_KIND kind;
    uint32_t compressor;
} CODECS[] = {
    {code("XVID"), CODEC_HEADERS_MPEG4, 0},
    {code("DIVX"), CODEC_HEADERS_MPEG4, 0},
    {code("DX50"), CODEC_HEADERS_MPEG4, 0},
    {code("FMP4"), CODEC_HEADERS_MPEG4, 0},
    {code("MP4V"), CODEC_HEADERS_MPEG4, code("FMP4")},
    {code("MP4S"), CODEC_HEADERS_MPEG4, code("FMP4")},
    {code("M4S2"), CODEC_HEADERS_MPEG4, code("FMP4")},
    {code("H264"), CODEC_HEADERS_H264, 0},
    {code("X264"), CODEC_HEADERS_H264, code("H264")},
    {code("AVC1"), CODEC_HEADERS_H264, code("H264")},
    {code("DAVC"), CODEC_HEADERS_H264, code("H264")},
    {code("HFYU"), CODEC_HEADERS_BLOCK, 0},
    {code("FFVH"), CODEC_HEADERS_BLOCK, 0},
    {code("FFV1"), CODEC_HEADERS_BLOCK, 0},
    {code("ULRG"), CODEC_HEADERS_BLOCK, 0},
    {code("ULY0"), CODEC_HEADERS_BLOCK, 0},
    {code("ULY2"), CODEC_HEADERS_BLOCK, 0},
    {code("ULY4"), CODEC_HEADERS_BLOCK, 0},
    {code("ULH0"), CODEC_HEADERS_BLOCK, 0},
    {code("ULH2"), CODEC_HEADERS_BLOCK, 0},
    {code("ULH4"), CODEC_HEADERS_BLOCK, 0},
    {code("ASV2"), CODEC_HEADERS_BLOCK, 0},
    {code("WMV2"), CODEC_HEADERS_BLOCK, 0},
};

static const auto* codec_of(uint32_t handler) {
    const auto* row = std::find_if(std::begin(CODECS), std::end(CODECS),
                                   [&](const auto& r) { return r.handler == media_code_normal(handler); });
    return row == std::end(CODECS) ? nullptr : row;
}

static std::span<const uint8_t> extra_of(std::span<const uint8_t> format) {
    return format.subspan(std::min(format.size(), sizeof(BITMAPINFOHEADER)));
}

// ---- the record that MP4 files have: 1, profile and level, bits of the unit length - 1, sets with 16-bit lengths

static constexpr size_t RECORD_MIN = 7, RECORD_SETS = 5;

static bool is_record(std::span<const uint8_t> extra) { return extra.size() >= RECORD_MIN && extra[0] == 1; }

CODEC_HEADERS_FORM codec_headers_form(uint32_t handler, std::span<const uint8_t> format) {
    const auto* codec = codec_of(handler);
    const std::span<const uint8_t> extra = extra_of(format);
    const bool numbers = codec && codec->kind == CODEC_HEADERS_H264 && is_record(extra);
    return {codec ? codec->kind : CODEC_HEADERS_NONE, numbers ? size_t{(extra[4] & 3u) + 1} : 0};
}

uint32_t codec_headers_compressor(uint32_t handler) {
    const auto* codec = codec_of(handler);
    return codec && codec->compressor ? codec->compressor : handler;
}

bool codec_headers_block_same(std::span<const uint8_t> a, std::span<const uint8_t> b) {
    if (a.size() < sizeof(BITMAPINFOHEADER) || b.size() < sizeof(BITMAPINFOHEADER)) return false;
    constexpr size_t BITS = offsetof(BITMAPINFOHEADER, biBitCount);
    return std::memcmp(&a[BITS], &b[BITS], sizeof BITMAPINFOHEADER::biBitCount) == 0 &&
           std::ranges::equal(extra_of(a), extra_of(b));
}

/// Appends a unit behind its length. False when it does not fit.
static bool put_unit(std::vector<uint8_t>* out, std::span<const uint8_t> unit, size_t length_bytes) {
    if (uint64_t{unit.size()} >> 8 * length_bytes != 0) return false;
    for (size_t i = length_bytes; i-- > 0;) out->push_back(uint8_t(unit.size() >> 8 * i));
    out->insert(out->end(), unit.begin(), unit.end());
    return true;
}

static std::vector<uint8_t> sets_of_record(std::span<const uint8_t> extra, size_t length_bytes) {
    std::vector<uint8_t> out;
    size_t at = RECORD_SETS;
    for (const unsigned mask : {0x1Fu, 0xFFu}) {  // sequence sets, then picture sets
        if (at >= extra.size()) return {};
        for (size_t n = extra[at++] & mask; n > 0; --n) {
            if (extra.size() - at < 2) return {};
            const size_t size = size_t{extra[at]} << 8 | extra[at + 1];
            if (extra.size() - at - 2 < size || !put_unit(&out, extra.subspan(at + 2, size), length_bytes)) return {};
            at += 2 + size;
        }
    }
    return out;
}

// ---- start codes

/// Place of the next 00 00 01 from `at` on, the size when there is none.
static size_t next_start(std::span<const uint8_t> bytes, size_t at) {
    static constexpr uint8_t START[] = {0, 0, 1};
    return size_t(std::search(bytes.begin() + ptrdiff_t(std::min(at, bytes.size())), bytes.end(), std::begin(START),
                              std::end(START)) -
                  bytes.begin());
}

// No unit ends with a zero: those belong to the next start code, or fill the block.
static std::span<const uint8_t> without_zeros(std::span<const uint8_t> bytes) {
    while (!bytes.empty() && bytes.back() == 0) bytes = bytes.first(bytes.size() - 1);
    return bytes;
}

/// A unit of H.264 or a part of MPEG-4 behind its start code.
struct UNIT {
    size_t start;  // of its start code or length
    std::span<const uint8_t> bytes;
};

/// The unit at *at, which moves on. False at the end, or where the packet does not hold the unit.
static bool next_unit(std::span<const uint8_t> packet, size_t length_bytes, size_t* at, UNIT* unit) {
    if (length_bytes == 0) {
        unit->start = next_start(packet, *at);
        if (packet.size() - unit->start < 4) return false;
        *at = next_start(packet, unit->start + 3);
        unit->bytes = without_zeros(packet.subspan(unit->start + 3, *at - unit->start - 3));
        return true;
    }
    if (packet.size() - *at < length_bytes) return false;
    size_t size = 0;
    for (size_t i = 0; i < length_bytes; ++i) size = size << 8 | packet[*at + i];
    unit->start = *at;
    *at += length_bytes;
    if (packet.size() - *at < size) return false;
    unit->bytes = packet.subspan(*at, size);
    *at += size;
    return true;
}

enum UNIT_ROLE { UNIT_OTHER, UNIT_HEADER, UNIT_PICTURE };

static UNIT_ROLE role_of(CODEC_HEADERS_KIND kind, const UNIT& unit) {
    if (unit.bytes.empty()) return UNIT_OTHER;
    const uint8_t first = unit.bytes[0];
    if (kind == CODEC_HEADERS_MPEG4) {
        constexpr uint8_t GROUP = 0xB3, PICTURE = 0xB6;
        if (first == GROUP || first == PICTURE) return UNIT_PICTURE;
        return first >= 0x20 && first <= 0x2F ? UNIT_HEADER : UNIT_OTHER;
    }
    constexpr int SLICE = 1, SLICE_IDR = 5, SEQUENCE_SET = 7;
    const int type = first & 0x1F;
    if (type >= SLICE && type <= SLICE_IDR) return UNIT_PICTURE;
    return type == SEQUENCE_SET ? UNIT_HEADER : UNIT_OTHER;
}

std::span<const uint8_t> codec_headers_of_packet(CODEC_HEADERS_FORM form, std::span<const uint8_t> packet) {
    if (form.kind != CODEC_HEADERS_MPEG4 && form.kind != CODEC_HEADERS_H264) return {};
    bool found = false;
    size_t at = 0, end = packet.size();
    for (UNIT unit; next_unit(packet, form.length_bytes, &at, &unit);) {
        const UNIT_ROLE role = role_of(form.kind, unit);
        found = found || role == UNIT_HEADER;
        if (role == UNIT_PICTURE) {
            end = unit.start;
            break;
        }
    }
    if (!found) return {};
    const std::span<const uint8_t> headers = packet.first(end);
    return form.length_bytes ? headers : without_zeros(headers);
}

std::vector<uint8_t> codec_headers_of_format(CODEC_HEADERS_FORM form, std::span<const uint8_t> format) {
    const std::span<const uint8_t> extra = extra_of(format);
    if (form.length_bytes) return sets_of_record(extra, form.length_bytes);
    const std::span<const uint8_t> headers = codec_headers_of_packet(form, extra);
    return {headers.begin(), headers.end()};
}

bool codec_headers_reframe(CODEC_HEADERS_FORM form, std::span<const uint8_t> packet, std::vector<uint8_t>* out) {
    out->clear();
    size_t at = 0;
    for (UNIT unit; next_unit(packet, 0, &at, &unit);)
        if (!put_unit(out, unit.bytes, form.length_bytes)) return false;
    return !out->empty();
}
