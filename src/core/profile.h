#pragma once

#include <cstdint>
#include <span>
#include <string>

struct EDIT_STATE;

/// Profiles: named sets of the settings of all filters. One is current: the filters in memory hold its values. Names
/// are code page 932, at most 259 bytes, in three forms: "name"; "<group>name", which lies in a sub-folder; "#temp0", a
/// temporary profile of the open edit. The list of known profiles is core/profile_list.h. Main thread.
///
/// Without a window (the engine inside another program) the list stays empty and no values are ever written.

/// Builds the list from the profile folder and makes the profile of key `config` current. Filters must be listed.
void profile_system_init(bool window_mode);
/// Stores the current values, deletes the files of the list's temporary profiles and notes the current name in key
/// `config`; without a window none of this. Filters must still be there.
void profile_system_exit();

/// True for the name of a temporary profile.
bool profile_is_temporary(const char* name);
/// The path of a profile's file, extension ".cfg" (filter values) or ".sav" (compression settings): in "profiles/" of
/// the program's folder and the group's sub-folder of it; in the program's folder itself when there was no "profiles/"
/// at start-up; for a temporary profile in the temporary folder, with the process id in its name. "" for a name that is
/// empty, leads out of these folders or makes too long a path: then there is nothing to read, and nothing is written.
std::string profile_path(const char* name, const char* extension);
/// Whether a profile of this name is on the list or has a ".cfg" file.
bool profile_known(const char* name);

/// The current name.
const char* profile_current();
/// Makes a profile current and reads its values; filters without a stored value take their initial ones. With a window,
/// a new name joins the list; an empty name, or a new one when the list is full, stands for the list's first entry.
void profile_select(const char* name);
/// Writes the values to the file of the last read, when they differ from what is there.
void profile_store();
/// Makes a profile current when it is not: stores the current values, then reads the named one's. Cheap enough for
/// every frame of a run over frames of several profiles.
void profile_make_current(const char* name);

/// Makes a copy of the current profile under a new name, and makes it current. 1, or 0: no name, the current name, no
/// such file name, a full list (told) or, for a temporary profile, a file of somebody else in its place.
int profile_copy_as(const char* name);
/// Asks for a name and does profile_copy_as with it, in the group of the current profile when it has one and SHIFT is
/// down as the answer comes. 1, or 0 when nothing was made.
int profile_new();
/// Deletes the current profile's files: its filters go to their initial values.
void profile_reset();
/// Deletes a profile's files and takes it off the list. When it was current, the last current ordinary profile follows,
/// or the list's first entry.
void profile_delete(const char* name);
/// Gives a profile its ".cfg" file, with a window also its place in the list: for profiles that come with a project.
/// Nothing is read from it here, but when the profile is the current one, its present values are given up and the next
/// profile_make_current reads the new ones. False when it cannot be written.
bool profile_put_config(const char* name, std::span<const uint8_t> config);

/// Commands 8000 (initial values), 8001 (new), 8002 (delete) and 8006 + i (select slot i of the list). After one that
/// did something, the profile name that the current frame uses becomes the current name, so all frames of that index
/// follow. 1, or 0 when nothing was done.
int profile_command(EDIT_STATE* edit, int id);
enum : int { PROFILE_COMMAND_RESET = 8000, PROFILE_COMMAND_NEW, PROFILE_COMMAND_DELETE, PROFILE_COMMAND_SELECT = 8006 };

/// A fresh edit works on a copy of the current profile, "#temp0" (key `tempconfig`), which takes index 0 of its names.
/// Its compression settings go to the side file of the profile copied. Nothing when the current one is temporary.
void profile_make_temporary(EDIT_STATE* edit);
/// Makes "#temp" + the first free index of the edit's profile names a copy of the current profile, at that index.
/// Returns the index, or -1 with no free one or a failed copy.
int profile_add_temporary(EDIT_STATE* edit);
/// Deletes the files of the edit's temporary profiles and clears its profile names.
void profile_drop_temporary(EDIT_STATE* edit);
