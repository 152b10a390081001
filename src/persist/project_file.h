#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "core/edit_state.h"

/// The pieces of a project file (".vtp"), shared by its writer and its reader. All integers little-endian, in this
/// order with nothing between:
///     32      head text with its NUL
///     4       size of EDIT_STATE
///     524     PROJECT_HEAD: the first bytes of EDIT_STATE, plain
///     packed  the rest of EDIT_STATE (persist/packed_block.h)
///     4       frame count n
///     packed  ten times: the columns of the frame table, 4 * n bytes each of the first four, n of the others
///     blocks  for each entry of profile_name that is not "": u32 length, that many bytes of the profile's ".cfg" file
///     blocks  for each entry of clip that is not 0: u32 length, that many bytes of an IMAGE_CLIP
///     32      head text once more
///     blocks  to the end of the file, what filters store: 18 bytes of tag with its NUL, u32 name size, the filter's
///     name
///             with its NUL, u32 data size, packed data
/// Ids of live objects in the record mean nothing; that of a clip only says that its block follows.

inline constexpr char PROJECT_HEAD_TEXT[] = "Vantel ProjectFile version 0.18";
inline constexpr char PROJECT_FILTER_TAG[] = "FilterProject 0.1";
static_assert(sizeof PROJECT_HEAD_TEXT == 32 && sizeof PROJECT_FILTER_TAG == 18);

/// Largest block of a profile that is written or taken, as filter settings files themselves are limited.
inline constexpr size_t PROJECT_PROFILE_SIZE_MAX = size_t{64} << 20;
/// Largest data of a filter's block: the packed form could ask for gigabytes with a few bytes.
inline constexpr uint32_t PROJECT_FILTER_DATA_MAX = uint32_t{256} << 20;
inline constexpr uint32_t PROJECT_FILTER_NAME_MAX = uint32_t{1} << 20;

/// What can be read and rewritten in place without touching the rest.
struct PROJECT_HEAD {
    uint32_t edit_flag;
    char file_name[PATH_SIZE];
    char save_name[PATH_SIZE];
};
inline constexpr int64_t PROJECT_HEAD_AT = 36;
static_assert(sizeof(PROJECT_HEAD) == 524 && offsetof(EDIT_STATE, project_name) == sizeof(PROJECT_HEAD));

/// A column of the frame table in the order of the file.
struct PROJECT_COLUMN {
    uint8_t* data;
    size_t width;  // bytes of an entry
};
std::array<PROJECT_COLUMN, 10> project_columns();

/// The file types of a dialog for projects, in the form of FILE_DIALOG::filter.
std::string project_dialog_filter();
