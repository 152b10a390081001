#pragma once

#include <cstdint>
#include <vector>

struct BYTE_SOURCE;
struct EDIT_STATE;

/// The blocks at the end of a project file in which filters keep settings of their own for an edit. Main thread.

/// Appends a block for each filter of the list that stores one. A filter that asks for more than
/// PROJECT_FILTER_DATA_MAX, or gives more than it asked for, stores nothing. Throws std::bad_alloc.
void project_filters_put(std::vector<uint8_t>& out, EDIT_STATE* edit);

/// Whether blocks, and nothing else, lie from here to the end of the source. Nothing is allocated for their data.
bool project_filters_check(BYTE_SOURCE* source);

/// Hands each block to the first filter of its name that takes blocks; passes over those of absent filters. False at
/// the first block that is damaged. Throws std::bad_alloc.
bool project_filters_read(BYTE_SOURCE* source, EDIT_STATE* edit);
