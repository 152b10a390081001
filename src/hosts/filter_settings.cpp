#include "hosts/filter_settings.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "hosts/filter.h"
#include "platform/file.h"

using BYTES = std::vector<uint8_t>;
using BYTE_SPAN = std::span<const uint8_t>;

static constexpr char HEAD[] = "Vantel FilterConfigFile version 0.1";
static constexpr size_t HEAD_SIZE = sizeof HEAD;
static_assert(HEAD_SIZE == 36);
static constexpr size_t FILE_MAX = size_t(64) << 20;

enum : int { BLOCK_FLAGS, BLOCK_ORDER, BLOCK_TRACKS, BLOCK_CHECKS, BLOCK_EXTRA, BLOCK_MAX };

// ---- what a filter stores

static int track_n(const FILTER* f) { return std::clamp<int>(f->track_count, 0, FILTER_TRACK_MAX); }
static int check_n(const FILTER* f) { return std::clamp<int>(f->check_count, 0, FILTER_CHECK_MAX); }
static bool has_extra(const FILTER* f) { return f->flags & FILTER_F_EXTRA_DATA; }
static int block_n(const FILTER* f) { return has_extra(f) ? BLOCK_MAX : BLOCK_EXTRA; }
static size_t extra_size(const FILTER* f) { return f->extra_data && f->extra_size > 0 ? size_t(f->extra_size) : 0; }

static std::array<BYTE_SPAN, BLOCK_MAX> blocks_of(const FILTER* f) {
    const auto bytes = [](const void* data, size_t n) { return BYTE_SPAN(static_cast<const uint8_t*>(data), n); };
    return {bytes(&f->flags, 4), bytes(&f->chain_order, 4), bytes(f->track_store, 4 * size_t(track_n(f))),
            bytes(f->check_store, 4 * size_t(check_n(f))), bytes(f->extra_data, extra_size(f))};
}

// ---- writing

static void put(BYTES& out, BYTE_SPAN bytes) { out.insert(out.end(), bytes.begin(), bytes.end()); }

static void put_u32(BYTES& out, size_t value) {
    const auto word = uint32_t(value);
    put(out, {reinterpret_cast<const uint8_t*>(&word), 4});
}

static void put_record(BYTES& out, const FILTER* f) {
    const std::string section = filter_section(f);
    const auto blocks = blocks_of(f);
    const auto used = std::span(blocks).first(size_t(block_n(f)));
    size_t size = 4 + section.size() + 1 + 4;
    for (const BYTE_SPAN block : used) size += 4 + block.size();
    put_u32(out, size);
    put(out, {reinterpret_cast<const uint8_t*>(section.c_str()), section.size() + 1});
    put_u32(out, used.size());
    for (const BYTE_SPAN block : used) put_u32(out, block.size());
    for (const BYTE_SPAN block : used) put(out, block);
}

BYTES filter_config_build() {
    BYTES out;
    put(out, {reinterpret_cast<const uint8_t*>(HEAD), HEAD_SIZE});
    for (FILTER* const* f = filter_list(); *f; ++f) put_record(out, *f);
    return out;
}

// ---- reading

static uint32_t get_u32(BYTE_SPAN bytes) {
    uint32_t word;
    std::memcpy(&word, bytes.data(), 4);
    return word;
}

/// The record at the front of `rest`, which is moved behind it. Empty when none is left or its size is impossible.
static BYTE_SPAN next_record(BYTE_SPAN& rest) {
    if (rest.size() < 4) return {};
    const uint32_t size = get_u32(rest);
    if (size < 4 || size > rest.size()) return {};
    const BYTE_SPAN record = rest.first(size);
    rest = rest.subspan(size);
    return record;
}

/// What follows the section name of a record, empty when the record is of another section.
static BYTE_SPAN section_body(BYTE_SPAN record, const std::string& section) {
    const BYTE_SPAN text = record.subspan(4);
    if (text.size() <= section.size() || std::memcmp(text.data(), section.c_str(), section.size() + 1) != 0) return {};
    return text.subspan(section.size() + 1);
}

/// The stored blocks of a filter; data() is null for those that the file lacks.
static std::array<BYTE_SPAN, BLOCK_MAX> find_blocks(BYTE_SPAN file, const FILTER* f) {
    std::array<BYTE_SPAN, BLOCK_MAX> blocks{};
    const std::string section = filter_section(f);
    BYTE_SPAN rest = file.subspan(HEAD_SIZE), body;
    for (BYTE_SPAN record = next_record(rest); !record.empty() && body.empty(); record = next_record(rest))
        body = section_body(record, section);
    const auto n = size_t(block_n(f));
    if (body.size() < 4 + 4 * n || get_u32(body) != n) return blocks;
    BYTE_SPAN data = body.subspan(4 + 4 * n);
    for (size_t i = 0; i < n; ++i) {
        const uint32_t size = get_u32(body.subspan(4 + 4 * i));
        if (size > data.size()) break;
        blocks[i] = data.first(size);
        data = data.subspan(size);
    }
    return blocks;
}

