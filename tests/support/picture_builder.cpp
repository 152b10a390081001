#include "support/picture_builder.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>

static void put_be(BYTES& out, uint32_t value, int bytes) {
    for (int shift = bytes * 8 - 8; shift >= 0; shift -= 8) out.push_back(uint8_t(value >> shift));
}

static void append(BYTES& out, const BYTES& bytes) { out.insert(out.end(), bytes.begin(), bytes.end()); }

// ---- PNG ----

static uint32_t crc32_of(const BYTES& bytes) {
    uint32_t crc = UINT32_MAX;
    for (const uint8_t byte : bytes) {
        crc ^= byte;
        for (int i = 0; i < 8; ++i) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return ~crc;
}

BYTES png_chunk(const char* type, const BYTES& data) {
    BYTES body(type, type + 4), out;
    append(body, data);
    put_be(out, uint32_t(data.size()), 4);
    append(out, body);
    put_be(out, crc32_of(body), 4);
    return out;
}

/// Blocks that are stored as they are.
static BYTES zlib_stored(const BYTES& data) {
    BYTES out = {0x78, 0x01};
    uint32_t a = 1, b = 0;
    for (size_t at = 0; at < data.size() || at == 0; at += 65535) {
        const size_t n = std::min<size_t>(65535, data.size() - at);
        out.push_back(at + n >= data.size());
        for (const size_t v : {n, ~n}) {
            out.push_back(uint8_t(v));
            out.push_back(uint8_t(v >> 8));
        }
        out.insert(out.end(), data.begin() + ptrdiff_t(at), data.begin() + ptrdiff_t(at + n));
    }
    for (const uint8_t byte : data) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    put_be(out, b << 16 | a, 4);
    return out;
}

/// The rows of all passes, each with the number of its filter ahead.
static BYTES png_rows(const PNG_BUILD& build) {
    static constexpr int CHANNELS[] = {1, 0, 3, 1, 2, 0, 4};
    struct PASS {
        int x, y, dx, dy;
    };
    static constexpr PASS PLAIN[] = {{0, 0, 1, 1}};
    static constexpr PASS ADAM7[] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                     {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
    BYTES out;
    for (const PASS& p : build.interlaced ? std::span<const PASS>(ADAM7) : std::span<const PASS>(PLAIN)) {
        const int64_t w = (int64_t{build.width} - p.x + p.dx - 1) / p.dx, h = (build.height - p.y + p.dy - 1) / p.dy;
        for (int64_t y = 0; w > 0 && y < h && out.size() < build.rows_held; ++y) {
            out.push_back(uint8_t(y % 5));
            const size_t row = (size_t(w) * size_t(build.depth * CHANNELS[build.color]) + 7) / 8;
            append(out, bytes_pattern(std::min(row, build.rows_held), build.seed + uint32_t(out.size())));
        }
    }
    out.resize(std::min(out.size(), build.rows_held));
    return out;
}

BYTES png_build(const PNG_BUILD& build) {
    BYTES out = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}, header;
    put_be(header, uint32_t(build.width), 4);
    put_be(header, uint32_t(build.height), 4);
    for (const int v : {build.depth, build.color, 0, 0, int(build.interlaced)}) header.push_back(uint8_t(v));
    append(out, png_chunk("IHDR", header));
    if (!build.palette.empty()) append(out, png_chunk("PLTE", build.palette));
    if (!build.transparency.empty()) append(out, png_chunk("tRNS", build.transparency));
    append(out, png_chunk("IDAT", zlib_stored(png_rows(build))));
    append(out, png_chunk("IEND", {}));
    return out;
}

// ---- JPEG ----

static void segment(BYTES& out, uint8_t marker, const BYTES& data) {
    out.push_back(0xFF);
    out.push_back(marker);
    put_be(out, uint32_t(data.size() + 2), 2);
    append(out, data);
}

/// Bits of a scan, high ones first; a byte FF is followed by 00.
struct BIT_WRITER {
    BYTES* out;
    uint32_t held = 0;
    int n = 0;
    void put(uint32_t value, int bits) {
        for (int i = bits - 1; i >= 0; --i) {
            held = held << 1 | (value >> i & 1);
            if (++n < 8) continue;
            out->push_back(uint8_t(held));
            if (uint8_t(held) == 0xFF) out->push_back(0);
            n = 0;
        }
    }
    void end() {
        while (n) put(1, 1);
    }
};

static void scan_head(BYTES& out, int components, bool progressive, int first, int last) {
    BYTES data = {uint8_t(components)};
    for (int i = 0; i < components; ++i) data.insert(data.end(), {uint8_t(i + 1), 0});
    data.insert(data.end(), {uint8_t(first), uint8_t(progressive ? last : 63), 0});
    segment(out, 0xDA, data);
}

static int block_n(const JPEG_BUILD& build) { return ((build.width + 7) / 8) * ((build.height + 7) / 8); }

/// The means of all blocks: in the first the value, in the others no difference. Code = size in 4 bits, then the bits.
static void scan_write(BYTES& out, const JPEG_BUILD& build, bool progressive) {
    BIT_WRITER bits{&out};
    for (int i = 0; i < block_n(build); ++i) {
        for (const int value : build.value) {
            const int difference = i == 0 ? value - 128 : 0, magnitude = std::abs(difference);
            int size = 0;
            while (magnitude >> size) ++size;
            bits.put(uint32_t(size), 4);
            bits.put(uint32_t(difference < 0 ? difference + (1 << size) - 1 : difference), size);
            if (!progressive) bits.put(0, 1);  // end of block
        }
    }
    bits.end();
}

BYTES jpeg_build(const JPEG_BUILD& build) {
    const int components = int(build.value.size());
    const bool progressive = build.frame == 0xC2;
    BYTES out = {0xFF, 0xD8}, data;
    if (build.adobe >= 0) segment(out, 0xEE, {'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, uint8_t(build.adobe)});
    data = BYTES(65, 8);  // a step of the mean is a step of the sample
    data[0] = 0;
    segment(out, 0xDB, data);
    data = {8};
    put_be(data, uint32_t(build.height), 2);
    put_be(data, uint32_t(build.width), 2);
    data.push_back(uint8_t(components));
    for (int i = 0; i < components; ++i) data.insert(data.end(), {uint8_t(i + 1), 0x11, 0});
    segment(out, build.frame, data);
    data = {0x00, 0, 0, 0, 12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};  // means: 12 codes of 4 bits
    for (uint8_t i = 0; i < 12; ++i) data.push_back(i);
    data.insert(data.end(), {0x10, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});  // the rest: one code, end
    segment(out, 0xC4, data);
    scan_head(out, components, progressive, 0, 0);
    scan_write(out, build, progressive);
    for (int i = 0; i < build.empty_scans; ++i) {
        scan_head(out, 1, true, 1, 63);
        BIT_WRITER bits{&out};
        for (int block = 0; block < block_n(build); ++block) bits.put(0, 1);
        bits.end();
    }
    out.insert(out.end(), {0xFF, 0xD9});
    return out;
}

// ---- BMP ----

BYTES bmp_build(int32_t width, int32_t height, uint16_t bits, const BYTES& data) {
    BYTES out(14);
    append(out, avi_picture_format(width, height, bits, 0));
    append(out, data);
    std::memcpy(out.data(), "BM", 2);
    bytes_put_u32(out, 2, uint32_t(out.size()));
    bytes_put_u32(out, 10, 54);
    return out;
}
