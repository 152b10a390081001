#include "platform/ini.h"

#define SI_NO_CONVERSION   // texts go in and out as they are, UTF-8
#define SI_IMPLEMENTATION  // Debian's header leaves the templates' bodies out without it
#include <SimpleIni.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

namespace {

constexpr size_t FILE_LIMIT = size_t(16) << 20;
constexpr size_t CACHED_FILES = 8;
constexpr int64_t LOCK_WAIT_MS = 3000;
constexpr int64_t SETTLE_NS = 50000000;  // above the clock tick of a file system

using INI = CSimpleIniTempl<char, SI_GenericNoCase<char>, SI_ConvertA<char>>;

/// A section that stands at the end while a file is in memory, so that a comment after the last key has an owner.
constexpr char END_SECTION[] = "[\x01]\n";

struct STAMP {
    int64_t time = 0, change = 0, size = -1, inode = 0, device = 0;
    bool operator==(const STAMP&) const = default;
};

struct VALUE {
    std::string section, key, text;  // as they stand in the file
};

struct INI_FILE {
    std::string path;  // code page 932
    std::string path_utf8;
    std::unique_ptr<INI> ini;  // null: not loaded, or not readable
    STAMP stamp;
    bool settled = false;  // the stamp would have changed, had the file been written after it was read
    int batch = 0;
    std::vector<VALUE> pending;
};

std::mutex g_mutex;
std::vector<std::unique_ptr<INI_FILE>> g_files;

STAMP stamp_of(const struct stat& info) {
    return {info.st_mtim.tv_sec * 1000000000 + info.st_mtim.tv_nsec,
            info.st_ctim.tv_sec * 1000000000 + info.st_ctim.tv_nsec, int64_t(info.st_size), int64_t(info.st_ino),
            int64_t(info.st_dev)};
}

bool is_settled(const STAMP& stamp) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    const int64_t age = now.tv_sec * 1000000000 + now.tv_nsec - stamp.change;
    return age > SETTLE_NS;
}

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string trimmed(const std::string& s) {
    size_t begin = 0, end = s.size();
    while (begin < end && is_blank(s[begin])) ++begin;
    while (end > begin && is_blank(s[end - 1])) --end;
    return s.substr(begin, end - begin);
}

/// Whether a line without its end is one that the parser keeps: blank, a comment, a section or a key with a value.
bool is_known_line(const std::string& line) {
    const std::string t = trimmed(line);
    if (t.empty() || t[0] == ';' || t[0] == '#') return true;
    if (t[0] == '[') return t.find(']') != std::string::npos;
    return t[0] != '=' && t.find('=') != std::string::npos;
}

/// The file as the parser takes it: no NUL, which would end it; lines that it would drop turned into comments.
std::string prepared(const std::string& data) {
    std::string clean, out;
    for (const char c : data) {
        if (c != 0) clean += c;
    }
    const size_t mark = clean.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    for (size_t at = mark; at < clean.size();) {
        const size_t end = std::min(clean.find_first_of("\r\n", at), clean.size());
        const std::string line = clean.substr(at, end - at);
        if (!is_known_line(line)) out += "; ";
        out += line;
        if (end < clean.size()) out += clean[end];
        at = end + 1;
    }
    return out + '\n' + END_SECTION;
}

std::string serialized(const INI& ini) {
    std::string out;
    if (ini.Save(out) < 0) return {};
    for (size_t at = out.find(END_SECTION); at != std::string::npos; at = out.find(END_SECTION, at + 1)) {
        if (at != 0 && out[at - 1] != '\n') continue;
        out.erase(at, sizeof END_SECTION - 1);
        // A section added behind it brings blank lines of its own.
        while (at >= 2 && at < out.size() && out[at] == '\n' && out[at - 2] == '\n') out.erase(at, 1);
        break;
    }
    while (out.ends_with("\n\n")) out.pop_back();
    out.erase(0, out.find_first_not_of('\n'));
    return out;
}

void value_apply(INI& ini, const VALUE& v) {
    ini.SetValue(v.section.c_str(), v.key.c_str(), v.text.c_str(), nullptr, true);
}

bool value_differs(const INI& ini, const VALUE& v) {
    const char* now = ini.GetValue(v.section.c_str(), v.key.c_str(), nullptr);
    return now == nullptr || v.text != now;
}

bool file_read_open(int file, std::string& data, STAMP& stamp) {
    struct stat info;
    if (fstat(file, &info) != 0 || uint64_t(info.st_size) > FILE_LIMIT) return false;
    stamp = stamp_of(info);
    data.resize(size_t(info.st_size));
    return file_read_exact(file, data.data(), data.size(), 0);
}

/// Parses the file as it is now. False, and ini null, when there is one that cannot be read.
bool ini_load(INI_FILE& f) {
    f.ini.reset();
    f.stamp = {};
    f.settled = false;
    std::string data;
    const int file = file_open_read(f.path.c_str());
    if (file < 0 && errno != ENOENT) return false;
    const bool good = file < 0 || file_read_open(file, data, f.stamp);
    file_close(file);
    if (!good) return false;
    f.settled = is_settled(f.stamp);
    auto ini = std::make_unique<INI>(true, true, false);  // UTF-8, repeated keys kept, no values of several lines
    ini->SetSpaces(false);
    if (ini->LoadData(prepared(data)) < 0) return false;
    f.ini = std::move(ini);
    return true;
}

