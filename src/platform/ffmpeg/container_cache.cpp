#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "platform/ffmpeg/container_state.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

// A cache file: the magic word, then numbers as bytes of 7 bits (the low ones first, bit 7 = more follow) and texts as
// their length and their bytes: version, the demuxer library's version, path, stamp of the file, size of the file, the
// two streams with their codecs, the three lists with their counts, each number of a list as its difference from the
// entry before; at the end 8 bytes of check sum over all of it.

static constexpr char MAGIC[] = "VTLIDX1\n";
static constexpr size_t MAGIC_SIZE = 8, SUM_SIZE = 8;
static constexpr uint64_t VERSION = 1;
static constexpr size_t SIZE_MAX_BYTES = size_t{1} << 30;
static constexpr size_t FILES_MAX = 256;
static constexpr size_t ENTRY_BYTES_MIN = 8;  // one for each number

static uint64_t sum_of(const uint8_t* bytes, size_t n) {
    uint64_t sum = 14695981039346656037u;
    for (size_t i = 0; i < n; ++i) sum = (sum ^ bytes[i]) * 1099511628211u;
    return sum;
}

std::string container_index_folder() {
    const auto variable = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value && value[0] == '/' ? value : "");
    };
    const char* home = std::getenv("VANTEL_HOME");
    std::string folder;
    if (home && home[0])
        folder = std::string(home) + "/cache/";
    else if (!variable("XDG_CACHE_HOME").empty())
        folder = variable("XDG_CACHE_HOME") + "/vantel/";
    else if (!variable("HOME").empty())
        folder = variable("HOME") + "/.cache/vantel/";
    const std::string text = path_absolute(text_from_utf8(folder));
    return text.size() + 32 < PATH_SIZE ? text : "";
}

// ---- what identifies a file

static std::string cache_name(const std::string& folder, const std::string& path) {
    char name[32];
    snprintf(name, sizeof name, "%016llx.vti_index",
             static_cast<unsigned long long>(sum_of(reinterpret_cast<const uint8_t*>(path.data()), path.size())));
    return folder + name;
}

struct CACHE_KEY {
    std::string path, stamp;
    int64_t size;
};

static CACHE_KEY key_of(const char* path, const MEDIA_FILE* file) {
    char stamp[48];
    file_stamp(path, stamp);
    return {path_absolute(path), stamp, file->size};
}

// ---- writing

struct CACHE_WRITER {
    std::vector<uint8_t> bytes;

    void number(uint64_t value) {
        for (; value >= 0x80; value >>= 7) bytes.push_back(uint8_t(value | 0x80));
        bytes.push_back(uint8_t(value));
    }
    // The sign goes into bit 0; differences wrap round.
    void signed_number(uint64_t value) { number(value << 1 ^ (value >> 63 ? UINT64_MAX : 0)); }
    void text(const std::string& value) {
        number(value.size());
        bytes.insert(bytes.end(), value.begin(), value.end());
    }
};

static void write_list(CACHE_WRITER* out, const std::vector<STORED_PACKET>& list) {
    out->number(list.size());
    STORED_PACKET last = {};
    for (const STORED_PACKET& p : list) {
        out->signed_number(uint64_t(p.pos) - uint64_t(last.pos));
        out->signed_number(uint64_t(p.pts) - uint64_t(last.pts));
        out->signed_number(uint64_t(p.dts) - uint64_t(p.pts));
        out->signed_number(uint64_t(p.order) - uint64_t(last.order));
        out->signed_number(uint64_t(p.length) - uint64_t(last.length));
        out->number(p.size);
        out->number(p.hash);
        out->number(p.flags);
        last = p;
    }
}

static void write_head(CACHE_WRITER* out, const CACHE_KEY& key, const PACKET_INDEX& index) {
    out->bytes.assign(MAGIC, MAGIC + MAGIC_SIZE);
    out->number(VERSION);
    out->number(avformat_version());
    out->text(key.path);
    out->text(key.stamp);
    out->number(uint64_t(key.size));
    for (const int value : {index.picture, index.sound, index.picture_codec, index.sound_codec})
        out->signed_number(uint64_t(int64_t{value}));
}

/// Deletes the oldest files until there is room for one more.
static void make_room(const std::string& folder) {
    std::vector<std::pair<std::string, std::string>> files;  // stamp (fixed-length time first), path
    file_each(
        folder.c_str(), "*.vti_index",
        [](const char* path, void* data) {
            struct stat info = {};
            if (stat(text_to_utf8(path).c_str(), &info) != 0) return true;
            char time[32];
            snprintf(time, sizeof time, "%020lld", static_cast<long long>(info.st_mtime));
            static_cast<decltype(files)*>(data)->emplace_back(time, path);
            return true;
        },
        &files);
    if (files.size() < FILES_MAX) return;
    std::sort(files.begin(), files.end());
    for (size_t i = 0; i + FILES_MAX <= files.size(); ++i) file_delete(files[i].second.c_str());
}

static bool folder_make(const std::string& folder) {
    const std::string path = text_to_utf8(folder);
    for (size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1))
        mkdir(path.substr(0, at).c_str(), 0700);
    return file_is_folder(folder.c_str());
}

