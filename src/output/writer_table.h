#pragma once

#include <cstddef>
#include <cstdint>

#include "core/edit_state.h"

/// What the save driver writes through: one row a kind of output. Results are those of output/avi_writer.h.
struct WRITER {
    const char* name;
    int (*open)(SAVE_CONTEXT* context, const char* path, uint32_t flags, const void* info, size_t info_size);
    int (*close)(SAVE_CONTEXT* context);
    int (*put_frame)(SAVE_CONTEXT* context, const void* pixels, uint32_t* out_size);
    int (*put_stored_frame)(SAVE_CONTEXT* context, const void* bytes, size_t size, uint32_t flags);
    int (*put_audio)(SAVE_CONTEXT* context, const void* bytes, size_t size);
    int (*put_stored_audio)(SAVE_CONTEXT* context, const void* bytes, size_t size);
    int (*restart_compressor)(SAVE_CONTEXT* context, const VIDEO_CODEC_SETTING* setting);
    int64_t (*data_rate)(const SAVE_CONTEXT* context);
};

extern const WRITER writer_avi;   // AVI and WAV files
extern const WRITER writer_null;  // takes everything, keeps nothing
extern const WRITER writer_hash;  // keeps a hash of all bytes in their order

/// The hash of everything that writer_hash took since its last open (FNV-1a, 64 bits), frames and sound apart.
struct WRITER_HASHES {
    uint64_t video, audio;
    int64_t frames, audio_bytes;
};
const WRITER_HASHES& writer_hashes();
