#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "core/edit_state.h"
#include "core/media.h"
#include "core/settings.h"
#include "platform/file.h"
#include "platform/handle.h"
#include "platform/ini.h"
#include "platform/text.h"
#include "platform/thread.h"
#include "platform/video_codec.h"
#include "readers/codec.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static constexpr uint32_t FCC_YUY2 = VANTEL_FOURCC('Y', 'U', 'Y', '2');
static constexpr const char* OPTION_SECTION = "codec";

static CODEC_ENTRY table[CODEC_ENTRY_MAX];
static int entries;

static std::string handler_text(uint32_t handler) {
    std::string text;
    for (int i = 0; i < 4; ++i) text += char(handler >> (8 * i) & 0xFF);
    return text.substr(0, text.find('\0'));
}

// ---- what the settings file remembers

struct CODEC_FILE {
    std::string path;   // code page 932, "" = nothing is remembered
    std::string name;   // without folders
    std::string check;  // time and size
};

static CODEC_FILE codec_file() {
    CODEC_FILE file;
    if (!system_settings.plugincache) return file;
    const std::string path = text_from_utf8(video_codec_file());
    char stamp[48];
    file_stamp(path.c_str(), stamp);
    long long ns, size;
    if (path.size() >= PATH_SIZE || std::sscanf(stamp, "%lld_%lld", &ns, &size) != 2) return file;
    file.path = path;
    const char* slash = text_find_last(path.c_str(), '/');
    file.name = slash ? slash + 1 : path;
    const time_t seconds = time_t(ns / 1000000000);
    tm t{};
    localtime_r(&seconds, &t);
    char text[96];
    std::snprintf(text, sizeof text, "%04d/%02d/%02d %02d:%02d:%02d %lld", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday,
                  t.tm_hour, t.tm_min, t.tm_sec, size);
    file.check = text;
    return file;
}

static std::string section_of(uint32_t handler, const CODEC_FILE& file) {
    return handler_text(handler) + "(" + file.name + ")";
}

static bool same_text(const std::string& section, const char* key, const std::string& wanted) {
    char text[PATH_SIZE];
    ini_read_text(settings_file(), section.c_str(), key, text, "");
    return text_compare_nocase(text, wanted.c_str()) == 0;
}

static void copy_name(CODEC_ENTRY* entry, const std::string& cp932) {
    size_t n = 0;  // whole characters only
    while (n < cp932.size()) {
        const size_t step = size_t(text_char_size(cp932.c_str() + n));
        if (step == 0 || n + step >= sizeof entry->display_name) break;
        n += step;
    }
    std::memcpy(entry->display_name, cp932.data(), n);
}

static bool recall(CODEC_ENTRY* entry, const CODEC_FILE& file) {
    if (file.path.empty()) return false;
    const std::string section = section_of(entry->handler, file);
    if (!same_text(section, "file", file.path) || !same_text(section, "check", file.check)) return false;
    const auto number = [&](const char* key) { return ini_read_int(settings_file(), section.c_str(), key, 0); };
    entry->flags = uint32_t(number("flag")) << 8 & 0xFFFF00;
    char name[PATH_SIZE];
    ini_read_text(settings_file(), section.c_str(), "name", name, "");
    copy_name(entry, name);
    if (entry->flags & CODEC_CAN_RGB) {
        entry->quality = number("quality");
        entry->key_rate = number("keyframe");
        entry->data_rate = number("datarate");
    }
    return true;
}

static void remember(const CODEC_ENTRY& entry, const CODEC_FILE& file) {
    if (file.path.empty()) return;
    const std::string section = section_of(entry.handler, file);
    const auto number = [&](const char* key, int value) {
        ini_write_int(settings_file(), section.c_str(), key, value);
    };
    ini_write_text(settings_file(), section.c_str(), "file", file.path.c_str());
    ini_write_text(settings_file(), section.c_str(), "check", file.check.c_str());
    number("flag", int(entry.flags >> 8));
    ini_write_text(settings_file(), section.c_str(), "name", entry.display_name);
    if (!(entry.flags & CODEC_CAN_RGB)) return;
    number("quality", entry.quality);
    number("keyframe", entry.key_rate);
    number("datarate", entry.data_rate);
}

