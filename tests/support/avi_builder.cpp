#include "support/avi_builder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

// ---- a file being written ----

struct WRITER {
    AVI_IMAGE image;

    uint64_t at() const { return image.size; }
    void put(const void* data, size_t n) {
        if (image.pieces.empty() || image.pieces.back().at + image.pieces.back().bytes.size() != image.size)
            image.pieces.push_back({image.size, {}});
        const uint8_t* bytes = static_cast<const uint8_t*>(data);
        image.pieces.back().bytes.insert(image.pieces.back().bytes.end(), bytes, bytes + n);
        image.size += n;
    }
    void code(const char* text) { put(text, 4); }
    void u16(uint16_t value) { put(&value, 2); }
    void u32(uint32_t value) { put(&value, 4); }
    void u64(uint64_t value) { put(&value, 8); }
    void zeros(size_t n) { put(BYTES(n).data(), n); }
    void hole(uint64_t n) { image.size += n; }
    void patch(uint64_t where, const void* data, size_t n) {
        for (AVI_IMAGE::PIECE& piece : image.pieces) {
            if (where >= piece.at && where + n <= piece.at + piece.bytes.size())
                std::memcpy(piece.bytes.data() + (where - piece.at), data, n);
        }
    }
    uint64_t open(const char* chunk, const char* list = nullptr) {
        code(chunk);
        u32(0);
        const uint64_t start = at();
        if (list) code(list);
        return start;
    }
    void close(uint64_t start) {
        const uint32_t n = uint32_t(at() - start);
        patch(start - 4, &n, 4);
        if (n & 1) zeros(1);
    }
};

struct PLACED {
    const AVI_BUILD_CHUNK* chunk;
    uint64_t data;
};

static std::string chunk_code(const AVI_BUILD_CHUNK& chunk) {
    return std::string("0") + char('0' + chunk.stream) + chunk.kind;
}

static void write_stream(WRITER& w, const AVI_BUILD_STREAM& stream, size_t super_room, std::vector<uint64_t>& super) {
    const uint64_t list = w.open("LIST", "strl");
    const uint64_t head = w.open("strh");
    w.code(stream.type);
    w.u32(stream.handler);
    w.zeros(12);
    w.u32(stream.scale);
    w.u32(stream.rate);
    w.u32(0);
    w.u32(stream.length);
    w.zeros(8);
    w.u32(stream.sample_size);
    w.zeros(8);
    w.close(head);
    const uint64_t format = w.open("strf");
    w.put(stream.format.data(), stream.format.size());
    w.close(format);
    if (super_room) {
        super.push_back(w.at() + 8);
        const uint64_t index = w.open("indx");
        w.u16(4);
        w.zeros(22 + 16 * super_room);
        w.close(index);
    }
    w.close(list);
}

static void write_standard_index(WRITER& w, const std::vector<PLACED>& placed, int stream, uint64_t base) {
    const uint64_t index = w.open(stream == 0 ? "ix00" : "ix01");
    std::vector<PLACED> own;
    for (const PLACED& p : placed) {
        if (p.chunk->stream == stream) own.push_back(p);
    }
    w.u16(2);
    w.u16(0x0100);
    w.u32(uint32_t(own.size()));
    w.code(chunk_code(*own[0].chunk).c_str());
    w.u64(base);
    w.u32(0);
    for (const PLACED& p : own) {
        w.u32(uint32_t(p.data - base));
        w.u32(uint32_t(p.chunk->data.size()) | (p.chunk->key ? 0 : 0x80000000));
    }
    w.u64(0);  // a closing entry, which nobody counts
    w.close(index);
}

static void add_super_entry(WRITER& w, uint64_t super, uint32_t& used, uint64_t index) {
    const uint32_t size = 32;
    w.patch(super + 24 + 16 * used, &index, 8);
    w.patch(super + 24 + 16 * used + 8, &size, 4);
    ++used;
    w.patch(super + 4, &used, 4);
}

static std::vector<PLACED> write_chunks(WRITER& w, const AVI_BUILD& build, size_t first, size_t last) {
    std::vector<PLACED> placed;
    for (size_t i = first; i < last; ++i) {
        const AVI_BUILD_CHUNK& chunk = build.chunks[i];
        if (chunk.gap_before) {
            w.code("JUNK");
            w.u32(chunk.gap_before);
            w.hole(chunk.gap_before);
        }
        const uint64_t start = w.open(chunk_code(chunk).c_str());
        placed.push_back({&chunk, start});
        w.put(chunk.data.data(), chunk.data.size());
        w.close(start);
    }
    return placed;
}

static void write_idx1(WRITER& w, const std::vector<PLACED>& placed, uint64_t base) {
    const uint64_t index = w.open("idx1");
    for (const PLACED& p : placed) {
        w.code(chunk_code(*p.chunk).c_str());
        w.u32(p.chunk->key ? 0x10 : 0);
        w.u32(uint32_t(p.data - 8 - base));
        w.u32(uint32_t(p.chunk->data.size()));
    }
    w.close(index);
}

