#include "core/start_up.h"

#include <csignal>
#include <cstdlib>
#include <cstring>

#include "core/audio_conv.h"
#include "core/compression_settings.h"
#include "core/edit_settings.h"
#include "core/edit_state.h"
#include "core/exception_report.h"
#include "core/frame_table.h"
#include "core/memory.h"
#include "core/profile.h"
#include "core/settings_store.h"
#include "core/source.h"
#include "core/ui_hooks.h"
#include "hosts/filter.h"
#include "output/avi_writer.h"
#include "persist/project_resume.h"
#include "pipeline/frame_cache.h"
#include "pipeline/worker_pool.h"
#include "pixels/frame_buffer.h"
#include "readers/codec.h"
#include "readers/input_table.h"

static bool window_mode_now;
static void* main_window;  // null: none, also in window mode

bool start_up_window_mode() { return window_mode_now; }

static bool allocate_edit_state() {
    edit_state = static_cast<EDIT_STATE*>(mem_alloc(sizeof(EDIT_STATE)));
    return edit_state != nullptr;
}

static void apply_settings() {
    const SYSTEM_SETTINGS& s = system_settings;
    frame_geometry = frame_geometry_make(s.width, s.height, s.yuy2mode ? PIXEL_SIZE_YUY2 : PIXEL_SIZE_YC48);
    avi_writer_set_frame_limit(s.frame);
    settings_apply();
}

static bool make_window(EDIT_STATE* edit) {
    if (!window_mode_now || !ui_hooks.window_make) return true;
    main_window = ui_hooks.window_make(edit);
    return main_window != nullptr;
}

static bool create_edit_content(EDIT_STATE* edit) {
    std::memset(edit, 0, sizeof *edit);
    edit->audio_setting.interleave = 1;
    if (!frame_table_alloc(system_settings.frame) || !frame_cache_start()) return false;
    edit_settings_read(edit);
    if (!make_window(edit)) return false;
    compression_settings_read(edit);
    return true;
}

EDIT_STATE* start_up(bool window_mode) {
    if (edit_state || !allocate_edit_state()) return nullptr;
    window_mode_now = window_mode;
    std::signal(SIGXFSZ, SIG_IGN);  // a file-size limit is a short write, not the end of the program
    exception_report_install();
    settings_read();
    apply_settings();
    settings_start_workers();
    input_table_init();
    codec_system_init();
    if (!create_edit_content(edit_state)) {
        shut_down();
        return nullptr;
    }
    filter_system_init(main_window, window_mode ? edit_state : nullptr);
    profile_system_init(window_mode);
    if (window_mode) project_resume_load(edit_state);
    if (main_window && ui_hooks.window_started) ui_hooks.window_started(edit_state);
    return edit_state;
}

void shut_down() {
    EDIT_STATE* edit = edit_state;
    if (!edit) return;
    if (window_mode_now && filter_ready()) project_resume_save(edit);  // not after a start that failed
    close_edit(edit);
    audio_conv_exit();
    profile_system_exit();
    filter_system_exit();
    if (window_mode_now) compression_settings_write(edit);
    if (main_window && ui_hooks.window_store) ui_hooks.window_store(edit);
    main_window = nullptr;
    if (window_mode_now) edit_settings_write(edit);
    frame_cache_stop();
    frame_table_free();
    codec_system_exit();
    input_table_exit();
    worker_pool_stop();
    mem_free(edit);
    edit_state = nullptr;
}