// ---- building the table

static void ask_codec(CODEC_ENTRY* entry, const VIDEO_CODEC_INFO& info) {
    copy_name(entry, text_from_utf8(info.name));
    if (!info.compresses) return;
    entry->flags = CODEC_CAN_RGB | CODEC_FRAMES_INFO | CODEC_HAS_ABOUT;
    const struct {
        bool has;
        uint32_t flag;
    } features[] = {{!info.rgb_only, CODEC_CAN_YUY2},
                    {info.has_options, CODEC_HAS_CONFIG},
                    {info.has_quality, CODEC_HAS_QUALITY},
                    {info.temporal, CODEC_HAS_KEY_RATE},
                    {info.has_data_rate, CODEC_HAS_DATA_RATE}};
    for (const auto& feature : features)
        if (feature.has) entry->flags |= feature.flag;
    entry->quality = info.default_quality;
    entry->key_rate = info.default_key_rate;
    entry->data_rate = CODEC_DATA_RATE_DEFAULT;
}

static void add_codec(const VIDEO_CODEC_INFO& info, const CODEC_FILE& file) {
    CODEC_ENTRY entry{};
    entry.handler = info.handler;
    const uint32_t code = media_code_normal(info.handler);
    if (code == 0 || code == FCC_YUY2 || codec_find(info.handler) >= 0) return;
    if (!recall(&entry, file)) {
        ask_codec(&entry, info);
        remember(entry, file);
    }
    entry.flags |= CODEC_LISTED;
    const uint32_t options =
        uint32_t(ini_read_int(settings_file(), OPTION_SECTION, handler_text(info.handler).c_str(), CODEC_OPTION_MASK));
    entry.flags |= options & CODEC_OPTION_MASK;
    table[entries++] = entry;
}

static void add_pseudo(uint32_t handler, const char* name) {
    CODEC_ENTRY entry{};
    entry.flags = CODEC_LISTED | CODEC_PSEUDO | CODEC_OPTION_MASK;
    entry.handler = handler;
    copy_name(&entry, name);
    table[entries++] = entry;
}

int codec_system_init() {
    std::memset(table, 0, sizeof table);
    entries = 0;
    video_codec_threads(system_settings.multithread ? system_settings.multithread : processor_count());
    const CODEC_FILE file = codec_file();
    ini_batch_begin(settings_file());
    for (int i = 0; i < video_codec_count() && entries < CODEC_ENTRY_MAX - 2; ++i) add_codec(video_codec_info(i), file);
    ini_batch_end(settings_file());
    add_pseudo(FCC_YUY2, "YUY2");
    add_pseudo(0, language_string(STR_CODEC_UNCOMPRESSED));
    return 1;
}

int codec_system_exit() {
    codec_close_compressors(true);
    ini_batch_begin(settings_file());
    for (int i = 0; i < entries; ++i) {
        const CODEC_ENTRY& entry = table[i];
        const uint32_t options = entry.flags & CODEC_OPTION_MASK;
        const std::string key = handler_text(entry.handler);
        const bool stored =
            uint32_t(ini_read_int(settings_file(), OPTION_SECTION, key.c_str(), CODEC_OPTION_MASK)) == options;
        if (!(entry.flags & CODEC_PSEUDO) && !stored)
            ini_write_int(settings_file(), OPTION_SECTION, key.c_str(), int(options));
    }
    ini_batch_end(settings_file());
    std::memset(table, 0, sizeof table);
    entries = 0;
    return 1;
}

// ---- questions

int codec_find(uint32_t handler) {
    for (int i = 0; i < entries; ++i)
        if (table[i].flags && media_code_normal(table[i].handler) == media_code_normal(handler)) return i;
    return -1;
}

CODEC_ENTRY* codec_entry(int index) { return index >= 0 && index < entries ? &table[index] : nullptr; }
int codec_count() { return entries; }

const char* codec_name(uint32_t handler) {
    const CODEC_ENTRY* entry = codec_entry(codec_find(handler));
    return entry ? entry->display_name : language_string(STR_CODEC_UNCOMPRESSED);
}

