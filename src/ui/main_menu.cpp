#include "ui/main_menu.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "core/edit_commands_clip.h"
#include "core/edit_commands_undo.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/history.h"
#include "core/profile.h"
#include "core/profile_list.h"
#include "core/settings.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "resources/templates.h"
#include "ui/key_table.h"
#include "ui/main_parts.h"
#include "ui/main_window.h"
#include "ui/view.h"

static constexpr int HISTORY_FIRST = 5596, HISTORY_CLEAR = 1073, PROFILE_PLACE = 8005, STOP = 1009;
static constexpr int INTER_FIRST = 5196, FRAME_PROFILE_FIRST = 5206, FRAME_PROFILE_N = 10;

// Entries and popups (by one of their entries) that need an open edit, and those that only need a quiet moment.
static constexpr int EDIT_ITEMS[] = {5157, 5100, 5168, 1003, 1062, 1023, 1024, 1006, 104};
static constexpr int EDIT_POPUPS[] = {1020, 5167, 1054};
static constexpr int QUIET_ITEMS[] = {5097, 5118, 1025, 1002, 108, 109, 1086, 102, 106};
static constexpr int QUIET_POPUPS[] = {1057, 5183, 5127, 8001};
static constexpr int CONTEXT_ITEMS[] = {1020, 5117, 1026, 5123, 1070, 5101, 5143, 5112, 5130, 5147};

static MENU* menu_now;
static MENU *history_popup, *profile_popup, *inter_popup, *frame_profile_popup;
static std::vector<std::string> history_shown;
static unsigned profiles_shown;
static std::string names_shown;  // of the edit's first profiles
static bool history_on = true;

MENU* main_menu() { return menu_now; }

// A name is no place for a mnemonic.
static std::string plain(const std::string& utf8) {
    std::string text;
    for (const char c : utf8) text.append(c == '&' ? 2 : 1, c);
    return text;
}

// ---- life

MENU* main_menu_create() {
    menu_now = menu_create(language_menu("VANTEL"));
    history_popup = menu_holding(menu_now, HISTORY_FIRST);
    profile_popup = menu_holding(menu_now, PROFILE_PLACE);
    inter_popup = menu_holding(menu_now, INTER_FIRST);
    frame_profile_popup = menu_holding(menu_now, FRAME_PROFILE_FIRST);
    history_shown = {"not yet"};
    profiles_shown = profile_list_revision() - 1;
    names_shown = "not yet";
    return menu_now;
}

void main_menu_forget() { menu_now = history_popup = profile_popup = inter_popup = frame_profile_popup = nullptr; }

void main_menu_started() { key_table_show(menu_now); }

// ---- lists

/// The lines of the template's popup around one of its entries.
static std::vector<MENU_LINE> popup_lines(int id) {
    const MENU_TEMPLATE all = language_menu("VANTEL");
    const auto at = std::find_if(all.begin(), all.end(),
                                 [&](const MENU_LINE& l) { return l.kind == MENU_LINE::ITEM && l.id == id; });
    auto first = at, last = at;
    while (first != all.begin() && std::prev(first)->kind < MENU_LINE::POPUP) --first;
    while (last != all.end() && last->kind < MENU_LINE::POPUP) ++last;
    return {first, last};
}

// Fills a popup anew, with the list in the place of its place-holder.
static void rebuild(MENU* popup, int place_holder, const std::function<void()>& insert_list) {
    menu_clear(popup);
    for (const MENU_LINE& line : popup_lines(place_holder)) {
        if (line.kind == MENU_LINE::SEPARATOR)
            menu_insert_separator(popup, 0);
        else if (line.id == place_holder)
            insert_list();
        else
            menu_insert(popup, 0, line.id, line.text, line.keys);
    }
    key_table_show(popup);
}

static std::vector<std::string> history_list() {
    std::vector<std::string> list;
    for (int i = 0; i < system_settings.loadhistory; ++i)
        if (*history_entry(i)) list.emplace_back(history_entry(i));
    return list;
}

static void insert_history(const std::vector<std::string>& list) {
    for (size_t i = 0; i < list.size(); ++i) {
        const std::string digit = std::to_string((i + 1) % 10);
        menu_insert(history_popup, 0, HISTORY_FIRST + int(i), "&" + digit + " " + plain(text_to_utf8(list[i])));
        menu_enable(history_popup, HISTORY_FIRST + int(i), history_on);
    }
    if (!list.empty()) return;
    menu_insert(history_popup, 0, HISTORY_FIRST, language_text_utf8(STR_NONE));
    menu_enable(history_popup, HISTORY_FIRST, false);
}

