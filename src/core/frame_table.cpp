#include "core/frame_table.h"

#include <algorithm>
#include <cstring>

#include "core/edit_state.h"
#include "core/memory.h"

FRAME_TABLE frame_table;

static constexpr size_t GUARD = 8;  // entries readable before the first and behind the last
static uint32_t* wide_block[4];
static uint8_t* byte_block[6];
static int limit_now;

static uint32_t** wide_column(int i) {
    uint32_t** const columns[] = {&frame_table.frame_video, &frame_table.frame_audio, &frame_table.frame_field_metric,
                                  &frame_table.frame_field_diff};
    return columns[i];
}

static uint8_t** byte_column(int i) {
    uint8_t** const columns[] = {&frame_table.frame_inter,   &frame_table.frame_phase,    &frame_table.frame_flag,
                                 &frame_table.frame_profile, &frame_table.frame_compress, &frame_table.frame_clip};
    return columns[i];
}

static size_t wide_size() { return 4 * (size_t(limit_now) + 2 * GUARD); }
static size_t byte_size() { return size_t(limit_now) + 2 * GUARD; }

int frame_table_alloc(int limit) {
    frame_table_free();
    limit_now = limit;
    bool good = true;
    for (int i = 0; i < 4; ++i) {
        wide_block[i] = static_cast<uint32_t*>(mem_alloc(wide_size()));
        if (wide_block[i]) *wide_column(i) = wide_block[i] + GUARD;
        good = good && wide_block[i];
    }
    for (int i = 0; i < 6; ++i) {
        byte_block[i] = static_cast<uint8_t*>(mem_alloc(byte_size()));
        if (byte_block[i]) *byte_column(i) = byte_block[i] + GUARD;
        good = good && byte_block[i];
    }
    if (!good) frame_table_free();
    return good;
}

void frame_table_free() {
    for (auto*& block : wide_block) mem_free(block), block = nullptr;
    for (auto*& block : byte_block) mem_free(block), block = nullptr;
    frame_table = {};
    limit_now = 0;
}

// Fresh pages read as zero, so only entries that were ever used are touched: a table of millions of frames costs memory
// only for the frames that an edit has.
void frame_table_clear() {
    for (auto* block : wide_block) {
        if (!block) continue;
        uint32_t* const end = block + wide_size() / 4;
        for (uint32_t* p = block; p < end; p += 1024) {
            const size_t n = std::min<size_t>(1024, size_t(end - p));
            if (std::any_of(p, p + n, [](uint32_t v) { return v != 0; })) std::memset(p, 0, n * 4);
        }
    }
    for (auto* block : byte_block) {
        if (!block) continue;
        uint8_t* const end = block + byte_size();
        for (uint8_t* p = block; p < end; p += 4096) {
            const size_t n = std::min<size_t>(4096, size_t(end - p));
            if (std::any_of(p, p + n, [](uint8_t v) { return v != 0; })) std::memset(p, 0, n);
        }
    }
}

int frame_limit() { return limit_now; }

int frame_clamp(const EDIT_STATE* edit, int frame) { return std::max(0, std::min(frame, edit->frame_n - 1)); }

int frame_profile_index(const EDIT_STATE* edit, int frame) {
    return std::min<int>(frame_table.frame_profile[frame_clamp(edit, frame)], PROFILE_MAX - 1);
}

const char* frame_profile_name(const EDIT_STATE* edit, int frame) {
    return edit->profile_name[frame_profile_index(edit, frame)];
}

void frame_entry_copy(int to, int from) {
    FRAME_TABLE& t = frame_table;
    t.frame_video[to] = t.frame_video[from];
    t.frame_audio[to] = t.frame_audio[from];
    t.frame_inter[to] = t.frame_inter[from];
    t.frame_phase[to] = t.frame_phase[from];
    t.frame_flag[to] = t.frame_flag[from] & FRAME_USER_FLAGS;
    t.frame_profile[to] = t.frame_profile[from];
    t.frame_compress[to] = t.frame_compress[from];
    t.frame_clip[to] = t.frame_clip[from];
}

void frame_entry_copy_picture(int to, int from) {
    frame_table.frame_video[to] = frame_table.frame_video[from];
    frame_table.frame_clip[to] = frame_table.frame_clip[from];
    frame_table.frame_flag[to] &= FRAME_USER_FLAGS;
}

void frame_entry_copy_sound(int to, int from) { frame_table.frame_audio[to] = frame_table.frame_audio[from]; }
