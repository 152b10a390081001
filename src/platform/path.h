#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Paths as code page 932 texts of at most 259 bytes with the separator '/', and the folders the program uses.
/// Functions that fill a buffer refuse what does not fit: false, and the buffer is "". The source may be the buffer.
/// Any thread, as long as nobody changes the environment meanwhile.

inline constexpr size_t PATH_SIZE = 260;  // bytes of a path with its NUL

/// The bare name: what follows the last '/'. Points into path; "" when path ends with '/'.
const char* path_name(const char* path);
/// The last '.' of the bare name and what follows, or "". Points into path.
const char* path_extension(const char* path);
/// The folder with the separator at its end, "" when path is a bare name.
bool path_folder(char out[PATH_SIZE], const char* path);
/// path with its extension replaced; extension begins with '.', or is "" to take it away.
bool path_set_extension(char out[PATH_SIZE], const char* path, const char* extension);
/// name inside folder; a separator is put between where folder has none. A "" folder or an absolute name gives name.
bool path_join(char out[PATH_SIZE], const char* folder, const char* name);

bool path_is_absolute(const char* path);
/// The absolute form, by the current folder, without "." and ".." and doubled separators. Links are not resolved, a
/// separator at the end stays. "" for "", when the current folder is gone or when the result exceeds 259 bytes.
std::string path_absolute(std::string_view path);

/// The running executable, "" when its path is unknown or too long.
std::string path_program();
/// The folder of settings, profiles and the user's plug-ins, with a separator at its end: $VANTEL_HOME; else the
/// executable's folder, or for an installed program (../share/vantel exists beside it) $XDG_CONFIG_HOME/vantel, with
/// ~/.config for an unset or relative $XDG_CONFIG_HOME. It need not exist. "" when it cannot be named in 259 bytes.
std::string path_program_folder();
/// Makes the program's folder, and the folders above it, where they are missing. Call it before the first write.
bool path_program_folder_create();
/// The folders to search for plug-ins and languages, in this order, each with a separator at its end: the program's
/// folder, and ../lib/vantel of an installed program.
std::vector<std::string> path_plugin_folders();

/// $TMPDIR when it is an absolute path to a folder, else /tmp; with a separator at its end.
std::string path_temp_folder();
/// The beginning of the name of a temporary file of this process: the folder and "vantel_%08x_" with the process id.
std::string path_temp_prefix();
