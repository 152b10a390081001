#include "persist/project_file.h"

#include "core/file_filter.h"
#include "core/frame_table.h"
#include "resources/string_ids.h"

std::array<PROJECT_COLUMN, 10> project_columns() {
    const FRAME_TABLE& t = frame_table;
    const auto wide = [](uint32_t* column) { return PROJECT_COLUMN{reinterpret_cast<uint8_t*>(column), 4}; };
    return {wide(t.frame_video),   wide(t.frame_audio), wide(t.frame_field_metric), wide(t.frame_field_diff),
            {t.frame_inter, 1},    {t.frame_phase, 1},  {t.frame_flag, 1},          {t.frame_profile, 1},
            {t.frame_compress, 1}, {t.frame_clip, 1}};
}

std::string project_dialog_filter() { return file_filter_one(STR_FILES_PROJECT, "*.vtp"); }