void container_cache_save(const std::string& folder, const char* path, const MEDIA_FILE* file,
                          const PACKET_INDEX& index) {
    if (folder.empty() || !folder_make(folder)) return;
    const CACHE_KEY key = key_of(path, file);
    CACHE_WRITER out;
    write_head(&out, key, index);
    write_list(&out, index.pictures);
    write_list(&out, index.sounds);
    out.number(index.hidden.size());
    for (const SOUND_RANGE& range : index.hidden) {
        out.signed_number(uint64_t(range.begin));
        out.signed_number(uint64_t(range.end));
    }
    const uint64_t sum = sum_of(out.bytes.data(), out.bytes.size());
    for (size_t i = 0; i < SUM_SIZE; ++i) out.bytes.push_back(uint8_t(sum >> (8 * i)));
    make_room(folder);
    file_replace(cache_name(folder, key.path).c_str(), out.bytes.data(), out.bytes.size());
}

// ---- reading

/// Once `good` is false all numbers are 0.
struct CACHE_READER {
    const uint8_t* at;
    const uint8_t* end;
    bool good = true;

    uint64_t number() {
        uint64_t value = 0;
        for (int shift = 0; shift < 64 && at < end; shift += 7) {
            const uint8_t byte = *at++;
            value |= uint64_t(byte & 0x7F) << shift;
            if (!(byte & 0x80)) return good ? value : 0;
        }
        good = false;
        return 0;
    }
    uint64_t signed_number() {
        const uint64_t value = number();
        return value >> 1 ^ (value & 1 ? UINT64_MAX : 0);
    }
    bool text_is(const std::string& value) {
        if (number() != value.size() || size_t(end - at) < value.size()) return good = false;
        const bool same = std::memcmp(at, value.data(), value.size()) == 0;
        at += value.size();
        return same;
    }
};

static bool read_list(CACHE_READER* in, std::vector<STORED_PACKET>* list, int64_t file_size) {
    const uint64_t n = in->number();
    if (n > uint64_t(in->end - in->at) / ENTRY_BYTES_MIN) return false;
    list->resize(n);
    STORED_PACKET last = {};
    for (STORED_PACKET& p : *list) {
        p.pos = int64_t(uint64_t(last.pos) + in->signed_number());
        p.pts = int64_t(uint64_t(last.pts) + in->signed_number());
        p.dts = int64_t(uint64_t(p.pts) + in->signed_number());
        p.order = int32_t(uint64_t(last.order) + in->signed_number());
        p.length = int32_t(uint64_t(last.length) + in->signed_number());
        p.size = uint32_t(in->number());
        p.hash = uint32_t(in->number());
        p.flags = uint32_t(in->number());
        if (p.pos < -1 || p.pos > file_size || p.length < 0 || p.size > INT32_MAX) return false;
        last = p;
    }
    return in->good;
}

static bool read_head(CACHE_READER* in, const CACHE_KEY& key, const PACKET_INDEX& wanted) {
    in->at += MAGIC_SIZE;
    if (in->number() != VERSION || in->number() != avformat_version()) return false;
    if (!in->text_is(key.path) || !in->text_is(key.stamp) || in->number() != uint64_t(key.size)) return false;
    bool same = true;
    for (const int value : {wanted.picture, wanted.sound, wanted.picture_codec, wanted.sound_codec})
        same = int64_t(in->signed_number()) == value && same;
    return same && in->good;
}

static bool read_hidden(CACHE_READER* in, std::vector<SOUND_RANGE>* hidden) {
    const uint64_t n = in->number();
    if (n > uint64_t(in->end - in->at) / 2) return false;
    hidden->resize(n);
    for (SOUND_RANGE& range : *hidden) {
        range.begin = int64_t(in->signed_number());
        range.end = int64_t(in->signed_number());
    }
    return in->good;
}

bool container_cache_load(const std::string& folder, const char* path, const MEDIA_FILE* file, PACKET_INDEX* index) {
    if (folder.empty()) return false;
    const CACHE_KEY key = key_of(path, file);
    std::vector<uint8_t> bytes;
    if (!file_load(cache_name(folder, key.path).c_str(), bytes, SIZE_MAX_BYTES)) return false;
    if (bytes.size() < MAGIC_SIZE + SUM_SIZE || std::memcmp(bytes.data(), MAGIC, MAGIC_SIZE) != 0) return false;
    const size_t n = bytes.size() - SUM_SIZE;
    uint64_t sum = 0;
    for (size_t i = 0; i < SUM_SIZE; ++i) sum |= uint64_t{bytes[n + i]} << (8 * i);
    if (sum != sum_of(bytes.data(), n)) return false;
    CACHE_READER in = {bytes.data(), bytes.data() + n};
    PACKET_INDEX found = *index;
    if (!read_head(&in, key, *index) || !read_list(&in, &found.pictures, file->size) ||
        !read_list(&in, &found.sounds, file->size) || !read_hidden(&in, &found.hidden) || in.at != in.end)
        return false;
    *index = std::move(found);
    return true;
}
