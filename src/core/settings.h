#pragma once

#include <string>

/// SYSTEM_SETTINGS: section `system` of vantel.ini, read once at start-up, bounds already applied. Main thread.
struct SYSTEM_SETTINGS {
    int width, height;  // largest picture, multiples of 8, at least 320 x 240
    int frame;          // FRAME_LIMIT, 1024 .. 8388607
    int cache;          // depth of FRAME_CACHE, 2 .. 128
    int moveA, moveB, moveC, moveD;
    int compprofile;  // compression settings live with the profile
    int startframe;   // number shown for frame 0: 0 or 1
    int plugincache;
    int shiftselect;
    int yuy2mode;   // PIXEL_SIZE 2
    int sse, sse2;  // vector kernels; both on = vector forms run
    int vfplugin;
    int yuy2limit;
    int editresume;
    int fpsnoconvert;
    int tempconfig;
    int load30fps;
    int loadfpsadjust;
    int loadhistory;  // length of the history list, 0 .. 10
    int overwritecheck;
    int threadcpuseparate;
    int dragdropdialog;
    int openprojectaup;
    int closedialog;
    int saveunitsize;  // KiB of one write, 0 = no ring
    int multithread;   // 0 .. 64, 0 = one per processor
    int multithreadexcept;
    int projectonfig;
    int windowsnap;
    char defaultsavefile[260];
    char finishsound[260];
    char resizelist[260];
    char fpslist[260];
};
extern SYSTEM_SETTINGS system_settings;

/// Reads section `system` of the settings file and applies all bounds.
void settings_read();
/// The same into another record, and the bounds alone.
void settings_read_to(SYSTEM_SETTINGS* settings);
void settings_bound(SYSTEM_SETTINGS* settings);
/// Writes one value of section `system`; the running value stays.
void settings_write_int(const char* key, int value);
void settings_write_text(const char* key, const char* value);

/// One row a key: what the settings dialog and the documentation are made from.
struct SETTING_ROW {
    const char* key;
    int SYSTEM_SETTINGS::*number;        // null for a text
    char (SYSTEM_SETTINGS::*text)[260];  // null for a number
    int default_number;
    const char* default_text;
    int low, high;    // bounds of a number
    bool at_restart;  // takes effect at the next start
    int control;      // control number in dialog SYSTEM, 0 = only in the file
};
extern const SETTING_ROW SETTING_TABLE[];
extern const int SETTING_N;

/// Whether the machine has what a setting switches; without, it stays 0.
bool settings_available(const SETTING_ROW& row);
/// Writes the value of one row to the file; false when that fails.
bool settings_write(const SETTING_ROW& row, const SYSTEM_SETTINGS& settings);

/// "<folder>vantel.ini" of the program's folder, and "<folder>NAME" of any other file in it (code page 932).
const char* settings_file();
std::string settings_folder_file(const char* name);
