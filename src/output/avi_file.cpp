#include "output/avi_file.h"

#include "output/avi_disk.h"
#include "platform/file.h"

AVI_WRITER avi_writer;
AVI_WRITER_SETTINGS avi_writer_settings = {4096, 320000, 0x7E000000};

static const uint8_t ZEROS[4096] = {};

static bool put_direct(AVI_WRITER* w, const void* data, size_t n, uint64_t position) {
    const int64_t done = avi_disk_write(w->file, data, n, position);
    w->stored = position + uint64_t(done);
    return done == int64_t(n);
}

bool avi_file_put(AVI_WRITER* w, const void* data, size_t n) {
    const uint64_t position = avi_file_position(w);
    w->pos += n;
    if (w->failed) return false;
    if (n == 0) return true;
    w->failed = !(w->ring ? avi_ring_put(w->ring, data, n) : put_direct(w, data, n, position));
    return !w->failed;
}

bool avi_file_put_zeros(AVI_WRITER* w, size_t n) {
    for (; n > sizeof(ZEROS); n -= sizeof(ZEROS)) avi_file_put(w, ZEROS, sizeof(ZEROS));
    return avi_file_put(w, ZEROS, n);
}

bool avi_file_flush(AVI_WRITER* w) {
    if (w->ring && !avi_ring_flush(w->ring)) w->failed = true;
    return !w->failed;
}

bool avi_file_patch(AVI_WRITER* w, uint64_t position, const void* data, size_t n) {
    if (!avi_file_flush(w)) return false;
    w->failed = file_write_at(w->file, data, n, int64_t(position)) != int64_t(n);
    return !w->failed;
}

uint64_t avi_file_stored(const AVI_WRITER* w) { return w->ring ? avi_ring_stored(w->ring) : w->stored; }

bool avi_chunk_put(AVI_WRITER* w, uint32_t code, const void* data, uint32_t size) {
    const AVI_CHUNK_HEADER header = {code, size};
    return avi_file_put(w, &header, sizeof(header)) && avi_file_put(w, data, size) && avi_file_put_zeros(w, size & 1);
}

bool avi_chunk_open(AVI_WRITER* w, AVI_OPEN_CHUNK* chunk, uint32_t code) {
    *chunk = {code, w->pos};
    const AVI_CHUNK_HEADER header = {code, uint32_t(w->pos)};
    return avi_file_put(w, &header, sizeof(header));
}

bool avi_chunk_close(AVI_WRITER* w, const AVI_OPEN_CHUNK& chunk) {
    const uint64_t size = w->pos - chunk.start - sizeof(AVI_CHUNK_HEADER);
    const AVI_CHUNK_HEADER header = {chunk.code, uint32_t(size)};
    return avi_file_patch(w, w->base + chunk.start, &header, sizeof(header)) && avi_file_put_zeros(w, w->pos & 1);
}

bool avi_list_open(AVI_WRITER* w, AVI_OPEN_CHUNK* chunk, uint32_t code, uint32_t type) {
    return avi_chunk_open(w, chunk, code) && avi_file_put(w, &type, sizeof(type));
}
