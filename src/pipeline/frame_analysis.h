#pragma once

#include <cstdint>

struct EDIT_STATE;
struct FILTER;

/// Analysis of telecined material: which fields of neighbouring frames belong together, and which frame of five is the
/// repeated one. A frame is measured once; the results are kept in the columns frame_field_metric, frame_field_diff,
/// frame_phase and in the high four bits of frame_flag, and go into project files with them. Threshold and margin are
/// the tracks of the deinterlace method STR_INTER_AUTO_24FPS, the field order is that of STR_FILTER_FIELD_ORDER.
/// Pictures come through frame_cache_get, so pictures fetched before a call may be gone after it. A frame outside
/// 0 .. frame_n - 1 has counts of 0 and no results, and nothing is written for it. Main thread.

/// Fills frame_field_metric (high half combing against the picture before, low half combing in itself) and
/// frame_field_diff (moved samples), each count at most 65,535, unless that is done already.
void measure_frame(EDIT_STATE* edit, int frame);

/// Non-zero when the frame is to be seen with the other field order: its earlier field belongs with the later field of
/// the frame before.
int field_parity(EDIT_STATE* edit, int frame);

/// For the first frame of a cycle of five: 0 .. 4, which of the five is the repeated one. Sets the phases of all five.
int cycle_drop_position(EDIT_STATE* edit, int frame);

/// Forgets all results of all frames of the edit; counts stay until they are measured anew.
void clear_analysis(EDIT_STATE* edit);

/// func_update of the filters that hold the settings: clears the analysis of the process's edit. Always 1.
int frame_analysis_update(FILTER* filter, int32_t status);