AVI_IMAGE avi_build_image(const AVI_BUILD& build) {
    WRITER w;
    const bool odml = build.index == AVI_BUILD_ODML;
    const size_t lists =
        odml ? (build.chunks.size() - 1) / std::min(build.chunks_per_list, build.chunks.size()) + 1 : 0;
    const size_t super_room = lists * size_t(build.super_repeat);
    std::vector<uint64_t> super;
    std::vector<uint32_t> used(build.streams.size());
    for (size_t first = 0, list = 0; list == 0 || first < build.chunks.size(); ++list) {
        const uint64_t riff = w.open("RIFF", list == 0 ? "AVI " : "AVIX");
        if (list == 0) {
            const uint64_t header = w.open("LIST", "hdrl");
            const uint64_t main_header = w.open("avih");
            w.zeros(56);
            w.close(main_header);
            for (const AVI_BUILD_STREAM& stream : build.streams) write_stream(w, stream, super_room, super);
            if (odml) {
                const uint64_t extended = w.open("LIST", "odml");
                w.close(w.open("dmlh"));
                w.close(extended);
            }
            w.close(header);
        }
        const uint64_t movi = w.open("LIST", "movi");
        const size_t last =
            odml ? first + std::min(build.chunks_per_list, build.chunks.size() - first) : build.chunks.size();
        const std::vector<PLACED> placed = write_chunks(w, build, first, last);
        for (int stream = 0; odml && stream < int(build.streams.size()); ++stream) {
            const uint64_t index = w.at();
            if (std::none_of(placed.begin(), placed.end(), [&](const PLACED& p) { return p.chunk->stream == stream; }))
                continue;
            write_standard_index(w, placed, stream, movi + 4);
            for (int i = 0; i < build.super_repeat; ++i)
                add_super_entry(w, super[size_t(stream)], used[size_t(stream)], index);
        }
        w.close(movi);
        if (build.index == AVI_BUILD_IDX1_RELATIVE) write_idx1(w, placed, movi);
        if (build.index == AVI_BUILD_IDX1_ABSOLUTE) write_idx1(w, placed, 0);
        w.close(riff);
        first = last;
    }
    return w.image;
}

BYTES avi_build(const AVI_BUILD& build) {
    const AVI_IMAGE image = avi_build_image(build);
    BYTES bytes(image.size);
    for (const AVI_IMAGE::PIECE& piece : image.pieces)
        std::copy(piece.bytes.begin(), piece.bytes.end(), bytes.begin() + ptrdiff_t(piece.at));
    return bytes;
}

// ---- formats ----

template <typename RECORD>
static BYTES bytes_of(const RECORD& record) {
    BYTES bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

BYTES avi_picture_format(int32_t width, int32_t height, uint16_t bits, uint32_t compression) {
    BITMAPINFOHEADER format = {};
    format.biSize = 40;
    format.biWidth = width;
    format.biHeight = height;
    format.biPlanes = 1;
    format.biBitCount = bits;
    format.biCompression = compression;
    format.biSizeImage = uint32_t((width * bits + 31) / 32 * 4 * height);
    return bytes_of(format);
}

BYTES avi_sound_format(uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits) {
    WAVEFORMATEX format = {};
    format.wFormatTag = tag;
    format.nChannels = channels;
    format.nSamplesPerSec = rate;
    format.wBitsPerSample = bits;
    format.nBlockAlign = uint16_t(channels * bits / 8);
    format.nAvgBytesPerSec = rate * format.nBlockAlign;
    return bytes_of(format);
}

AVI_BUILD_STREAM avi_video_stream(int32_t width, int32_t height, uint16_t bits, uint32_t compression) {
    AVI_BUILD_STREAM stream;
    stream.handler = compression;
    stream.format = avi_picture_format(width, height, bits, compression);
    return stream;
}

AVI_BUILD_STREAM avi_sound_stream(uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits) {
    AVI_BUILD_STREAM stream;
    stream.type = "auds";
    stream.scale = stream.sample_size = channels * bits / 8u;
    stream.rate = rate * stream.scale;
    stream.format = avi_sound_format(tag, channels, rate, bits);
    return stream;
}

BYTES wave_build(const BYTES& format, const BYTES& samples) {
    WRITER w;
    const uint64_t riff = w.open("RIFF", "WAVE");
    const uint64_t head = w.open("fmt ");
    w.put(format.data(), format.size());
    w.close(head);
    const uint64_t data = w.open("data");
    w.put(samples.data(), samples.size());
    w.close(data);
    w.close(riff);
    return w.image.pieces[0].bytes;
}

// ---- bytes and files ----

void bytes_put_u16(BYTES& bytes, size_t at, uint16_t value) { std::memcpy(bytes.data() + at, &value, 2); }

void bytes_put_u32(BYTES& bytes, size_t at, uint32_t value) { std::memcpy(bytes.data() + at, &value, 4); }

size_t bytes_find(const BYTES& bytes, const char* code, int n) {
    for (auto it = bytes.begin();; ++it) {
        it = std::search(it, bytes.end(), code, code + 4);
        if (it == bytes.end()) break;
        if (n-- == 0) return size_t(it - bytes.begin());
    }
    ADD_FAILURE() << "no " << code;
    return 0;
}

BYTES bytes_pattern(size_t n, uint32_t seed) {
    BYTES bytes(n);
    uint32_t state = seed * 2654435761u + 1;
    for (uint8_t& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = uint8_t(state >> 24);
    }
    return bytes;
}

static int temp_create(std::string& path, const char* extension) {
    path = testing::TempDir() + "vantel_test_XXXXXX" + extension;
    return mkstemps(path.data(), int(strlen(extension)));
}

TEMP_FILE::TEMP_FILE(const BYTES& bytes, const char* extension)
    : TEMP_FILE(AVI_IMAGE{{{0, bytes}}, bytes.size()}, extension) {}

TEMP_FILE::TEMP_FILE(const AVI_IMAGE& image, const char* extension) {
    const int file = temp_create(path, extension);
    EXPECT_GE(file, 0);
    for (const AVI_IMAGE::PIECE& piece : image.pieces)
        EXPECT_EQ(pwrite(file, piece.bytes.data(), piece.bytes.size(), off_t(piece.at)), ssize_t(piece.bytes.size()));
    EXPECT_EQ(ftruncate(file, off_t(image.size)), 0);
    close(file);
}

TEMP_FILE::~TEMP_FILE() { unlink(path.c_str()); }
