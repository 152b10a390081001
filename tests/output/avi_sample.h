#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "output/avi_file.h"
#include "output/avi_writer.h"
#include "output/save_flags.h"
#include "readers/avi_reader.h"
#include "support/avi_builder.h"
#include "support/command.h"

/// What the writer's tests share: files to write to, contexts, and files read back.

/// A name in memory where the machine has that, since some tests write hundreds of files; removed at the end.
struct SAMPLE_FILE {
    std::string path;
    explicit SAMPLE_FILE(const char* name) {
        const std::string folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : ::testing::TempDir();
        path = folder + "vantel_" + std::to_string(getpid()) + "_" + name;
    }
    ~SAMPLE_FILE() { unlink(path.c_str()); }
    BYTES load() const {
        const std::string bytes = file_bytes(path);
        return {bytes.begin(), bytes.end()};
    }
};

/// The settings of the writer, put back at the end.
struct SAMPLE_SETTINGS {
    AVI_WRITER_SETTINGS before = avi_writer_settings;
    ~SAMPLE_SETTINGS() { avi_writer_settings = before; }
};

/// The file size limit of the process stands for a full disk.
struct SIZE_LIMIT {
    rlimit before{};
    explicit SIZE_LIMIT(size_t bytes) {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit now = before;
        now.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &now);
    }
    ~SIZE_LIMIT() { setrlimit(RLIMIT_FSIZE, &before); }
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

/// Settings that are put back, and a context.
struct SAMPLE_TEST : testing::Test {
    const SAMPLE_SETTINGS settings;
    const std::unique_ptr<SAVE_CONTEXT> context = sample_context();
};

/// Opens a file by the writer; info: the INFO list.
inline int sample_open(SAVE_CONTEXT* context, const SAMPLE_FILE& file, uint32_t flags, const BYTES& info = {}) {
    return avi_open(context, file.path.c_str(), flags, info.data(), info.size());
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
        if (i % 4 == 0)
            chunks.push_back({FCC_01WB, sample_bytes(i, 2 * (i + 1))});
        else
            chunks.push_back({i % 4 == 1 ? FCC_00DB : FCC_00DC, sample_bytes(i, i % 8 == 7 ? 0 : step * i + i % 3)});
    }
    return chunks;
}

/// What a file holds for who opens it; a reader cannot tell sound chunks apart.
struct SAMPLE_MEDIA {
    std::vector<SAMPLE_CHUNK> frames;
    BYTES sound;
    bool operator==(const SAMPLE_MEDIA&) const = default;
};

inline SAMPLE_MEDIA sample_media(const std::vector<SAMPLE_CHUNK>& chunks) {
    SAMPLE_MEDIA media = {};
    for (const SAMPLE_CHUNK& chunk : chunks) {
        if (chunk.code != FCC_01WB) {
            media.frames.push_back(chunk);
            // raw video ends with the picture for a reader
            BYTES& bytes = media.frames.back().bytes;
            bytes.resize(std::min(bytes.size(), size_t{SAMPLE_WIDTH * SAMPLE_HEIGHT * 3}));
        }
        if (chunk.code == FCC_01WB) media.sound.insert(media.sound.end(), chunk.bytes.begin(), chunk.bytes.end());
    }
    return media;
}

/// The file through the program's own reader; nothing when the reader refuses it.
inline SAMPLE_MEDIA sample_read(const std::string& path) {
    SAMPLE_MEDIA media = {};
    const INPUT_PLUGIN_HANDLE file = avi_reader_open(path.c_str());
    if (!file) return media;
    INPUT_MEDIA_INFO info = {};
    avi_reader_info(file, &info);
    for (int32_t i = 0; i < info.frames; ++i) {
        BYTES bytes(65536);
        bytes.resize(size_t(avi_reader_read_video_bounded(file, i, bytes.data(), bytes.size(), nullptr)));
        media.frames.push_back({avi_reader_is_keyframe(file, i) ? FCC_00DB : FCC_00DC, bytes});
    }
    media.sound.resize(size_t(info.audio_samples) * 2);
    if (info.audio_samples > 0) avi_reader_read_audio(file, 0, info.audio_samples, media.sound.data());
    avi_reader_close(file);
    return media;
}