static uint32_t flags_of(uint32_t handler) {
    const CODEC_ENTRY* entry = codec_entry(codec_find(handler));
    return entry ? entry->flags : 0;
}

bool codec_is_pseudo(uint32_t handler) { return flags_of(handler) & CODEC_PSEUDO; }
bool codec_can_compress(uint32_t handler) { return flags_of(handler) & CODEC_CAN_RGB; }

int codec_input_format(uint32_t handler, BITMAPINFOHEADER* format, int width, int height) {
    constexpr uint32_t ENCODES_YUY2 = CODEC_CAN_RGB | CODEC_CAN_YUY2 | CODEC_ENCODE_YUY2;
    const uint32_t flags = flags_of(handler);
    const bool yuy2 =
        (flags & ENCODES_YUY2) == ENCODES_YUY2 || (!(flags & CODEC_CAN_RGB) && media_code_normal(handler) == FCC_YUY2);
    *format = {};
    format->biSize = sizeof *format;
    format->biWidth = width;
    format->biHeight = height;
    format->biPlanes = 1;
    format->biBitCount = yuy2 ? 16 : 24;
    format->biCompression = yuy2 ? FCC_YUY2 : 0;
    format->biSizeImage = uint32_t(std::max(media_picture_size(format->biBitCount, width, height), 0));
    return 1;
}

// ---- compressors

VIDEO_ENCODER* codec_compressor(CODEC_ENTRY* entry) {
    if (auto* open = static_cast<VIDEO_ENCODER*>(handle_get(entry->compressor))) return open;
    VIDEO_ENCODER_PTR made = video_encoder_open(entry->handler);
    entry->compressor = handle_new(made.get());
    return entry->compressor ? made.release() : nullptr;
}

void codec_close_compressors(bool all) {
    for (CODEC_ENTRY& entry : table) {
        if (!all && entry.flags & CODEC_KEEP_OPEN) continue;
        VIDEO_ENCODER_PTR closing(static_cast<VIDEO_ENCODER*>(handle_get(entry.compressor)));
        handle_free(entry.compressor);
        entry.compressor = 0;
    }
}

static bool keeps_state(const CODEC_ENTRY* entry) {
    constexpr uint32_t KEEPS = CODEC_HAS_CONFIG | CODEC_KEEP_STATE;
    return (entry->flags & KEEPS) == KEEPS;
}

void codec_take_state(CODEC_ENTRY* entry, VIDEO_CODEC_SETTING* setting) {
    setting->codec_state_size = 0;
    VIDEO_ENCODER* encoder = keeps_state(entry) ? codec_compressor(entry) : nullptr;
    if (!encoder) return;
    const std::string state = video_encoder_state(encoder);
    if (state.size() > sizeof setting->codec_state) return;
    std::memcpy(setting->codec_state, state.data(), state.size());
    setting->codec_state_size = int32_t(state.size());
}

void codec_give_state(CODEC_ENTRY* entry, const VIDEO_CODEC_SETTING* setting) {
    VIDEO_ENCODER* encoder = keeps_state(entry) && setting->codec_state_size > 0 ? codec_compressor(entry) : nullptr;
    if (!encoder) return;
    const size_t size = std::min(size_t(setting->codec_state_size), sizeof setting->codec_state);
    video_encoder_set_state(encoder, {reinterpret_cast<const char*>(setting->codec_state), size});
}

int codec_reset_setting(VIDEO_CODEC_SETTING* setting, uint32_t handler) {
    CODEC_ENTRY* entry = codec_entry(codec_find(handler));
    setting->handler = entry ? handler : 0;
    if (!entry || entry->flags & CODEC_PSEUDO) return 1;
    setting->codec_state_size = 0;
    if (!(entry->flags & CODEC_CAN_RGB) || !codec_compressor(entry)) {
        setting->handler = 0;
        return 1;
    }
    setting->compressor = entry->compressor;
    codec_take_state(entry, setting);
    setting->quality = entry->flags & CODEC_HAS_QUALITY ? entry->quality : 0;
    setting->key_rate = entry->flags & CODEC_HAS_KEY_RATE ? entry->key_rate : 0;
    setting->data_rate = entry->flags & CODEC_HAS_DATA_RATE ? entry->data_rate : 0;
    return 1;
}
