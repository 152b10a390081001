#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "hosts/filter_cache.h"
#include "hosts/filter_call.h"
#include "hosts/filter_record.h"
#include "pixels/frame_buffer.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

FILTER_WINDOW_HOOKS filter_window_hooks;

static FILTER_RECORD plugins[FILTER_PLUGIN_MAX];
static int plugin_n;
static FILTER* list[FILTER_LIST_MAX];
static int list_n;
static void* window_main;
static void* program_instance;
static bool ready;

static_assert(FILTER_BUILT_IN_N + FILTER_PLUGIN_MAX < FILTER_LIST_MAX);

bool filter_headless() { return !program_instance; }
bool filter_ready() { return ready; }
FILTER* const* filter_list() { return list; }
FILTER* filter_at(int index) { return index >= 0 && index < list_n ? list[index] : nullptr; }
int filter_count() { return list_n; }

FILTER* filter_find(const char* name) {
    for (int i = 0; i < list_n; ++i) {
        if (list[i]->name && std::strcmp(list[i]->name, name) == 0) return list[i];
    }
    return nullptr;
}

std::string filter_section(const FILTER* filter) {
    const std::string name = filter->name ? filter->name : "";
    return filter->folder_name ? std::string("<") + filter->folder_name + '>' + name : name;
}

// ---- plug-in records

FILTER* filter_plugin_add(const FILTER* record, void* module, const char* path, const char* folder) {
    if (plugin_n >= FILTER_PLUGIN_MAX) return nullptr;
    FILTER_RECORD& slot = plugins[plugin_n++];
    slot = {};
    FILTER& filter = slot.filter;
    std::memcpy(&filter, record, offsetof(FILTER, menu_index));
    filter.track_count = filter.track_labels ? std::clamp(filter.track_count, 0, int(FILTER_TRACK_MAX)) : 0;
    filter.check_count = filter.check_labels ? std::clamp(filter.check_count, 0, int(FILTER_CHECK_MAX)) : 0;
    filter.window = nullptr;
    filter.module = module;
    filter.folder_name = folder;
    std::snprintf(slot.path, sizeof slot.path, "%s", path);
    return &filter;
}

static std::string info_line(const FILTER_RECORD& record) {
    const FILTER& filter = record.filter;
    const std::string name = filter.name ? filter.name : "", info = filter.info_text ? filter.info_text : "";
    const char* slash = text_find_last(record.path, '/');
    const std::string title = filter.flags & FILTER_F_INFO_ONLY       ? info
                              : filter.flags & FILTER_F_INFO_AND_NAME ? name + " " + info
                                                                      : name;
    return title + " ( " + (slash ? slash + 1 : record.path) + " )\n";
}

std::string filter_info_text() {
    if (plugin_n == 0) return language_string(STR_INFO_NOTHING);
    std::string text;
    for (int i = 0; i < plugin_n; ++i) text += info_line(plugins[i]);
    return text;
}

// ---- building the list

static void append(FILTER* filter) {
    if (filter_headless() && (filter->flags & FILTER_F_DISPLAY)) return;
    list[list_n++] = filter;
}

static void list_clear() {
    std::fill_n(list, FILTER_LIST_MAX, nullptr);
    list_n = 0;
}

static void list_build() {
    list_clear();
    FILTER_RECORD* built_in = filter_built_in_records();
    for (int i = 0; i < FILTER_BUILT_IN_N; ++i) append(&built_in[i].filter);
    for (int i = 0; i < plugin_n; ++i) append(&plugins[i].filter);
}

// ---- starting one filter

static int text_id_of(const char* text) {
    const auto value = reinterpret_cast<uintptr_t>(text);
    return value >= 1 && value <= 255 ? int(value) : 0;
}

static const char* resolve(const char* text) {
    const int id = text_id_of(text);
    return id ? language_string(id) : text;
}

// The list itself may lie in a plug-in's read-only memory, so the texts go into the host's.
static const char** resolve_labels(const char** labels, const char** own, int n) {
    for (int i = 0; i < n; ++i) own[i] = resolve(labels[i]);
    return n > 0 ? own : labels;
}

static void resolve_texts(FILTER_RECORD* record) {
    FILTER& filter = record->filter;
    if (!(filter.flags & FILTER_F_TEXT_IDS)) return;
    record->name_id = text_id_of(filter.name);
    filter.name = resolve(filter.name);
    filter.track_labels = resolve_labels(filter.track_labels, record->track_label, filter.track_count);
    filter.check_labels = resolve_labels(filter.check_labels, record->check_label, filter.check_count);
}

// Filters whose numbers in command ids never move, by the number of the name.
static constexpr int MENU_ORDER[] = {STR_FILTER_HISTOGRAM,   STR_FILTER_PLAY_WINDOW,    STR_FILTER_TOOL_WINDOW,
                                     STR_FILTER_NOISE,       STR_FILTER_NOISE_TIME,     STR_FILTER_SHARPEN,
                                     STR_FILTER_BLUR,        STR_FILTER_CLIP,           STR_FILTER_BORDER,
                                     STR_FILTER_COLOR,       STR_FILTER_COLOR_EXTENDED, STR_FILTER_SIZE,
                                     STR_FILTER_RATE_CHANGE, STR_FILTER_RATE_SETTING,   STR_FILTER_AUDIO_POSITION,
                                     STR_FILTER_VOLUME,      STR_FILTER_NORMALISE,      STR_FILTER_DEINTERLACE,
                                     STR_FILTER_FIELD_ORDER, STR_FILTER_COLOR_IN,       STR_FILTER_COLOR_OUT};

