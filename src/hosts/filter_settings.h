#pragma once

#include <cstdint>
#include <span>
#include <vector>

/// FILTER_CONFIG_FILE: what the user set in the filters, one file a profile (".cfg"). Little-endian: 36 bytes of head
/// with a NUL at the end, then records to the end of the file, each
///     u32 record_size, section name with its NUL, u32 block_count (4 or 5), u32 size of each block, the blocks:
///     flags (only FILTER_F_ACTIVE is read back), chain place, track values, check values and, in a filter with
///     FILTER_F_EXTRA_DATA, its extra data.
/// The section is the filter's name, with "<folder>" before it for a plug-in from a sub-folder. A menu list has one
/// check value an entry, 1 for the selected one; an entry with a negative default holds that value. Main thread.

/// Reads the values of all filters from a file; the path is remembered for filter_config_save. A file that is missing
/// or has another head counts as empty. Files read lately are kept in memory and only read again when they changed.
/// Always 1.
int filter_config_load(const char* path);
/// Writes the values of all filters to the last path loaded, in one step, and only when that changes the file. Nothing
/// when no path was loaded. A file that cannot be written stays as it was. Always 1.
int filter_config_save();

/// To be called when the program itself has written or deleted such a file in another way: within one tick of the file
/// system's clock a change of the same size would go unseen.
void filter_config_forget(const char* path);

/// The file that holds the present values.
std::vector<uint8_t> filter_config_build();
/// Takes the values of a file. A block that is missing or of another size than the filter's takes the filter's default;
/// track values are cut to their limits. Reading ends at the first record whose size is impossible. Each filter is told
/// of it (func_update 0), then the chain is rebuilt.
void filter_config_apply(std::span<const uint8_t> file);
