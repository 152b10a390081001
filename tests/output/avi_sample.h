#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "output/avi_file.h"
#include "output/avi_writer.h"
#include "output/save_flags.h"

/// What the writer's tests share: files to write to, contexts, and files read back.

using BYTES = std::vector<uint8_t>;

/// A name in memory where the machine has that, since some tests write hundreds of files; removed at the end.
struct SAMPLE_FILE {
    std::string path;
    explicit SAMPLE_FILE(const char* name) {
        const std::string folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : ::testing::TempDir();
        path = folder + "vantel_" + std::to_string(getpid()) + "_" + name;
    }
    ~SAMPLE_FILE() { unlink(path.c_str()); }
    BYTES load() const {
        BYTES bytes;
        FILE* file = fopen(path.c_str(), "rb");
        if (!file) return bytes;
        for (int c = getc(file); c != EOF; c = getc(file)) bytes.push_back(uint8_t(c));
        fclose(file);
        return bytes;
    }
};

/// The settings of the writer, put back at the end.
struct SAMPLE_SETTINGS {
    AVI_WRITER_SETTINGS before = avi_writer_settings;
    ~SAMPLE_SETTINGS() { avi_writer_settings = before; }
};

inline constexpr int SAMPLE_WIDTH = 16, SAMPLE_HEIGHT = 6;

/// 16 x 6 pictures of 24 bits at 30000/1001, 8,000 Hz sound of one channel and 16 bits.
inline std::unique_ptr<SAVE_CONTEXT> sample_context() {
    auto context = std::make_unique<SAVE_CONTEXT>();
    context->media_width = SAMPLE_WIDTH;
    context->media_height = SAMPLE_HEIGHT;
    context->video_header = {40, SAMPLE_WIDTH, SAMPLE_HEIGHT, 1, 24, 0, SAMPLE_WIDTH * SAMPLE_HEIGHT * 3, 0, 0, 0, 0};
    context->audio_header = {1, 1, 8000, 16000, 2, 16, 0};
    context->video_stream.dwScale = 1001;
    context->video_stream.dwRate = 30000;
    return context;
}

/// n bytes that few others share, with zeros at the end of long ones, which keeps dumps short.
inline BYTES sample_bytes(uint32_t seed, size_t n) {
    BYTES bytes(n);
    for (size_t i = 0; i < n && i < 24; ++i) bytes[i] = uint8_t((seed * 37 + i * 11) | 1);
    return bytes;
}

/// The chunks of a test run: code and bytes, put in this order.
struct SAMPLE_CHUNK {
    uint32_t code;
    BYTES bytes;
    bool operator==(const SAMPLE_CHUNK&) const = default;
};

/// Gives a chunk to the writer by its code.
inline int sample_put(SAVE_CONTEXT* context, const SAMPLE_CHUNK& chunk) {
    if (chunk.code == FCC_01WB) return avi_put_stored_audio(context, chunk.bytes.data(), chunk.bytes.size());
    const uint32_t flags = chunk.code == FCC_00DB ? AVIIF_KEYFRAME : 0;
    return avi_put_stored_frame(context, chunk.bytes.data(), chunk.bytes.size(), flags);
}

/// n chunks of growing, often odd sizes: sound at every fourth place, empty frames, key frames.
inline std::vector<SAMPLE_CHUNK> sample_chunks(uint32_t n, size_t step) {
    std::vector<SAMPLE_CHUNK> chunks;
    for (uint32_t i = 0; i < n; ++i) {
        if (i % 4 == 0) {
            chunks.push_back({FCC_01WB, sample_bytes(i, 2 * (i + 1))});
        } else if (i % 8 == 7) {
            chunks.push_back({FCC_00DC, {}});
        } else {
            chunks.push_back({i % 4 == 1 ? FCC_00DB : FCC_00DC, sample_bytes(i, step * i + i % 3)});
        }
    }
    return chunks;
}
