#include "core/history.h"

#include <cstdio>
#include <cstring>

#include "core/edit_state.h"
#include "core/settings.h"
#include "platform/ini.h"

static char entries[HISTORY_MAX][PATH_SIZE];

static void key_of(int i, char out[16]) { std::snprintf(out, 16, "history%d", i); }

// Without gaps: the menu counts what there is.
void history_read() {
    history_clear();
    for (int i = 0, n = 0; i < HISTORY_MAX; ++i) {
        char key[16];
        key_of(i, key);
        ini_read_text(settings_file(), "edit", key, entries[n], "");
        if (*entries[n]) ++n;
    }
}

void history_write() {
    for (int i = 0; i < HISTORY_MAX; ++i) {
        char key[16];
        key_of(i, key);
        ini_write_text(settings_file(), "edit", key, i < system_settings.loadhistory ? entries[i] : "");
    }
}

void history_add(const char* path) {
    const int n = system_settings.loadhistory;
    if (n < 1) return;
    int at = 0;
    while (at < n - 1 && std::strcmp(entries[at], path) != 0) ++at;
    std::memmove(entries[1], entries[0], size_t(at) * PATH_SIZE);
    std::snprintf(entries[0], PATH_SIZE, "%s", path);
}

void history_clear() { std::memset(entries, 0, sizeof entries); }

const char* history_entry(int i) { return i >= 0 && i < HISTORY_MAX ? entries[i] : ""; }