/// The cached file, parsed anew where it changed, with the batch on top.
INI_FILE& ini_get(const char* path) {
    INI_FILE* found = nullptr;
    for (const auto& f : g_files) {
        if (f->path == path) found = f.get();
    }
    if (found == nullptr) {
        if (g_files.size() >= CACHED_FILES && g_files.front()->batch == 0) g_files.erase(g_files.begin());
        found = g_files.emplace_back(std::make_unique<INI_FILE>()).get();
        found->path = path;
        found->path_utf8 = text_to_utf8(path);
    }
    struct stat info;
    const STAMP now = stat(found->path_utf8.c_str(), &info) == 0 ? stamp_of(info) : STAMP{};
    if ((found->ini == nullptr || !found->settled || now != found->stamp) && ini_load(*found)) {
        for (const VALUE& v : found->pending) value_apply(*found->ini, v);
    }
    return *found;
}

std::string folder_of(const INI_FILE& f) {
    const std::string folder = f.path_utf8.substr(0, f.path_utf8.rfind('/') + 1);
    return folder.empty() ? "./" : folder;
}

/// Locks the folder of the file against other runs. The lock ends when the descriptor is closed. -1: go on without, as
/// on a file system that has no locks.
int folder_lock(const INI_FILE& f) {
    const int folder = open(folder_of(f).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return -1;
    const int64_t end = clock_ms() + LOCK_WAIT_MS;
    while (flock(folder, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || clock_ms() >= end) break;
        clock_sleep_ms(2);
    }
    return folder;
}

/// Puts values into the file. It is read again under the lock whatever its stamp says: two replacements within one tick
/// of the file system's clock may look like none.
bool ini_commit(INI_FILE& f, const std::vector<VALUE>& values) {
    if (f.path.starts_with(path_program_folder())) path_program_folder_create();
    const int lock = folder_lock(f);
    bool good = ini_load(f);
    bool changed = false;
    for (size_t i = 0; good && i < values.size(); ++i) {
        if (!value_differs(*f.ini, values[i])) continue;
        value_apply(*f.ini, values[i]);
        changed = true;
    }
    if (good && changed) {
        const std::string data = serialized(*f.ini);
        good = !data.empty() && data.size() <= FILE_LIMIT && file_replace(f.path.c_str(), data.data(), data.size());
        f.settled = false;
        f.ini.reset();
    }
    file_close(lock);
    return good;
}

/// "" and an unusable name alike for a key that cannot stand in a file.
std::string key_name(const char* key) {
    const std::string name = trimmed(text_to_utf8(key));
    const bool bad = name.find_first_of("=\r\n") != std::string::npos || name.starts_with(';') ||
                     name.starts_with('#') || name.starts_with('[');
    return bad ? std::string() : name;
}

std::string section_name(const char* section) {
    std::string name;
    for (const char* at = section; *at != 0; at = text_next(at)) {
        if (*at != '[' && *at != ']' && *at != '\r' && *at != '\n') name.append(at, size_t(text_char_size(at)));
    }
    return trimmed(text_to_utf8(name));
}

bool is_quoted(const std::string& s) {
    return s.size() >= 2 && (s.front() == '"' || s.front() == '\'') && s.back() == s.front();
}

/// The text as it stands after the '='; quoted where reading would take something off it.
std::string value_text(const char* text) {
    std::string out = text_to_utf8(text);
    return out != trimmed(out) || is_quoted(out) ? '"' + out + '"' : out;
}

/// The value, code page 932, without its quotes. False when the key is absent.
bool value_read(const char* file, const char* section, const char* key, std::string& out) {
    const std::lock_guard guard(g_mutex);
    const INI_FILE& f = ini_get(file);
    if (f.ini == nullptr) return false;
    const char* value = f.ini->GetValue(section_name(section).c_str(), key_name(key).c_str(), nullptr);
    if (value == nullptr) return false;
    out = value;
    if (is_quoted(out)) out = out.substr(1, out.size() - 2);
    out = text_from_utf8(out);
    return true;
}

}  // namespace

int ini_read_int(const char* file, const char* section, const char* key, int def) {
    std::string text;
    if (!value_read(file, section, key, text)) return def;
    const char* at = text.c_str();
    while (is_blank(*at)) ++at;
    const bool negative = *at == '-';
    if (*at == '-' || *at == '+') ++at;
    uint32_t value = 0;
    for (; *at >= '0' && *at <= '9'; ++at) value = value * 10 + uint32_t(*at - '0');
    return int(negative ? 0 - value : value);
}

void ini_read_text(const char* file, const char* section, const char* key, char buffer[260], const char* def) {
    std::string text;
    if (value_read(file, section, key, text) && text_copy(buffer, PATH_SIZE, text)) return;
    text_copy(buffer, PATH_SIZE, def != nullptr ? def : "");
}

int ini_write_int(const char* file, const char* section, const char* key, int value) {
    return ini_write_text(file, section, key, std::to_string(value).c_str());
}

int ini_write_text(const char* file, const char* section, const char* key, const char* text) {
    const std::string_view view = text;
    const VALUE value = {section_name(section), key_name(key), value_text(text)};
    if (value.key.empty() || view.size() >= PATH_SIZE || view.find_first_of("\r\n") != view.npos) return 0;
    const std::lock_guard guard(g_mutex);
    INI_FILE& f = ini_get(file);
    if (f.ini == nullptr) return 0;
    if (f.batch == 0) return ini_commit(f, {value}) ? 1 : 0;
    value_apply(*f.ini, value);
    f.pending.push_back(value);
    return 1;
}

void ini_batch_begin(const char* file) {
    const std::lock_guard guard(g_mutex);
    ++ini_get(file).batch;
}

int ini_batch_end(const char* file) {
    const std::lock_guard guard(g_mutex);
    INI_FILE& f = ini_get(file);
    if (f.batch == 0 || --f.batch > 0) return 1;
    const std::vector<VALUE> values = std::move(f.pending);
    f.pending.clear();
    return values.empty() || ini_commit(f, values) ? 1 : 0;
}
