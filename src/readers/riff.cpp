#include "readers/riff.h"

#include <algorithm>
#include <new>

#include "platform/file.h"
#include "readers/fourcc.h"

static constexpr size_t READ_MIN = 4096;
static constexpr size_t READ_MAX = 1 << 20;
static constexpr size_t HEADER_SIZE = 8;

bool riff_start(RIFF_FILE* riff, int file) {
    *riff = {};
    riff->file = file;
    riff->size = file_size(file);
    riff->steps = RIFF_STEPS_MAX;
    riff->window.reset(new (std::nothrow) uint8_t[READ_MAX]);
    return riff->size > 0 && riff->window;
}

static bool window_holds(const RIFF_FILE* riff, int64_t position, size_t n) {
    return position >= riff->window_start && position - riff->window_start <= int64_t(riff->window_n) - int64_t(n);
}

static bool window_read(RIFF_FILE* riff, int64_t position) {
    const int64_t end = riff->window_start + int64_t(riff->window_n);
    const bool goes_on = riff->window_n > 0 && position >= riff->window_start && position <= end;
    riff->read_n = goes_on ? std::min(riff->read_n * 2, READ_MAX) : READ_MIN;
    const int64_t got = file_read_at(riff->file, riff->window.get(), riff->read_n, position);
    riff->window_start = position;
    riff->window_n = got > 0 ? size_t(got) : 0;
    return got > 0;
}

const uint8_t* riff_bytes(RIFF_FILE* riff, int64_t position, size_t n) {
    if (position < 0 || n > READ_MIN || position > riff->size - int64_t(n)) return nullptr;
    if (!window_holds(riff, position, n) && (!window_read(riff, position) || !window_holds(riff, position, n)))
        return nullptr;
    return riff->window.get() + (position - riff->window_start);
}

static bool list_head(RIFF_FILE* riff, RIFF_CHUNK* out, int64_t position, uint32_t size) {
    const uint8_t* head = riff_bytes(riff, position, HEADER_SIZE + 4);
    if (!head) return false;
    *out = {bytes_u32(head + HEADER_SIZE), size - 4, position + int64_t(HEADER_SIZE) + 4};
    return true;
}

bool riff_next(RIFF_FILE* riff, RIFF_CHUNK* out, int64_t* position, const RIFF_CHUNK* parent) {
    const int64_t at = *position;
    if (at > parent->position + int64_t{parent->size} || riff->steps == 0) return false;
    riff->steps--;
    const uint8_t* head = riff_bytes(riff, at, HEADER_SIZE);
    if (!head) return false;
    const uint32_t size = bytes_u32(head + 4);
    *out = {bytes_u32(head), size, at + int64_t(HEADER_SIZE)};
    *position = riff_behind(out->position, size);
    return out->code != fourcc("LIST") || list_head(riff, out, at, size);
}

static bool root_find(RIFF_FILE* riff, RIFF_CHUNK* out, uint32_t form) {
    const uint8_t* head = riff_bytes(riff, 0, HEADER_SIZE + 4);
    if (!head || bytes_u32(head) != fourcc("RIFF")) return false;
    return list_head(riff, out, 0, bytes_u32(head + 4)) && out->code == form;
}

bool riff_find(RIFF_FILE* riff, RIFF_CHUNK* out, uint32_t code, int index, const RIFF_CHUNK* parent) {
    if (!parent) return root_find(riff, out, code);
    int64_t position = parent->position;
    while (riff_next(riff, out, &position, parent)) {
        if (out->code == code && index-- == 0) return true;
    }
    return false;
}
