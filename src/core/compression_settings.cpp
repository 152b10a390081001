#include "core/compression_settings.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/edit_state.h"
#include "core/profile.h"
#include "core/settings.h"
#include "platform/file.h"

#pragma pack(push, 1)
struct OUTPUT_CONFIG_FILE {
    char head[36];
    VIDEO_CODEC_SETTING video;
    AUDIO_OUTPUT_SETTING audio;
    OUTPUT_SETTING output;
};
#pragma pack(pop)
static_assert(offsetof(OUTPUT_CONFIG_FILE, video) == 36 && offsetof(OUTPUT_CONFIG_FILE, audio) == 24740 &&
              offsetof(OUTPUT_CONFIG_FILE, output) == 33288 && sizeof(OUTPUT_CONFIG_FILE) == 49964);

static constexpr char HEAD[] = "Vantel OutputConfigFile version 0.2";
static_assert(sizeof HEAD == sizeof OUTPUT_CONFIG_FILE::head);
static constexpr int QUALITY_MAX = 10000;

// ---- cleaning

void compression_clean_video(VIDEO_CODEC_SETTING* setting) {
    setting->compressor = setting->output_buffer = setting->previous_frame = 0;
    setting->quality = std::clamp(setting->quality, 0, QUALITY_MAX);
    setting->key_rate = std::max(setting->key_rate, 0);
    setting->data_rate = std::max(setting->data_rate, 0);
    setting->output_format_size = std::clamp(setting->output_format_size, 0, FORMAT_SIZE_MAX);
    setting->codec_state_size = std::clamp(setting->codec_state_size, 0, int(sizeof setting->codec_state));
}

void compression_clean_audio(AUDIO_OUTPUT_SETTING* setting) {
    setting->audio_flags &= ~uint32_t{AUDIO_SETTING_FINAL_OPEN | AUDIO_SETTING_FIRST_OPEN};
    setting->final_driver = setting->final_stream = setting->first_driver = setting->first_stream = 0;
    for (AUDIO_STREAM_HEADER* header : {&setting->final_header, &setting->first_header})
        header->source = header->target = 0;
    setting->target_format_size = std::clamp(setting->target_format_size, 0, FORMAT_SIZE_MAX);
    setting->interleave = std::max(setting->interleave, 0);
}

void compression_clean_output(OUTPUT_SETTING* setting) {
    setting->plugin_name[sizeof setting->plugin_name - 1] = 0;
    setting->plugin_config_size = std::clamp(setting->plugin_config_size, 0, int(sizeof setting->plugin_config));
}

// ---- files

static bool read_file(OUTPUT_CONFIG_FILE* out, const std::string& path) {
    const int file = file_open_read(path.c_str());
    const bool good = file >= 0 && file_read_exact(file, out, sizeof *out, 0);
    file_close(file);
    return good && std::memcmp(out->head, HEAD, sizeof HEAD) == 0;
}

void compression_read(EDIT_STATE* edit, const std::string& path) {
    OUTPUT_CONFIG_FILE file;
    if (path.empty() || !read_file(&file, path)) file = {};
    edit->video_setting = file.video;
    edit->audio_setting = file.audio;
    edit->output_setting = file.output;
    compression_clean_video(&edit->video_setting);
    compression_clean_audio(&edit->audio_setting);
    compression_clean_output(&edit->output_setting);
}

bool compression_write(const EDIT_STATE* edit, const std::string& path) {
    if (path.empty()) return false;
    OUTPUT_CONFIG_FILE file, old;
    std::memcpy(file.head, HEAD, sizeof HEAD);
    file.video = edit->video_setting;
    file.audio = edit->audio_setting;
    file.output = edit->output_setting;
    if (read_file(&old, path) && std::memcmp(&old, &file, sizeof file) == 0) return true;
    return file_replace(path.c_str(), &file, sizeof file);
}

/// The side file in force, "" when the settings live elsewhere.
static bool profile_holds(const EDIT_STATE* edit, std::string* path) {
    const char* name = edit->profile_name[0][0] ? edit->profile_name[0] : profile_current();
    if (!system_settings.compprofile || profile_is_temporary(name)) return false;
    *path = profile_path(name, ".sav");
    return true;
}

void compression_load(EDIT_STATE* edit) {
    std::string path;
    if (profile_holds(edit, &path)) compression_read(edit, path);
}

void compression_store(const EDIT_STATE* edit) {
    std::string path;
    if (profile_holds(edit, &path)) compression_write(edit, path);
}

static std::string program_file() { return settings_folder_file("vantel.sav"); }

void compression_settings_read(EDIT_STATE* edit) { compression_read(edit, program_file()); }
void compression_settings_write(const EDIT_STATE* edit) { compression_write(edit, program_file()); }