static void follow_history() {
    const std::vector<std::string> list = history_list();
    if (!history_popup || list == history_shown) return;
    history_shown = list;
    rebuild(history_popup, HISTORY_FIRST, [&] { insert_history(list); });
}

static void insert_profiles() {
    MENU* groups[PROFILE_GROUP_MAX] = {};
    for (int k = 0; k < profile_list_n(); ++k) {
        const int slot = profile_list_slot(k), group = profile_list_group(slot);
        MENU* popup = profile_popup;
        if (group >= 0) {
            if (!groups[group])
                groups[group] = menu_insert_popup(profile_popup, 0, plain(text_to_utf8(profile_group_name(group))));
            popup = groups[group];
        }
        menu_insert(popup, 0, PROFILE_COMMAND_SELECT + slot, plain(text_to_utf8(profile_list_label(slot))));
    }
}

static void follow_profiles() {
    if (!profile_popup || profiles_shown == profile_list_revision()) return;
    profiles_shown = profile_list_revision();
    rebuild(profile_popup, PROFILE_PLACE, insert_profiles);
    const int marked = profile_list_marked();
    menu_radio(menu_now, PROFILE_COMMAND_SELECT, PROFILE_COMMAND_SELECT + PROFILE_LIST_MAX - 1,
               marked < 0 ? 0 : PROFILE_COMMAND_SELECT + marked);
}

// The entries that give a frame its profile carry the names.
static void follow_profile_names(const EDIT_STATE* edit) {
    std::string names;
    for (int i = 0; i < FRAME_PROFILE_N; ++i) names += std::string(edit->profile_name[i]) + '\n';
    if (names == names_shown) return;
    names_shown = names;
    for (const MENU_LINE& line : popup_lines(FRAME_PROFILE_FIRST)) {
        const char* name = edit->profile_name[line.id - FRAME_PROFILE_FIRST];
        const std::string digit = std::to_string(line.id - FRAME_PROFILE_FIRST);
        menu_set_text(menu_now, line.id, *name ? "&" + digit + " " + plain(text_to_utf8(name)) : line.text);
    }
}

void main_menu_follow(const EDIT_STATE* edit) {
    follow_history();
    follow_profiles();
    follow_profile_names(edit);
    if (!(edit->edit_flag & EDIT_OPEN)) return;
    const int frame = frame_clamp(edit, edit->frame);
    menu_radio(inter_popup, INTER_FIRST, INTER_FIRST + INTER_AUTO, INTER_FIRST + frame_table.frame_inter[frame]);
    menu_radio(frame_profile_popup, FRAME_PROFILE_FIRST, FRAME_PROFILE_FIRST + FRAME_PROFILE_N - 1,
               FRAME_PROFILE_FIRST + frame_profile_index(edit, frame));
}

void main_menu_mark_priority(int level) { menu_radio(menu_now, 1037, 1042, 1039 + level); }

// ---- what can be chosen

static void enable_popups(std::span<const int> ids, bool on) {
    for (const int id : ids)
        if (MENU* popup = menu_holding(menu_now, id)) menu_enable_popup(popup, on);
}

static void enable_items(std::span<const int> ids, bool on) {
    for (const int id : ids) menu_enable(menu_now, id, on);
}

void main_menu_enable(bool open, bool busy) {
    if (!menu_now) return;
    enable_popups(EDIT_POPUPS, open && !busy);
    enable_popups(QUIET_POPUPS, !busy);
    enable_items(EDIT_ITEMS, open && !busy);
    enable_items(QUIET_ITEMS, !busy);
    menu_enable(menu_now, STOP, busy);
    history_on = !busy;
    const int entries = int(history_shown.size());
    for (int i = 0; i < entries; ++i) menu_enable(menu_now, HISTORY_FIRST + i, !busy);
    menu_enable(menu_now, HISTORY_CLEAR, !busy);
    main_command_each_missing([](int id) { menu_enable(menu_now, id, false); });
}

// ---- context menu

void main_menu_context(WINDOW* window, const EDIT_STATE* edit, POINT screen) {
    MENU* menu = menu_create(language_menu("CONTEXT"));
    menu_radio(menu, 9200, 9200 + VIEW_ZOOM_WINDOW, 9200 + edit->view.zoom);
    const bool on = (edit->edit_flag & EDIT_OPEN) && !main_busy();
    for (const int id : CONTEXT_ITEMS) menu_enable(menu, id, on);
    if (!undo_available()) menu_enable(menu, 5147, false);
    if (!frame_clipboard_filled()) menu_enable(menu, 5117, false);
    key_table_show(menu);
    menu_popup(window, menu, screen.x, screen.y);
    menu_destroy(menu);
}
