#include "resources/language.h"
#include "resources/string_ids.h"
#include "ui/filter_window_parts.h"

// Entries of the main menu in front of which new ones go.
enum PLACE_HOLDER : int {
    PLACE_SWITCH = 10000,
    PLACE_DISPLAY = 10998,
    PLACE_AUDIO_SWITCH = 10999,
    PLACE_WINDOW = 11000,
    PLACE_LIST = 11998,
    PLACE_AUDIO_WINDOW = 11999,
    PLACE_METHOD = 13999,  // of our own: in the popup of the deinterlace methods, behind their names
    PLACE_IMPORT = 14000,
    PLACE_EXPORT = 15000,
};

void filter_menu_place_holders_remove() {
    for (const int id : {PLACE_SWITCH, PLACE_DISPLAY, PLACE_AUDIO_SWITCH, PLACE_WINDOW, PLACE_LIST, PLACE_AUDIO_WINDOW,
                         PLACE_METHOD, PLACE_IMPORT, PLACE_EXPORT})
        menu_remove(filter_windows.menu, id);
}

static std::string show_text(const FILTER* filter) {
    if (filter->flags & FILTER_F_PLAIN_TITLE) return filter_text(filter->name);
    return filter_text(filter->name) +
           language_text_utf8(filter->flags & FILTER_F_DISPLAY ? STR_SUFFIX_SHOW : STR_SUFFIX_SETTING);
}

// ---- filters with a window

// The popup of a sub-folder of plug-ins, made in front of the place-holder at its first use.
static MENU* folder_popup(MENU* holder, int before, const FILTER* filter) {
    const std::string folder = filter_text(filter->folder_name);
    MENU* popup = menu_named(holder, folder);
    return popup ? popup : menu_insert_popup(holder, before, folder);
}

static void insert_switch(const FILTER* filter) {
    const int id = FILTER_COMMAND_ACTIVE + filter->menu_index;
    const std::string name = filter_text(filter->name);
    if (filter->folder_name && filter_windows.switches)
        menu_insert(folder_popup(filter_windows.switches, PLACE_SWITCH, filter), 0, id, name);
    else
        menu_insert(filter_windows.menu, filter->flags & FILTER_F_AUDIO ? PLACE_AUDIO_SWITCH : PLACE_SWITCH, id, name);
}

static void insert_show(const FILTER* filter) {
    const int id = FILTER_COMMAND_SHOW + filter->menu_index;
    const std::string text = show_text(filter);
    if ((filter->flags & FILTER_F_DEINTERLACE_METHOD) && filter_windows.deinterlace)
        menu_insert(filter_windows.deinterlace, 0, id, text);
    else if (filter->flags & FILTER_F_DISPLAY)
        menu_insert(filter_windows.menu, PLACE_DISPLAY, id, text);
    else if (filter->folder_name && filter_windows.settings)
        menu_insert(folder_popup(filter_windows.settings, PLACE_WINDOW, filter), 0, id, text);
    else
        menu_insert(filter_windows.menu, filter->flags & FILTER_F_AUDIO ? PLACE_AUDIO_WINDOW : PLACE_WINDOW, id, text);
    if (!filter_window_filled(filter)) menu_enable(filter_windows.menu, id, false);
}

// ---- menu filters

static MENU* list_popup(const FILTER* filter) {
    if ((filter->flags & FILTER_F_SHARED_MENU) && filter_windows.shared) return filter_windows.shared;
    if (!(filter->flags & FILTER_F_SUBMENU)) return nullptr;
    MENU* holder = menu_holding(filter_windows.menu, PLACE_LIST);
    if (holder) filter_windows.shared = menu_insert_popup(holder, PLACE_LIST, show_text(filter));
    return holder ? filter_windows.shared : nullptr;
}

static void insert_list(FILTER* filter) {
    MENU* popup = list_popup(filter);
    for (int i = 0; i < filter->check_count; ++i) {
        if (!filter->check_labels[i]) continue;
        menu_insert(popup ? popup : filter_windows.menu, popup ? 0 : PLACE_LIST, filter->track_store[1] + i,
                    filter_text(filter->check_labels[i]));
    }
    if (popup && filter == filter_built_in(STR_FILTER_DEINTERLACE)) {
        filter_windows.deinterlace = popup;
        menu_insert(popup, 0, PLACE_METHOD, "-");
    }
    if (popup && (filter->flags & FILTER_F_MENU_SEPARATOR)) menu_insert_separator(popup, 0);
    if (popup) filter->menu = popup;
}

// The name of a deinterlace method, among those of the others. The list may be full.
static void insert_method(const FILTER* method) {
    const FILTER* holder = filter_built_in(STR_FILTER_DEINTERLACE);
    const int index = holder->check_count - 1;
    if (filter_deinterlace_method(index) == method && filter_windows.deinterlace)
        menu_insert(filter_windows.deinterlace, PLACE_METHOD, holder->track_store[1] + index,
                    filter_text(method->name));
}

// ---- one filter

void filter_menu_make(FILTER* filter) {
    filter->menu = filter_windows.menu;
    if (filter->flags & FILTER_F_DEINTERLACE_METHOD) insert_method(filter);
    if (!filter_has_window(filter) && !filter_is_menu(filter)) return;
    if (!(filter->flags & FILTER_F_ALWAYS_ON)) insert_switch(filter);
    if (filter->flags & FILTER_F_IMPORT)
        menu_insert(filter_windows.menu, PLACE_IMPORT, FILTER_COMMAND_IMPORT + filter->menu_index,
                    filter_text(filter->name));
    if (filter->flags & FILTER_F_EXPORT)
        menu_insert(filter_windows.menu, PLACE_EXPORT, FILTER_COMMAND_EXPORT + filter->menu_index,
                    filter_text(filter->name));
    if (filter_is_menu(filter))
        insert_list(filter);
    else
        insert_show(filter);
}

void filter_menu_drop(FILTER* filter) {
    if (!filter->menu) return;
    for (const int id : {FILTER_COMMAND_ACTIVE, FILTER_COMMAND_SHOW, FILTER_COMMAND_IMPORT, FILTER_COMMAND_EXPORT})
        menu_remove(filter_windows.menu, id + filter->menu_index);
    for (int i = 0; filter_is_menu(filter) && i < filter->check_count; ++i)
        menu_remove(filter_windows.menu, filter->track_store[1] + i);
    filter->menu = nullptr;
}
