#include "core/settings_store.h"

#include <cstring>
#include <span>

#include "core/fps_list.h"
#include "output/avi_writer.h"
#include "pipeline/worker_pool.h"
#include "pixels/convert.h"
#include "platform/ini.h"
#include "platform/simd.h"
#include "platform/thread.h"

static std::span<const SETTING_ROW> rows() { return {SETTING_TABLE, size_t(SETTING_N)}; }

static void copy_value(SYSTEM_SETTINGS* to, const SYSTEM_SETTINGS& from, const SETTING_ROW& row) {
    if (row.number)
        to->*row.number = from.*row.number;
    else
        std::memcpy(to->*row.text, from.*row.text, sizeof(to->*row.text));
}

SYSTEM_SETTINGS settings_shown() {
    SYSTEM_SETTINGS shown;
    settings_read_to(&shown);
    for (const SETTING_ROW& row : rows())
        if (!row.at_restart) copy_value(&shown, system_settings, row);
    return shown;
}

// ---- what takes effect at once

void settings_start_workers() {
    const SYSTEM_SETTINGS& s = system_settings;
    worker_pool_start(s.multithread ? s.multithread : processor_count(),
                      {s.multithreadexcept != 0, s.threadcpuseparate != 0});
}

void settings_apply() {
    const SYSTEM_SETTINGS& s = system_settings;
    simd_enabled = s.sse && s.sse2;
    yuy2_limit = s.yuy2limit;
    avi_writer_set_unit(s.saveunitsize);
    fps_list_parse(&fps_list, s.fpslist);
}

bool settings_store(const SYSTEM_SETTINGS& wanted) {
    SYSTEM_SETTINGS bounded = wanted;
    settings_bound(&bounded);
    const SYSTEM_SETTINGS before = system_settings;
    bool written = true;
    ini_batch_begin(settings_file());
    for (const SETTING_ROW& row : rows()) {
        if (!row.control) continue;
        written = settings_write(row, bounded) && written;
        if (!row.at_restart) copy_value(&system_settings, bounded, row);
    }
    written = ini_batch_end(settings_file()) && written;
    settings_apply();
    const SYSTEM_SETTINGS& now = system_settings;
    if (now.multithread != before.multithread || now.threadcpuseparate != before.threadcpuseparate)
        settings_start_workers();
    return written;
}
