#pragma once

#include <cstdint>

struct EDIT_STATE;
struct WRITER;

/// The save driver: turns the selection of the edit into one output. Main thread; pumps messages once a frame.

/// Saves the selection to save_name in the form of output_kind. request: SAVE_REQ_... Returns 1 when the output is
/// complete, 0 when it failed or was stopped (told on the way); a stopped or failed file stays, valid and shorter.
int save_run(EDIT_STATE* edit, uint32_t request);

/// What the last save did, for the one who asked for it.
struct SAVE_REPORT {
    int frames;   // frames of the selection that went through
    int written;  // frames in the file
    int64_t elapsed_ms;
};
const SAVE_REPORT& save_report();

/// Where saves go: a row of WRITER_TABLE (output/writer_table.h), null = by output_kind. For tests and benchmarks.
void save_set_writer(const WRITER* writer);
