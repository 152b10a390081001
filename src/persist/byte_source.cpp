#include "persist/byte_source.h"

#include <algorithm>
#include <cstring>

#include "platform/file.h"

static constexpr size_t WINDOW = 65536;

BYTE_SOURCE byte_source_file(int file, int64_t position) {
    BYTE_SOURCE source;
    source.file = file;
    source.end = std::max<int64_t>(file_size(file), 0);
    source.next = std::clamp<int64_t>(position, 0, source.end);
    source.room.resize(WINDOW);
    return source;
}

BYTE_SOURCE byte_source_memory(std::span<const uint8_t> bytes) {
    BYTE_SOURCE source;
    source.at = bytes.data();
    source.stop = bytes.data() + bytes.size();
    return source;
}

static size_t in_window(const BYTE_SOURCE& source) { return size_t(source.stop - source.at); }

int64_t byte_source_left(const BYTE_SOURCE& source) { return int64_t(in_window(source)) + source.end - source.next; }

int64_t byte_source_position(const BYTE_SOURCE& source) { return source.next - int64_t(in_window(source)); }

// A file that has become shorter since its size was asked ends here.
static bool refill(BYTE_SOURCE* source) {
    const auto n = size_t(std::min<int64_t>(int64_t(source->room.size()), source->end - source->next));
    if (n == 0 || !file_read_exact(source->file, source->room.data(), n, source->next)) return false;
    source->at = source->room.data();
    source->stop = source->at + n;
    source->next += int64_t(n);
    return true;
}

bool byte_source_read(BYTE_SOURCE* source, void* target, size_t n) {
    if (n > uint64_t(byte_source_left(*source))) return false;
    auto* to = static_cast<uint8_t*>(target);
    while (n > 0) {
        if (source->at == source->stop && !refill(source)) return false;
        const size_t part = std::min(n, in_window(*source));
        std::memcpy(to, source->at, part);
        source->at += part;
        to += part;
        n -= part;
    }
    return true;
}

bool byte_source_skip(BYTE_SOURCE* source, size_t n) {
    if (n > uint64_t(byte_source_left(*source))) return false;
    const size_t part = std::min(n, in_window(*source));
    source->at += part;
    source->next += int64_t(n - part);
    return true;
}

bool byte_source_u32(BYTE_SOURCE* source, uint32_t* value) { return byte_source_read(source, value, sizeof *value); }
