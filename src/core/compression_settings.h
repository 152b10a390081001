#pragma once

#include <string>

struct AUDIO_OUTPUT_SETTING;
struct EDIT_STATE;
struct OUTPUT_SETTING;
struct VIDEO_CODEC_SETTING;

/// OUTPUT_CONFIG_FILE: the lasting compression settings of a profile (".sav") or of the program (vantel.sav): 36 bytes
/// of head, then video_setting (24,704 bytes), audio_setting (8,548) and output_setting (16,676) of EDIT_STATE as they
/// are. Files are replaced in one step, and only when they change. Errors are silent. Main thread.

/// With key `compprofile`, and unless the profile at profile_name[0] (the current one while no edit is open) is
/// temporary: load takes the three settings from its side file, zeroed when there is none; store writes them there.
/// Otherwise both do nothing. Every save and every settings dialog stands between the two.
void compression_load(EDIT_STATE* edit);
void compression_store(const EDIT_STATE* edit);

/// The same from and to vantel.sav in the program's folder, in any case: at start-up and at shut-down.
void compression_settings_read(EDIT_STATE* edit);
void compression_settings_write(const EDIT_STATE* edit);

/// A file's three settings, zeroed when it is missing, cut off or has another head, and cleaned as below.
void compression_read(EDIT_STATE* edit, const std::string& path);
/// False when the file could not be written.
bool compression_write(const EDIT_STATE* edit, const std::string& path);

/// Make a setting that came from a file safe to use: sizes within their blocks, numbers within their ranges, texts
/// ended, nothing open. Everything else stays.
void compression_clean_video(VIDEO_CODEC_SETTING* setting);
void compression_clean_audio(AUDIO_OUTPUT_SETTING* setting);
void compression_clean_output(OUTPUT_SETTING* setting);
