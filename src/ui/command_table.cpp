#include <algorithm>
#include <iterator>

#include "core/edit_commands.h"
#include "core/history.h"
#include "core/profile.h"
#include "core/source.h"
#include "hosts/filter.h"
#include "output/chain_mix.h"
#include "output/key_list.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "persist/project_load.h"
#include "persist/project_save.h"
#include "readers/codec_dialog.h"
#include "ui/dialogs.h"
#include "ui/filter_windows.h"
#include "ui/information.h"
#include "ui/main_menu.h"
#include "ui/main_parts.h"
#include "ui/main_window.h"
#include "ui/priority.h"
#include "ui/view.h"

struct COMMAND_CALL {
    EDIT_STATE* edit;
    int id;
    int index;  // within the row's numbers
};

// ---- files

static void open_new(const COMMAND_CALL& c) {
    if (confirm_close(c.edit)) open_file(c.edit, nullptr, 0);
}
static void open_append(const COMMAND_CALL& c) { open_file(c.edit, nullptr, OPEN_APPEND); }
static void open_sound(const COMMAND_CALL& c) { open_file(c.edit, nullptr, OPEN_SOUND); }
static void close_file(const COMMAND_CALL& c) {
    if (confirm_close(c.edit)) close_edit(c.edit);
}
static void open_recent(const COMMAND_CALL& c) {
    const std::string path = history_entry(c.index);  // opening moves the entries
    if (!path.empty()) main_open_file(c.edit, path.c_str(), 0);
}
static void clear_recent(const COMMAND_CALL& c) {
    history_clear();
    main_menu_follow(c.edit);
}
static void project_open(const COMMAND_CALL& c) {
    if (confirm_close(c.edit)) project_load(c.edit, nullptr, 0);
}
static void project_store(const COMMAND_CALL& c) { project_save(c.edit, nullptr); }
static void project_overwrite(const COMMAND_CALL& c) {
    project_save(c.edit, *c.edit->project_name ? c.edit->project_name : nullptr);
}
static void save_avi(const COMMAND_CALL& c) { save_run(c.edit, 0); }
static void save_wav(const COMMAND_CALL& c) { save_run(c.edit, SAVE_REQ_WAV); }
static void export_keys(const COMMAND_CALL& c) { key_list_export(c.edit, nullptr); }
static void import_keys(const COMMAND_CALL& c) { key_list_import(c.edit, nullptr); }
static void join_files(const COMMAND_CALL& c) { avi_chain(c.edit); }
static void mix_files(const COMMAND_CALL& c) { avi_mix(c.edit); }
static void leave_program(const COMMAND_CALL&) { window_post(main_window(), WM_CLOSE, 0, 0); }
static void command_line(const COMMAND_CALL& c) {
    if (main_window_run_command_line(c.edit)) return;
    close_edit(c.edit);
    window_post(main_window(), WM_CLOSE, 0, 0);
}

// ---- settings and boxes

static void show_information(const COMMAND_CALL& c) { information_show(c.edit, c.id); }
static void system_settings_dialog(const COMMAND_CALL& c) {
    if (dialog_system_run()) view_set_range(&c.edit->view, 0, c.edit->frame_n);  // its steps are a setting
}
static void codec_dialog(const COMMAND_CALL&) { codec_options_dialog(); }
static void arrange_windows(const COMMAND_CALL&) { filter_windows_arrange(main_window()); }
static void choose_priority(const COMMAND_CALL& c) { main_menu_mark_priority(priority_choose(c.id - 1039)); }
static void profile(const COMMAND_CALL& c) { profile_command(c.edit, c.id); }
static void filters_off(const COMMAND_CALL&) { filter_all_off(); }
static void video_order(const COMMAND_CALL&) { dialog_filter_order_run(false); }
static void audio_order(const COMMAND_CALL&) { dialog_filter_order_run(true); }

// ---- the view; all other commands of it belong to view_message

static void set_zoom(EDIT_STATE* edit, int zoom) {
    edit->view.zoom = zoom;
    edit->edit_flag |= EDIT_RELAYOUT;
}
static void zoom_to(const COMMAND_CALL& c) { set_zoom(c.edit, c.index); }
static void zoom_in(const COMMAND_CALL& c) {
    if (c.edit->view.zoom <= 4) set_zoom(c.edit, c.edit->view.zoom + 1);
}
static void zoom_out(const COMMAND_CALL& c) {
    if (c.edit->view.zoom >= 1 && c.edit->view.zoom <= 5) set_zoom(c.edit, c.edit->view.zoom - 1);
}
static void toggle_wave(const COMMAND_CALL& c) {
    c.edit->view.view_flag ^= VIEW_WAVE;
    c.edit->edit_flag |= EDIT_RELAYOUT;
}

// ---- the table

enum : unsigned {
    COMMAND_REDRAW = 1,  // beside those of always_redraws
    COMMAND_NEEDS_EDIT = 2,
    COMMAND_ALWAYS = 4,  // also while a save runs
};

struct MAIN_COMMAND {
    int first, last;
    void (*run)(const COMMAND_CALL& c);  // null: not made yet
    unsigned flags;
};