static int menu_index_of(const FILTER_RECORD* record, int* next) {
    const int* found = std::find(std::begin(MENU_ORDER), std::end(MENU_ORDER), record->name_id);
    return record->row && found != std::end(MENU_ORDER) ? int(found - MENU_ORDER) : (*next)++;
}

static void fill_host_fields(FILTER* filter) {
    filter->menu = filter->window = nullptr;
    filter->main_window = window_main;
    filter->instance = program_instance;
    filter->track_values = filter->track_store;
    filter->check_values = filter->check_store;
    filter->pixel_size = frame_geometry.pixel_size;
}

// Menu entries take one command id each, in list order. The holder of the deinterlace methods, which come behind it,
// keeps room for many.
static void number_commands(FILTER* filter, int* next) {
    constexpr int METHOD_IDS = 96;
    if (!(filter->flags & (FILTER_F_MENU_CHECKS | FILTER_F_MENU_RADIO))) return;
    filter->track_store[1] = *next;
    filter->track_store[2] = *next + filter->check_count - 1;
    *next += filter == filter_built_in(STR_FILTER_DEINTERLACE) ? METHOD_IDS : filter->check_count;
}

// The method's name goes into the holder's list, which takes one more command id with it.
static void start_method(FILTER* method) {
    FILTER* holder = filter_built_in(STR_FILTER_DEINTERLACE);
    method->flags |= FILTER_F_ALWAYS_ON;
    filter_deinterlace_register(method);
    if (!filter_headless()) holder->track_store[2] = holder->track_store[1] + holder->check_count - 1;
}

static void start_all() {
    int next_menu = int(std::size(MENU_ORDER)), next_command = 12100;
    filter_deinterlace_clear();
    for (int i = 0; i < list_n; ++i) {
        FILTER* filter = list[i];
        resolve_texts(filter_record(filter));
        filter->menu_index = menu_index_of(filter_record(filter), &next_menu);
        fill_host_fields(filter);
        if (filter->flags & FILTER_F_DEINTERLACE_METHOD) start_method(filter);
        if (filter_headless()) continue;
        number_commands(filter, &next_command);
        if (filter_window_hooks.make) filter_window_hooks.make(filter);
    }
}

// Whoever has no settings runs on these.
static void default_all() {
    for (int i = 0; i < list_n; ++i) {
        filter_set_defaults(list[i]);
        if (list[i]->flags & FILTER_F_ALWAYS_ON) list[i]->flags |= FILTER_F_ACTIVE;
        list[i]->chain_order = filter_default_order(list[i]);
    }
}

// ---- func_init

static void invalidate(FILTER* filter) {
    if (filter_window_hooks.drop) filter_window_hooks.drop(filter);
    filter_cache_release(filter);
    filter->flags = 0x3FFFFBF8;  // every kind at once, so that every walk passes it by
    filter->func_proc = nullptr;
    filter->func_init = filter->func_exit = nullptr;
    filter->func_update = nullptr;
    filter->func_WndProc = nullptr;
    filter->func_save_start = nullptr;
    filter->func_save_end = nullptr;
    filter->func_is_saveframe = nullptr;
    filter->func_project_load = nullptr;
    filter->func_project_save = nullptr;
    filter->func_modify_title = nullptr;
    filter->track_count = filter->check_count = filter->extra_size = 0;
    filter->extra_data = nullptr;
    filter->folder_name = nullptr;
    filter->window = nullptr;
    filter->chain_order = -1;
    filter->name = "_invalid_filter";
}

static void init_all() {
    for (int i = 0; i < list_n; ++i) {
        FILTER* filter = list[i];
        if (!filter->func_init) continue;
        int result = 0;
        filter_call(filter, "FILTER::func_init()", [&] { result = filter->func_init(filter); });
        if (result == 0) invalidate(filter);
    }
}

// ---- start and end

int filter_system_init(void* main_window, void* instance) {
    window_main = main_window;
    program_instance = instance;
    list_build();
    start_all();
    default_all();
    init_all();
    filter_chain_rebuild();
    ready = true;
    filter_broadcast_send(FILTER_MSG_STARTED, 0);
    filter_broadcast_send(FILTER_MSG_WINDOW_CHANGED, 0);
    if (!filter_headless() && filter_window_hooks.started) filter_window_hooks.started();
    return 1;
}

int filter_system_exit() {
    filter_broadcast_send(FILTER_MSG_STOPPING, 0);
    for (int i = 0; i < list_n; ++i) {
        FILTER* filter = list[i];
        if (filter_window_hooks.store) filter_window_hooks.store(filter);
        filter->func_WndProc = nullptr;
        if (filter->func_exit) filter_call(filter, "FILTER::func_exit()", [&] { filter->func_exit(filter); });
        filter_cache_release(filter);
    }
    if (filter_window_hooks.stopped) filter_window_hooks.stopped();
    list_clear();
    filter_chain_rebuild();
    filter_deinterlace_clear();
    filter_built_in_forget();
    plugin_n = 0;
    ready = false;
    return 1;
}
