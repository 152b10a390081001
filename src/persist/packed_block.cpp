#include "persist/packed_block.h"

#include <algorithm>
#include <cstring>

#include "persist/byte_source.h"

using BYTE_SPAN = std::span<const uint8_t>;

static constexpr uint8_t RUN = 0x80;
static constexpr size_t SHORT_COUNT = 0x80;  // from here on the count takes three bytes
static constexpr size_t SHORTEST_RUN = 4;

// ---- writing

/// Equal bytes at the front, at most `limit`.
static size_t run_length(BYTE_SPAN bytes, size_t limit) {
    const size_t n = std::min(bytes.size(), limit);
    uint64_t pattern, word;
    std::memset(&pattern, bytes[0], sizeof pattern);
    size_t i = 1;
    for (; i + sizeof word <= n; i += sizeof word) {
        std::memcpy(&word, bytes.data() + i, sizeof word);
        if (word != pattern) break;
    }
    while (i < n && bytes[i] == bytes[0]) ++i;
    return i;
}

/// Where the first four equal bytes begin; the size when there are none. Of four bytes the later ones are compared
/// first, since a difference there rules out several beginnings at once.
static size_t run_start(BYTE_SPAN bytes) {
    const uint8_t* b = bytes.data();
    for (size_t i = 0; i + SHORTEST_RUN <= bytes.size();) {
        if (b[i + 3] != b[i + 2])
            i += 3;
        else if (b[i + 2] != b[i + 1])
            i += 2;
        else if (b[i + 1] != b[i])
            i += 1;
        else
            return i;
    }
    return bytes.size();
}

static void put_group(std::vector<uint8_t>& out, uint8_t kind, size_t count, BYTE_SPAN data) {
    if (count < SHORT_COUNT) {
        out.push_back(uint8_t(kind | count));
    } else {
        const uint8_t head[] = {kind, uint8_t(count), uint8_t(count >> 8), uint8_t(count >> 16)};
        out.insert(out.end(), head, head + sizeof head);
    }
    out.insert(out.end(), data.begin(), data.end());
}

void pack_write(std::vector<uint8_t>& out, BYTE_SPAN bytes) {
    while (!bytes.empty()) {
        size_t count =
            run_start(bytes.first(std::min(bytes.size(), SHORTEST_RUN))) == 0 ? run_length(bytes, PACK_COUNT_MAX) : 0;
        if (count > 0) {
            put_group(out, RUN, count, bytes.first(1));
        } else {
            // Three bytes more than a group can hold: a run that begins inside must be seen, one behind it need not.
            count = std::min(run_start(bytes.first(std::min(bytes.size(), PACK_COUNT_MAX + 3))), PACK_COUNT_MAX);
            put_group(out, 0, count, bytes.first(count));
        }
        bytes = bytes.subspan(count);
    }
}

// ---- reading

static bool read_count(BYTE_SOURCE* source, bool* run, size_t* count) {
    uint8_t first, more[3];
    if (!byte_source_read(source, &first, 1)) return false;
    *run = first & RUN;
    *count = first & ~RUN;
    if (*count > 0) return true;
    if (!byte_source_read(source, more, sizeof more)) return false;
    *count = size_t{more[0]} | size_t{more[1]} << 8 | size_t{more[2]} << 16;
    return true;
}

bool pack_read(BYTE_SOURCE* source, uint8_t* target, size_t size) {
    while (size > 0) {
        bool run;
        size_t count;
        uint8_t value;
        if (!read_count(source, &run, &count) || count > size) return false;
        if (run) {
            if (!byte_source_read(source, &value, 1)) return false;
            if (target) std::memset(target, value, count);
        } else if (!(target ? byte_source_read(source, target, count) : byte_source_skip(source, count))) {
            return false;
        }
        if (target) target += count;
        size -= count;
    }
    return true;
}
