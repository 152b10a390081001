#include "output/writer_table.h"

#include "output/avi_writer.h"

static constexpr uint64_t FNV_START = 0xCBF29CE484222325u, FNV_PRIME = 0x100000001B3u;

static WRITER_HASHES hashes;

const WRITER_HASHES& writer_hashes() { return hashes; }

static void hash_bytes(uint64_t* hash, const void* bytes, size_t size) {
    const auto* p = static_cast<const uint8_t*>(bytes);
    for (size_t i = 0; i < size; ++i) *hash = (*hash ^ p[i]) * FNV_PRIME;
}

static int null_open(SAVE_CONTEXT*, const char*, uint32_t, const void*, size_t) { return AVI_OK; }
static int null_close(SAVE_CONTEXT*) { return 1; }
static int null_frame(SAVE_CONTEXT* context, const void*, uint32_t* out_size) {
    if (out_size) *out_size = context->video_header.biSizeImage;
    return 1;
}
static int null_stored(SAVE_CONTEXT*, const void*, size_t, uint32_t) { return 1; }
static int null_audio(SAVE_CONTEXT*, const void*, size_t) { return 1; }
static int null_restart(SAVE_CONTEXT*, const VIDEO_CODEC_SETTING*) { return AVI_OK; }
static int64_t null_rate(const SAVE_CONTEXT*) { return 0; }

static int hash_open(SAVE_CONTEXT*, const char*, uint32_t, const void*, size_t) {
    hashes = {FNV_START, FNV_START, 0, 0};
    return AVI_OK;
}
static int hash_stored(SAVE_CONTEXT*, const void* bytes, size_t size, uint32_t) {
    hash_bytes(&hashes.video, bytes, size);
    ++hashes.frames;
    return 1;
}
static int hash_frame(SAVE_CONTEXT* context, const void* pixels, uint32_t* out_size) {
    null_frame(context, pixels, out_size);
    return hash_stored(context, pixels, context->video_header.biSizeImage, 0);
}
static int hash_audio(SAVE_CONTEXT*, const void* bytes, size_t size) {
    hash_bytes(&hashes.audio, bytes, size);
    hashes.audio_bytes += int64_t(size);
    return 1;
}

const WRITER writer_avi = {"AVI",
                           avi_open,
                           avi_close,
                           avi_put_frame,
                           avi_put_stored_frame,
                           avi_put_audio,
                           avi_put_stored_audio,
                           avi_restart_compressor,
                           avi_data_rate};
const WRITER writer_null = {"null",     null_open,  null_close,   null_frame, null_stored,
                            null_audio, null_audio, null_restart, null_rate};
const WRITER writer_hash = {"hash",     hash_open,  null_close,   hash_frame, hash_stored,
                            hash_audio, hash_audio, null_restart, null_rate};