/// A block's bytes to where they belong: the stored ones when their size is right, else the default, if there is one.
static void take_block(void* target, size_t size, BYTE_SPAN stored, const void* defaults) {
    const void* source = stored.data() && stored.size() == size ? stored.data() : defaults;
    if (target && source && size > 0) std::memcpy(target, source, size);
}

static void take_tracks(FILTER* f, BYTE_SPAN stored) {
    const int n = track_n(f);
    take_block(f->track_store, 4 * size_t(n), stored, f->track_defaults);
    for (int i = 0; i < n; ++i) {
        const int32_t low = f->track_lows ? f->track_lows[i] : 0, high = f->track_highs ? f->track_highs[i] : 256;
        f->track_store[i] = std::max(low, std::min(f->track_store[i], high));
    }
}

static void take_checks(FILTER* f, BYTE_SPAN stored) {
    const int n = check_n(f);
    take_block(f->check_store, 4 * size_t(n), stored, f->check_defaults);
    const auto fixed = [&](int i) { return f->check_defaults && f->check_defaults[i] < 0; };
    // Entries that cannot be selected first, so that no stored value of theirs decides about a selection.
    for (int i = 0; i < n; ++i)
        if (fixed(i)) f->check_store[i] = f->check_defaults[i];
    for (int i = 0; i < n; ++i)
        if (!fixed(i)) filter_check_update(f, i);
}

static void take_filter(FILTER* f, const std::array<BYTE_SPAN, BLOCK_MAX>& stored) {
    static constexpr uint32_t OFF = 0;
    uint32_t flags = 0;
    take_block(&flags, sizeof flags, stored[BLOCK_FLAGS], &OFF);
    filter_set_active(f, (flags & FILTER_F_ACTIVE) || (f->flags & FILTER_F_ALWAYS_ON));

    const int32_t place = filter_default_order(f);
    take_block(&f->chain_order, sizeof f->chain_order, stored[BLOCK_ORDER], &place);
    if (place < 0 || f->chain_order < 0) f->chain_order = place;

    take_tracks(f, stored[BLOCK_TRACKS]);
    take_checks(f, stored[BLOCK_CHECKS]);
    if (has_extra(f)) take_block(f->extra_data, extra_size(f), stored[BLOCK_EXTRA], f->extra_defaults);
    if (filter_window_hooks.show) filter_window_hooks.show(f);
    filter_notify_update(f, 0);
}

void filter_config_apply(BYTE_SPAN file) {
    const bool good = file.size() > HEAD_SIZE && std::memcmp(file.data(), HEAD, HEAD_SIZE) == 0;
    for (FILTER* const* f = filter_list(); *f; ++f)
        take_filter(*f, good ? find_blocks(file, *f) : std::array<BYTE_SPAN, BLOCK_MAX>{});
    filter_chain_rebuild();
}

// ---- files
// A run over frames of several profiles switches at every border, so the files in use stay in memory.

using SHARED_BYTES = std::shared_ptr<const BYTES>;

struct RECENT_FILE {
    std::string path;
    char stamp[48];  // of the file when the bytes were its content
    SHARED_BYTES bytes;
};
static std::array<RECENT_FILE, 16> recent;  // last used first
static std::string last_path;

static void remember(const std::string& path, const char* stamp, const SHARED_BYTES& bytes) {
    const auto same = [&](const RECENT_FILE& file) { return file.path == path; };
    auto place = std::find_if(recent.begin(), recent.end() - 1, same);
    std::rotate(recent.begin(), place, place + 1);
    recent[0].path = path;
    std::memcpy(recent[0].stamp, stamp, sizeof recent[0].stamp);
    recent[0].bytes = bytes;
}

/// The content of a file, null when it cannot be read.
static SHARED_BYTES content_of(const std::string& path) {
    char stamp[48];
    file_stamp(path.c_str(), stamp);
    if (!*stamp) return nullptr;
    const auto same = [&](const RECENT_FILE& file) { return file.path == path && !std::strcmp(file.stamp, stamp); };
    const auto found = std::find_if(recent.begin(), recent.end(), same);
    if (found != recent.end()) {
        std::rotate(recent.begin(), found, found + 1);
        return recent[0].bytes;
    }
    auto bytes = std::make_shared<BYTES>();
    if (!file_load(path.c_str(), *bytes, FILE_MAX)) return nullptr;
    remember(path, stamp, bytes);
    return bytes;
}

int filter_config_load(const char* path) {
    last_path = path;
    // Held here: what func_update does may read further files.
    const SHARED_BYTES bytes = content_of(last_path);
    filter_config_apply(bytes ? BYTE_SPAN(*bytes) : BYTE_SPAN());
    return 1;
}

int filter_config_save() {
    if (last_path.empty()) return 1;
    const auto bytes = std::make_shared<const BYTES>(filter_config_build());
    const SHARED_BYTES old = content_of(last_path);
    if (old && *old == *bytes) return 1;
    if (!file_replace(last_path.c_str(), bytes->data(), bytes->size())) return 1;
    char stamp[48];
    file_stamp(last_path.c_str(), stamp);
    remember(last_path, stamp, bytes);
    return 1;
}

void filter_config_forget(const char* path) {
    for (RECENT_FILE& file : recent)
        if (file.path == path) file = {};
}
