#pragma once

#include <string_view>

/// The known profiles, as data that a menu is made from: 96 slots of names, which may have holes, and 32 groups, each a
/// sub-menu. Names compare without regard to case. An index out of range is no error: "" or -1. Main thread.

inline constexpr int PROFILE_LIST_MAX = 96;
inline constexpr int PROFILE_GROUP_MAX = 32;

/// The group of a name of the form "<group>name", else empty; and what follows the group, else the whole name.
std::string_view profile_name_group(const char* name);
const char* profile_name_label(const char* name);
/// Whether a name can be a file's: not empty, no separator, no group that is a folder above.
bool profile_name_valid(const char* name);

void profile_list_clear();
/// Names on the list.
int profile_list_n();
/// The slot of the k-th name in the order in which they came, which is the order of the menu.
int profile_list_slot(int k);
/// Name, menu text and group (-1: in no sub-menu) of a slot. The slot's command is 8006 + slot.
const char* profile_list_name(int slot);
const char* profile_list_label(int slot);
int profile_list_group(int slot);
int profile_group_n();
const char* profile_group_name(int group);
/// The slot that carries the mark: the one that was resolved last. -1 for none.
int profile_list_marked();
/// Changes whenever the menu would.
unsigned profile_list_revision();

/// The slot of a name, or -1.
int profile_list_find(const char* name);
/// Puts a name on the list, unless it is there, cannot be a file's or the list is full.
void profile_list_add(const char* name);
void profile_list_remove(int slot);
/// The slot of a name; the first one in use when it is not on the list. An empty list gets the name of text 10 first.
/// The slot takes the mark.
int profile_list_resolve(const char* name);
