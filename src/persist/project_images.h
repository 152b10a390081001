#pragma once

#include <cstdint>
#include <vector>

struct BYTE_SOURCE;
struct EDIT_STATE;

/// The pasted pictures in a project file. Main thread.

/// Appends a block for each clip that is there, in index order. Throws std::bad_alloc.
void project_images_put(std::vector<uint8_t>& out, const EDIT_STATE* edit);

/// Reads a block for each index that `stored` marks and puts its id into record->clip, which owns it from then on. A
/// picture that is not 24 bits deep and of the record's size, or has no room in memory, is passed over: its clip is 0.
/// False when the source ends before.
bool project_images_read(BYTE_SOURCE* source, EDIT_STATE* record, const bool* stored);
