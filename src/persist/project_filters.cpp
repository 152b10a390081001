#include "persist/project_filters.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "hosts/filter.h"
#include "persist/byte_source.h"
#include "persist/packed_block.h"
#include "persist/project_file.h"

static constexpr size_t BUFFER_SIZE_MIN = 1048576;

// ---- writing

static void put_u32(std::vector<uint8_t>& out, uint32_t value) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
    out.insert(out.end(), bytes, bytes + sizeof value);
}

static void put_text(std::vector<uint8_t>& out, const char* text) {
    out.insert(out.end(), text, text + std::strlen(text) + 1);
}

void project_filters_put(std::vector<uint8_t>& out, EDIT_STATE* edit) {
    std::vector<uint8_t> buffer;
    for (FILTER* const* at = filter_list(); *at; ++at) {
        int size = 0;
        if (!filter_project_save(*at, edit, nullptr, &size) || size <= 0) continue;
        if (uint32_t(size) > PROJECT_FILTER_DATA_MAX) continue;
        buffer.resize(std::max({buffer.size(), size_t(size), BUFFER_SIZE_MIN}));
        if (!filter_project_save(*at, edit, buffer.data(), &size) || size <= 0 || size_t(size) > buffer.size())
            continue;
        const char* name = (*at)->name ? (*at)->name : "";
        put_text(out, PROJECT_FILTER_TAG);
        put_u32(out, uint32_t(std::strlen(name) + 1));
        put_text(out, name);
        put_u32(out, uint32_t(size));
        pack_write(out, {buffer.data(), size_t(size)});
    }
}

// ---- reading

struct FILTER_BLOCK {
    std::string name;
    uint32_t data_size;
};

static bool read_name(BYTE_SOURCE* source, std::string* name) {
    uint32_t size;
    if (!byte_source_u32(source, &size) || size == 0 || size > PROJECT_FILTER_NAME_MAX) return false;
    if (size > byte_source_left(*source)) return false;
    name->resize(size);
    if (!byte_source_read(source, name->data(), size) || name->find('\0') == std::string::npos) return false;
    name->resize(std::strlen(name->c_str()));
    return true;
}

static bool read_block_head(BYTE_SOURCE* source, FILTER_BLOCK* block) {
    char tag[sizeof PROJECT_FILTER_TAG];
    return byte_source_read(source, tag, sizeof tag) && std::memcmp(tag, PROJECT_FILTER_TAG, sizeof tag) == 0 &&
           read_name(source, &block->name) && byte_source_u32(source, &block->data_size) &&
           block->data_size <= PROJECT_FILTER_DATA_MAX;
}

bool project_filters_check(BYTE_SOURCE* source) {
    FILTER_BLOCK block;
    while (byte_source_left(*source) > 0)
        if (!read_block_head(source, &block) || !pack_read(source, nullptr, block.data_size)) return false;
    return true;
}

static FILTER* taker_of(const std::string& name) {
    for (FILTER* const* at = filter_list(); *at; ++at)
        if ((*at)->func_project_load && (*at)->name && name == (*at)->name) return *at;
    return nullptr;
}

bool project_filters_read(BYTE_SOURCE* source, EDIT_STATE* edit) {
    FILTER_BLOCK block;
    std::vector<uint8_t> buffer;
    while (byte_source_left(*source) > 0) {
        if (!read_block_head(source, &block)) return false;
        FILTER* filter = taker_of(block.name);
        if (filter) buffer.resize(std::max({buffer.size(), size_t{block.data_size}, BUFFER_SIZE_MIN}));
        if (!pack_read(source, filter ? buffer.data() : nullptr, block.data_size)) return false;
        if (filter) filter_project_load(filter, edit, buffer.data(), int(block.data_size));
    }
    return true;
}
