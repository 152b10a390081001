#pragma once

#include <cstdint>
#include <string>

#include "vantel_filter.h"

/// The filter table: all filters of a run in one list, their chain, and what is told to them. Everything runs on the
/// main thread; each call into a filter runs under the crash guard, and a filter that crashes loses that call only.
/// Operations whose result is always 1 return it for the sake of callers that pass it on.

inline constexpr int FILTER_PLUGIN_MAX = 96;
inline constexpr int FILTER_LIST_MAX = 128;  // entries of list and chain, the null at the end included
inline constexpr int FILTER_PLACE_MAX = 127;

// ---- start and end

/// Builds the list (built-in records, then plug-in records), starts every filter with its default values, calls
/// func_init of each, and rebuilds the chain. instance null: headless, display tools stay out of the list. main_window
/// may be null until there is one. Plug-in records are added before.
int filter_system_init(void* main_window, void* instance);
int filter_system_exit();
bool filter_headless();
/// Whether filter_system_init has finished.
bool filter_ready();

/// Takes a plug-in's record into the next free of 96 slots: its fields up to `reserved` are copied. module: not null,
/// and the caller's to release after filter_system_exit, as is the memory behind `folder` (null: no sub-folder). Null
/// when the slots are full.
FILTER* filter_plugin_add(const FILTER* record, void* module, const char* path, const char* folder);

// ---- the list

/// All filters in list order, a null at the end; and the filters of the chain in the order in which they run.
FILTER* const* filter_list();
FILTER* const* filter_chain();
FILTER* filter_at(int index);  // null out of range
int filter_count();
/// The first filter of a name (code page 932), null when there is none.
FILTER* filter_find(const char* name);
/// A built-in record by the number of its name (STR_FILTER_... or STR_INTER_...). It exists before filter_system_init,
/// so that lists may grow, and also when it is left out of the list. Null for any other number.
FILTER* filter_built_in(int name_id);
/// Appends an entry to the check list of a built-in record, before filter_system_init. label null: no menu entry, but
/// the number is used up. The label must live as long as the record. False when the list holds 32.
bool filter_check_append(FILTER* filter, const char* label, int default_value);
/// The section of the settings that is the filter's: its name, with "<folder>" before it for one from a sub-folder.
std::string filter_section(const FILTER* filter);
/// The list of plug-in filters for the user: one line each.
std::string filter_info_text();

// ---- values

/// The selected entry of a FILTER_F_MENU_RADIO filter.
int filter_selected(const FILTER* filter);
/// Selects an entry of a radio list; nothing is told to the filter.
void filter_select(FILTER* filter, int index);
/// To be called after check value `index` was written: keeps radio lists and radio groups at exactly one value of 1,
/// and shows the change. With no value of 1 left the entry itself is selected again. An entry with a negative default
/// keeps that value and is never selected.
void filter_check_update(FILTER* filter, int index);
/// Track, check and extra values back to their defaults, without a word to the filter; and with func_update.
void filter_set_defaults(FILTER* filter);
int filter_reset(FILTER* filter);
/// Turns the user's switch: frees or allocates the filter's cache, empties the caches behind it.
void filter_set_active(FILTER* filter, bool on);
/// Turns off all filters that lack FILTER_F_ALWAYS_ON.
int filter_all_off();

// ---- the chain

/// The place that a filter takes when none is stored, -1 for one that takes no place.
int filter_default_order(const FILTER* filter);
/// Sorts the chain anew by chain_order; equal places keep list order. Empties all filter caches.
int filter_chain_rebuild();

/// The walks. profile: the name that the frame carries; it becomes the current one first. A stop filter does not run
/// and ends the walk. Nothing is allocated. The last active filter ahead of the stop filter (null: of the whole chain)
/// that fetches its input itself, or null.
FILTER* filter_chain_restart_point(FILTER_PROC_PARAM* param, const char* profile, FILTER* stop);
/// Runs the picture filters from the start filter on (null: from the first).
int filter_chain_run(FILTER_PROC_PARAM* param, const char* profile, FILTER* start, FILTER* stop);
int filter_chain_run_audio(FILTER_PROC_PARAM* param, const char* profile, FILTER* stop);
/// Runs one deinterlace method by number, active or not.
int filter_run_deinterlace(FILTER_PROC_PARAM* param, const char* profile, int method);
/// The method of a number, null when there is none.
FILTER* filter_deinterlace_method(int method);
/// Runs the display tools; nothing at all when headless.
int filter_run_display(FILTER_PROC_PARAM* param, const char* profile);

/// Told of every func_proc before it is called. Null: nobody. For tests.
using FILTER_OBSERVER = void (*)(const char* filter_name, int frame, void* data);
void filter_chain_set_observer(FILTER_OBSERVER observer, void* data);

// ---- what is told to filters

/// func_update and what follows from it. status: 0, track index | FILTER_UPDATE_TRACK, check index |
/// FILTER_UPDATE_CHECK.
int filter_notify_update(FILTER* filter, int status);
/// A save begins or ends. mode: bit 0 tells picture filters, bit 1 audio filters.
enum : uint32_t { FILTER_SAVE_VIDEO = 1, FILTER_SAVE_AUDIO = 2 };
int filter_notify_save_start(uint32_t mode, int first, int last, EDIT_STATE* edit);
int filter_notify_save_end(uint32_t mode, EDIT_STATE* edit);
/// Lets every filter rewrite the main window's title, in place. capacity: bytes of text.
int filter_modify_title(EDIT_STATE* edit, int frame, char* text, int capacity);
/// func_is_saveframe of a deinterlace method; 1 (kept) when it has none or crashes.
int filter_is_saveframe(FILTER* filter, EDIT_STATE* edit, int save_number, int frame, int fps, int edit_flag,
                        int inter);
/// A block of a project; func_project_load is optional.
void filter_project_load(FILTER* filter, EDIT_STATE* edit, void* data, int size);
/// True when the filter has a block. data null: *size gets its size; else the block is written into *size bytes.
bool filter_project_save(FILTER* filter, EDIT_STATE* edit, void* data, int* size);
/// Sends a message to every filter that has func_WndProc and a window.
int filter_broadcast_send(uint32_t message, uintptr_t wparam);

/// How the filter table reaches windows and menus. The window fills it in; while an entry is null nobody is there.
struct FILTER_WINDOW_HOOKS {
    void (*make)(FILTER* filter);  // window and menus of one filter, at start-up, not when headless
    void (*drop)(FILTER* filter);  // hides the window and removes the menu entries of an invalid filter
    void (*show)(FILTER* filter);  // values, selection or switch changed: renews controls and menu marks
    void (*send)(FILTER* filter, uint32_t message, uintptr_t wparam);  // to the filter's window, at once
    void (*post)(FILTER* filter, uint32_t message, uintptr_t wparam);  // the same through the message queue
    void (*repaint)(FILTER* filter);                                   // what the filter draws into its window changed
    void (*started)();              // all filters are started and have been told so, not when headless
    void (*store)(FILTER* filter);  // shut-down: keeps the place of the filter's window
    void (*stopped)();              // shut-down: the last call into a filter is over
};
extern FILTER_WINDOW_HOOKS filter_window_hooks;
