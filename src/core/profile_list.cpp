#include "core/profile_list.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

#include "platform/path.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static char names[PROFILE_LIST_MAX][PATH_SIZE];  // "" = free
static int groups[PROFILE_LIST_MAX];
static int order[PROFILE_LIST_MAX];  // slots, oldest first
static int order_n;
static char group_names[PROFILE_GROUP_MAX][PATH_SIZE];
static int group_n;
static int marked = -1;
static unsigned revision;

static bool slot_used(int slot) { return slot >= 0 && slot < PROFILE_LIST_MAX && names[slot][0]; }

std::string_view profile_name_group(const char* name) {
    // Neither bracket is ever half of a double byte.
    const char* end = name[0] == '<' ? std::strchr(name, '>') : nullptr;
    return end ? std::string_view(name + 1, size_t(end - name - 1)) : std::string_view();
}

const char* profile_name_label(const char* name) {
    const std::string_view group = profile_name_group(name);
    return group.empty() ? name : group.data() + group.size() + 1;
}

bool profile_name_valid(const char* name) {
    const std::string_view group = profile_name_group(name);
    return *profile_name_label(name) && !std::strchr(name, '/') && group != "." && group != "..";
}

void profile_list_clear() {
    std::memset(names, 0, sizeof names);
    std::memset(group_names, 0, sizeof group_names);
    order_n = group_n = 0;
    marked = -1;
    ++revision;
}

int profile_list_n() { return order_n; }
int profile_list_slot(int k) { return k >= 0 && k < order_n ? order[k] : -1; }
const char* profile_list_name(int slot) { return slot_used(slot) ? names[slot] : ""; }
int profile_list_group(int slot) { return slot_used(slot) ? groups[slot] : -1; }
int profile_group_n() { return group_n; }
const char* profile_group_name(int group) { return group >= 0 && group < group_n ? group_names[group] : ""; }
int profile_list_marked() { return marked; }
unsigned profile_list_revision() { return revision; }

const char* profile_list_label(int slot) {
    const char* name = profile_list_name(slot);
    return profile_list_group(slot) >= 0 ? profile_name_label(name) : name;
}

int profile_list_find(const char* name) {
    if (!*name) return -1;
    const auto same = [&](const char* entry) { return text_compare_nocase(entry, name) == 0; };
    const auto found = std::find_if(std::begin(names), std::end(names), same);
    return found == std::end(names) ? -1 : int(found - names);
}

/// The group of a name, made when it is new; -1 for none, and when the table is full.
static int group_for(const char* name) {
    const std::string_view group = profile_name_group(name);
    if (group.empty()) return -1;
    for (int i = 0; i < group_n; ++i)
        if (group == group_names[i]) return i;
    if (group_n == PROFILE_GROUP_MAX || !text_copy(group_names[group_n], PATH_SIZE, group)) return -1;
    return group_n++;
}

void profile_list_add(const char* name) {
    if (!profile_name_valid(name) || profile_list_find(name) >= 0) return;
    const auto free = std::find_if(std::begin(names), std::end(names), [](const char* entry) { return !*entry; });
    if (free == std::end(names) || !text_copy(*free, PATH_SIZE, name)) return;
    const int slot = int(free - names);
    groups[slot] = group_for(name);
    order[order_n++] = slot;
    ++revision;
}

void profile_list_remove(int slot) {
    if (!slot_used(slot)) return;
    names[slot][0] = 0;
    order_n = int(std::remove(order, order + order_n, slot) - order);
    if (marked == slot) marked = -1;
    ++revision;
}

int profile_list_resolve(const char* name) {
    if (order_n == 0) profile_list_add(language_string(STR_DEFAULT));
    int slot = profile_list_find(name);
    for (int i = 0; slot < 0 && i < PROFILE_LIST_MAX; ++i)
        if (names[i][0]) slot = i;
    if (marked != slot) ++revision;
    marked = slot;
    return slot;
}
