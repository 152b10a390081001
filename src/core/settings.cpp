#include "core/settings.h"

#include <algorithm>
#include <climits>

#include "platform/ini.h"
#include "platform/path.h"

SYSTEM_SETTINGS system_settings;

static constexpr char SECTION[] = "system";

#define NUMBER(key, def, low, high, restart, control) \
    { #key, &SYSTEM_SETTINGS::key, nullptr, def, nullptr, low, high, restart, control }
#define TEXT(key, def, restart, control) \
    { #key, nullptr, &SYSTEM_SETTINGS::key, 0, def, 0, 0, restart, control }

const SETTING_ROW SETTING_TABLE[] = {
    NUMBER(width, 1280, 320, 32760, true, 32000),
    NUMBER(height, 720, 240, 32760, true, 32001),
    NUMBER(frame, 320000, 1024, 8388607, true, 32002),
    NUMBER(cache, 8, 2, 128, true, 32003),
    NUMBER(moveA, 5, INT_MIN, INT_MAX, false, 32005),
    NUMBER(moveB, 30, INT_MIN, INT_MAX, false, 32006),
    NUMBER(moveC, 899, INT_MIN, INT_MAX, false, 32007),
    NUMBER(moveD, 8991, INT_MIN, INT_MAX, false, 32008),
    NUMBER(compprofile, 1, 0, 1, true, 32201),
    NUMBER(startframe, 1, 0, 1, true, 32203),
    NUMBER(plugincache, 1, 0, 1, true, 32202),
    NUMBER(shiftselect, 1, 0, 1, true, 32204),
    NUMBER(yuy2mode, 0, 0, 1, true, 32205),
    NUMBER(sse, 1, 0, 1, false, 32206),
    NUMBER(sse2, 1, 0, 1, false, 32207),
    NUMBER(vfplugin, 1, 0, 1, false, 32208),
    NUMBER(yuy2limit, 0, 0, 1, false, 32214),
    NUMBER(editresume, 0, 0, 1, false, 32209),
    NUMBER(fpsnoconvert, 0, 0, 1, false, 32210),
    NUMBER(tempconfig, 0, 0, 1, false, 32211),
    NUMBER(load30fps, 0, 0, 1, false, 32212),
    NUMBER(loadfpsadjust, 0, 0, 1, false, 32213),
    NUMBER(loadhistory, 8, 0, 10, true, 0),
    NUMBER(overwritecheck, 0, 0, 1, false, 32215),
    NUMBER(threadcpuseparate, 0, 0, 1, false, 32217),
    NUMBER(dragdropdialog, 0, 0, 1, false, 32218),
    NUMBER(openprojectaup, 1, 0, 1, false, 32219),
    NUMBER(closedialog, 0, 0, 1, false, 32220),
    NUMBER(saveunitsize, 4096, INT_MIN, INT_MAX, false, 32009),
    NUMBER(multithread, 0, 0, 64, false, 32010),
    NUMBER(multithreadexcept, 1, 0, 1, true, 0),
    NUMBER(projectonfig, 0, 0, 1, false, 32221),
    NUMBER(windowsnap, 0, 0, 1, false, 32222),
    TEXT(defaultsavefile, "%p", false, 32101),
    TEXT(finishsound, "", false, 32102),
    TEXT(resizelist, "1280x720,640x480,352x240,320x240", true, 32103),
    TEXT(fpslist, "*,30000/1001,24000/1001,60000/1001,60,50,30,25,24,20,15,12,10,8,6,5,4,3,2,1", false, 32104),
};
const int SETTING_N = int(std::size(SETTING_TABLE));

const char* settings_file() {
    static const std::string name = settings_folder_file("vantel.ini");
    return name.c_str();
}

std::string settings_folder_file(const char* name) { return path_program_folder() + name; }

bool settings_available(const SETTING_ROW& row) {
#if defined(__x86_64__) || defined(__i386__)
    if (row.number == &SYSTEM_SETTINGS::sse) return __builtin_cpu_supports("sse");
    if (row.number == &SYSTEM_SETTINGS::sse2) return __builtin_cpu_supports("sse2");
#endif
    (void)row;
    return true;
}

static int bounded(const SETTING_ROW& row, int value) {
    if (!settings_available(row)) return 0;
    if (row.low == 0 && row.high == 1) return value != 0;  // a switch: any other value is on
    return std::clamp(value, row.low, row.high);
}

void settings_bound(SYSTEM_SETTINGS* settings) {
    for (const SETTING_ROW& row : SETTING_TABLE)
        if (row.number) settings->*row.number = bounded(row, settings->*row.number);
    for (int* size : {&settings->width, &settings->height}) *size = (*size + 7) / 8 * 8;
}

void settings_read_to(SYSTEM_SETTINGS* settings) {
    for (const SETTING_ROW& row : SETTING_TABLE) {
        if (row.number)
            settings->*row.number = ini_read_int(settings_file(), SECTION, row.key, row.default_number);
        else
            ini_read_text(settings_file(), SECTION, row.key, settings->*row.text, row.default_text);
    }
    settings_bound(settings);
}

void settings_read() { settings_read_to(&system_settings); }

bool settings_write(const SETTING_ROW& row, const SYSTEM_SETTINGS& settings) {
    return row.number ? ini_write_int(settings_file(), SECTION, row.key, settings.*row.number)
                      : ini_write_text(settings_file(), SECTION, row.key, settings.*row.text);
}

void settings_write_int(const char* key, int value) { ini_write_int(settings_file(), SECTION, key, value); }
void settings_write_text(const char* key, const char* value) { ini_write_text(settings_file(), SECTION, key, value); }