static constexpr MAIN_COMMAND COMMAND_TABLE[] = {
    {5097, 5097, open_new, 0},
    {5100, 5100, open_append, COMMAND_NEEDS_EDIT},
    {5168, 5168, open_sound, COMMAND_NEEDS_EDIT},
    {5157, 5157, close_file, 0},
    {5118, 5118, project_open, 0},
    {1023, 1023, project_store, COMMAND_NEEDS_EDIT},
    {1024, 1024, project_overwrite, COMMAND_NEEDS_EDIT},
    {1003, 1003, save_avi, COMMAND_REDRAW | COMMAND_NEEDS_EDIT},
    {1062, 1062, save_wav, COMMAND_REDRAW | COMMAND_NEEDS_EDIT},
    {5296, 5327, nullptr, 0},
    {5395, 5395, nullptr, 0},
    {1025, 1025, nullptr, 0},
    {5167, 5167, import_keys, COMMAND_NEEDS_EDIT},
    {1054, 1054, export_keys, COMMAND_NEEDS_EDIT},
    {1057, 1057, join_files, COMMAND_REDRAW},
    {1058, 1058, mix_files, COMMAND_REDRAW},
    {1073, 1073, clear_recent, 0},
    {1002, 1002, leave_program, 0},
    {5180, 5180, command_line, 0},
    {100, 101, show_information, COMMAND_ALWAYS},
    {102, 102, nullptr, 0},
    {103, 105, show_information, COMMAND_ALWAYS},
    {106, 106, nullptr, 0},
    {107, 107, show_information, COMMAND_ALWAYS},
    {108, 108, system_settings_dialog, COMMAND_REDRAW},
    {109, 109, codec_dialog, 0},
    {110, 110, show_information, COMMAND_ALWAYS},
    {111, 111, arrange_windows, COMMAND_ALWAYS},
    {1006, 1006, show_information, COMMAND_NEEDS_EDIT},
    {1086, 1086, nullptr, 0},
    {5496, 5527, nullptr, 0},
    {5595, 5595, nullptr, 0},
    {5596, 5605, open_recent, 0},
    {1037, 1042, choose_priority, COMMAND_ALWAYS},
    {8000, 8002, profile, 0},
    {8006, 8101, profile, 0},
    {5183, 5183, filters_off, 0},
    {5139, 5139, video_order, 0},
    {5181, 5181, audio_order, 0},
    {5399, 5399, nullptr, 0},
    {1099, 1099, nullptr, 0},
    {9104, 9104, toggle_wave, COMMAND_REDRAW | COMMAND_ALWAYS},
    {9107, 9107, zoom_in, COMMAND_REDRAW | COMMAND_ALWAYS},
    {9108, 9108, zoom_out, COMMAND_REDRAW | COMMAND_ALWAYS},
    {9200, 9206, zoom_to, COMMAND_REDRAW | COMMAND_ALWAYS},
};

static const MAIN_COMMAND* find_command(int id) {
    const auto* row = std::find_if(std::begin(COMMAND_TABLE), std::end(COMMAND_TABLE),
                                   [&](const MAIN_COMMAND& c) { return id >= c.first && id <= c.last; });
    return row == std::end(COMMAND_TABLE) ? nullptr : row;
}

void main_command_each_missing(void (*visit)(int id)) {
    for (const MAIN_COMMAND& row : COMMAND_TABLE)
        for (int id = row.first; !row.run && id <= row.last; ++id) visit(id);
}

static bool allowed(const EDIT_STATE* edit, const MAIN_COMMAND& command) {
    if (main_busy() && !(command.flags & COMMAND_ALWAYS)) return false;
    return (edit->edit_flag & EDIT_OPEN) || !(command.flags & COMMAND_NEEDS_EDIT);
}

/// The numbers that change the edit: what is shown follows, also when there is no such command or it may not run.
static bool always_redraws(int id) { return id >= 4096 && id <= 8191; }

static unsigned edit_command(const MAIN_MESSAGE& m, int id) {
    if (main_busy()) return STEP_GO_ON;
    const int result = edit_command_run(m.edit, id, int32_t(m.lparam));
    return result == EDIT_COMMAND_REDRAW ? STEP_REDRAW : STEP_GO_ON;
}

/// A message for another window, as command 900 carries it.
struct FORWARDED_MESSAGE {
    WINDOW* window;
    uintptr_t message, wparam;
    intptr_t lparam;
};

unsigned main_command(const MAIN_MESSAGE& m) {
    constexpr int FORWARD = 900, PLUGIN_FIRST = 16000;
    const int id = command_id(m.wparam);
    if (id == FORWARD && m.lparam) {
        const auto* f = reinterpret_cast<const FORWARDED_MESSAGE*>(m.lparam);
        window_send(f->window, uint32_t(f->message), f->wparam, f->lparam);
        return STEP_HANDLED;
    }
    if (id >= PLUGIN_FIRST) return STEP_HANDLED;
    const unsigned after = always_redraws(id) ? STEP_REDRAW : STEP_GO_ON;
    const MAIN_COMMAND* command = find_command(id);
    if (!command) return after | edit_command(m, id);
    if (!command->run || !allowed(m.edit, *command)) return after;
    command->run({m.edit, id, id - command->first});
    return command->flags & COMMAND_REDRAW ? unsigned{STEP_REDRAW} : after;
}
